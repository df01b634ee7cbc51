// SPDX-License-Identifier: MIT
#include "state/observable.h"

#include <QThread>

namespace kestrune {

void PublishedField::willChange() const
{
    m_owner.announce(this);
}

void ObservableObject::announce(const PublishedField *field)
{
    Q_ASSERT_X(QThread::currentThread() == thread(), "ObservableObject", "written outside its own thread");
    Q_EMIT objectWillChange();
    Q_EMIT fieldWillChange(field);
}

void ObservableObject::onChange(const PublishedField &field, QObject *context, std::function<void()> reaction)
{
    // Filtered before queueing, so that a change costs an event for its own subscribers only.
    connect(this, &ObservableObject::fieldWillChange, context,
            [wanted = &field, context, reaction = std::move(reaction)](const PublishedField *changed) {
                if (changed == wanted)
                    QMetaObject::invokeMethod(context, reaction, Qt::QueuedConnection);
            });
}

} // namespace kestrune
