// SPDX-License-Identifier: MIT
#pragma once

#include <QAction>
#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QList>
#include <QString>

namespace kestrune {

struct MenuNode;
struct MenuProperties;

/// A flat menu on the bus (com.canonical.dbusmenu), so that a status notifier host draws it in its own style.
class MenuExport final : public QDBusVirtualObject
{
    Q_OBJECT
public:
    /// The actions outlive the export.
    MenuExport(const QDBusConnection &connection, const QString &path, const QList<QAction *> &entries);
    ~MenuExport() override;

    [[nodiscard]] QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

Q_SIGNALS:
    void aboutToShow();

private:
    [[nodiscard]] bool handleMenuCall(const QDBusMessage &message);
    [[nodiscard]] bool handlePropertyCall(const QDBusMessage &message);
    [[nodiscard]] MenuNode layout() const;
    /// Of each entry once, however often a list of `ids` names it; of all entries where it names none.
    [[nodiscard]] QList<MenuProperties> properties(const QList<int> &ids) const;
    [[nodiscard]] QAction *entry(int id) const;
    void click(int id);
    /// One click each for the entries clicked. Gives the ids that are no entry's.
    [[nodiscard]] QList<int> sendEvents(const QVariant &events);
    void announceChange();

    QDBusConnection m_connection;
    QString m_path;
    QList<QAction *> m_entries; ///< numbered from 1; 0 is the menu itself
    uint m_revision = 1;
};

} // namespace kestrune
