// SPDX-License-Identifier: MIT
#pragma once

#include "state/appstate.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

namespace kestrune {

/// What a line in a bar is made of.
struct BarRecord
{
    QString text;       ///< what the status item reads; never empty
    QString tooltip;    ///< several lines
    QStringList states; ///< buy, sell or neutral first, then those of stale, alert, closed and demo that hold
    int percentage = 0; ///< nearness to the next zone
    std::optional<double> price; ///< the instrument's own, of whatever age
    QByteArray json; ///< all of it and the analysis: one line of UTF-8 with the number of its schema

    [[nodiscard]] bool is(const QString &state) const { return states.contains(state); }
    /// How a run ends that prints it: 0 with a price of this moment, 3 without any, 4 with one that is old or
    /// not believed.
    [[nodiscard]] int exitStatus() const;
    /// The JSON holds everything.
    [[nodiscard]] bool operator==(const BarRecord &other) const { return json == other.json; }
};

/// 100 at a zone, falling to 0 at `thresholdPct` and beyond; 0 without a distance.
[[nodiscard]] int nearness(std::optional<double> distPct, double thresholdPct);

/// The record of a state. `marketNotice` says whose prices they are when they are not the live ones.
[[nodiscard]] BarRecord barRecord(const AppState &state, const QString &marketNotice);
/// The record that `json` holds; absent when it is none, or of a schema that is not known here.
[[nodiscard]] std::optional<BarRecord> barRecord(const QByteArray &json);

/// The record of a state to whoever has read it before: what is not read costs nothing.
class RecordFeed final : public QObject
{
    Q_OBJECT
public:
    RecordFeed(std::shared_ptr<AppState> state, QString marketNotice);

    /// The record of this moment.
    [[nodiscard]] const BarRecord &read();

Q_SIGNALS:
    /// What was read last no longer holds; once until it is read again.
    void changed();

private:
    void look();

    std::shared_ptr<AppState> m_state;
    QString m_marketNotice;
    BarRecord m_read;
    bool m_watching = false; ///< somebody has read and not been told of a change since
    bool m_looking = false;  ///< on the next turn, for all changes of this one
};

} // namespace kestrune
