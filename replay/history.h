// SPDX-License-Identifier: MIT
#pragma once

#include "replay/historyfile.h"
#include "replay/timeline.h"

#include <QDir>

#include <functional>

namespace kestrune::replay {

/// The recorded candles of one instrument at one interval.
struct Series
{
    Interval interval;
    CandleList candles; ///< not empty
};

/// Joins the series of an instrument into one path: the finest series wins wherever it covers a coarser
/// candle completely, or from its opening to the end of the data. The very last candle counts as still
/// forming. Absent without any series.
[[nodiscard]] std::optional<Recording> makeRecording(const Instrument &instrument,
                                                     std::vector<Series> series);

/// A folder of candle files. Files are read when their instrument is first asked for.
class History
{
public:
    /// `warn` gets one line about each file that cannot be read in full.
    History(const QString &folder, std::function<void(const QString &)> warn);

    /// The recording of an instrument; absent without a usable file. Of several files of one interval,
    /// the one whose last candle is newest counts.
    [[nodiscard]] std::optional<Recording> find(const Instrument &instrument) const;

private:
    [[nodiscard]] CandleList read(const QString &fileName, const HistoryName &name) const;

    QDir m_folder;
    std::function<void(const QString &)> m_warn;
    std::multimap<const Instrument *, std::pair<QString, HistoryName>> m_files;
};

} // namespace kestrune::replay
