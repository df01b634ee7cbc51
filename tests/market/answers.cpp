// SPDX-License-Identifier: MIT
#include "market/answers.h"

#include <QDate>
#include <QFile>
#include <QTest>

#include <algorithm>

namespace kestrune::test {

namespace {

constexpr qint64 firstTime = 1'700'000'000; // seconds
constexpr qint64 step = 3600;

/// Rows with {t}, {ms}, {o}, {h}, {l}, {c} and {date} filled in.
QByteArrayList rows(const QByteArray &pattern, int count, int close)
{
    QByteArrayList list;
    for (int i = 0; i < count; ++i) {
        const qint64 time = firstTime + i * step;
        const int c = close + i;
        QByteArray row = pattern;
        row.replace("{t}", QByteArray::number(time)).replace("{ms}", QByteArray::number(time * 1000));
        row.replace("{o}", QByteArray::number(c - 1)).replace("{c}", QByteArray::number(c));
        row.replace("{h}", QByteArray::number(c + 2)).replace("{l}", QByteArray::number(c - 3));
        row.replace("{date}", QDate(2024, 1, 1).addDays(i).toString(Qt::ISODate).toLatin1());
        list.append(row);
    }
    if (!list.isEmpty())
        list.first().chop(1);
    if (!list.isEmpty())
        list.first().append(",\"unread\"]");
    return list;
}

QByteArray array(const QByteArrayList &list)
{
    return '[' + list.join(',') + ']';
}

} // namespace

QByteArray dataFile(const QString &name)
{
    QFile file(QStringLiteral(KESTRUNE_SOURCE_DIR "/tests/data/") + name);
    const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    if (bytes.isEmpty())
        QTest::qFail(qPrintable(QStringLiteral("no data in ") + file.fileName()), __FILE__, __LINE__);
    return bytes;
}

QByteArray gateCandles(int count, int close)
{
    return array(rows(R"(["{t}","9","{c}","{h}","{l}","{o}","5","true"])", count, close));
}

QByteArray binanceCandles(int count, int close)
{
    return array(rows(R"([{ms},"{o}","{h}","{l}","{c}","5",0,"9",7,"1","1"])", count, close));
}

QByteArray okxCandles(int count, int close)
{
    auto list = rows(R"(["{ms}","{o}","{h}","{l}","{c}","5","9","9"])", count, close);
    std::reverse(list.begin(), list.end());
    return R"({"code":"0","msg":"","data":)" + array(list) + '}';
}

QByteArray stockCandles(const QString &code, const QString &key, int count, int close)
{
    const auto list = rows(R"(["{date}","{o}","{c}","{h}","{l}","5"])", count, close);
    return R"({"code":0,"data":{")" + code.toUtf8() + R"(":{")" + key.toUtf8() + R"(":)" + array(list) +
           "}}}";
}

QByteArray gateTicker(double price)
{
    return R"([{"contract":"X","last":")" + QByteArray::number(price) +
           R"(","change_percentage":"-0.3892","extra":"unread"}])";
}

QByteArray binanceTicker(double price)
{
    return R"({"symbol":"X","lastPrice":")" + QByteArray::number(price) +
           R"(","priceChangePercent":"2.35","extra":"unread"})";
}

QStringList quoteFields()
{
    QStringList fields(50, QStringLiteral("0"));
    const std::pair<int, const char *> known[] = {{0, "1"},    {1, "Name"}, {3, "100"},    {4, "98"},
                                                  {5, "99"},   {6, "1234"}, {31, "2.01"},  {32, "2.1"},
                                                  {33, "101"}, {34, "97"},  {47, "107.8"}, {48, "88.2"}};
    for (const auto &[position, text] : known)
        fields[position] = QString::fromLatin1(text);
    return fields;
}

QString quotePiece(const QString &key, const QStringList &fields)
{
    return key + QStringLiteral("=\"") + fields.join(u'~') + u'"';
}

} // namespace kestrune::test
