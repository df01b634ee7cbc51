// SPDX-License-Identifier: MIT
#include "panelfixture.h"

#include "panel/helpview.h"
#include "panel/sheet.h"
#include "support/eventloop.h"
#include "support/testregistry.h"
#include "ui/disclosure.h"
#include "ui/focusring.h"
#include "ui/iconbutton.h"
#include "ui/scrollarea.h"

#include <QScrollBar>
#include <QThread>
#include <QToolTip>
#include <QVBoxLayout>
#include <QVariantAnimation>

using namespace kestrune;
using namespace kestrune::test;

/// The panel as a window: keyboard, places, colours, and the usage guide over it.
class PanelWindowTest : public QObject
{
    Q_OBJECT

    inline static const QString bling = u"赚翻了：状态栏多标的霓虹灯效"_s;

    static bool isInView(const QWidget *widget)
    {
        return widget->visibleRegion().boundingRect() == widget->rect();
    }

    /// Whether a label has room for its text, and nothing but what can be scrolled cuts it off.
    static bool isWhole(const TextLabel &label)
    {
        const bool wide = label.width() >= label.sizeHint().width() || !label.toolTip().isEmpty();
        if (label.height() < label.heightForWidth(label.width()) || !(wide || label.hasHeightForWidth()))
            return false;
        for (const QWidget *at = label.parentWidget(); at && !at->isWindow(); at = at->parentWidget()) {
            if (!at->rect().contains(QRect(label.mapTo(at, QPoint()), label.size())))
                return qobject_cast<const QAbstractScrollArea *>(at->parentWidget()) != nullptr;
        }
        return true;
    }

private Q_SLOTS:
    void helpOpensOverThePanelAndCloses()
    {
        const QRect screen(0, 0, 1920, 1080);
        QCOMPARE(sheetGeometry({500, 100, 320, 900}, {380, 460}, screen), QRect(469, 319, 380, 460));
        QCOMPARE(sheetGeometry({0, 0, 320, 900}, {380, 460}, screen).left(), 0);
        QCOMPARE(sheetGeometry({1600, 0, 320, 900}, {380, 460}, screen).right(), 1919);
        QCOMPARE(sheetGeometry({100, 27, 320, 400}, {380, 460}, {0, 27, 1024, 400}).top(), 27);

        Shown panel;
        int requests = 0;
        connect(panel.view.get(), &PopoverView::closeRequested, this, [&] { ++requests; });
        const auto open = [&] {
            panel.press(u"使用说明"_s);
            return panel.view->isHelpShown();
        };
        const auto closedAlone = [&] {
            return !panel.view->isHelpShown() && panel.view->isVisible() && requests == 0;
        };
        QVERIFY(open());
        auto *help = panel.view->findChild<HelpView *>();
        QVERIFY(help->size() == QSize(380, 460) && help->window() != panel.view.get());
        const QStringList texts = panel.texts();
        for (const HelpParagraph &paragraph : helpParagraphs())
            QVERIFY(texts.contains(paragraph.title) && texts.contains(paragraph.text));
        for (const TextLabel *label : help->findChildren<TextLabel *>())
            QVERIFY2(isWhole(*label), qPrintable(label->text()));
        panel.press(u"关闭"_s, 0);
        QVERIFY(closedAlone() && open());
        panel.press(u"关闭"_s, 1);
        QVERIFY(closedAlone() && open());
        QTest::mouseClick(help->window(), Qt::LeftButton, {}, QPoint(-30, -30)); // outside
        QVERIFY(closedAlone() && open());
        QTest::keyClick(help->window()->focusWidget(), Qt::Key_PageDown); // it scrolls at once, without a Tab
        QVERIFY(help->findChild<QScrollArea *>()->verticalScrollBar()->value() > 100);
        QTest::keyClick(help->window()->focusWidget(), Qt::Key_Escape);
        QVERIFY(closedAlone() && open());
        panel.view->hide(); // takes it along
        QVERIFY(!help->isVisible());
        panel.view->show();
        QTest::keyClick(panel.find(u"目标价"_s), Qt::Key_Escape); // from inside a field too
        QVERIFY(requests == 1 && !panel.view->isVisible());
    }

    // The program shows the panel inside the window of its popover.
    void itWorksInsideAnotherWindow()
    {
        QWidget window;
        PanelFixture panel;
        panel.fillMarket();
        (new QVBoxLayout(&window))->addWidget(panel.view.get());
        panel.state->marketContextExpanded = true;
        window.show();
        QVERIFY(panel.shows(u"RSI(14)"_s)); // unfolded at once
        const QImage first = window.grab().toImage();
        drainEvents();
        QVERIFY(window.grab().toImage() == first); // nothing was still moving
        panel.find(u"支撑 3,418 -1.12%"_s)->setFocus(Qt::TabFocusReason);
        QVERIFY(panel.view->findChild<FocusRing *>()->target());
        panel.key(Qt::Key_Escape);
        QVERIFY(panel.view->isVisible());    // the window's affair
        QTest::keyClick(&window, Qt::Key_2); // what nothing has the focus for
        QCOMPARE(panel.state->coinSymbol(), u"BTC"_s);
    }

    void tabFollowsTheReadingOrder()
    {
        Shown panel(true);
        panel.view->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(panel.view.get()));
        QCOMPARE(panel.view->focusWidget(), panel.find(u"1H"_s)); // the toolkit's choice: the first stop
        QVERIFY(!panel.view->findChild<FocusRing *>()->target()); // not by the keyboard
        QCOMPARE(panel.key(Qt::Key_Backtab, Qt::ShiftModifier), bling);

        panel.enter(u"目标价"_s, u"7"_s);
        panel.press(u"支撑 3,306 -4.37%"_s);
        std::vector<Zone> zones = panel.state->zones();
        zones.insert(zones.begin(), makeZone(u"resistance"_s, 3800, 9.9, 1)); // rows that came late
        zones.push_back(makeZone(u"support"_s, 3100, -10, 3));
        panel.state->zones = zones;
        panel.view->setFixedHeight(2400); // everything shows, nothing scrolls
        drainEvents();
        panel.find(u"1H"_s)->setFocus(Qt::TabFocusReason);
        QList<QWidget *> order;
        for (QWidget *at = panel.view->focusWidget(); !order.contains(at); at = panel.view->focusWidget()) {
            order.append(at);
            QTest::keyClick(at, Qt::Key_Tab);
        }
        QVERIFY(order.size() > 50 && panel.view->focusWidget() == order.first());
        const auto place = [&](QWidget *widget) {
            return widget->mapTo(panel.view.get(), widget->rect().center());
        };
        for (qsizetype i = 1; i < order.size(); ++i) {
            QVERIFY2(!panel.nameOf(order[i]).isEmpty(), order[i]->metaObject()->className());
            QVERIFY(!qobject_cast<IconButton *>(order[i]) || !order[i]->toolTip().isEmpty());
            const QPoint step = place(order[i]) - place(order[i - 1]);
            QVERIFY2(order[i - 1]->isAncestorOf(order[i]) || step.y() > 14 ||
                         (step.y() >= -14 && step.x() > 0),
                     qPrintable(order[i]->accessibleName()));
        }
    }

    void arrowsMoveAlongRowsAndTimeframes()
    {
        Shown panel;
        panel.view->setMaximumPanelHeight(300);
        drainEvents();
        panel.find(u"阻力 3,528 +2.07%"_s)->setFocus(Qt::TabFocusReason);
        QCOMPARE(panel.key(Qt::Key_Down), u"支撑 3,418 -1.12%"_s); // over the price line
        QVERIFY(isInView(panel.view->focusWidget()));              // scrolled to where it is seen
        panel.key(Qt::Key_Up);
        QCOMPARE(panel.key(Qt::Key_Up), u"阻力 3,642 +5.36%"_s);
        panel.find(u"日线"_s)->setFocus(Qt::TabFocusReason);
        QCOMPARE(panel.key(Qt::Key_Right), u"日线"_s); // the last one
        QCOMPARE(panel.key(Qt::Key_Left), u"4H"_s);
    }

    void unfoldedSectionsComeIntoView()
    {
        Shown panel;
        auto *bar = panel.view->findChild<ScrollArea *>()->verticalScrollBar();
        QWidget *title = panel.find(u"设置"_s);
        const QWidget *section = title->parentWidget();
        const int folded = section->height();
        const auto foldAt = [&](int panelHeight, int scrolled) {
            if (section->height() > folded) {
                panel.press(u"设置"_s);
                QVERIFY(waitFor([&] { return section->height() == folded; }));
            }
            panel.view->setMaximumPanelHeight(panelHeight);
            drainEvents();
            bar->setValue(scrolled);
        };
        const auto unfold = [&] {
            const auto *body = section->findChild<Collapsible *>();
            const auto *animation = body->findChild<QVariantAnimation *>({}, Qt::FindDirectChildrenOnly);
            panel.press(u"设置"_s);
            QVERIFY(waitFor([&] { return animation->state() == QAbstractAnimation::Stopped; }));
            drainEvents();
        };
        foldAt(850, 9999);
        QVERIFY(isInView(section)); // only its title yet
        unfold();
        QVERIFY(section->height() > folded + 200 && isInView(section));
        foldAt(500, 9999); // too low for all of it: the title stays
        unfold();
        QVERIFY(isInView(title) && !isInView(section));
        const QWidget *context = panel.find(u"市场背景"_s);
        foldAt(600, context->mapTo(panel.view->findChild<ScrollArea *>()->widget(), QPoint()).y() - 400);
        panel.press(u"市场背景"_s);
        QTest::qWait(50);
        QThread::msleep(400); // a stopped program goes to the end in one step
        QVERIFY(waitFor([&] { return context->parentWidget()->height() > 100; }));
        QVERIFY(waitFor([&] { return isInView(context->parentWidget()); }));
    }

    void manyRowsOpenAtThePrice()
    {
        Shown panel;
        const auto openWith = [&](int perSide) {
            panel.state->displayRangePct = 30;
            panel.state->maxPerSide = perSide;
            std::vector<Zone> zones;
            for (int i = 1; i <= 8; ++i)
                zones.push_back(makeZone(u"resistance"_s, 3456.78 + 40 * i, 1.2 * i));
            panel.state->zones = zones;
            panel.view->hide();
            panel.view->setMaximumPanelHeight(480);
            panel.view->findChild<ScrollArea *>()->verticalScrollBar()->setValue(0);
            panel.view->show();
            return isInView(panel.find(u"现价"_s));
        };
        QVERIFY(openWith(6) && panel.shows(u"无"_s));
        QVERIFY(!openWith(5)); // where it always began
        panel.view->findChild<ScrollArea *>()->verticalScrollBar()->setValue(9999);
        panel.state->maxPerSide = 6;
        panel.view->hide();
        panel.view->show();
        QVERIFY(isInView(panel.find(u"现价"_s))); // from below, too
    }

    // The banner above grows by the suggested position and shrinks again.
    void fieldsStayInPlaceWhileThePlanGrows()
    {
        const QString account = u"账户总额"_s;
        Shown panel(true);
        auto *bar = panel.view->findChild<ScrollArea *>()->verticalScrollBar();
        bar->setValue(bar->maximum());
        const int banner = panel.find(u"开单助手"_s)->height();
        const int before = panel.top(account);
        panel.enter(account, u"10000"_s);
        QVERIFY(panel.find(u"开单助手"_s)->height() > banner && panel.top(account) == before);
        panel.enter(account, u""_s);
        QVERIFY(panel.find(u"开单助手"_s)->height() == banner && panel.top(account) == before);
    }

    void nothingIsCutAtAnyPrice()
    {
        for (const auto &[base, decimals] : {std::pair(0.000012, 6), std::pair(1234567.89, 2)}) {
            PanelFixture panel;
            panel.fillMarket(base);
            panel.state->decimals = decimals;
            panel.state->accountSize = 123456789;
            panel.state->leverage = 125;
            panel.state->isLoading = true;
            panel.state->changePct = -100.0;
            panel.state->marketContextExpanded = true;
            panel.pick(panel.state->zones()[4].mid, u"support"_s);
            panel.state->addAlert(base * 1.01);
            panel.view->setSettingsExpanded(true);
            panel.view->show();
            drainEvents();
            QList<TextLabel *> labels = panel.view->findChildren<TextLabel *>();
            labels.removeIf([](const TextLabel *label) { return !label->isVisible(); });
            QVERIFY(labels.size() > 40);
            for (const TextLabel *label : labels) {
                QVERIFY2(isWhole(*label), qPrintable(label->text()));
                for (const TextLabel *other : labels) {
                    if (other != label && other->parentWidget() == label->parentWidget())
                        QVERIFY2(!label->geometry().intersects(other->geometry()), qPrintable(label->text()));
                }
            }
            // The instrument's name is read in full beside the longest price.
            QVERIFY(labels[0]->width() >= labels[0]->sizeHint().width());
        }
    }

    void thePanelGivesWayToALowScreen()
    {
        const QString notice = u"行情服务器 a.very.long.host.name.of.some.market.server.example.com"_s;
        const QString refresh = u"刷新数据"_s;
        Shown panel(false, notice);
        const int footer = panel.top(refresh);
        QVERIFY(panel.top(notice) < footer && panel.tone(notice) == Tone::orange);
        QCOMPARE(panel.find(notice)->toolTip(), notice); // cut in the middle, whole in the tooltip
        QCOMPARE(panel.texts().last(), u"仅供学习参考，不构成投资建议。"_s);
        for (const auto &[room, height] : {std::pair(600, 600), std::pair(2000, 900), std::pair(-5, 240)}) {
            panel.view->setMaximumPanelHeight(room);
            drainEvents();
            QCOMPARE(panel.view->size(), QSize(320, height));
            QCOMPARE(panel.top(refresh), footer - 900 + height);
        }
    }

    void colourSchemesAreSwitchedAtOnce()
    {
        Shown panel;
        QCOMPARE(panel.view->grab().toImage().pixelColor(2, 2), darkPalette().ground);
        panel.view->setDark(false);
        panel.press(u"价格提醒 · 说明"_s); // tooltips too, and a long one is wrapped
        const auto windows = QApplication::topLevelWidgets();
        const auto tip = std::ranges::find_if(windows, [](const QWidget *window) {
            return window->inherits("QTipLabel") && window->isVisible();
        });
        QVERIFY(tip != windows.end() && (*tip)->width() <= panel.view->width());
        QCOMPARE((*tip)->palette().color(QPalette::ToolTipText), lightPalette().text);
        QToolTip::hideText();
        panel.press(u"使用说明"_s);
        QCOMPARE(panel.view->grab().toImage().pixelColor(2, 2), lightPalette().ground);
        for (QWidget *widget : panel.view->findChildren<QWidget *>())
            QVERIFY2(!paletteOf(widget).dark, widget->metaObject()->className());
    }

    // Run by itself for the walk over the accessibility bus: says what it shows, what changes and what is
    // opened.
    void itIsReadAndPressedOverTheBus()
    {
        if (!qEnvironmentVariableIsSet("QT_LINUX_ACCESSIBILITY_ALWAYS_ON"))
            return;
        installAccessibility();
        PanelFixture panel(u"演示行情"_s);
        panel.fillMarket();
        panel.state->marketContextExpanded = true;
        panel.state->addAlert(3400, {}, true); // rings at once
        panel.view->setSettingsExpanded(true);
        panel.view->setWindowFlags(Qt::Popup | Qt::FramelessWindowHint);
        panel.view->show();
        QTextStream out(stdout);
        for (QWidget *widget : panel.readable())
            out << "shows " << panel.nameOf(widget) << Qt::endl;
        connect(panel.state.get(), &AppState::fieldWillChange, this, [&](const PublishedField *field) {
            out << "field " << fieldName(*panel.state, field) << Qt::endl;
        });
        panel.onOpened = [&](const QUrl &url) { out << "opened " << url.toString() << Qt::endl; };
        QCoreApplication::exec(); // until it is killed
    }
};

KESTRUNE_TEST(PanelWindowTest)
#include "tst_panelwindow.moc"
