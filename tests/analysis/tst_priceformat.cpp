// SPDX-License-Identifier: MIT
#include "analysis/priceformat.h"
#include "support/testregistry.h"

#include <QTest>

#include <cmath>
#include <cstdio>
#include <limits>
#include <random>

using namespace kestrune;
using namespace Qt::StringLiterals;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr int byMagnitude = std::numeric_limits<int>::min(); ///< "no decimals given" in the tables

} // namespace

class PriceFormatTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void decimalsByMagnitude_data();
    void decimalsByMagnitude();
    void displayText_data();
    void displayText();
    void hugeAndTinyPricesAreSpelledOut();
    void agreesWithPrintfAwayFromTies();
    void ungroupedDigits();
};

void PriceFormatTest::decimalsByMagnitude_data()
{
    QTest::addColumn<double>("price");
    QTest::addColumn<int>("decimals");
    const struct
    {
        double price;
        int decimals;
    } rows[] = {{1000, 0},       {999.99, 1},   {100, 1},      {99.99, 2}, {1, 2},
                {0.9999, 4},     {0.01, 4},     {0.0099, 6},   {0, 6},     {-5000, 6},
                {notANumber, 6}, {infinity, 0}, {-infinity, 6}};
    for (const auto &row : rows)
        QTest::addRow("%g has %d places", row.price, row.decimals) << row.price << row.decimals;
}

void PriceFormatTest::decimalsByMagnitude()
{
    QFETCH(double, price);
    QTEST(getDecimals(price), "decimals");
}

void PriceFormatTest::displayText_data()
{
    QTest::addColumn<double>("price");
    QTest::addColumn<int>("decimals");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *name, double price, int decimals, const QString &text) {
        QTest::newRow(name) << price << decimals << text;
    };
    row("a large price has no decimals", 67234.56, byMagnitude, u"67,235"_s);
    row("six places round", 0.00001234, byMagnitude, u"0.000012"_s);
    row("given decimals win over a small price", 0.001, 2, u"0.00"_s);
    row("a negative price has six places by itself", -0.5, byMagnitude, u"-0.500000"_s);
    row("rounding up to four digits brings the separator", 999.6, 0, u"1,000"_s);
    row("seven digits, two separators", 1234567.891, 2, u"1,234,567.89"_s);
    row("negative thousands", -1234567, 0, u"-1,234,567"_s);
    row("a half goes to the even zero", 0.5, 0, u"0"_s);
    row("a half goes up to the even two", 1.5, 0, u"2"_s);
    row("a half goes down to the even two", 2.5, 0, u"2"_s);
    row("the shortest spelling decides, not the binary value", 1.015, 2, u"1.02"_s);
    row("the shortest spelling decides downwards", 1.005, 2, u"1.00"_s);
    row("just above a half", 0.5000000000000001, 0, u"1"_s);
    row("just below a half", 0.49999999999999994, 0, u"0"_s);
    row("nines carry into a new digit", 0.999, 2, u"1.00"_s);
    row("a carry from below the last place", 0.06, 1, u"0.1"_s);
    row("a half of the last place goes to zero", 0.05, 1, u"0.0"_s);
    row("negative zero keeps its sign", -0.0, 2, u"-0.00"_s);
    row("what rounds to zero keeps its sign", -0.001, 2, u"-0.00"_s);
    row("decimals below zero count as none", 1234.5, -3, u"1,234"_s);
    row("infinity as printf has it", infinity, 2, u"inf"_s);
    row("negative infinity as printf has it", -infinity, byMagnitude, u"-inf"_s);
    row("no number as printf has it", notANumber, 2, u"nan"_s);
}

void PriceFormatTest::displayText()
{
    QFETCH(double, price);
    QFETCH(int, decimals);
    QTEST(decimals == byMagnitude ? fmtP(price) : fmtP(price, decimals), "text");
}

void PriceFormatTest::hugeAndTinyPricesAreSpelledOut()
{
    QString expected = u"1"_s;
    for (int i = 0; i < 100; ++i)
        expected += u",000"_s;
    QCOMPARE(fmtP(1e300), expected);
    QCOMPARE(fmtP(std::numeric_limits<double>::max(), 0).size(), 309 + 102);
    QCOMPARE(fmtP(5e-324, 100), u"0."_s + QString(100, u'0'));
    QCOMPARE(fmtP(1e-100, std::numeric_limits<int>::max()), u"0."_s + QString(99, u'0') + u'1');
}

/// Up to 15 digits, and where the dropped part is no tie, rounding the binary value gives the same text.
void PriceFormatTest::agreesWithPrintfAwayFromTies()
{
    std::mt19937_64 random(7);
    for (int i = 0; i < 200'000; ++i) {
        const int decimals = static_cast<int>(random() % 7);
        const double scale = std::pow(10.0, static_cast<int>(random() % 12));
        const double value = static_cast<double>(random() % 1'000'000'000) / scale * (i % 2 ? 1 : -1);
        char text[64];
        std::snprintf(text, sizeof text, "%.30f", value);
        const QString dropped = QString::fromLatin1(text).section(u'.', 1).mid(decimals);
        if (dropped.startsWith(u"4999999"_s) || dropped.startsWith(u"5000000"_s))
            continue;
        std::snprintf(text, sizeof text, "%.*f", decimals, value);
        const QString printed = QString::fromLatin1(text);
        QCOMPARE(roundedDecimal(value, decimals), printed);
        QCOMPARE(fmtP(value, decimals).remove(u','), printed);
    }
}

void PriceFormatTest::ungroupedDigits()
{
    QCOMPARE(roundedDecimal(1234567.125, 2), u"1234567.12"_s);
    QCOMPARE(roundedDecimal(-0.0, 0), u"-0"_s);
    QCOMPARE(roundedDecimal(notANumber, 2), QString());
    QCOMPARE(roundedDecimal(-infinity, 2), QString());
}

KESTRUNE_TEST(PriceFormatTest)
#include "tst_priceformat.moc"
