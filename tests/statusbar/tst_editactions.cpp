// SPDX-License-Identifier: MIT
#include "statusbar/editactions.h"

#include "support/testregistry.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QVBoxLayout>

using namespace kestrune;
using namespace Qt::StringLiterals;

namespace {

constexpr quint32 scanV = 55;
constexpr int cyrillicM = 0x041c; // on the V key of a Russian keyboard

} // namespace

class TestEditActions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsTheCommand_data();
    void readsTheCommand();
    void pastesWithoutLatinLetters();
    void passesThroughWhereNothingCanBeEdited();
    void actionsServeTheFocusedField();
};

void TestEditActions::readsTheCommand_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
    QTest::addColumn<quint32>("scanCode");
    QTest::addColumn<int>("expected"); // -1 for none
    const auto row = [](const char *name, int key, Qt::KeyboardModifiers modifiers, quint32 scan,
                        std::optional<EditCommand> command) {
        QTest::newRow(name) << key << modifiers << scan << (command ? int(*command) : -1);
    };
    using enum EditCommand;
    row("Ctrl and V", Qt::Key_V, Qt::ControlModifier, scanV, paste);
    row("the key pad and locks do not matter", Qt::Key_V, Qt::ControlModifier | Qt::KeypadModifier, scanV,
        paste);
    row("Ctrl and the V key of a Cyrillic layout", cyrillicM, Qt::ControlModifier, scanV, paste);
    row("Ctrl and another key of that layout", cyrillicM, Qt::ControlModifier, 40, {});
    row("a Latin letter counts by its name, not by its place", Qt::Key_K, Qt::ControlModifier, scanV, {});
    row("a Latin V in another place", Qt::Key_V, Qt::ControlModifier, 60, paste);
    row("with Shift", Qt::Key_V, Qt::ControlModifier | Qt::ShiftModifier, scanV, {});
    row("with the logo key", Qt::Key_V, Qt::ControlModifier | Qt::MetaModifier, scanV, {});
    row("without Ctrl", Qt::Key_V, Qt::NoModifier, scanV, {});
}

void TestEditActions::readsTheCommand()
{
    QFETCH(int, key);
    QFETCH(Qt::KeyboardModifiers, modifiers);
    QFETCH(quint32, scanCode);
    QFETCH(int, expected);
    const QKeyEvent event(QEvent::KeyPress, key, modifiers, scanCode, 0, 0);
    const auto command = editCommandOf(event);
    QCOMPARE(command ? int(*command) : -1, expected);
}

void TestEditActions::pastesWithoutLatinLetters()
{
    const EditKeyFallback fallback(nullptr);
    QLineEdit field;
    field.show();
    field.setFocus();
    QVERIFY(QTest::qWaitForWindowActive(&field));
    QGuiApplication::clipboard()->setText(u"3456.7"_s);
    QKeyEvent press(QEvent::KeyPress, cyrillicM, Qt::ControlModifier, scanV, 0, 0, u"м"_s);
    QCoreApplication::sendEvent(&field, &press);
    QCOMPARE(field.text(), u"3456.7"_s);
}

void TestEditActions::passesThroughWhereNothingCanBeEdited()
{
    struct Button : QPushButton
    {
        int presses = 0;
        void keyPressEvent(QKeyEvent *event) override { presses += event->key() == Qt::Key_V ? 1 : 0; }
    };
    const EditKeyFallback fallback(nullptr);
    Button button;
    button.show();
    button.setFocus();
    QVERIFY(QTest::qWaitForWindowActive(&button));
    QTest::keyClick(&button, Qt::Key_V, Qt::ControlModifier);
    QCOMPARE(button.presses, 1);
}

void TestEditActions::actionsServeTheFocusedField()
{
    QWidget window;
    QVBoxLayout layout(&window);
    QLineEdit field;
    layout.addWidget(&field);
    int quits = 0;
    addApplicationActions(&window, &window, [&] { ++quits; });
    window.show();
    field.setFocus();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QStringList keys;
    for (const QAction *action : window.actions())
        keys.append(action->text() + u' ' + action->shortcut().toString(QKeySequence::PortableText));
    QCOMPARE(keys, (QStringList{u"退出 Kestrune Bar Ctrl+Q"_s, u"撤销 Ctrl+Z"_s, u"重做 Ctrl+Shift+Z"_s,
                                u"剪切 Ctrl+X"_s, u"拷贝 Ctrl+C"_s, u"粘贴 Ctrl+V"_s, u"全选 Ctrl+A"_s}));
    field.setText(u"12"_s);
    window.actions()[6]->trigger(); // select all
    window.actions()[3]->trigger(); // cut
    QCOMPARE(field.text(), QString());
    window.actions()[5]->trigger(); // paste
    QCOMPARE(field.text(), u"12"_s);
    window.actions()[1]->trigger(); // undo
    QCOMPARE(field.text(), QString());
    QTest::keyClick(&window, Qt::Key_Q, Qt::ControlModifier);
    QCOMPARE(quits, 1);
}

KESTRUNE_TEST(TestEditActions)
#include "tst_editactions.moc"
