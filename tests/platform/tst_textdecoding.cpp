// SPDX-License-Identifier: MIT
#include "platform/textdecoding.h"
#include "support/rows.h"
#include "support/testregistry.h"

#include <iconv.h>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

class TextDecodingTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Byte values after the GB 18030-2005 mapping table; 0x30 to 0x39 in second place opens a four-byte
    // character.
    void decodes()
    {
        const QByteArray piece = "\xB9\xF3\xD6\xDD\x95\x32\x82\x36,";
        const struct
        {
            const char *name;
            QByteArray bytes;
            QString text;
        } rows[] = {
            {"nothing is nothing", "", {}},
            {"ASCII is itself", "v_sh600519=\"1~\";\n", u"v_sh600519=\"1~\";\n"_s},
            {"NUL is a character", QByteArray("a\0b", 3), QString::fromUtf16(u"a\0b", 3)},
            {"two bytes", "1~\xB9\xF3\xD6\xDD\xC3\xA9\xCC\xA8~600519", u"1~贵州茅台~600519"_s},
            {"two bytes beyond GB 2312", "\x96\x7C", u"東"_s},
            {"four bytes inside the first plane", "\x81\x30\x84\x36", u"\u00A5"_s},
            {"the last code point", "\xE3\x32\x9A\x35", QString::fromUcs4(U"\U0010FFFF")},
            {"long text stays whole", piece.repeated(100'000), u"贵州\U00020000,"_s.repeated(100'000)},
            {"UTF-8 that is no GB 18030", "\xE5\x8A\xA0", u"加"_s},
            {"UTF-8 that happens to be GB 18030", "\xE8\x85\xBE\xE8\xAE\xAF", u"鑵捐\uE186"_s},
            {"cut off after the lead byte", "\xB9\xF3\xD6", {}},
            {"cut off after two of four", "A\x81\x30", {}},
            {"cut off after three of four", "A\x81\x30\x84", {}},
            {"long and cut off", piece.repeated(100'000) + '\x81', {}},
            {"lone lead byte before ASCII", "\x81 A", {}},
            {"0x80 leads nothing", "A\x80", {}},
            {"0xFF leads nothing", "\xFF\xFE", {}},
            {"second byte 0x7F", "\x81\x7F", {}},
            {"four bytes beyond the last code point", "\xFE\x39\xFE\x39", {}},
            {"neither encoding", "\xC3\x28\xFF", {}},
        };
        forEachRow(rows, [](const auto &row) { QVERIFY(decodeGb18030(row.bytes) == row.text); });
    }

    // Against an independent encoder, the C library's, over whole ranges of characters.
    void everyFormRoundTrips()
    {
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
        std::size_t inLeft = std::size_t(utf8.size());
        std::size_t outLeft = std::size_t(encoded.size());
        const iconv_t encoder = iconv_open("GB18030", "UTF-8");
        QCOMPARE(iconv(encoder, &in, &inLeft, &out, &outLeft), std::size_t(0));
        iconv_close(encoder);
        QVERIFY(decodeGb18030(encoded.chopped(qsizetype(outLeft))) == expected);
    }
};

KESTRUNE_TEST(TextDecodingTest)
#include "tst_textdecoding.moc"
