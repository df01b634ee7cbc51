// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractNativeEventFilter>
#include <QByteArray>
#include <QObject>

#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

namespace kestrune {

struct FreeReply
{
    void operator()(void *reply) const { std::free(reply); }
};

/// An answer of the X server; null when there was none or an error.
template <typename T>
using XcbReply = std::unique_ptr<T, FreeReply>;

/// The toolkit's connection to the X server; null on other platforms.
[[nodiscard]] xcb_connection_t *xcbConnection();
[[nodiscard]] xcb_atom_t xcbAtom(xcb_connection_t *connection, const QByteArray &name);
/// The value of a window's property, at most 64 KiB of it; empty when it has none.
[[nodiscard]] QByteArray xcbProperty(xcb_connection_t *connection, xcb_window_t window, xcb_atom_t property);

/// Follows who manages something for the whole X11 screen, like its tray or its settings: the owner of a
/// selection, and a property of the owner's window. Does nothing without X11.
class ManagerWatch : public QObject, public QAbstractNativeEventFilter
{
    Q_OBJECT
public:
    /// `selection` without the number of the screen at its end.
    ManagerWatch(const QByteArray &selection, const QByteArray &property);
    ~ManagerWatch() override;

    [[nodiscard]] xcb_connection_t *connection() const { return m_connection; }
    [[nodiscard]] xcb_window_t root() const { return m_root; }
    /// The manager's window, XCB_WINDOW_NONE while there is none.
    [[nodiscard]] xcb_window_t owner() const { return m_owner; }
    /// The property as it is now; empty without a manager.
    [[nodiscard]] QByteArray value() const;

    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *result) override;

Q_SIGNALS:
    /// Another manager, or none any more; the old one's windows are gone.
    void ownerChanged();
    void valueChanged();

protected:
    /// Each event of the X server.
    virtual void heard(const xcb_generic_event_t *event);

private:
    void select(xcb_window_t window, uint32_t events) const;
    void findOwner();

    xcb_connection_t *m_connection;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    xcb_window_t m_owner = XCB_WINDOW_NONE;
    xcb_atom_t m_selection = XCB_ATOM_NONE;
    xcb_atom_t m_manager = XCB_ATOM_NONE;
    xcb_atom_t m_property = XCB_ATOM_NONE;
};

} // namespace kestrune
