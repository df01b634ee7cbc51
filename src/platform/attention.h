// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <functional>
#include <utility>

namespace kestrune {

/// A message that the desktop shows until the user has seen it.
struct Notice
{
    QString id;    ///< one message each: a later one with the same id replaces the earlier one
    QString title; ///< plain text, like the body
    QString body;
    bool rung = true; ///< of an alert, urgent and with buttons; else a passing remark without any

    [[nodiscard]] bool operator==(const Notice &) const = default;
};

/// What the user has chosen on a message of an alert. Closing it is no choice.
enum class NoticeChoice { acknowledge, open, snooze };

/// How the program asks for the user's attention. Nothing here blocks.
class Attention
{
public:
    using NoticeAnswer = std::function<void(const QString &id, NoticeChoice choice)>;

    Attention() = default;
    Attention(const Attention &) = delete;
    Attention &operator=(const Attention &) = delete;
    virtual ~Attention() = default;

    /// Plays the alert chime once, with the system beep where it cannot, and writes the one diagnostic line.
    virtual void playAlertSound() = 0;
    /// A non-blocking informational dialog with one button.
    virtual void inform(const QString &title, const QString &text, const QString &button) = 0;
    /// Shows a message; nothing happens on a desktop that shows none.
    virtual void notify(const Notice &notice) = 0;
    /// Takes the message with this id back, if it is still up.
    virtual void withdraw(const QString &id) = 0;
    /// Told of each choice on a message, on the main thread; one listener.
    void onNoticeAnswer(NoticeAnswer answer) { m_answer = std::move(answer); }

protected:
    void answerNotice(const QString &id, NoticeChoice choice) const
    {
        if (m_answer)
            m_answer(id, choice);
    }

private:
    NoticeAnswer m_answer;
};

} // namespace kestrune
