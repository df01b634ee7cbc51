#include "snapshot/snapshotmode.h"

#include "platform/async.h"
#include "snapshot/snapshotdata.h"

#include <QDir>
#include <QPointer>
#include <QSaveFile>

using namespace std::chrono_literals;

namespace kestrune {

namespace {

constexpr auto loadDeadline = 30s;
constexpr auto readinessPoll = 500ms;
constexpr auto settlingTime = 1000ms; // between readiness and output, for what is still arriving

std::optional<QString> valueOf(const QStringList &arguments, const QString &option)
{
    const qsizetype index = arguments.indexOf(option);
    if (index < 0 || index + 1 == arguments.size())
        return std::nullopt;
    return arguments[index + 1];
}

} // namespace

std::optional<SnapshotMode::Config> SnapshotMode::parse(const QStringList &arguments)
{
    auto dir = valueOf(arguments, u"--snapshot"_s);
    if (!dir)
        return std::nullopt;
    return Config{std::move(*dir), valueOf(arguments, u"--symbol"_s), valueOf(arguments, u"--market"_s),
                  valueOf(arguments, u"--timeframe"_s)};
}

SnapshotMode::SnapshotMode(Config config, const AppState::Dependencies &dependencies)
    : m_config(std::move(config)), m_clock(dependencies.clock), m_state(AppState::create(dependencies))
{}

void SnapshotMode::run()
{
    applyConfig();
    startInBackground(this, [state = m_state] { return refresh(state); });
    waitUntilReady(m_clock.now() + loadDeadline);
}

// The segment comes before the symbol, and the timeframe is checked against the segment just set.
void SnapshotMode::applyConfig()
{
    if (m_config.market) {
        if (const auto segment = marketSegmentFromRawValue(*m_config.market))
            m_state->setMarket(*segment);
    }
    if (m_config.symbol)
        m_state->setCoin(*m_config.symbol);
    if (m_config.timeframe && m_state->timeframeOptions().contains(*m_config.timeframe))
        m_state->setTimeframe(*m_config.timeframe);
}

QCoro::Task<> SnapshotMode::refresh(std::shared_ptr<AppState> state)
{
    co_await state->refreshAll();
}

bool SnapshotMode::ready() const
{
    return m_state->price() && !m_state->zones().empty() && !m_state->snapshot().empty();
}

QCoro::Task<> SnapshotMode::waitUntilReady(Instant deadline)
{
    const QPointer<SnapshotMode> self(this); // the run may be given up during a sleep
    while (!ready() && m_clock.now() <= deadline) {
        if (!co_await m_clock.sleep(readinessPoll) || !self)
            co_return;
    }
    if (!co_await m_clock.sleep(settlingTime) || !self)
        co_return;
    capture();
    Q_EMIT
    finished();
}

void SnapshotMode::capture() const
{
    QDir().mkpath(m_config.dir); // a failure shows in the writes, which are not reported either
    writeJSON();
}

void SnapshotMode::writeJSON() const
{
    const auto summary = snapshotSummary(*m_state, m_clock.now());
    if (!summary)
        return;
    QSaveFile file(m_config.dir + u"/data.json"_s);
    file.setDirectWriteFallback(true); // a writable file in a folder that is not
    if (file.open(QIODevice::WriteOnly)) {
        file.write(*summary);
        file.commit();
    }
}

} // namespace kestrune
