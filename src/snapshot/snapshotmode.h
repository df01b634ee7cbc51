// SPDX-License-Identifier: MIT
#pragma once

#include "snapshot/selection.h"
#include "state/appstate.h"

#include <QCoroTask>
#include <QObject>
#include <QSize>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

namespace kestrune {

class SnapshotPicture;

/// The headless run: loads one instrument, waits until its data are there or a deadline passes, writes the
/// panel's picture and the analysis into a directory and ends. Nothing that fails on the way is reported.
class SnapshotMode final : public QObject
{
    Q_OBJECT
public:
    struct Config
    {
        QString dir; ///< output directory, verbatim; empty for the chart alone
        Selection selection;

        QString chart = {};   ///< the chart's file; empty for none
        QSize chartSize = {}; ///< half as many pixels as the picture has
        bool lightChart = false;

        [[nodiscard]] bool operator==(const Config &) const = default;
    };

    /// Absent without "--snapshot" or "--chart" and something after it: an interactive start. Takes the
    /// arguments after the program's name; the first occurrence of each option counts, wherever it stands.
    [[nodiscard]] static std::optional<Config> parse(const QStringList &arguments);

    /// Creates its own state. `marketNotice` is the panel's line about prices that are not live.
    SnapshotMode(Config config, const AppState::Dependencies &dependencies, QString marketNotice = {});
    ~SnapshotMode() override;

    /// Returns at once; finished() follows when the output is written, with the program's status: 0, also
    /// where a snapshot's data are missing, 3 when there is nothing to draw a chart of, 2 when its file
    /// cannot be written.
    void run();

    [[nodiscard]] AppState &state() { return *m_state; }

Q_SIGNALS:
    void finished(int status);

private:
    [[nodiscard]] bool ready() const;
    static QCoro::Task<> refresh(std::shared_ptr<AppState> state);
    QCoro::Task<> waitUntilReady(SteadyInstant deadline);
    void capture();
    [[nodiscard]] int captureChart() const;
    void writeJSON() const;
    void writeIntoDir(const QString &name, const std::function<bool(QIODevice &)> &write) const;

    Config m_config;
    QString m_marketNotice;
    Clock &m_clock;
    std::shared_ptr<AppState> m_state;
    std::unique_ptr<SnapshotPicture> m_picture; // absent until run()
};

} // namespace kestrune
