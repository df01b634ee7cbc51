// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kestrune {

/// How the program asks for the user's attention. Nothing here blocks.
class Attention
{
public:
    Attention() = default;
    Attention(const Attention &) = delete;
    Attention &operator=(const Attention &) = delete;
    virtual ~Attention() = default;

    /// Plays the alert chime once, with the system beep where it cannot, and writes the one diagnostic line.
    virtual void playAlertSound() = 0;
    /// A non-blocking informational dialog with one button.
    virtual void inform(const QString &title, const QString &text, const QString &button) = 0;
};

} // namespace kestrune
