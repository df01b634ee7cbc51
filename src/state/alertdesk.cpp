// SPDX-License-Identifier: MIT
#include "state/alertdesk.h"

#include "platform/attention.h"
#include "state/alerttexts.h"

#include <algorithm>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

AlertDesk::AlertDesk(AppState &state) : m_state(state) {}

void AlertDesk::ring(const std::vector<PriceAlert> &fired)
{
    if (fired.empty())
        return;
    m_state.playAlertSound();
    for (const PriceAlert &alert : fired) {
        AlertLogEntry firing{.id = alert.id,
                             .time = m_state.clock().now(),
                             .symbol = alert.symbol,
                             .name = m_state.alertName(alert),
                             .target = alert.targetPrice,
                             .above = alert.above,
                             .price = alert.firedPrice.value_or(alert.targetPrice),
                             .label = alert.label,
                             .away = m_away};
        if (m_state.desktopNotices())
            attention().notify(firingNotice(firing));
        log.append(std::move(firing));
    }
}

void AlertDesk::acknowledged(const QString &id, const QString &where)
{
    attention().withdraw(id);
    log.acknowledge(id, m_state.clock().now(), where);
}

void AlertDesk::withdrawSettled(const std::vector<PriceAlert> &before)
{
    for (const PriceAlert &alert : before) {
        const auto now = std::ranges::find(m_state.alerts(), alert.id, &PriceAlert::id);
        if (alert.lastFiredAt && (now == m_state.alerts().end() || (alert.triggered && !now->triggered)))
            attention().withdraw(alert.id);
    }
}

void AlertDesk::answered(const QString &id, NoticeChoice choice)
{
    const QString here = u"notification"_s;
    switch (choice) {
    case NoticeChoice::acknowledge:
        m_state.dismissAlert(id, here);
        break;
    case NoticeChoice::snooze:
        m_state.snoozeAlert(id, here);
        break;
    case NoticeChoice::open:
        m_state.showAlertInstrument(id);
        m_state.alertToShow = id;
        break;
    }
}

void AlertDesk::setAway(bool away)
{
    m_awayNow = away;
    m_away = m_away || away;
    if (m_state.m_resuming == AppState::Resuming::no)
        caughtUp();
}

} // namespace kestrune
