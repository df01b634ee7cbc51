// SPDX-License-Identifier: MIT
#include "analysis/priceformat.h"
#include "support/rows.h"
#include "support/testregistry.h"

#include <climits>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

class PriceFormatTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void decimalsByMagnitude()
    {
        const struct
        {
            double price;
            int decimals;
        } rows[] = {{1000, 0},   {999.99, 1}, {100, 1},   {99.99, 2},   {1, 2},      {0.9999, 4}, {0.01, 4},
                    {0.0099, 6}, {0, 6},      {-5000, 6}, {qQNaN(), 6}, {qInf(), 0}, {-qInf(), 6}};
        for (const auto &[price, decimals] : rows)
            QVERIFY2(getDecimals(price) == decimals, qPrintable(QString::number(price)));
    }

    void displayText()
    {
        const struct
        {
            const char *name;
            double price;
            std::optional<int> decimals;
            QString text;
        } rows[] = {
            {"a large price has no decimals", 67234.56, {}, u"67,235"_s},
            {"six places round", 0.00001234, {}, u"0.000012"_s},
            {"given decimals win over a small price", 0.001, 2, u"0.00"_s},
            {"a negative price has six places by itself", -0.5, {}, u"-0.500000"_s},
            {"rounding up to four digits brings the separator", 999.6, 0, u"1,000"_s},
            {"seven digits, two separators", 1234567.891, 2, u"1,234,567.89"_s},
            {"a half goes up to the even two", 1.5, 0, u"2"_s},
            {"a half goes down to the even two", 2.5, 0, u"2"_s},
            {"the shortest spelling decides, not the binary value", 1.015, 2, u"1.02"_s},
            {"nor of a huge price", 4.03804497852781690e19, 0, u"40,380,449,785,278,170,000"_s},
            {"negative zero keeps its sign", -0.0, 2, u"-0.00"_s},
            {"what rounds to zero keeps its sign", -0.001, 2, u"-0.00"_s},
            {"decimals below zero count as none", 1234.5, -3, u"1,234"_s},
            {"at most a hundred places", 1e-100, INT_MAX, u"0."_s + QString(99, u'0') + u'1'},
            {"hundreds of digits", 1e300, {}, u"1"_s + u",000"_s.repeated(100)},
            {"negative infinity as printf has it", -qInf(), {}, u"-inf"_s},
            {"no number as printf has it", qQNaN(), 2, u"nan"_s},
        };
        forEachRow(rows, [](const auto &row) { QCOMPARE(fmtP(row.price, row.decimals), row.text); });
    }

    void ungroupedDigits()
    {
        QCOMPARE(roundedDecimal(1234567.125, 2), u"1234567.12"_s);
        QCOMPARE(roundedDecimal(-0.0, 0), u"-0"_s);
        QCOMPARE(roundedDecimal(qQNaN(), 2) + roundedDecimal(-qInf(), 2), QString());
    }
};

KESTRUNE_TEST(PriceFormatTest)
#include "tst_priceformat.moc"
