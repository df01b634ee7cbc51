// SPDX-License-Identifier: MIT
#include "replay/layouts.h"

#include "replay/numbertext.h"
#include "replay/stockquote.h"

#include <QStringEncoder>

#include <algorithm>
#include <cmath>

namespace kestrune::replay {

namespace {

constexpr int mostRows = 2000;

bool isStock(const std::optional<Listing> &listing)
{
    return listing && listing->instrument().venue != Venue::crypto;
}

QByteArray inGb18030(const QString &text)
{
    QStringEncoder encoder("GB18030");
    // Qt without ICU knows no Chinese encodings; readers of this source fall back to UTF-8.
    return encoder.isValid() ? QByteArray(encoder.encode(text)) : text.toUtf8();
}

std::optional<Interval> periodFromText(const QByteArray &period)
{
    if (period == "day")
        return intervalFromText("1d", chinaOffsetMs);
    if (period == "week")
        return intervalFromText("1w", chinaOffsetMs);
    if (period == "month")
        return intervalFromText("1M", chinaOffsetMs);
    return std::nullopt;
}

/// The two exchanges that buy back shares or pay dividends add a seventh entry to the day's row.
QByteArray dayNote(const Instrument &instrument, const Row &row, qint64 dayBefore)
{
    const QByteArray date = chinaDate(row.candle.ts);
    if (instrument.venue == Venue::hongkong) {
        if (QByteArrayView(instrument.code) != "hk00700")
            return {};
        return R"(,{"cqr":")" + date +
               R"(","FHcontent":"","HGcontent":"","paixiri":"","hgcgContent":"","ggContent":""})";
    }
    // The first trading day after 25 June goes ex dividend.
    const QByteArray year = date.left(5);
    if (date <= year + "06-25" || (dayBefore != 0 && chinaDate(dayBefore) > year + "06-25"))
        return {};
    return R"(,{"nd":")" + QByteArray::number(year.left(4).toInt() - 1) + R"(","fh_sh":"20.00","djr":")" +
           chinaDate(dayBefore != 0 ? dayBefore : row.candle.ts) + R"(","cqr":")" + date +
           R"(","FHcontent":)" + escapedJson(QStringLiteral("10派20.00元")) + '}';
}

QByteArray rowText(const Instrument &instrument, const Row &row, bool running, const QByteArray &note)
{
    const Candle &candle = row.candle;
    const double volume = instrument.venue == Venue::mainland ? candle.v / instrument.lotSize : candle.v;
    // The source spells the close of a running week or month with two decimals where they are enough.
    const int closeDecimals = running ? neededDecimals(candle.c, 2, 3) : 3;
    return R"([")" + chinaDate(row.lastTime) + R"(",")" + fixedText(candle.o, 3) + R"(",")" +
           fixedText(candle.c, closeDecimals) + R"(",")" + fixedText(candle.h, 3) + R"(",")" +
           fixedText(candle.l, 3) + R"(",")" + fixedText(std::round(volume), 3) + '"' + note + ']';
}

/// What the market's time says about an exchange, in the source's own words.
QByteArray marketState(qint64 now)
{
    const auto state = [now](Venue venue, const char *market) {
        const qint64 midnight = chinaMidnight(now);
        const TimeSpan hours = tradingHours(venue, midnight);
        const bool open = isTradingDay(venue, midnight) && now >= hours.start && now < hours.end;
        return QLatin1Char('|') + QLatin1String(market) +
               (open ? QStringLiteral("_open_交易中") : QStringLiteral("_close_已休市"));
    };
    return escapedJson(QLatin1String(chinaTime(now, "yyyy-MM-dd HH:mm:ss")) + state(Venue::hongkong, "HK") +
                       state(Venue::mainland, "SH") + state(Venue::mainland, "SZ"));
}

QByteArray escapedList(const QStringList &texts)
{
    QByteArrayList entries;
    for (const QString &text : texts)
        entries.append(escapedJson(text));
    return jsonArray(entries);
}

/// The object of one code; `quote` is "[]" for a code that nobody trades.
Answer candleAnswer(const QByteArray &code, const QByteArray &key, const QByteArray &rows,
                    const QByteArray &quote, qint64 now, const QByteArray &before)
{
    const QByteArray name = escapedJson(QString::fromUtf8(code));
    return {R"({"code":0,"msg":"","data":{)" + name + R"(:{")" + key + R"(":)" + rows + R"(,"qt":{)" + name +
            ':' + quote + R"(,"market":[)" + marketState(now) +
            R"(]},"mx_price":{"mx":[],"price":[]},"prec":")" + before + R"(","version":"16"}}})"};
}

Answer stockCandles(const Listing &listing, const QByteArray &period, const Interval &interval, int count,
                    const QByteArray &adjustment)
{
    const Instrument &instrument = listing.instrument();
    // One row more tells the close before the first row shown.
    std::vector<Row> rows = listing.timeline->rows(interval, count + 1, listing.now);
    QByteArray before;
    qint64 dayBefore = 0;
    if (rows.size() > static_cast<std::size_t>(count)) {
        before = fixedText(rows.front().candle.c, 3);
        dayBefore = rows.front().candle.ts;
        rows.erase(rows.begin());
    }
    QByteArrayList texts;
    for (const Row &row : rows) {
        const bool daily = period == "day";
        const bool running = !daily && row.end > listing.now;
        texts.append(
            rowText(instrument, row, running, daily ? dayNote(instrument, row, dayBefore) : QByteArray()));
        dayBefore = row.candle.ts;
    }
    // Hong Kong candles come under the bare period whatever adjustment was asked for.
    const QByteArray key = instrument.venue == Venue::hongkong ? period : adjustment + period;
    return candleAnswer(instrument.code, key, jsonArray(texts), escapedList(quoteFields(listing)),
                        listing.now, before);
}

} // namespace

Answer tencentQuotes(Market &market, QByteArrayView codes)
{
    QByteArray body;
    for (const QByteArray &code : codes.toByteArray().split(',')) {
        const auto listing = market.find(code);
        if (!isStock(listing))
            continue;
        body.append("v_" + code + "=\"" + inGb18030(quoteFields(*listing).join(QLatin1Char('~'))) + "\";\n");
    }
    if (body.isEmpty())
        body = "v_pv_none_match=\"1\";\n";
    return {body, 200, "text/html; charset=GBK"};
}

Answer tencentCandles(Market &market, const Query &query)
{
    // code, period, first day, last day, count, adjustment
    const QList<QByteArray> parts = query.value("param").split(',');
    bool countIsNumber = parts.size() > 4;
    const int asked = countIsNumber && !parts[4].isEmpty() ? parts[4].toInt(&countIsNumber) : 320;
    const QByteArray adjustment = parts.size() > 5 ? parts[5] : QByteArray();
    const auto interval = parts.size() > 1 ? periodFromText(parts[1]) : std::nullopt;
    const bool knownAdjustment = adjustment.isEmpty() || adjustment == "qfq" || adjustment == "hfq";
    if (parts[0].isEmpty() || !interval || !countIsNumber || asked < 1 || !knownAdjustment)
        return {R"({"code":1,"msg":"bad params"})"};
    const auto listing = market.find(parts[0]);
    if (!isStock(listing))
        return candleAnswer(parts[0], parts[1], "[]", "[]", market.now(), {});
    return stockCandles(*listing, parts[1], *interval, std::min(asked, mostRows), adjustment);
}

Answer tencentSearch(const Query &query)
{
    const QString text = QString::fromUtf8(query.value("q")).toLower();
    QByteArrayList found;
    for (const Instrument &each : allInstruments()) {
        const QString code = QLatin1String(each.code);
        const QString name = QString::fromUtf8(each.name);
        const bool hit = code.startsWith(text) || code.sliced(2).startsWith(text) ||
                         QLatin1String(each.pinyin).startsWith(text) || name.toLower().contains(text);
        if (each.venue == Venue::crypto || text.isEmpty() || !hit)
            continue;
        found.append(code.left(2).toLatin1() + '~' + code.sliced(2).toLatin1() + '~' +
                     escapedJson(name).sliced(1).chopped(1) + '~' + each.pinyin + '~' + searchType(each));
    }
    return {"v_hint=\"" + (found.isEmpty() ? QByteArray("N") : found.join('^')) + "\";\n", 200,
            "text/html; charset=GBK"};
}

} // namespace kestrune::replay
