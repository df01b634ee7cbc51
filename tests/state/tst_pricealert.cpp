// SPDX-License-Identifier: MIT
#include "state/pricealert.h"
#include "support/rows.h"
#include "support/testregistry.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <limits>

using namespace kestrune;
using namespace Qt::StringLiterals;

class PriceAlertTest : public QObject
{
    Q_OBJECT

    using Alerts = std::vector<PriceAlert>;

    /// One stored alert with a piece of its text replaced.
    struct Change
    {
        const char *name;
        QByteArray piece, replacement;

        [[nodiscard]] QByteArray json() const
        {
            QByteArray text =
                R"([{"above":true,"id":"A","label":"x","symbol":"ETH","targetPrice":1.5,"triggered":false}])";
            return text.contains(piece) ? text.replace(piece, replacement) : "no such piece";
        }
    };

    /// What today's form gives; the forms of earlier versions must give the same.
    static std::optional<Alerts> read(const QByteArray &json)
    {
        const QString base64 = QString::fromLatin1(json.toBase64());
        const auto earlier = decodeAlerts(QJsonObject{{u"base64"_s, base64}});
        const QString text = QString::fromUtf8(json);
        const bool same = text.toUtf8() != json || decodeAlerts(QJsonObject{{u"utf8"_s, text}}) == earlier;
        const QJsonDocument document = QJsonDocument::fromJson(json);
        const auto today = decodeAlerts(document.isArray() ? QJsonValue(document.array()) : QJsonValue());
        return same && today == earlier ? today : Alerts(99);
    }

    /// "a b2" is an alert of the id "a" that never fired and one of the id "b" that fired at 2.
    static Alerts list(const QString &text)
    {
        Alerts alerts;
        for (const QString &word : text.split(u' ', Qt::SkipEmptyParts)) {
            alerts.push_back({word.first(1), 1, true, u"ETH"_s, u"x"_s, word.size() > 1, {}});
            if (word.size() > 1)
                alerts.back().lastFiredAt = word.mid(1).toDouble();
        }
        return alerts;
    }

private Q_SLOTS:
    void everyFieldSurvivesAndWhatIsNotFiniteIsNotStored()
    {
        const PriceAlert sample{u"1B4E28BA"_s, 5e-324, true, u"ETH"_s, u"手动 3,456.78"_s, false, {}};
        // Some numbers need all 17 digits.
        PriceAlert fired{u"2"_s, 0.1 + 0.2, false, u"x"_s, u"\"引号\"\n\\ 😀"_s, true, 1767601800.1234567};
        for (const Alerts &alerts : {Alerts{sample, fired, sample}, Alerts{}})
            QCOMPARE(read(QJsonDocument(*encodeAlerts(alerts)).toJson()), alerts);
        QVERIFY(!encodeAlerts({sample})->at(0).toObject().contains(u"lastFiredAt"));
        fired.lastFiredAt = std::numeric_limits<double>::quiet_NaN();
        QVERIFY(!encodeAlerts({sample, fired}));
        fired = sample;
        fired.targetPrice = std::numeric_limits<double>::infinity();
        QVERIFY(!encodeAlerts({fired}));
    }

    void refusesTheWholeList()
    {
        const Change rows[] = {
            {"an object instead of the list", "[", "{\"list\":["},
            {"cut off", "]", ""},
            {"an element that is no object", "[", "[1,"},
            {"a missing key", R"("id":"A",)", ""},
            {"a boolean for a price", "1.5", "true"},
            {"a number for a direction", "\"above\":true", "\"above\":1"},
            {"a number for a symbol", "\"ETH\"", "7"},
            {"null for a label", "\"x\"", "null"},
            {"text for the optional number", "{", R"({"lastFiredAt":"1",)"},
            {"beyond the largest double", "1.5", "1e999"},
            {"bad UTF-8", "\"x\"", "\"\xff\""},
            {"one bad element among good ones", "]", ",{}]"},
            {"nested ten thousand deep", "[", QByteArray(10'000, '[')},
        };
        test::forEachRow(rows, [](const Change &row) { QVERIFY(!read(row.json())); });
    }

    void acceptsWhatCarriesNoMeaning()
    {
        const Change rows[] = {
            {"blanks and line breaks", ":", " :\n "},
            {"unknown keys", "{", R"({"colour":["red",{}],)"},
            {"null for the optional number", "{", R"({"lastFiredAt":null,)"},
            {"the last of equal keys counts", "{", R"({"targetPrice":"old",)"},
        };
        const PriceAlert alert{u"A"_s, 1.5, true, u"ETH"_s, u"x"_s, false, {}};
        test::forEachRow(rows, [&](const Change &row) { QCOMPARE(read(row.json()), Alerts{alert}); });
    }

    void changesOfTwoProgramsAreMerged()
    {
        const struct
        {
            const char *name;
            QString base, mine, theirs, merged;
        } rows[] = {
            {"both added", u"a"_s, u"a b"_s, u"a c"_s, u"a c b"_s},
            {"one removed, the other added", u"a b"_s, u"b"_s, u"a b c"_s, u"b c"_s},
            {"removed there, fired here", u"a b"_s, u"a b1"_s, u"a"_s, u"a"_s},
            {"removed here, fired there", u"a b"_s, u"a"_s, u"a b1"_s, u"a"_s},
            {"fired here", u"a b1"_s, u"a2 b1"_s, u"a b1 c"_s, u"a2 b1 c"_s},
            {"fired there", u"a b1"_s, u"a b1 c"_s, u"a2 b1"_s, u"a2 b1 c"_s},
            {"the later one counts", u"a b"_s, u"a2 b1"_s, u"a1 b2"_s, u"a2 b2"_s},
            {"an id that stands twice", u"a a"_s, u"a1 a"_s, u"a a b"_s, u"a1 a b"_s},
            {"all removed", u"a b"_s, {}, u"b a c"_s, u"c"_s},
        };
        test::forEachRow(rows, [](const auto &row) {
            QCOMPARE(mergedAlerts(list(row.base), list(row.mine), list(row.theirs)), list(row.merged));
        });
    }
};

KESTRUNE_TEST(PriceAlertTest)
#include "tst_pricealert.moc"
