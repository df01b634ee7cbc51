// SPDX-License-Identifier: MIT
#include "ui/accessibility.h"
#include "ui/chip.h"
#include "ui/chiprow.h"
#include "ui/disclosure.h"
#include "ui/divider.h"
#include "ui/palette.h"
#include "ui/textlabel.h"
#include "support/testregistry.h"

#include <QAccessible>
#include <QApplication>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>
#include <QWheelEvent>

using namespace kestrune;
using namespace Qt::StringLiterals;

namespace {

const QStringList manySymbols{u"ETH"_s,  u"BTC"_s,  u"SOL"_s, u"BNB"_s,  u"XRP"_s,
                              u"DOGE"_s, u"AVAX"_s, u"TON"_s, u"LINK"_s, u"ADA"_s};

void turnWheel(QWidget &widget, int notches)
{
    QWheelEvent event(QPointF(20, 10), widget.mapToGlobal(QPointF(20, 10)), {}, QPoint(0, 120 * notches),
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&widget, &event);
}

/// A shown row, narrower than its chips.
struct Row
{
    explicit Row(const QStringList &symbols = manySymbols)
    {
        row.resize(292, 32);
        row.setContent(symbols, symbols.constFirst());
        row.show();
    }
    [[nodiscard]] Chip *chip(qsizetype i) const { return row.chips()[std::size_t(i)]; }
    ChipRow row;
};

} // namespace

class PanelWidgetsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void chipsScrollByWheelWithinTheirRange();
    void draggingMovesTheRowAndPicksNothing();
    void arrowsBringChipsIntoView();
    void theCurrentChipIsBroughtIntoView();
    void foldingTakesTheHeightAndTheFocusAway();
    void dividersAreOneDevicePixelHigh();
    void readersPressLikeTheMouse();
    void popupsAreAmongTheApplicationsChildren();
};

void PanelWidgetsTest::chipsScrollByWheelWithinTheirRange()
{
    Row shown;
    turnWheel(shown.row, -1);
    QCOMPARE(shown.row.offset(), 60);
    turnWheel(shown.row, 5);
    QCOMPARE(shown.row.offset(), 0);
    turnWheel(shown.row, -100);
    const Chip *last = shown.chip(9);
    QCOMPARE(last->mapTo(&shown.row, QPoint(last->width(), 0)).x(), 292);

    Row few({u"A"_s, u"B"_s});
    turnWheel(few.row, -1); // everything shows
    QCOMPARE(few.row.offset(), 0);
}

void PanelWidgetsTest::draggingMovesTheRowAndPicksNothing()
{
    Row shown;
    QSignalSpy picked(&shown.row, &ChipRow::picked);
    Chip *chip = shown.chip(3);
    QTest::mousePress(chip, Qt::LeftButton, {}, QPoint(10, 10));
    QTest::mouseMove(chip, QPoint(-40, 10));
    QMouseEvent move(QEvent::MouseMove, QPointF(-40, 10), chip->mapToGlobal(QPointF(-40, 10)), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(chip, &move);
    QVERIFY(shown.row.offset() > 0);
    QTest::mouseRelease(chip, Qt::LeftButton, {}, QPoint(10, 10));
    QCOMPARE(picked.size(), 0);
    QTest::mouseClick(chip, Qt::LeftButton);
    QCOMPARE(picked.size(), 1);
    QCOMPARE(picked[0][0].toString(), u"BNB"_s);
}

void PanelWidgetsTest::arrowsBringChipsIntoView()
{
    Row shown;
    shown.row.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&shown.row));
    shown.chip(0)->setFocus(Qt::TabFocusReason);
    QTest::keyClick(shown.chip(0), Qt::Key_Left); // stays at the end
    QVERIFY(shown.chip(0)->hasFocus());
    QTest::keyClick(shown.chip(0), Qt::Key_Right);
    QVERIFY(shown.chip(1)->hasFocus());
    QTest::keyClick(shown.chip(1), Qt::Key_End);
    QVERIFY(shown.chip(9)->hasFocus());
    QVERIFY(shown.row.rect().contains(QRect(shown.chip(9)->mapTo(&shown.row, QPoint(0, 0)), QSize(1, 1))));
    QTest::keyClick(shown.chip(9), Qt::Key_Home);
    QCOMPARE(shown.row.offset(), 0);
}

void PanelWidgetsTest::theCurrentChipIsBroughtIntoView()
{
    Row shown;
    shown.row.setContent(manySymbols, u"LINK"_s);
    const int offset = shown.row.offset();
    QVERIFY(offset > 0);
    turnWheel(shown.row, 100);
    shown.row.setContent(manySymbols, u"LINK"_s); // nothing new: the row stays where the user put it
    QCOMPARE(shown.row.offset(), 0);
    const auto chips = shown.row.chips();
    shown.row.setContent(manySymbols, u"ETH"_s);
    QCOMPARE(shown.row.chips(), chips);
    shown.row.setContent({u"hk00700"_s}, u"hk00700"_s);
    QCOMPARE(shown.row.chips().size(), std::size_t(1));
}

void PanelWidgetsTest::foldingTakesTheHeightAndTheFocusAway()
{
    QWidget window;
    auto *column = new QVBoxLayout(&window);
    auto *content = new QWidget;
    auto *inner = new QVBoxLayout(content);
    auto *text = new TextLabel(u"原始指标"_s, TypeRole::caption);
    inner->addWidget(text);
    auto *body = new Collapsible(content);
    column->addWidget(body);
    column->addStretch();
    window.resize(300, 200);
    window.show();
    QCOMPARE(body->height(), 0);
    QVERIFY(!text->isVisible());
    QElapsedTimer sinceClick;
    sinceClick.start();
    body->setExpanded(true);
    QTest::qWait(60);
    const int growing = body->height();
    const bool onItsWay = sinceClick.elapsed() < 150; // on a busy machine it may be over by now
    QTRY_COMPARE(body->height(), content->sizeHint().height());
    if (onItsWay)
        QVERIFY(growing < body->height()); // it grows, it does not jump
    QVERIFY(text->isVisible());
    body->setExpanded(false);
    QTRY_COMPARE(body->height(), 0);
    QTRY_VERIFY(!text->isVisible()); // the last pixels round to nothing before it is over
    window.hide();
    body->setExpanded(true); // unseen: at once
    QCOMPARE(body->heightForWidth(300), content->sizeHint().height());
}

void PanelWidgetsTest::dividersAreOneDevicePixelHigh()
{
    for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
        for (const int y : {3, 4, 5, 6}) {
            QWidget ground;
            ground.setPalette(toolkitPalette(lightPalette()));
            ground.resize(20, 10);
            Divider line(&ground);
            line.setGeometry(0, y, 20, 1);
            QImage image(40, 20, QImage::Format_RGB32);
            image.setDevicePixelRatio(scale);
            image.fill(Qt::white);
            ground.render(&image);
            int rows = 0;
            for (int row = 0; row < image.height(); ++row)
                rows += image.pixelColor(4, row) != QColor(Qt::white) ? 1 : 0;
            QVERIFY2(rows == 1, qPrintable(u"%1 rows at %2, scale %3"_s.arg(rows).arg(y).arg(scale)));
        }
    }
}

void PanelWidgetsTest::readersPressLikeTheMouse()
{
    Row shown;
    QSignalSpy picked(&shown.row, &ChipRow::picked);
    auto *chip = QAccessible::queryAccessibleInterface(shown.chip(1));
    QCOMPARE(chip->role(), QAccessible::RadioButton);
    QCOMPARE(chip->text(QAccessible::Name), u"BTC"_s);
    chip->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    QCOMPARE(picked.size(), 1);
    QVERIFY(!chip->state().checked); // the owner decides what it shows
    QVERIFY(QAccessible::queryAccessibleInterface(shown.chip(0))->state().checked);

    DisclosureHeader header(u"设置"_s);
    header.setChecked(true);
    const auto state = QAccessible::queryAccessibleInterface(&header)->state();
    QVERIFY(state.expandable && state.expanded && !state.checkable);
}

void PanelWidgetsTest::popupsAreAmongTheApplicationsChildren()
{
    installAccessibility();
    QWidget popup(nullptr, Qt::Popup);
    popup.setAccessibleName(u"popup"_s);
    popup.show();
    const auto *root = QAccessible::queryAccessibleInterface(qApp);
    QVERIFY(root);
    QCOMPARE(root->role(), QAccessible::Application);
    QStringList names;
    for (int i = 0; i < root->childCount(); ++i)
        names.append(root->child(i)->text(QAccessible::Name));
    QVERIFY(names.contains(u"popup"_s));
    QVERIFY(!root->child(-1) && !root->child(root->childCount()));
    const int before = root->childCount();
    popup.hide();
    QCOMPARE(root->childCount(), before - 1);
}

KESTRUNE_TEST(PanelWidgetsTest)
#include "tst_panelwidgets.moc"
