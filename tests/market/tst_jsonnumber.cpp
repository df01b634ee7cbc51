// SPDX-License-Identifier: MIT
#include "market/jsonnumber.h"
#include "support/testregistry.h"

#include <QTest>

#include <array>
#include <cmath>
#include <limits>
#include <vector>

using namespace kestrune;

class JsonNumberTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void literals_data();
    void literals();
    void otherTextIsNoNumber_data();
    void otherTextIsNoNumber();
    void fieldsAreFiniteAndInRange();
};

void JsonNumberTest::literals_data()
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<double>("value");
    QTest::newRow("decimal") << QByteArray("-0.3892") << -0.3892;
    QTest::newRow("leading plus") << QByteArray("+2.50") << 2.5;
    QTest::newRow("exponent") << QByteArray("1.5E+3") << 1500.0;
    QTest::newRow("bare points") << QByteArray("5.") << 5.0;
    QTest::newRow("leading point") << QByteArray(".5") << 0.5;
    QTest::newRow("more digits than a double") << QByteArray("27.17900000000000000000000000000001") << 27.179;
    QTest::newRow("smallest double") << QByteArray("4.9e-324") << 4.9e-324;
    QTest::newRow("above the range") << QByteArray("1e400") << infinity;
    QTest::newRow("above the range, signs") << QByteArray("+1e400") << infinity;
    QTest::newRow("below the range") << QByteArray("-1e400") << -infinity;
    QTest::newRow("next to nothing") << QByteArray("1e-400") << 0.0;
    QTest::newRow("huge exponent") << QByteArray("1e99999999999999999999") << infinity;
    QTest::newRow("a million digits") << QByteArray(1'000'000, '7') << infinity;
    QTest::newRow("a long way to nothing") << "0." + QByteArray(1'000'000, '0') + "1" << 0.0;
    QTest::newRow("plus infinity in capitals") << QByteArray("+INFINITY") << infinity;
    QTest::newRow("minus inf") << QByteArray("-Inf") << -infinity;
    QTest::newRow("nan") << QByteArray("NaN") << std::numeric_limits<double>::quiet_NaN();
}

void JsonNumberTest::literals()
{
    QFETCH(QByteArray, text);
    QFETCH(double, value);
    const auto read = decimalNumber(text.toStdString());
    QVERIFY(read);
    QVERIFY(*read == value || (std::isnan(*read) && std::isnan(value)));
}

void JsonNumberTest::otherTextIsNoNumber_data()
{
    QTest::addColumn<QByteArray>("text");
    for (const char *text :
         {"",  " ",   " 1",  "1 ",  "1,5", "1.5.2",   "0x10", "0x1p3", "1e",    "e5",           "+",
          "-", "+-1", "-+1", "++1", ".",   "infinit", "inf ", "nanx",  "1_000", "\xef\xbc\x91", "--"})
        QTest::addRow("\"%s\"", text) << QByteArray(text);
    QTest::newRow("a line break") << QByteArray("1\n");
    QTest::newRow("a zero byte") << QByteArray("1\0", 2);
}

void JsonNumberTest::otherTextIsNoNumber()
{
    QFETCH(QByteArray, text);
    QVERIFY(!decimalNumber(text.toStdString()));
}

void JsonNumberTest::fieldsAreFiniteAndInRange()
{
    const std::array<QStringView, 7> fields{u"1.25", u"", u"inf", u"nan", u"1e400", u"１", u"+3"};
    const std::vector<std::optional<double>> expected{1.25, {}, {}, {}, {}, {}, 3.0, {}};
    for (std::size_t i = 0; i < expected.size(); ++i)
        QCOMPARE(field(fields, i), expected[i]);
}

KESTRUNE_TEST(JsonNumberTest)

#include "tst_jsonnumber.moc"
