// SPDX-License-Identifier: MIT
#pragma once

#include "state/alertlog.h"
#include "state/appstate.h"

namespace kestrune {

/// What the state does about alerts besides its rule. Owned by the state, which it reads and changes.
class AlertDesk
{
public:
    explicit AlertDesk(AppState &state);

    /// Tells of the firings of one pass: chime, messages, log.
    void ring(const std::vector<PriceAlert> &fired);
    void acknowledged(const QString &id, const QString &where);
    /// Takes back the messages of those of `before` that are no longer fired.
    void withdrawSettled(const std::vector<PriceAlert> &before);
    /// What the user has chosen on a message.
    void answered(const QString &id, NoticeChoice choice);
    void setAway(bool away);
    /// All that a pause has brought has been seen: from now on the user is there, unless away again.
    void caughtUp() { m_away = m_awayNow; }

    AlertLog log;

private:
    [[nodiscard]] Attention &attention() const { return m_state.m_dependencies.attention; }

    AppState &m_state;
    bool m_awayNow = false;
    bool m_away = false; ///< the same, and until what came meanwhile has been seen
};

} // namespace kestrune
