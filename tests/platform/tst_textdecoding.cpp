// SPDX-License-Identifier: MIT
#include "platform/textdecoding.h"
#include "support/testregistry.h"

#include <QTest>

#include <iconv.h>

using namespace kestrune;

class TextDecodingTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void decodes_data();
    void decodes();
    void longTextStaysWhole();
    void everyTwoByteAndFourByteFormRoundTrips();
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

// Against an independent encoder, the C library's, over whole ranges of characters.
void TextDecodingTest::everyTwoByteAndFourByteFormRoundTrips()
{
    const iconv_t encoder = iconv_open("GB18030", "UTF-8");
    QVERIFY(encoder != reinterpret_cast<iconv_t>(-1));
    QString expected;
    for (char32_t c = 0x20; c < 0x2FA1E; ++c) {
        if (QChar::isSurrogate(c) || QChar::isNonCharacter(c) || (c >= 0xE000 && c <= 0xF8FF))
            continue; // the private area differs between editions of the standard
        if (c == 0x1E3F || c == 0x20087 || c == 0x20089 || c == 0x200CC || c == 0x215D7 || c == 0x2298F ||
            c == 0x241FE || (c >= 0x9FB4 && c <= 0x9FBB) || (c >= 0xFE10 && c <= 0xFE19))
            continue; // moved by later editions
        expected += QChar::fromUcs4(c);
    }
    QByteArray utf8 = expected.toUtf8();
    QByteArray encoded(4 * expected.size(), 0);
    char *in = utf8.data();
    char *out = encoded.data();
    std::size_t inLeft = static_cast<std::size_t>(utf8.size());
    std::size_t outLeft = static_cast<std::size_t>(encoded.size());
    QCOMPARE(iconv(encoder, &in, &inLeft, &out, &outLeft), std::size_t(0));
    iconv_close(encoder);
    encoded.chop(static_cast<qsizetype>(outLeft));
    QVERIFY(decodeGb18030(encoded) == expected);
}

KESTRUNE_TEST(TextDecodingTest)
#include "tst_textdecoding.moc"
