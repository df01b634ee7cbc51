// SPDX-License-Identifier: MIT
#pragma once

#include "platform/attention.h"

namespace kestrune {

/// For runs that nobody watches: no sound, no dialog, no message.
class QuietAttention final : public Attention
{
public:
    void playAlertSound() override {}
    void inform(const QString & /*title*/, const QString & /*text*/, const QString & /*button*/) override {}
    void notify(const Notice & /*notice*/) override {}
    void withdraw(const QString & /*id*/) override {}
};

} // namespace kestrune
