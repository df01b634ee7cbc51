// SPDX-License-Identifier: MIT
#pragma once

#include "platform/attention.h"

#include <vector>

namespace kestrune::test {

/// Counts the sounds and keeps the dialogs instead of showing them.
class RecordingAttention final : public Attention
{
public:
    struct Dialog
    {
        QString title;
        QString text;
        QString button;
    };

    int soundCount = 0;
    std::vector<Dialog> dialogs;

    void playAlertSound() override { ++soundCount; }
    void inform(const QString &title, const QString &text, const QString &button) override
    {
        dialogs.push_back({title, text, button});
    }
};

} // namespace kestrune::test
