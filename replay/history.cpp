// SPDX-License-Identifier: MIT
#include "replay/history.h"

#include <QFile>

#include <algorithm>

namespace kestrune::replay {

namespace {

constexpr qint64 maxFileSize = 64LL * 1024 * 1024;

Block blockOf(const Candle &candle, const TimeSpan &span)
{
    return {span, candle.o, candle.h, candle.l, candle.c, candle.v};
}

/// Replaces the blocks that finer rows cover, see makeRecording.
std::vector<Block> refineBlocks(const std::vector<Block> &coarse, const std::vector<Block> &fine)
{
    std::vector<Block> merged;
    merged.reserve(coarse.size() + fine.size());
    auto row = fine.begin();
    for (auto block = coarse.begin(); block != coarse.end(); ++block) {
        while (row != fine.end() && row->span.start < block->span.start)
            merged.push_back(*row++);
        const auto first = row;
        qint64 covered = block->span.start;
        while (row != fine.end() && row->span.start < block->span.end) {
            if (row->span.start == covered)
                covered = row->span.end;
            ++row;
        }
        const bool last = block + 1 == coarse.end() && row == fine.end() && first != row;
        const bool contiguous = first != row && covered == (row - 1)->span.end;
        if (contiguous && (covered == block->span.end || last))
            merged.insert(merged.end(), first, row);
        else
            merged.push_back(*block);
    }
    merged.insert(merged.end(), row, fine.end());
    return merged;
}

std::vector<Block> cryptoBlocks(const std::vector<Series> &series)
{
    std::vector<Block> blocks;
    for (const Series &each : series) { // coarse to fine
        std::vector<Block> rows;
        rows.reserve(each.candles.size());
        for (const Candle &candle : each.candles)
            rows.push_back(blockOf(candle, {candle.ts, bucketEnd(each.interval, candle.ts)}));
        blocks = refineBlocks(blocks, rows);
    }
    // Half of the last candle is still to come, so that it moves on instead of giving way to a flat one.
    TimeSpan &last = blocks.back().span;
    last.end = last.start + std::max(secondMs, (last.end - last.start) / 2);
    return blocks;
}

/// From the first to the last trading minute of a row; absent when no exchange day lies in it.
std::optional<TimeSpan> tradingSpan(Venue venue, const Interval &interval, qint64 start)
{
    const qint64 end = bucketEnd(interval, start);
    if (end - start <= dayMs) // a recorded day was one, whatever the calendar says
        return tradingHours(venue, chinaMidnight(start));
    const qint64 first = tradingDayFrom(venue, start);
    if (first >= end)
        return std::nullopt;
    qint64 last = end - dayMs;
    while (!isTradingDay(venue, last))
        last -= dayMs;
    return TimeSpan{tradingHours(venue, first).start, tradingHours(venue, last).end};
}

/// Days from whatever is finer, so that stocks have no series below a day.
Series asDays(const Series &series)
{
    Series dayBars{{Interval::Unit::fixed, dayMs, chinaOffsetMs}, {}};
    for (const Candle &candle : series.candles) {
        const qint64 day = bucketStart(dayBars.interval, candle.ts);
        if (dayBars.candles.empty() || dayBars.candles.back().ts != day) {
            dayBars.candles.push_back(candle);
            dayBars.candles.back().ts = day;
            continue;
        }
        Candle &joined = dayBars.candles.back();
        joined.h = std::max(joined.h, candle.h);
        joined.l = std::min(joined.l, candle.l);
        joined.c = candle.c;
        joined.v += candle.v;
    }
    return dayBars;
}

std::vector<Block> stockBlocks(const Instrument &instrument, const std::vector<Series> &series)
{
    std::vector<Block> blocks;
    for (auto each = series.rbegin(); each != series.rend(); ++each) { // fine to coarse: older and older
        std::vector<Block> older;
        for (const Candle &candle : each->candles) {
            const auto span = tradingSpan(instrument.venue, each->interval, candle.ts);
            if (span && (blocks.empty() || span->end <= blocks.front().span.start))
                older.push_back(blockOf(candle, *span));
        }
        blocks.insert(blocks.begin(), older.begin(), older.end());
    }
    if (blocks.empty())
        return blocks;
    // The recording ends half an hour into its last afternoon, so that the price moves on from its close.
    TimeSpan &last = blocks.back().span;
    last.end = chinaMidnight(last.end) + 13 * hourMs + 30 * minuteMs;
    return blocks;
}

void sortCoarseToFine(std::vector<Series> &series)
{
    std::sort(series.begin(), series.end(),
              [](const Series &a, const Series &b) { return a.interval.length > b.interval.length; });
}

/// Turns what is finer than a day into days, unless there are days already.
void keepDaysAndLonger(std::vector<Series> &series)
{
    while (!series.empty() && series.back().interval.length < dayMs) {
        const Series fine = std::move(series.back());
        series.pop_back();
        if (series.empty() || series.back().interval.length > dayMs)
            series.push_back(asDays(fine));
    }
}

} // namespace

std::optional<Recording> makeRecording(const Instrument &instrument, std::vector<Series> series)
{
    std::erase_if(series, [](const Series &each) { return each.candles.empty(); });
    sortCoarseToFine(series);
    const bool stock = instrument.venue != Venue::crypto;
    if (stock)
        keepDaysAndLonger(series);
    if (series.empty())
        return std::nullopt;

    Recording recording;
    recording.blocks = stock ? stockBlocks(instrument, series) : cryptoBlocks(series);
    if (recording.blocks.empty())
        return std::nullopt;
    const std::size_t count = recording.blocks.size();
    recording.previousClose = count > 1 ? recording.blocks[count - 2].c : recording.blocks[0].o;
    for (Series &each : series) {
        each.candles.pop_back(); // it may be unfinished; the blocks, which go on, give that one
        recording.ownRows.emplace(each.interval.length, std::move(each.candles));
    }
    return recording;
}

History::History(const QString &folder, std::function<void(const QString &)> warn)
    : m_folder(folder), m_warn(std::move(warn))
{
    const QStringList names = m_folder.entryList(QDir::Files | QDir::Readable, QDir::Name);
    for (const QString &fileName : names) {
        if (const auto name = parseHistoryName(fileName))
            m_files.emplace(name->instrument, std::pair(fileName, *name));
    }
}

std::optional<Recording> History::find(const Instrument &instrument) const
{
    std::vector<Series> series;
    const auto [begin, end] = m_files.equal_range(&instrument);
    for (auto file = begin; file != end; ++file) {
        const auto &[fileName, name] = file->second;
        CandleList candles = read(fileName, name);
        if (candles.empty())
            continue;
        const auto same = std::find_if(series.begin(), series.end(), [&name = name](const Series &each) {
            return each.interval == name.interval;
        });
        if (same == series.end())
            series.push_back({name.interval, std::move(candles)});
        else if (candles.back().ts > same->candles.back().ts)
            same->candles = std::move(candles);
    }
    return makeRecording(instrument, std::move(series));
}

CandleList History::read(const QString &fileName, const HistoryName &name) const
{
    QFile file(m_folder.filePath(fileName));
    if (!file.open(QIODevice::ReadOnly)) {
        m_warn(QStringLiteral("%1: %2").arg(fileName, file.errorString()));
        return {};
    }
    if (file.size() > maxFileSize) {
        m_warn(QStringLiteral("%1: larger than 64 MiB, left out").arg(fileName));
        return {};
    }
    HistoryRows rows = parseHistory(file.read(maxFileSize), name);
    if (rows.malformedLines > 0) {
        m_warn(QStringLiteral("%1: %2 malformed lines skipped, the first is line %3")
                   .arg(fileName)
                   .arg(rows.malformedLines)
                   .arg(rows.firstMalformed));
    }
    return std::move(rows.candles);
}

} // namespace kestrune::replay
