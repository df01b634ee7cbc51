// SPDX-License-Identifier: MIT
#include "panel/blingbutton.h"
#include "ui/chip.h"
#include "ui/focusring.h"
#include "ui/iconbutton.h"
#include "ui/chip.h"
#include "ui/textbutton.h"
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
    void hoverEndsWithHiding();
    void ringFollowsTheKeyboardAndItsWidget();
};

void ButtonsTest::everyKindActsOnMouseAndKeys()
{
    QWidget window;
    auto *row = new QHBoxLayout(&window);
    const std::vector<FlatButton *> buttons{new IconButton(u"globe"_s), new TextButton(u"收到"_s),
                                            new Chip(u"ETH"_s), new Chip(u"4H"_s, Chip::Look::segment),
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
    QCOMPARE(QAccessible::queryAccessibleInterface(icon)->text(QAccessible::Name), u"打开网页版"_s);
    QCOMPARE(QAccessible::queryAccessibleInterface(buttons[2])->text(QAccessible::Name), u"ETH"_s);
}

void ButtonsTest::hoverEndsWithHiding()
{
    QWidget window;
    window.resize(100, 100);
    auto *chip = new Chip(u"ETH"_s, Chip::Look::pill, &window);
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

void ButtonsTest::ringFollowsTheKeyboardAndItsWidget()
{
    QWidget window;
    window.resize(200, 100);
    auto *field = new QLineEdit(&window);
    auto *area = new QScrollArea(&window);
    area->setGeometry(0, 40, 200, 60);
    auto *content = new QWidget;
    content->resize(180, 400);
    auto *chip = new Chip(u"BTC"_s, Chip::Look::pill, content);
    chip->setGeometry(20, 30, 50, 24);
    area->setWidget(content);
    auto *ring = new FocusRing(&window);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    field->setFocus(Qt::MouseFocusReason);
    QVERIFY(!ring->target());
    chip->setFocus(Qt::TabFocusReason);
    QCOMPARE(ring->target(), chip);
    QCOMPARE(ring->parentWidget(), content); // scrolls along and is cut by the viewport
    chip->move(20, 60);
    QCOMPARE(ring->geometry(), chip->geometry().adjusted(-4, -4, 4, 4));
    QTest::mouseClick(chip, Qt::LeftButton);
    QVERIFY(!ring->target());
    field->setFocus(Qt::MouseFocusReason);
    chip->setFocus(Qt::TabFocusReason);
    QCOMPARE(ring->target(), chip);
    delete area; // the ring outlives what it stands around
    QVERIFY(!ring->target());
    QCOMPARE(ring->parentWidget(), &window);
}

KESTRUNE_TEST(ButtonsTest)
#include "tst_buttons.moc"
