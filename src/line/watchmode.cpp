// SPDX-License-Identifier: MIT
#include "line/watchmode.h"

#include "line/barclient.h"
#include "line/clickinput.h"
#include "line/instrumentchoice.h"
#include "line/lineoutput.h"

#include <QPointer>

namespace kestrune {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto barGrace = 300ms;    // for a running bar to answer before a state of our own is made
constexpr auto printDeadline = 10s; // for the first data of a run that prints once
constexpr auto takeoverPatience = priceFreshFor;

} // namespace

WatchMode::WatchMode(Config config, Clock &clock, StateFactory makeState, QString marketNotice,
                     LineOutput &output, std::unique_ptr<BarClient> client)
    : m_config(std::move(config))
    , m_clock(clock)
    , m_makeState(std::move(makeState))
    , m_marketNotice(std::move(marketNotice))
    , m_output(output)
    , m_client(std::move(client))
{
    connect(&m_output, &LineOutput::closed, this, [this] { Q_EMIT finished(m_status.value_or(0)); });
    connect(&m_output, &LineOutput::drained, this, [this] {
        if (m_status)
            Q_EMIT finished(*m_status);
    });
}

WatchMode::~WatchMode() = default;

void WatchMode::run()
{
    if (m_config.once)
        finishAtDeadline();
    if (!m_client) {
        beginOwn();
        return;
    }
    connect(m_client.get(), &BarClient::gone, this, &WatchMode::beginOwn);
    connect(m_client.get(), &BarClient::told, this, [this](const BarRecord &record) {
        m_feed.reset();
        m_state.reset();
        if (m_config.once)
            finish(record);
        else
            show(record);
    });
    beginOwnAfterGrace();
    m_client->start();
}

QCoro::Task<> WatchMode::beginOwnAfterGrace()
{
    const QPointer<WatchMode> self(this);
    const bool awake = co_await m_clock.sleep(barGrace);
    if (awake && self && !m_client->isFollowing())
        beginOwn();
}

QCoro::Task<> WatchMode::finishAtDeadline()
{
    const QPointer<WatchMode> self(this);
    const bool awake = co_await m_clock.sleep(printDeadline);
    if (awake && self && m_feed)
        finish(m_feed->read());
}

QCoro::Task<> WatchMode::showAfterPatience()
{
    const QPointer<WatchMode> self(this);
    const bool awake = co_await m_clock.sleep(takeoverPatience);
    if (awake && self && m_feed)
        showOwn();
}

void WatchMode::beginOwn()
{
    if (m_state)
        return;
    m_patientUntil = m_clock.steady();
    if (!m_printed.isEmpty()) {
        m_patientUntil += takeoverPatience;
        showAfterPatience();
    }
    m_state = m_makeState();
    m_config.selection.apply(*m_state);
    m_feed = std::make_unique<RecordFeed>(m_state, m_marketNotice);
    connect(m_feed.get(), &RecordFeed::changed, this, &WatchMode::showOwn);
    showOwn();
}

void WatchMode::showOwn()
{
    const BarRecord &record = m_feed->read();
    const bool complete =
        m_state->zonesStanding().own() && m_state->signalsStanding().own() && !record.is(u"stale"_s);
    if (m_config.once && complete)
        finish(record);
    else if (!m_config.once && (record.price || m_clock.steady() >= m_patientUntil))
        show(record);
}

void WatchMode::show(const BarRecord &record)
{
    const QByteArray line = formatLine(record, m_config.format);
    if (line == m_printed)
        return;
    m_output.write((m_printed.isEmpty() ? linesBegin(m_config.format) : betweenLines(m_config.format)) +
                   line);
    m_printed = line;
}

void WatchMode::finish(const BarRecord &record)
{
    if (m_status)
        return;
    m_status = record.exitStatus();
    m_output.write(formatLine(record, m_config.format));
}

void WatchMode::click(const BarClick &click)
{
    switch (click.button) {
    case 1:
        if (m_client && m_client->isFollowing())
            m_client->call(u"Open"_s, {click.position.x(), click.position.y()});
        break;
    case 3:
    case 5:
        choose(1);
        break;
    case 4:
        choose(-1);
        break;
    default:
        break;
    }
}

void WatchMode::choose(int step)
{
    if (m_client && m_client->isFollowing()) {
        m_client->call(step > 0 ? u"Next"_s : u"Previous"_s);
    } else if (m_state) {
        m_patientUntil = m_clock.steady(); // the choice shows before its price comes
        chooseNeighbour(*m_state, step);
    }
}

} // namespace kestrune
