// SPDX-License-Identifier: MIT
#include "replay/stockquote.h"

#include "replay/numbertext.h"
#include "replay/random.h"

#include <algorithm>
#include <cmath>

namespace kestrune::replay {

namespace {

constexpr Interval stockDay{Interval::Unit::fixed, dayMs, chinaOffsetMs};
constexpr double hundredMillion = 1e8;
constexpr int quotedDaysPerYear = 245;

/// Today's trading beside the yardsticks that a quote compares it with.
struct QuoteSession
{
    Candle today;
    qint64 time;          ///< of the last trade
    double previousClose; ///< of the trading day before
    double yearHigh;
    double yearLow;
    double yearAgo;     ///< the close a year ago
    double usualVolume; ///< of a day, over the last week
};

QuoteSession sessionOf(const Listing &listing)
{
    const std::vector<Row> rows = listing.timeline->rows(stockDay, quotedDaysPerYear, listing.now);
    const Row &last = rows.back();
    const qint64 close = tradingHours(listing.instrument().venue, last.candle.ts).end;
    QuoteSession session{last.candle,
                         std::min(listing.now, close),
                         last.candle.o,
                         last.candle.h,
                         last.candle.l,
                         rows.front().candle.c,
                         0};
    if (rows.size() > 1)
        session.previousClose = rows[rows.size() - 2].candle.c;
    for (const Row &row : rows) {
        session.yearHigh = std::max(session.yearHigh, row.candle.h);
        session.yearLow = std::min(session.yearLow, row.candle.l);
    }
    const std::size_t week = std::min<std::size_t>(5, rows.size());
    for (std::size_t i = rows.size() - week; i < rows.size(); ++i)
        session.usualVolume += rows[i].candle.v / static_cast<double>(week);
    return session;
}

double percent(double value, double base)
{
    return base > 0 ? (value - base) / base * 100 : 0;
}

double averagePrice(const Candle &candle)
{
    return (candle.o + candle.h + candle.l + candle.c) / 4;
}

/// Fields by position; what is not set stays empty.
class Fields
{
public:
    Fields(int count, const char *fill)
    {
        for (int i = 0; i < count; ++i)
            m_texts.append(QLatin1String(fill));
    }
    void set(int position, const QByteArray &text) { m_texts[position] = QString::fromUtf8(text); }
    [[nodiscard]] QStringList texts() const { return m_texts; }

private:
    QStringList m_texts;
};

/// Five buy orders from field 9 and five sell orders from field 19: a price and a number of lots each.
void setOrderBook(Fields &fields, const Listing &listing, double price, int decimals, qint64 time)
{
    const Instrument &instrument = listing.instrument();
    Random random(
        mixSeed(static_cast<quint64>(time / secondMs), static_cast<quint64>(std::llround(price * 1000))));
    const double tick = 1 / instrument.ticksPerUnit;
    for (int level = 0; level < 5; ++level) {
        fields.set(9 + 2 * level, fixedText(price - tick * level, decimals));
        fields.set(10 + 2 * level, QByteArray::number(1 + random.index(60)));
        fields.set(19 + 2 * level, fixedText(price + tick * (level + 1), decimals));
        fields.set(20 + 2 * level, QByteArray::number(1 + random.index(60)));
    }
}

QStringList mainlandFields(const Listing &listing)
{
    const Instrument &instrument = listing.instrument();
    const QuoteSession session = sessionOf(listing);
    const Candle &today = session.today;
    const int gridDecimals = instrument.ticksPerUnit > 100 ? 3 : 2;
    int decimals = gridDecimals;
    for (const double value : {today.o, today.h, today.l, today.c, session.previousClose})
        decimals = neededDecimals(value, decimals, 3);
    const auto money = [decimals](double value) { return fixedText(value, decimals); };
    const double lots = std::round(today.v / instrument.lotSize);
    const double turnover = today.v * averagePrice(today);
    const double bought = std::floor(lots * 0.48);
    const double value = instrument.shares * today.c / hundredMillion;
    const QByteArray shares = fixedText(instrument.shares, 0);
    const QByteArray turnoverTenThousands = fixedText(turnover / 1e4, 0);
    const bool shanghai = QByteArrayView(instrument.code).startsWith("sh");

    Fields fields(88, "");
    fields.set(0, shanghai ? "1" : "51");
    fields.set(1, instrument.name);
    fields.set(2, QByteArray(instrument.code).sliced(2));
    fields.set(3, money(today.c));
    fields.set(4, money(session.previousClose));
    fields.set(5, money(today.o));
    fields.set(6, fixedText(lots, 0));
    fields.set(7, fixedText(bought, 0));
    fields.set(8, fixedText(lots - bought, 0));
    setOrderBook(fields, listing, today.c, decimals, session.time);
    fields.set(30, chinaTime(session.time, "yyyyMMddHHmmss"));
    fields.set(31, money(today.c - session.previousClose));
    fields.set(32, fixedText(percent(today.c, session.previousClose), 2));
    fields.set(33, money(today.h));
    fields.set(34, money(today.l));
    fields.set(35, money(today.c) + '/' + fixedText(lots, 0) + '/' + fixedText(turnover, 0));
    fields.set(36, fixedText(lots, 0));
    fields.set(37, turnoverTenThousands);
    fields.set(38, fixedText(today.v / instrument.shares * 100, 2));
    fields.set(39, fixedText(instrument.earningsRatio, 2));
    fields.set(41, money(today.h));
    fields.set(42, money(today.l));
    fields.set(43, fixedText((today.h - today.l) / session.previousClose * 100, 2));
    fields.set(44, fixedText(value, 2));
    fields.set(45, fixedText(value, 2));
    fields.set(46, fixedText(instrument.bookRatio, 2));
    if (QByteArrayView(searchType(instrument)) != "ZS") { // an index has no limits
        fields.set(47, fixedText(limitPrice(instrument, session.previousClose, true), gridDecimals));
        fields.set(48, fixedText(limitPrice(instrument, session.previousClose, false), gridDecimals));
    }
    fields.set(49, fixedText(session.usualVolume > 0 ? today.v / session.usualVolume : 0, 2));
    fields.set(50, "0");
    fields.set(51, money(averagePrice(today)));
    fields.set(52, fixedText(instrument.earningsRatio * 0.94, 2));
    fields.set(53, fixedText(instrument.earningsRatio, 2));
    fields.set(56, "0.41");
    fields.set(57, fixedText(turnover / 1e4, 4));
    fields.set(58, "0.0000");
    fields.set(59, "0");
    fields.set(60, "   A");
    fields.set(61, searchType(instrument));
    fields.set(62, fixedText(percent(today.c, session.yearAgo), 2));
    fields.set(67, money(session.yearHigh));
    fields.set(68, money(session.yearLow));
    fields.set(72, shares);
    fields.set(73, shares);
    fields.set(76, shares);
    fields.set(82, "CNY");
    fields.set(83, "0");
    fields.set(84, "___D__F__N");
    fields.set(85, money(today.c));
    fields.set(86, "0");
    return fields.texts();
}

QStringList hongkongFields(const Listing &listing)
{
    const Instrument &instrument = listing.instrument();
    const QuoteSession session = sessionOf(listing);
    const Candle &today = session.today;
    const auto money = [](double value) { return fixedText(value, 3); };
    const QByteArray price = money(today.c);
    const QByteArray volume = fixedText(std::round(today.v), 1);
    const QByteArray value = fixedText(instrument.shares * today.c / hundredMillion, 4);
    const QByteArray shares = fixedText(instrument.shares, 2);

    Fields fields(78, "0");
    fields.set(0, "100");
    fields.set(1, instrument.name);
    fields.set(2, QByteArray(instrument.code).sliced(2));
    fields.set(3, price);
    fields.set(4, money(session.previousClose));
    fields.set(5, money(today.o));
    fields.set(6, volume);
    fields.set(9, price);
    fields.set(19, price);
    fields.set(29, volume);
    fields.set(30, chinaTime(session.time, "yyyy/MM/dd HH:mm:ss"));
    fields.set(31, money(today.c - session.previousClose));
    fields.set(32, fixedText(percent(today.c, session.previousClose), 2));
    fields.set(33, money(today.h));
    fields.set(34, money(today.l));
    fields.set(35, price);
    fields.set(36, volume);
    fields.set(37, money(today.v * averagePrice(today)));
    fields.set(39, fixedText(instrument.earningsRatio, 2));
    fields.set(40, "");
    fields.set(43, fixedText((today.h - today.l) / session.previousClose * 100, 2));
    fields.set(44, value);
    fields.set(45, value);
    fields.set(46, instrument.englishName);
    // Not limits: from here on Hong Kong lines mean other things than A-share lines.
    fields.set(47, "1.23");
    fields.set(48, money(session.yearHigh));
    fields.set(49, money(session.yearLow));
    fields.set(50, fixedText(session.usualVolume > 0 ? today.v / session.usualVolume : 0, 2));
    fields.set(51, "0.00");
    fields.set(57, fixedText(instrument.earningsRatio * 0.92, 2));
    fields.set(58, fixedText(instrument.bookRatio, 2));
    fields.set(59, fixedText(today.v / instrument.shares * 100, 2));
    fields.set(60, QByteArray::number(instrument.lotSize));
    fields.set(61, fixedText(percent(today.c, session.yearAgo), 2));
    fields.set(63, searchType(instrument));
    fields.set(69, shares);
    fields.set(70, shares);
    fields.set(73, money(averagePrice(today)));
    fields.set(75, "HKD");
    fields.set(76, "1");
    fields.set(77, "50");
    return fields.texts();
}

} // namespace

QStringList quoteFields(const Listing &listing)
{
    return listing.instrument().venue == Venue::mainland ? mainlandFields(listing) : hongkongFields(listing);
}

} // namespace kestrune::replay
