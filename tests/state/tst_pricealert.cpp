// SPDX-License-Identifier: MIT
#include "state/pricealert.h"
#include "support/testregistry.h"

#include <QTest>

#include <limits>

using namespace kestrune;
using namespace Qt::StringLiterals;

namespace {

PriceAlert sample()
{
    return {
        u"1B4E28BA-2FA1-41D2-883F-0016D3CCA427"_s, 3456.78, true, u"ETH"_s, u"手动 3,456.78"_s, false, {}};
}

/// One stored alert with a piece of its text replaced.
QByteArray stored(const QByteArray &piece = {}, const QByteArray &replacement = {})
{
    QByteArray text =
        R"([{"above":true,"id":"A","label":"x","symbol":"ETH","targetPrice":1.5,"triggered":false}])";
    if (!piece.isEmpty()) {
        Q_ASSERT(text.contains(piece));
        text.replace(piece, replacement);
    }
    return text;
}

} // namespace

class PriceAlertTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void storesAndRestoresEveryField();
    void anAlertThatNeverFiredHasNoSuchKey();
    void aNumberThatIsNotFiniteIsNotStored();
    void refusesTheWholeText_data();
    void refusesTheWholeText();
    void acceptsWhatCarriesNoMeaning_data();
    void acceptsWhatCarriesNoMeaning();
};

void PriceAlertTest::storesAndRestoresEveryField()
{
    PriceAlert fired = sample();
    fired.above = false;
    fired.triggered = true;
    fired.targetPrice = 0.1 + 0.2; // needs all 17 digits
    fired.lastFiredAt = 1767601800.1234567;
    fired.label = u"\"引号\"\n\\ 😀"_s;
    PriceAlert tiny = sample();
    tiny.targetPrice = 5e-324;
    const std::vector<PriceAlert> alerts{sample(), fired, tiny, sample()};

    const std::optional<QByteArray> json = encodeAlerts(alerts);
    QVERIFY(json);
    QCOMPARE(decodeAlerts(*json), alerts);
    QCOMPARE(decodeAlerts(*encodeAlerts({})), std::vector<PriceAlert>{});
}

void PriceAlertTest::anAlertThatNeverFiredHasNoSuchKey()
{
    PriceAlert alert = sample();
    QVERIFY(!encodeAlerts({alert})->contains("lastFiredAt"));
    alert.lastFiredAt = 0;
    QVERIFY(encodeAlerts({alert})->contains("\"lastFiredAt\":0"));
}

void PriceAlertTest::aNumberThatIsNotFiniteIsNotStored()
{
    PriceAlert alert = sample();
    alert.targetPrice = std::numeric_limits<double>::infinity();
    QVERIFY(!encodeAlerts({sample(), alert}));
    alert = sample();
    alert.lastFiredAt = std::numeric_limits<double>::quiet_NaN();
    QVERIFY(!encodeAlerts({alert}));
}

void PriceAlertTest::refusesTheWholeText_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("an object instead of the array") << QByteArray("{}");
    QTest::newRow("cut off") << stored().chopped(1);
    QTest::newRow("something behind the end") << stored() + "x";
    QTest::newRow("an element that is no object") << QByteArray("[1]");
    QTest::newRow("id is missing") << stored(R"("id":"A",)", "");
    QTest::newRow("targetPrice is missing") << stored(R"("targetPrice":1.5,)", "");
    QTest::newRow("above is missing") << stored(R"("above":true,)", "");
    QTest::newRow("symbol is missing") << stored(R"("symbol":"ETH",)", "");
    QTest::newRow("label is missing") << stored(R"("label":"x",)", "");
    QTest::newRow("triggered is missing") << stored(R"(,"triggered":false)", "");
    QTest::newRow("keys are told apart by case") << stored("triggered", "Triggered");
    QTest::newRow("a number for a boolean") << stored("\"above\":true", "\"above\":1");
    QTest::newRow("a boolean for a number") << stored("1.5", "true");
    QTest::newRow("text for a number") << stored("1.5", "\"1.5\"");
    QTest::newRow("a number for text") << stored("\"ETH\"", "7");
    QTest::newRow("null for a required value") << stored("\"x\"", "null");
    QTest::newRow("text for the optional number") << stored("{", R"({"lastFiredAt":"1",)");
    QTest::newRow("a boolean for the optional number") << stored("{", R"({"lastFiredAt":true,)");
    QTest::newRow("beyond the largest double") << stored("1.5", "1e999");
    QTest::newRow("not a number") << stored("1.5", "NaN");
    QTest::newRow("bad UTF-8") << stored("\"x\"", "\"\xff\"");
    QTest::newRow("one bad element among good ones") << stored().chopped(1) + ",{}]";
    QTest::newRow("nested ten thousand deep") << QByteArray(10'000, '[') + QByteArray(10'000, ']');
    QTest::newRow("twenty megabytes of blanks") << stored() + QByteArray(20 * 1024 * 1024, ' ');
}

void PriceAlertTest::refusesTheWholeText()
{
    QFETCH(QByteArray, json);
    QVERIFY(!decodeAlerts(json));
}

void PriceAlertTest::acceptsWhatCarriesNoMeaning_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::newRow("blanks and line breaks") << stored(":", " :\n ");
    QTest::newRow("unknown keys") << stored("{", R"({"colour":["red",{}],)");
    QTest::newRow("null for the optional number") << stored("{", R"({"lastFiredAt":null,)");
    QTest::newRow("the last of equal keys counts") << stored("{", R"({"targetPrice":"old",)");
    QTest::newRow("exponents") << stored("1.5", "15E-1");
}

void PriceAlertTest::acceptsWhatCarriesNoMeaning()
{
    QFETCH(QByteArray, json);
    QCOMPARE(decodeAlerts(json), decodeAlerts(stored()));
    QCOMPARE(decodeAlerts(json)->size(), 1U);
}

KESTRUNE_TEST(PriceAlertTest)

#include "tst_pricealert.moc"
