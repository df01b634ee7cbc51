// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>

namespace kestrune {

/// One running program per session bus, under the name org.kestrune.bar. Speaks the desktop's application
/// interface, so that a start from the menu reaches the program that runs already.
class SingleInstance : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")
public:
    enum class Role {
        first,  ///< the name is ours
        second, ///< another one has it
        alone,  ///< there is no session bus
    };

    explicit SingleInstance(const QDBusConnection &connection);
    ~SingleInstance() override;

    [[nodiscard]] Role claim();
    /// Asks the first instance to open its panel; false when whoever has the name does not answer as one.
    [[nodiscard]] bool activateFirst() const;
    /// What the user is told then.
    [[nodiscard]] QString strangerText() const;

public Q_SLOTS:
    Q_SCRIPTABLE void Activate(const QVariantMap &platformData);
    Q_SCRIPTABLE void Open(const QStringList &uris, const QVariantMap &platformData);
    Q_SCRIPTABLE void ActivateAction(const QString &action, const QVariantList &parameter,
                                     const QVariantMap &platformData);

Q_SIGNALS:
    /// The panel is wanted.
    void activated();

private:
    QDBusConnection m_connection;
    bool m_first = false;
};

} // namespace kestrune
