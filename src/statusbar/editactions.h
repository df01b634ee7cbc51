// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include <functional>
#include <optional>

class QKeyEvent;
class QWidget;

namespace kestrune {

enum class EditCommand { undo, redo, cut, copy, paste, selectAll };

/// Carries out the command on `target`; false when it does not know it.
bool applyEditCommand(EditCommand command, QWidget *target);

/// The editing command of a key press, for keyboards whose layout has no Latin letters: exactly Ctrl is held
/// (locks do not matter) and the key is V, C, X or A by what it writes, else by its place on the keyboard.
[[nodiscard]] std::optional<EditCommand> editCommandOf(const QKeyEvent &key);

/// Watches the key presses of the whole program and serves editing commands that no shortcut has taken.
class EditKeyFallback : public QObject
{
    Q_OBJECT
public:
    explicit EditKeyFallback(QObject *parent);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
};

/// The main menu's entries as actions of `window`, valid in every window of the program. `quit` is the only
/// one that needs no text field.
void addApplicationActions(QWidget *window, const QObject *context, const std::function<void()> &quit);

} // namespace kestrune
