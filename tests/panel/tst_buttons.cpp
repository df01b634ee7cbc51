#include "panel/blingbutton.h"
#include "panel/chip.h"
#include "panel/focusring.h"
#include "panel/iconbutton.h"
#include "panel/segmentbutton.h"
#include "panel/spinner.h"
#include "panel/textbutton.h"
#include "support/testregistry.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QScrollArea>
#include <QSignalSpy>
#include <QTest>

using namespace kestrune;
using namespace Qt::StringLiterals;

class ButtonsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyKindActsOnMouseAndKeys();
    void aClickOnlyAsks();
    void blingButton();
    void spinnerTurnsOnlyWhileVisible();
    void hoverEndsWithHiding();
    void ringFollowsTheKeyboardOnly();
    void ringScrollsWithItsWidget();
    void ringSurvivesItsTarget();
};

void ButtonsTest::everyKindActsOnMouseAndKeys()
{
    QWidget window;
    auto *row = new QHBoxLayout(&window);
    const std::vector<FlatButton *> buttons{new IconButton(u"globe"_s), new TextButton(u"收到"_s),
                                            new Chip(u"ETH"_s), new SegmentButton(u"4H"_s),
                                            new BlingButton([] { return 0.0; })};
    for (FlatButton *button : buttons)
        row->addWidget(button);
    window.show();
    for (FlatButton *button : buttons) {
        QSignalSpy clicks(button, &FlatButton::clicked);
        QTest::mouseClick(button, Qt::LeftButton);
        QTest::keyClick(button, Qt::Key_Space);
        QTest::keyClick(button, Qt::Key_Return);
        QTest::keyClick(button, Qt::Key_Enter);
        QCOMPARE(clicks.count(), 4);
        QVERIFY(button->height() >= button->sizeHint().height());
        auto *spoken = QAccessible::queryAccessibleInterface(button);
        QVERIFY(spoken && spoken->actionInterface());
    }
    auto *icon = static_cast<IconButton *>(buttons.front());
    icon->setTip(u"打开网页版"_s);
    QCOMPARE(icon->size(), QSize(24, 24));
    QCOMPARE(QAccessible::queryAccessibleInterface(icon)->text(QAccessible::Name), u"打开网页版"_s);
    QCOMPARE(QAccessible::queryAccessibleInterface(buttons[2])->text(QAccessible::Name), u"ETH"_s);
}

void ButtonsTest::aClickOnlyAsks()
{
    Chip chip(u"ETH"_s);
    chip.click();
    QVERIFY(!chip.isChecked());
    chip.setChecked(true);
    chip.click();
    QVERIFY(chip.isChecked());
}

void ButtonsTest::blingButton()
{
    BlingButton button([] { return 0.0; });
    QCOMPARE(button.sizeHint(), QSize(34, 34));
    QCOMPARE(button.toolTip(), u"赚翻了：状态栏多标的霓虹灯效"_s);
    button.setOn(true);
    QCOMPARE(button.toolTip(), u"停止炫彩"_s);
    QVERIFY(!button.isAnimating()); // on, but nobody sees it
    button.show();
    QVERIFY(button.isAnimating());
    // Pink at the leading top, yellow at the trailing bottom.
    const QImage image = button.grab().toImage();
    QVERIFY(image.pixelColor(5, 5).blue() > 100);
    QVERIFY(image.pixelColor(28, 28).green() > 180);
    button.hide();
    QVERIFY(!button.isAnimating());
    button.show();
    button.setOn(false);
    QVERIFY(!button.isAnimating());
}

void ButtonsTest::spinnerTurnsOnlyWhileVisible()
{
    QWidget window;
    auto *spinner = new Spinner(&window);
    QVERIFY(!spinner->isTurning());
    window.show();
    QVERIFY(spinner->isTurning());
    window.hide();
    QVERIFY(!spinner->isTurning());
}

void ButtonsTest::hoverEndsWithHiding()
{
    QWidget window;
    window.resize(100, 100);
    auto *chip = new Chip(u"ETH"_s, &window);
    chip->resize(chip->sizeHint());
    window.show();
    const QImage idle = chip->grab().toImage();
    QEnterEvent enter({5, 5}, {5, 5}, {5, 5});
    QCoreApplication::sendEvent(chip, &enter);
    QTRY_VERIFY(chip->grab().toImage() != idle);
    window.hide(); // no leave event comes then
    window.show();
    QCOMPARE(chip->grab().toImage(), idle);
}

void ButtonsTest::ringFollowsTheKeyboardOnly()
{
    QWidget window;
    auto *row = new QHBoxLayout(&window);
    auto *field = new QLineEdit;
    auto *chip = new Chip(u"ETH"_s);
    row->addWidget(field);
    row->addWidget(chip);
    auto *ring = new FocusRing(&window);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    field->setFocus(Qt::MouseFocusReason);
    QVERIFY(!ring->target());
    QTest::keyClick(field, Qt::Key_Tab);
    QCOMPARE(ring->target(), chip);
    QCOMPARE(ring->geometry(), chip->geometry().adjusted(-4, -4, 4, 4));
    QTest::mouseClick(chip, Qt::LeftButton);
    QVERIFY(!ring->target());
}

void ButtonsTest::ringScrollsWithItsWidget()
{
    QWidget window;
    window.resize(200, 100);
    auto *area = new QScrollArea(&window);
    area->setGeometry(0, 0, 200, 100);
    auto *content = new QWidget;
    content->resize(180, 400);
    auto *chip = new Chip(u"BTC"_s, content);
    chip->setGeometry(20, 30, 50, 24);
    area->setWidget(content);
    auto *ring = new FocusRing(&window);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    chip->setFocus(Qt::TabFocusReason);
    QCOMPARE(ring->target(), chip);
    QCOMPARE(ring->parentWidget(), content); // scrolls along and is cut by the viewport
    chip->move(20, 60);
    QCOMPARE(ring->geometry(), chip->geometry().adjusted(-4, -4, 4, 4));
}

void ButtonsTest::ringSurvivesItsTarget()
{
    QWidget window;
    auto *box = new QWidget(&window);
    auto *chip = new Chip(u"BTC"_s, box);
    auto *ring = new FocusRing(&window);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    chip->clearFocus(); // activation may have given it the focus, without a ring
    chip->setFocus(Qt::TabFocusReason);
    QCOMPARE(ring->target(), chip);
    delete box;
    QVERIFY(!ring->target());
    QCOMPARE(ring->parentWidget(), &window);
}

KESTRUNE_TEST(ButtonsTest)
#include "tst_buttons.moc"
