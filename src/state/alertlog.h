// SPDX-License-Identifier: MIT
#pragma once

#include "platform/clock.h"

#include <QObject>
#include <QString>

#include <optional>
#include <vector>

namespace kestrune {

/// One firing of an alert.
struct AlertLogEntry
{
    QString id;         ///< of the alert
    Instant time;       ///< of the firing
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

/// What rang, oldest first.
class AlertLog : public QObject
{
    Q_OBJECT
public:
    static constexpr std::size_t mostEntries = 1000;

    [[nodiscard]] const std::vector<AlertLogEntry> &entries() { return m_entries; }
    void append(AlertLogEntry entry);
    /// Of the last firing of this alert, if it is not acknowledged yet.
    void acknowledge(const QString &id, Instant time, const QString &where);

Q_SIGNALS:
    void changed();

private:
    std::vector<AlertLogEntry> m_entries;
};

} // namespace kestrune
