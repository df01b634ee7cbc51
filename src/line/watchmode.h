// SPDX-License-Identifier: MIT
#pragma once

#include "line/barline.h"
#include "line/barrecord.h"
#include "snapshot/selection.h"

#include <QCoroTask>
#include <QObject>
#include <QStringList>

#include <tl/expected.hpp>

#include <functional>
#include <memory>
#include <optional>

namespace kestrune {

class BarClient;
class LineOutput;
struct BarClick;

/// Prints what a bar shows, at every change or once: what the running program says, or without one what a
/// state of its own says. As soon as a bar runs, that state goes; it comes back when the bar is gone.
class WatchMode final : public QObject
{
    Q_OBJECT
public:
    struct Config
    {
        LineFormat format = LineFormat::plain;
        bool once = false;
        Selection selection; ///< of its own state

        [[nodiscard]] bool operator==(const Config &) const = default;
    };
    /// Makes a state for this run; the one before has been let go by then.
    using StateFactory = std::function<std::shared_ptr<AppState>()>;

    /// Absent without "--watch" and "--print"; the error is one line. Takes the arguments after the program's
    /// name.
    [[nodiscard]] static tl::expected<std::optional<Config>, QString> parse(const QStringList &arguments);

    /// `client` is absent for runs on a market of their own.
    WatchMode(Config config, Clock &clock, StateFactory makeState, QString marketNotice, LineOutput &output,
              std::unique_ptr<BarClient> client);
    ~WatchMode() override;

    void run();
    void click(const BarClick &click);

Q_SIGNALS:
    /// Printed once, or nobody reads any more; may come inside run().
    void finished(int status);

private:
    void beginOwn();
    void showOwn();
    void show(const BarRecord &record);
    void finish(const BarRecord &record);
    QCoro::Task<> beginOwnAfterGrace();
    QCoro::Task<> finishAtDeadline();
    QCoro::Task<> showAfterPatience();
    void choose(int step);

    Config m_config;
    Clock &m_clock;
    StateFactory m_makeState;
    QString m_marketNotice;
    LineOutput &m_output;
    std::unique_ptr<BarClient> m_client;
    std::shared_ptr<AppState> m_state;  ///< absent while a bar is followed
    std::unique_ptr<RecordFeed> m_feed; ///< of the state
    /// Until then the line of a bar that went stays rather than one without a price.
    SteadyInstant m_patientUntil;
    QByteArray m_printed;        ///< the last line; empty before the first
    std::optional<int> m_status; ///< of the end that only waits for the output
};

} // namespace kestrune
