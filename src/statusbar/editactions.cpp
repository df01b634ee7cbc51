// SPDX-License-Identifier: MIT
#include "statusbar/editactions.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QWidget>

#include <array>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

// Of text fields, in the order of the commands.
constexpr std::array slotNames{"undo", "redo", "cut", "copy", "paste", "selectAll"};

struct EditKey
{
    int latin;
    quint32 scanCode; ///< place of the key on an X11 or Wayland keyboard: evdev code plus 8
    EditCommand command;
};

constexpr std::array editKeys{
    EditKey{Qt::Key_V, 55, EditCommand::paste},
    EditKey{Qt::Key_C, 54, EditCommand::copy},
    EditKey{Qt::Key_X, 53, EditCommand::cut},
    EditKey{Qt::Key_A, 38, EditCommand::selectAll},
};

bool isLatin(int key)
{
    return key < 0x80;
}

} // namespace

bool applyEditCommand(EditCommand command, QWidget *target)
{
    const char *slot = slotNames[static_cast<std::size_t>(command)];
    return target && target->metaObject()->indexOfMethod(QByteArray(slot) + "()") >= 0 &&
           QMetaObject::invokeMethod(target, slot);
}

std::optional<EditCommand> editCommandOf(const QKeyEvent &key)
{
    constexpr auto looked = Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;
    if ((key.modifiers() & looked) != Qt::ControlModifier)
        return std::nullopt;
    for (const EditKey &edit : editKeys) {
        if (isLatin(key.key()) ? key.key() == edit.latin : key.nativeScanCode() == edit.scanCode)
            return edit.command;
    }
    return std::nullopt;
}

EditKeyFallback::EditKeyFallback(QObject *parent) : QObject(parent)
{
    qApp->installEventFilter(this);
}

bool EditKeyFallback::eventFilter(QObject *watched, QEvent *event)
{
    // A key press passes the window first; the field that has the focus is the one that counts.
    if (event->type() != QEvent::KeyPress || !watched->isWidgetType())
        return false;
    const auto command = editCommandOf(static_cast<const QKeyEvent &>(*event));
    return command && applyEditCommand(*command, QApplication::focusWidget());
}

void addApplicationActions(QWidget *window, const QObject *context, const std::function<void()> &quit)
{
    const auto add = [window](const QString &text, const QKeySequence &key) {
        auto *action = new QAction(text, window);
        action->setShortcut(key);
        action->setShortcutContext(Qt::ApplicationShortcut);
        window->addAction(action);
        return action;
    };
    QObject::connect(add(u"退出 Kestrune Bar"_s, Qt::CTRL | Qt::Key_Q), &QAction::triggered, context, quit);
    const auto addEdit = [&](const QString &text, const QKeySequence &key, EditCommand command) {
        QObject::connect(add(text, key), &QAction::triggered, window,
                         [command] { applyEditCommand(command, QApplication::focusWidget()); });
    };
    addEdit(u"撤销"_s, Qt::CTRL | Qt::Key_Z, EditCommand::undo);
    addEdit(u"重做"_s, Qt::CTRL | Qt::SHIFT | Qt::Key_Z, EditCommand::redo);
    addEdit(u"剪切"_s, Qt::CTRL | Qt::Key_X, EditCommand::cut);
    addEdit(u"拷贝"_s, Qt::CTRL | Qt::Key_C, EditCommand::copy);
    addEdit(u"粘贴"_s, Qt::CTRL | Qt::Key_V, EditCommand::paste);
    addEdit(u"全选"_s, Qt::CTRL | Qt::Key_A, EditCommand::selectAll);
}

} // namespace kestrune
