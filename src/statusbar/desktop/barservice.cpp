// SPDX-License-Identifier: MIT
#include "statusbar/desktop/barservice.h"

#include "line/barbus.h"
#include "line/instrumentchoice.h"

#include <QDBusError>

#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

BarService::BarService(const QDBusConnection &connection, std::shared_ptr<AppState> state,
                       const QString &marketNotice, Panel panel)
    : m_connection(connection)
    , m_state(std::move(state))
    , m_feed(std::make_unique<RecordFeed>(m_state, marketNotice))
    , m_panel(std::move(panel))
{
    connect(m_feed.get(), &RecordFeed::changed, this, &BarService::Changed);
    if (!m_connection.registerObject(barObjectPath, this, QDBusConnection::ExportScriptableContents))
        return;       // no bus
    Q_EMIT Changed(); // for whoever has seen the name come and asked too early
}

BarService::~BarService()
{
    m_connection.unregisterObject(barObjectPath);
}

// After the answer, so that a bar that waits for it is not held up.
void BarService::Open(int x, int y)
{
    QMetaObject::invokeMethod(
        this, [this, position = QPoint(x, y)] { m_panel.open(position); }, Qt::QueuedConnection);
}

void BarService::Close()
{
    m_panel.close();
}

void BarService::Next()
{
    chooseNeighbour(*m_state, 1);
}

void BarService::Previous()
{
    chooseNeighbour(*m_state, -1);
}

void BarService::Select(const QString &code)
{
    if (!chooseInstrument(*m_state, code))
        sendErrorReply(QDBusError::InvalidArgs, u"no instrument has this code"_s);
}

} // namespace kestrune
