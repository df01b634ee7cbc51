// SPDX-License-Identifier: MIT
#include "platform/textdecoding.h"
#include "support/rows.h"
#include "support/testregistry.h"

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
            {"long text stays whole", piece.repeated(100'000), u"贵州\U00020000,"_s.repeated(100'000)},
            {"UTF-8 that is no GB 18030", "\xE5\x8A\xA0", u"加"_s},
            {"UTF-8 that happens to be GB 18030", "\xE8\x85\xBE\xE8\xAE\xAF", u"鑵捐\uE186"_s},
            {"cut off after the lead byte", "\xB9\xF3\xD6", {}},
            {"cut off after two of four", "A\x81\x30", {}},
            {"cut off after three of four", "A\x81\x30\x84", {}},
            {"long and cut off", piece.repeated(100'000) + '\x81', {}},
            {"0x80 leads nothing", "A\x80", {}},
            {"0x80 is no euro sign", "\xA2\xE3\xE4\xB8\x80", {}},
            {"the euro sign", "\xA2\xE3 1", u"€ 1"_s},
            {"0xFF leads nothing", "\xFF\xFE", {}},
            {"neither encoding", "\xC3\x28\xFF", {}},
        };
        forEachRow(rows, [](const auto &row) { QVERIFY(decodeGb18030(row.bytes) == row.text); });
    }
};

KESTRUNE_TEST(TextDecodingTest)
#include "tst_textdecoding.moc"
