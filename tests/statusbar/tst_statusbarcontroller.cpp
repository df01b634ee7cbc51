// SPDX-License-Identifier: MIT
#include "statusbar/statusbarcontroller.h"

#include "statusbar/fakeitem.h"
#include "support/appfixture.h"
#include "support/testregistry.h"

#include <QGuiApplication>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// A controller over a running state and fakes of the desktop.
struct Bar
{
    AppFixture app;
    FakeItem item;
    FakeTheme theme;
    std::vector<bool> panelDark;
    int panelHeight = 0;
    QStringList errors;
    std::unique_ptr<StatusBarController> controller;

    explicit Bar(double price = 3000)
    {
        app.serveCrypto(price);
        app.start();
        controller = std::make_unique<StatusBarController>(
            app.state, item, theme, [this](const std::shared_ptr<AppState> &, QWidget *parent) {
                auto *field = new QLineEdit(parent);
                return PanelContent{field, [this](bool dark) { panelDark.push_back(dark); },
                                    [this](int height) { panelHeight = height; },
                                    [this](const QString &message) { errors.append(message); }};
            });
    }
    [[nodiscard]] Popover &popover() { return controller->popover(); }
};

} // namespace

class TestStatusBarController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void showsTheStateAtOnce();
    void redrawsAtEveryTickOnce();
    void blinksWhileAnAlertIsActive();
    void showsNeonSignsAndClosesThePanel();
    void followsTheTheme();
    void pollsOnlyAThemeThatDoesNotTell();
    void opensAndClosesByClick();
    void closesByEscapeAndByAClickElsewhere();
    void showsAnErrorWhenThePanelOpensNext();
    void announcesAFocusOnceHoweverOftenThePanelWasOpened();
};

void TestStatusBarController::showsTheStateAtOnce()
{
    Bar bar;
    QCOMPARE(bar.item.shown.size(), 1U);
    QCOMPARE(bar.item.last().status.text, bar.app.state->menuTitle());
    QVERIFY(bar.item.last().title.startsWith(bar.app.state->displayName()));
    QCOMPARE(bar.item.last().detail, bar.app.state->statusText());
    QCOMPARE(bar.controller->renderImage().image, pictureOf(bar.item.last()).image);
}

void TestStatusBarController::redrawsAtEveryTickOnce()
{
    Bar bar;
    bar.item.shown.clear();
    bar.app.tickTo(3001);
    bar.app.clock.advance(5s);
    QCOMPARE(bar.item.last().status.text, bar.app.state->menuTitle());
    QVERIFY(bar.item.last().status.text.contains(QStringLiteral("3,001")));
    bar.app.clock.advance(60s);          // twelve ticks at the same price
    QCOMPARE(bar.item.shown.size(), 1U); // price and zones are two changes that draw the same picture
}

void TestStatusBarController::blinksWhileAnAlertIsActive()
{
    Bar bar;
    bar.app.state->addAlert(2990, {}, false);
    bar.app.tickTo(2985);
    bar.app.clock.advance(5s);
    QVERIFY(bar.app.state->alertActive());
    QVERIFY(bar.item.last().status.alertActive);
    bar.item.shown.clear();
    bar.app.clock.advance(1600ms); // four phases
    QCOMPARE(bar.item.shown.size(), 4U);
    for (std::size_t i = 1; i < bar.item.shown.size(); ++i)
        QVERIFY(!samePicture(bar.item.shown[i - 1], bar.item.shown[i]));
    bar.app.state->dismissAlert(bar.app.state->alerts().front().id);
    drainEvents();
    QVERIFY(!bar.item.last().status.alertActive);
}

void TestStatusBarController::showsNeonSignsAndClosesThePanel()
{
    Bar bar;
    bar.item.click(QRect(600, 0, 100, 22));
    QVERIFY(bar.popover().isVisible());
    bar.app.state->toggleBlingMode();
    drainEvents();
    QVERIFY(!bar.popover().isVisible());
    QVERIFY(bar.item.last().bling);
    QCOMPARE(bar.item.last().signs.size(), 8U);
    bar.item.shown.clear();
    bar.app.clock.advance(450ms); // three pulses
    QCOMPARE(bar.item.shown.size(), 3U);
    bar.app.state->toggleBlingMode();
    drainEvents();
    QVERIFY(!bar.item.last().bling);
}

void TestStatusBarController::followsTheTheme()
{
    Bar bar;
    QVERIFY(!bar.item.last().status.dark);
    bar.item.click(QRect(600, 0, 100, 22));
    bar.theme.tell(true);
    drainEvents();
    QVERIFY(bar.item.last().status.dark);
    QCOMPARE(bar.panelDark, (std::vector<bool>{false, true}));
}

void TestStatusBarController::pollsOnlyAThemeThatDoesNotTell()
{
    Bar bar;
    bar.theme.dark = true; // without a word
    QVERIFY(!waitFor([&] { return bar.item.last().status.dark; }, 2300ms));
    bar.theme.setTells(false);
    QVERIFY(waitFor([&] { return bar.item.last().status.dark; }, 2500ms));
    // The panel follows the desktop although the bar's own colour stays.
    bar.item.click(QRect(600, 0, 100, 22));
    bar.theme.barText = Qt::white;
    bar.theme.dark = false;
    QVERIFY(waitFor([&] { return !bar.panelDark.back(); }, 2500ms));
    QVERIFY(bar.item.last().status.dark);
    bar.theme.setTells(true);
    bar.theme.barText.reset();
    QVERIFY(!waitFor([&] { return !bar.item.last().status.dark; }, 2300ms));
}

void TestStatusBarController::opensAndClosesByClick()
{
    Bar bar;
    bar.item.click(QRect(600, 0, 100, 22));
    QVERIFY(bar.popover().isVisible());
    QVERIFY(bar.popover().screen()->availableGeometry().contains(bar.popover().geometry()));
    QCOMPARE(bar.panelHeight, bar.popover().height());
    bar.item.click(QRect(600, 0, 100, 22));
    QVERIFY(!bar.popover().isVisible());
    // The same click, seen by the item after it has closed the panel.
    bar.item.click(QRect(600, 0, 100, 22));
    QVERIFY(!bar.popover().isVisible());
    QVERIFY(waitFor([&] { return !bar.popover().hasJustClosed(); }));
    bar.item.where = QRect(300, 0, 100, 22);
    bar.item.click(QRect()); // the host tells nothing, but the item knows its place
    QVERIFY(bar.popover().isVisible());
    QCOMPARE(bar.popover().x(), 190);
    bar.popover().close();
    bar.item.where.reset();
    bar.controller->showPopover();
    QCOMPARE(bar.popover().geometry().right(), bar.popover().screen()->availableGeometry().right());
}

void TestStatusBarController::closesByEscapeAndByAClickElsewhere()
{
    Bar bar;
    bar.controller->showPopover();
    QVERIFY(bar.popover().isVisible());
    QTest::keyClick(&bar.popover(), Qt::Key_Escape);
    QVERIFY(!bar.popover().isVisible());
    bar.controller->showPopover();
    QVERIFY(bar.popover().isVisible());
    QTest::mouseClick(&bar.popover(), Qt::LeftButton, {}, QPoint(-20, 40));
    QVERIFY(!bar.popover().isVisible());
}

void TestStatusBarController::showsAnErrorWhenThePanelOpensNext()
{
    Bar bar;
    bar.popover().showError(u"first"_s);
    QCOMPARE(bar.errors, QStringList());
    bar.controller->showPopover();
    QCOMPARE(bar.errors, QStringList{u"first"_s});
    bar.popover().showError(u"second"_s);
    QCOMPARE(bar.errors, (QStringList{u"first"_s, u"second"_s}));
    bar.popover().close();
    bar.controller->showPopover();
    QCOMPARE(bar.errors.size(), 2);
}

void TestStatusBarController::announcesAFocusOnceHoweverOftenThePanelWasOpened()
{
    Bar bar;
    const auto open = [&bar] {
        bar.controller->showPopover();
        return waitFor([&bar] { return QGuiApplication::focusWindow() == bar.popover().windowHandle(); });
    };
    for (int i = 0; i < 3; ++i) {
        QVERIFY(open());
        bar.popover().close();
    }
    QVERIFY(open());
    const QSignalSpy announced(qGuiApp, &QGuiApplication::focusObjectChanged);
    auto *field = bar.popover().findChild<QLineEdit *>();
    field->setFocus();
    QVERIFY(field->hasFocus());
    QCOMPARE(announced.count(), 1);
}

KESTRUNE_TEST(TestStatusBarController)
#include "tst_statusbarcontroller.moc"
