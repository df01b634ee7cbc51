// SPDX-License-Identifier: MIT
#include "state/alertlog.h"

#include <algorithm>
#include <utility>

namespace kestrune {

void AlertLog::append(AlertLogEntry entry)
{
    m_entries.push_back(std::move(entry));
    Q_EMIT changed();
}

void AlertLog::acknowledge(const QString &id, Instant time, const QString &where)
{
    const auto last = std::find_if(m_entries.rbegin(), m_entries.rend(),
                                   [&id](const AlertLogEntry &entry) { return entry.id == id; });
    if (last == m_entries.rend() || last->acknowledgedAt)
        return;
    last->acknowledgedAt = time;
    last->acknowledgedWhere = where;
    Q_EMIT changed();
}

} // namespace kestrune
