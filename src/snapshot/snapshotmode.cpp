// SPDX-License-Identifier: MIT
#include "snapshot/snapshotmode.h"

#include "platform/async.h"
#include "snapshot/snapshotdata.h"
#include "snapshot/snapshotpicture.h"

#include <QDir>
#include <QPointer>
#include <QSaveFile>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace kestrune {

namespace {

constexpr auto loadDeadline = 30s;
constexpr auto readinessPoll = 500ms;
constexpr auto settlingTime = 1000ms; // between readiness and output, for what is still arriving

// An earlier file stays whole until the new one is.
bool writeWhole(const QString &path, const std::function<bool(QIODevice &)> &write)
{
    QSaveFile file(path);
    file.setDirectWriteFallback(true); // a writable file in a folder that is not
    return file.open(QIODevice::WriteOnly) && write(file) && file.commit();
}

} // namespace

SnapshotMode::SnapshotMode(Config config, const AppState::Dependencies &dependencies, QString marketNotice)
    : m_config(std::move(config))
    , m_marketNotice(std::move(marketNotice))
    , m_clock(dependencies.clock)
    , m_state(AppState::create(dependencies))
{}

SnapshotMode::~SnapshotMode() = default;

void SnapshotMode::run()
{
    m_config.selection.apply(*m_state);
    if (!m_config.dir.isEmpty())
        m_picture = std::make_unique<SnapshotPicture>(m_state, m_marketNotice);
    startInBackground(this, [state = m_state] { return refresh(state); });
    waitUntilReady(m_clock.steady() + loadDeadline);
}

QCoro::Task<> SnapshotMode::refresh(std::shared_ptr<AppState> state)
{
    co_await state->refreshAll();
}

bool SnapshotMode::ready() const
{
    return m_state->priceStanding().believed() && m_state->zonesStanding().own() &&
           !m_state->zones().empty() && m_state->signalsStanding().own();
}

QCoro::Task<> SnapshotMode::waitUntilReady(SteadyInstant deadline)
{
    const QPointer<SnapshotMode> self(this); // the run may be given up during a sleep
    while (!ready() && m_clock.steady() <= deadline) {
        if (!co_await m_clock.sleep(readinessPoll) || !self)
            co_return;
    }
    auto settled = m_clock.sleep(settlingTime);
    if (m_picture)
        static_cast<void>(m_picture->render()); // loads fonts and lays everything out while there is time
    if (!co_await settled || !self)
        co_return;
    if (m_picture)
        capture();
    Q_EMIT finished(m_config.chart.isEmpty() ? 0 : captureChart());
}

// deliberate: without a picture there is no summary either, but a picture that cannot be written does not
// keep the summary from being written.
void SnapshotMode::capture()
{
    const QImage image = m_picture->render();
    if (image.isNull())
        return;
    QDir().mkpath(m_config.dir); // a failure shows in the writes, which are not reported either
    writeIntoDir(u"popover.png"_s, [&](QIODevice &file) { return writePng(image, file); });
    writeJSON();
}

int SnapshotMode::captureChart() const
{
    constexpr int unwritable = 2;
    constexpr int withoutData = 3;
    const QImage image = chartImage(*m_state, m_config.chartSize, m_config.lightChart);
    if (image.isNull())
        return withoutData;
    const bool written = writeWhole(m_config.chart, [&](QIODevice &file) { return writePng(image, file); });
    return written ? 0 : unwritable;
}

void SnapshotMode::writeJSON() const
{
    if (const auto summary = snapshotSummary(*m_state, m_clock.now()))
        writeIntoDir(u"data.json"_s,
                     [&](QIODevice &file) { return file.write(*summary) == summary->size(); });
}

void SnapshotMode::writeIntoDir(const QString &name, const std::function<bool(QIODevice &)> &write) const
{
    static_cast<void>(writeWhole(m_config.dir + u'/' + name, write));
}

} // namespace kestrune
