// SPDX-License-Identifier: MIT
#include "statusbar/desktop/stripitem.h"
#include "statusbar/editactions.h"
#include "support/memorypreferences.h"
#include "support/testregistry.h"

#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>

using namespace kestrune;
using namespace Qt::StringLiterals;

/// The strip, and editing in whatever window has the focus.
class TestWindows : public QObject
{
    Q_OBJECT

    struct Strip
    {
        StripItem item;

        explicit Strip(Preferences &preferences) : item(preferences) { show(u"ETH  3,456"_s); }
        void show(const QString &text) { item.show({false, {.text = text}, {}, 0, {}, {}}); }
        [[nodiscard]] QRect place() const { return *item.place(); }
        [[nodiscard]] static QWidget *window()
        {
            const QWidgetList all = QApplication::topLevelWidgets();
            return *std::find_if(all.begin(), all.end(),
                                 [](QWidget *widget) { return qobject_cast<ItemWidget *>(widget); });
        }
        static void drag(const QPoint &by)
        {
            const QPoint start = window()->mapToGlobal(QPoint(10, 10));
            const auto send = [&](QEvent::Type type, const QPoint &global, Qt::MouseButtons held) {
                QMouseEvent event(type, QPoint(10, 10), global, Qt::LeftButton, held, Qt::NoModifier);
                QCoreApplication::sendEvent(window(), &event);
            };
            send(QEvent::MouseButtonPress, start, Qt::LeftButton);
            send(QEvent::MouseMove, start + by / 2, Qt::LeftButton);
            send(QEvent::MouseMove, start + by, Qt::LeftButton);
            send(QEvent::MouseButtonRelease, start + by, Qt::NoButton);
        }
    };

    static bool showFocused(QWidget &widget)
    {
        widget.show();
        widget.setFocus();
        return QTest::qWaitForWindowActive(&widget);
    }

private Q_SLOTS:
    void stripKeepsItsRightEndAndItsPlace()
    {
        test::MemoryPreferences preferences;
        QRect left;
        {
            Strip strip(preferences);
            const QRect before = strip.place();
            strip.show(u"ETH  123,456.78"_s);
            QVERIFY(strip.place().width() > before.width());
            QCOMPARE(strip.place().topRight(), before.topRight());
            strip.show(u"ETH  3,456"_s);
            QCOMPARE(preferences.writes(), QStringList());
            left = before.translated(-150, 60);
            Strip::drag(QPoint(-150, 60));
            QCOMPARE(strip.place(), left);
        }
        QCOMPARE(preferences.writes().size(), 1);
        QCOMPARE(Strip(preferences).place(), left); // after a restart too
        for (const char *stored : {"", "a,b", "1,2,3", "99999999999,5", "2147483647,-2147483648"}) {
            preferences.preset(u"ks_strip_pos"_s, QString::fromLatin1(stored)); // cannot be read
            const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
            QVERIFY2(Strip(preferences).place().topRight() == available.topRight() - QPoint(8, 0), stored);
        }
    }

    void clickOnTheStripOpensAndDragDoesNot()
    {
        test::MemoryPreferences preferences;
        const Strip strip(preferences);
        const QSignalSpy activated(&strip.item, &StatusItem::activated);
        QTest::mouseClick(Strip::window(), Qt::LeftButton);
        QCOMPARE(activated.value(0).value(0).toRect(), strip.place());
        Strip::drag(QPoint(-80, 10));
        QTest::mouseClick(Strip::window(), Qt::RightButton);
        QCOMPARE(activated.size(), 1);
    }

    void pastesWithoutLatinLetters()
    {
        const EditKeyFallback fallback(nullptr);
        QLineEdit field;
        QVERIFY(showFocused(field));
        QGuiApplication::clipboard()->setText(u"3456.7"_s);
        // The V key of a Russian keyboard.
        QKeyEvent press(QEvent::KeyPress, 0x041c, Qt::ControlModifier, 55, 0, 0, u"м"_s);
        QCoreApplication::sendEvent(&field, &press);
        QCOMPARE(field.text(), u"3456.7"_s);
        // Where nothing can be edited the key passes through.
        struct : QPushButton
        {
            int presses = 0;
            void keyPressEvent(QKeyEvent *event) override { presses += event->key() == Qt::Key_V ? 1 : 0; }
        } button;
        QVERIFY(showFocused(button));
        QTest::keyClick(&button, Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(button.presses, 1);
    }

    void actionsServeTheFocusedField()
    {
        QLineEdit field;
        int quits = 0;
        addApplicationActions(&field, &field, [&] { ++quits; });
        QVERIFY(showFocused(field));
        QStringList keys;
        for (const QAction *action : field.actions())
            keys.append(action->text() + action->shortcut().toString(QKeySequence::PortableText));
        QCOMPARE(keys.join(u' '),
                 u"退出 Kestrune BarCtrl+Q 撤销Ctrl+Z 重做Ctrl+Shift+Z 剪切Ctrl+X 拷贝Ctrl+C 粘贴Ctrl+V "
                 "全选Ctrl+A"_s);
        field.setText(u"12"_s);
        const std::pair<int, QString> steps[] = {{6, u"12"_s}, {3, {}}, {5, u"12"_s}, {1, {}}, {2, u"12"_s}};
        for (const auto &[action, text] : steps) {
            field.actions()[action]->trigger();
            QVERIFY2(field.text() == text, qPrintable(keys[action]));
        }
        field.setText(u"345"_s);
        field.actions()[6]->trigger();
        field.actions()[4]->trigger();
        QCOMPARE(QGuiApplication::clipboard()->text(), u"345"_s);
        QTest::keyClick(&field, Qt::Key_Q, Qt::ControlModifier);
        QCOMPARE(quits, 1);
    }
};

KESTRUNE_TEST(TestWindows)
#include "tst_windows.moc"
