// SPDX-License-Identifier: MIT
#pragma once

#include "platform/attention.h"
#include "statusbar/desktop/chime.h"

#include <QStringList>

namespace kestrune {

/// Rings and informs on the desktop.
class DesktopAttention final : public Attention
{
public:
    /// The sound module is looked for in these folders, in their order, at the first alert.
    explicit DesktopAttention(const QStringList &moduleFolders);

    void playAlertSound() override { m_chime.ring(); }
    void inform(const QString &title, const QString &text, const QString &button) override;

private:
    Chime m_chime;
};

} // namespace kestrune
