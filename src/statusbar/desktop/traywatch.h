// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractNativeEventFilter>
#include <QColor>
#include <QObject>

#include <cstdlib>
#include <memory>
#include <optional>

#include <xcb/xcb.h>

namespace kestrune {

struct FreeReply
{
    void operator()(void *reply) const { std::free(reply); }
};

/// An answer of the X server; null when there was none or an error.
template <typename T>
using XcbReply = std::unique_ptr<T, FreeReply>;

/// Atoms of the system tray protocol.
struct TrayAtoms
{
    xcb_atom_t selection = XCB_ATOM_NONE; ///< owned by the tray
    xcb_atom_t manager = XCB_ATOM_NONE;
    xcb_atom_t opcode = XCB_ATOM_NONE;
    xcb_atom_t colors = XCB_ATOM_NONE;
    xcb_atom_t embedInfo = XCB_ATOM_NONE;
};

/// Follows the X11 system tray: who owns it now, and what colours it writes in. Does nothing without X11.
class TrayWatch : public QObject, public QAbstractNativeEventFilter
{
    Q_OBJECT
public:
    TrayWatch();
    ~TrayWatch() override;

    [[nodiscard]] xcb_connection_t *connection() const { return m_connection; }
    [[nodiscard]] xcb_window_t root() const { return m_root; }
    [[nodiscard]] const TrayAtoms &atoms() const { return m_atoms; }
    /// The tray's window, XCB_WINDOW_NONE while there is none.
    [[nodiscard]] xcb_window_t owner() const { return m_owner; }
    /// The colour of the tray's own texts, where it publishes one.
    [[nodiscard]] std::optional<QColor> textColor() const { return m_textColor; }

    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *result) override;

Q_SIGNALS:
    /// Another tray, or none any more; the old one's windows are gone.
    void ownerChanged();
    void textColorChanged();
    void reparented(quint32 window, quint32 parent);

private:
    [[nodiscard]] xcb_atom_t atom(const QByteArray &name) const;
    void select(xcb_window_t window, uint32_t events) const;
    void findOwner();
    void readTextColor();

    xcb_connection_t *m_connection = nullptr;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    xcb_window_t m_owner = XCB_WINDOW_NONE;
    TrayAtoms m_atoms;
    std::optional<QColor> m_textColor;
};

} // namespace kestrune
