#include "platform/textdecoding.h"
#include "support/testregistry.h"

#include <QTest>

using namespace kestrune;

class TextDecodingTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void decodes_data();
    void decodes();
    void longTextStaysWhole();
};

// Byte values after the GB 18030-2005 mapping table; 0x30 to 0x39 in second place opens a four-byte
// character.
void TextDecodingTest::decodes_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *name, const QByteArray &bytes, const QString &text) {
        QTest::newRow(name) << bytes << text;
    };
    row("nothing is nothing", "", QString());
    row("ASCII is itself", "v_sh600519=\"1~\";\n", QStringLiteral("v_sh600519=\"1~\";\n"));
    row("two-byte characters of the first level", "1~\xB9\xF3\xD6\xDD\xC3\xA9\xCC\xA8~600519",
        QStringLiteral("1~贵州茅台~600519"));
    row("two-byte character beyond GB 2312", "\x96\x7C", QStringLiteral("東"));
    row("four bytes inside the first plane", "\x81\x30\x84\x36", QStringLiteral("\u00A5"));
    row("four bytes beyond the first plane", "\x95\x32\x82\x36", QStringLiteral("\U00020000"));
    row("the last code point", "\xE3\x32\x9A\x35", QString::fromUcs4(U"\U0010FFFF"));
    row("euro sign in two bytes", "\xA2\xE3", QStringLiteral("€"));
    row("UTF-8 that is no GB 18030", "\xE5\x8A\xA0", QStringLiteral("加"));
    row("UTF-8 bytes that happen to be valid GB 18030 are read as that", "\xE8\x85\xBE\xE8\xAE\xAF",
        QStringLiteral("鑵捐\uE186"));
    row("cut off after the lead byte", "\xB9\xF3\xD6", QString());
    row("cut off after two of four", "A\x81\x30", QString());
    row("cut off after three of four", "A\x81\x30\x84", QString());
    row("lone lead byte before ASCII", "\x81 A", QString());
    row("0x80 leads nothing", "A\x80", QString());
    row("0xFF leads nothing", "\xFF\xFE", QString());
    row("second byte 0x7F", "\x81\x7F", QString());
    row("four bytes beyond the last code point", "\xFE\x39\xFE\x39", QString());
    row("neither encoding", "\xC3\x28\xFF", QString());
    row("NUL is a character", QByteArray("a\0b", 3), QString::fromUtf16(u"a\0b", 3));
}

void TextDecodingTest::decodes()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);
    QCOMPARE(decodeGb18030(bytes), text);
}

void TextDecodingTest::longTextStaysWhole()
{
    const QByteArray piece = "\xB9\xF3\xD6\xDD\x95\x32\x82\x36,";
    QCOMPARE(decodeGb18030(piece.repeated(100'000)), QStringLiteral("贵州\U00020000,").repeated(100'000));
    QCOMPARE(decodeGb18030(piece.repeated(100'000) + '\x81'), QString());
}

KESTRUNE_TEST(TextDecodingTest)
#include "tst_textdecoding.moc"
