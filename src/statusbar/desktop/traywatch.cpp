// SPDX-License-Identifier: MIT
#include "statusbar/desktop/traywatch.h"

#include <cstring>

namespace kestrune {

TrayWatch::TrayWatch() : ManagerWatch("_NET_SYSTEM_TRAY_S", "_NET_SYSTEM_TRAY_COLORS")
{
    if (!connection())
        return;
    m_atoms.opcode = xcbAtom(connection(), "_NET_SYSTEM_TRAY_OPCODE");
    m_atoms.embedInfo = xcbAtom(connection(), "_XEMBED_INFO");
    m_atoms.opacity = xcbAtom(connection(), "_NET_WM_WINDOW_OPACITY");
}

std::optional<QColor> TrayWatch::textColor() const
{
    // Twelve numbers of 16 bits: red, green and blue of text, error, warning and success.
    const QByteArray bytes = value();
    if (bytes.size() != 12 * qsizetype{sizeof(uint32_t)})
        return std::nullopt;
    const auto channel = [&bytes](qsizetype i) {
        uint32_t number = 0;
        std::memcpy(&number, bytes.constData() + i * qsizetype{sizeof(number)}, sizeof(number));
        return static_cast<int>(number >> 8 & 0xff);
    };
    return QColor(channel(0), channel(1), channel(2));
}

void TrayWatch::heard(const xcb_generic_event_t *event)
{
    ManagerWatch::heard(event);
    if ((event->response_type & 0x7f) != XCB_REPARENT_NOTIFY)
        return;
    const auto *reparent = reinterpret_cast<const xcb_reparent_notify_event_t *>(event);
    Q_EMIT reparented(reparent->window, reparent->parent);
}

} // namespace kestrune
