// SPDX-License-Identifier: MIT
#pragma once

#include "statusbar/desktop/managerwatch.h"

#include <QColor>

#include <optional>

namespace kestrune {

/// Atoms of the system tray protocol.
struct TrayAtoms
{
    xcb_atom_t opcode = XCB_ATOM_NONE;
    xcb_atom_t embedInfo = XCB_ATOM_NONE;
    xcb_atom_t opacity = XCB_ATOM_NONE;
};

/// Follows the X11 system tray: who owns it now, and what colours it writes in.
class TrayWatch : public ManagerWatch
{
    Q_OBJECT
public:
    TrayWatch();

    [[nodiscard]] const TrayAtoms &atoms() const { return m_atoms; }
    /// The colour of the tray's own texts, where it publishes one; valueChanged() tells of another one.
    [[nodiscard]] std::optional<QColor> textColor() const;

Q_SIGNALS:
    void reparented(quint32 window, quint32 parent);

protected:
    void heard(const xcb_generic_event_t *event) override;

private:
    TrayAtoms m_atoms;
};

} // namespace kestrune
