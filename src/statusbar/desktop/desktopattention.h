// SPDX-License-Identifier: MIT
#pragma once

#include "platform/attention.h"
#include "sound/alertsound.h"
#include "statusbar/desktop/desktopnotices.h"

#include <QStringList>

#include <functional>
#include <memory>

namespace kestrune {

/// Rings and informs on the desktop.
class DesktopAttention final : public Attention
{
public:
    /// What ringing uses of the system.
    struct Ringing
    {
        std::function<AlertSound *()> loadSound; ///< may give nothing; asked again at the next alert then
        std::function<void()> beep;
        std::function<void(const QString &)> writeLine; ///< to standard error
    };

    /// The sound module is looked for in these folders, in their order, at the first alert.
    explicit DesktopAttention(const QStringList &moduleFolders);
    explicit DesktopAttention(Ringing ringing) : m_ringing(std::move(ringing)) {}

    /// Returns at once. This object must outlive the sound's report.
    void playAlertSound() override;
    void inform(const QString &title, const QString &text, const QString &button) override;
    void notify(const Notice &notice) override;
    void withdraw(const QString &id) override;

private:
    void report(AlertSound::Outcome outcome);

    Ringing m_ringing;
    AlertSound *m_sound = nullptr;
    std::unique_ptr<DesktopNotices> m_notices; ///< made for the first message
};

/// The sound of the first module found; nothing when none can be loaded. It lives as long as the process.
[[nodiscard]] AlertSound *loadAlertSound(const QStringList &folders);

} // namespace kestrune
