// SPDX-License-Identifier: MIT
#pragma once

#include "platform/attention.h"

#include <vector>

namespace kestrune::test {

/// Counts the sounds and keeps dialogs and messages instead of showing them.
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
    std::vector<Notice> notices;    ///< as they were sent
    std::vector<QString> withdrawn; ///< ids

    using Attention::answerNotice;

    void playAlertSound() override { ++soundCount; }
    void inform(const QString &title, const QString &text, const QString &button) override
    {
        dialogs.push_back({title, text, button});
    }
    void notify(const Notice &notice) override { notices.push_back(notice); }
    void withdraw(const QString &id) override { withdrawn.push_back(id); }
};

} // namespace kestrune::test
