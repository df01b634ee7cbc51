// SPDX-License-Identifier: MIT
#pragma once

#include "platform/attention.h"
#include "state/alertlog.h"
#include "state/alertwatch.h"
#include "state/appstate.h"
#include "state/zonenotice.h"

namespace kestrune {

/// What the state does about alerts besides their rule: tells of firings, watches the instruments that are
/// not selected, and lets alerts go along with their zones. Owned by the state, which it reads and changes.
class AlertDesk
{
public:
    explicit AlertDesk(AppState &state);
    ~AlertDesk();

    /// What rang in an earlier run stays silent for as long as it would have.
    void restore();

    /// Tells of the firings of one pass: chime, messages, log.
    void ring(const std::vector<PriceAlert> &fired);
    void acknowledged(const QString &id, const QString &where);
    /// Takes back the messages of those of `before` that are gone or no longer fired.
    void withdrawSettled(const std::vector<PriceAlert> &before);
    /// What the user has chosen on a message.
    void answered(const QString &id, NoticeChoice choice);

    void setAway(bool away);
    /// What a pause has brought has been seen: from now on the user is there, unless away again.
    void caughtUp() { m_away = m_awayNow; }

    /// Watches from now on when there is something to watch, else no longer.
    void updateWatch();
    /// Asks at once, also for what failed a moment ago.
    void askNow();
    /// A price that has come of an instrument by whatever way; that of the selected one goes its own.
    void noteOther(const QString &symbol, double price, const StockQuote *quote);

    /// After each rebuild of the zones; `refreshed` when they have just come.
    void zonesRebuilt(bool refreshed);

    AlertLog log;

private:
    [[nodiscard]] Attention &attention() const { return m_state.m_dependencies.attention; }
    static AppState::Loop watchLoop;
    void ask();
    [[nodiscard]] QCoro::Task<> askCoin(QString symbol);
    [[nodiscard]] QCoro::Task<> askStocks(QStringList symbols);
    void followZones(double live);
    void tellOfTheLight(bool refreshed);

    AppState &m_state;
    AlertWatch m_watch;
    std::optional<std::stop_source> m_watchTask;
    ZoneNotices m_zoneNotices;
    bool m_awayNow = false;
    bool m_away = false; ///< the same, and until what came meanwhile has been seen
};

} // namespace kestrune
