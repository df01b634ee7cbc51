// SPDX-License-Identifier: MIT
#pragma once

#include "platform/attention.h"

namespace kestrune {

/// For runs that nobody watches: no sound, no dialog.
class QuietAttention final : public Attention
{
public:
    void playAlertSound() override {}
    void inform(const QString & /*title*/, const QString & /*text*/, const QString & /*button*/) override {}
};

} // namespace kestrune
