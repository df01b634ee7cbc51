// SPDX-License-Identifier: MIT
#pragma once

#include "platform/clock.h"
#include "platform/sharedlinefile.h"

#include <QObject>
#include <QString>

#include <functional>
#include <optional>
#include <vector>

namespace kestrune {

/// One firing of an alert.
struct AlertLogEntry
{
    QString id;         ///< of the alert
    Instant time;       ///< of the firing, in whole milliseconds
    QString symbol;     ///< instrument code
    QString name;       ///< of the instrument, for the reader
    double target = 0;  ///< price that was watched
    bool above = false; ///< the price had to rise to it
    double price = 0;   ///< live price of the touch
    QString label;      ///< text of the alert's row
    std::optional<Instant> acknowledgedAt = {};
    QString acknowledgedWhere = {}; ///< "panel" or "notification"
    bool away = false;              ///< the screen was locked or the machine slept

    [[nodiscard]] bool operator==(const AlertLogEntry &) const = default;
};

/// As it stands in the log: one JSON object without a line break.
[[nodiscard]] QByteArray toJsonLine(const AlertLogEntry &entry);
/// Absent when something is missing or of another kind.
[[nodiscard]] std::optional<AlertLogEntry> fromJsonLine(const QByteArray &line);

/// What rang, oldest first, also in earlier runs and in other bars over the same file. What cannot be written
/// is kept in memory and written with what comes next.
class AlertLog : public QObject
{
    Q_OBJECT
public:
    static constexpr std::size_t mostEntries = 1000;

    /// Without a path everything is kept in memory alone.
    explicit AlertLog(const QString &path = {});

    /// Reads the file when it is another than before.
    [[nodiscard]] const std::vector<AlertLogEntry> &entries();
    void append(AlertLogEntry entry);
    /// Of the last firing of this alert, if it is not acknowledged yet.
    void acknowledge(const QString &id, Instant time, const QString &where);

Q_SIGNALS:
    void changed();

private:
    void takeOver();
    /// Makes a change, which says whether it is one, in what the file holds at that moment.
    void change(const std::function<bool()> &make);
    void write();

    std::optional<SharedLineFile> m_file;
    std::vector<AlertLogEntry> m_entries;
    std::size_t m_unwritten = 0; ///< of the last ones
    bool m_unreadable = false;   ///< the file holds nothing that can be read
    bool m_changed = false;      ///< some that are written are others now
};

} // namespace kestrune
