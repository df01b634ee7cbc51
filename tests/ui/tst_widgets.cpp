// SPDX-License-Identifier: MIT
#include "support/eventloop.h"
#include "support/rows.h"
#include "support/testregistry.h"
#include "ui/chip.h"
#include "ui/chiprow.h"
#include "ui/disclosure.h"
#include "ui/flowlayout.h"
#include "ui/iconbutton.h"
#include "ui/textbutton.h"
#include "ui/textlabel.h"
#include "ui/toast.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QScrollArea>
#include <QSignalSpy>
#include <QVBoxLayout>
#include <QVariantAnimation>
#include <QWheelEvent>

#include <cmath>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

class WidgetsTest : public QObject
{
    Q_OBJECT

    /// A shown row, narrower than its ten chips.
    struct Chips : ChipRow
    {
        explicit Chips(const QString &symbols = u"ETH BTC SOL BNB XRP DOGE AVAX TON LINK ADA"_s)
        {
            for (const QString &symbol : symbols.split(u' '))
                items.push_back({symbol, symbol});
            resize(292, 32);
            setContent(items, items.front().key);
            show();
            activateWindow();
        }
        [[nodiscard]] Chip *chip(int i) const { return chips()[std::size_t(i)]; }
        void turnWheel(int notches)
        {
            QWheelEvent event({20, 10}, mapToGlobal(QPointF(20, 10)), {}, QPoint(0, 120 * notches),
                              Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
            QApplication::sendEvent(this, &event);
        }
        std::vector<ChipItem> items;
    };

    static QAccessibleInterface *reader(QObject *object)
    {
        return QAccessible::queryAccessibleInterface(object);
    }

private Q_SLOTS:
    void flowingChildrenWrap()
    {
        const std::vector<QSize> three{{30, 10}, {40, 14}, {20, 10}};
        const struct
        {
            const char *name;
            std::vector<QSize> children;
            std::optional<int> width;
            std::vector<QPoint> positions;
            QSize size;
        } rows[] = {
            {"no children, no width", {}, {}, {}, {0, 0}},
            {"without a width all stand on one line", three, {}, {{0, 0}, {34, 0}, {78, 0}}, {98, 14}},
            {"an exact fit stays on the line", three, 98, {{0, 0}, {34, 0}, {78, 0}}, {98, 14}},
            {"the last child wraps below the tallest", three, 97, {{0, 0}, {34, 0}, {0, 16}}, {97, 26}},
            {"too wide children take a line each", three, 10, {{0, 0}, {0, 12}, {0, 28}}, {10, 38}},
        };
        forEachRow(rows, [](const auto &row) {
            const FlowGeometry flow = flowGeometry(row.children, row.width, 4, 2);
            QCOMPARE(flow.positions, row.positions);
            QCOMPARE(flow.size, row.size);
        });

        QWidget box;
        auto *flow = new FlowLayout(&box);
        for (int i = 0; i < 3; ++i) {
            auto *child = new QWidget;
            child->setFixedSize(40, 10);
            flow->addWidget(child);
        }
        QCOMPARE(flow->heightForWidth(90), 22);
        flow->itemAt(1)->widget()->hide(); // takes no place
        QCOMPARE(flow->heightForWidth(90), 10);
        flow->setGeometry({3, 5, 90, 40});
        QCOMPARE(flow->itemAt(2)->widget()->pos(), QPoint(47, 5));
    }

    void buttonsActOnMouseKeysAndReaders()
    {
        QWidget window;
        auto *row = new QHBoxLayout(&window);
        auto *icon = new IconButton(u"globe"_s);
        icon->setTip(u"打开网页版"_s);
        const std::vector<FlatButton *> buttons{icon, new TextButton(u"收到"_s), new Chip(u"ETH"_s),
                                                new Chip(u"4H"_s, Chip::Look::segment)};
        QStringList names;
        for (FlatButton *button : buttons)
            row->addWidget(button);
        window.show();
        for (FlatButton *button : buttons) {
            QSignalSpy clicks(button, &FlatButton::clicked);
            QTest::mouseClick(button, Qt::LeftButton);
            for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter})
                QTest::keyClick(button, key);
            auto *actions = reader(button)->actionInterface();
            actions->doAction(actions->actionNames().first());
            QCOMPARE(clicks.count(), 5);
            QVERIFY(!reader(button)->state().checked); // the owner decides what it shows
            names.append(reader(button)->text(QAccessible::Name));
        }
        QCOMPARE(names.join(u' '), u"打开网页版 收到 ETH 4H"_s);
        QCOMPARE(reader(buttons[2])->role(), QAccessible::RadioButton);
        TextButton late(u"极简模式"_s);
        QCOMPARE(reader(&late)->role(), QAccessible::Button);
        late.setCheckable(true); // after a reader has met it
        QVERIFY(reader(&late)->role() == QAccessible::CheckBox && reader(&late)->state().checkable);
        DisclosureHeader header(u"设置"_s);
        header.setChecked(true);
        const auto state = reader(&header)->state();
        QVERIFY(state.expandable && state.expanded && !state.checkable);
    }

    void hoverEndsWithHiding()
    {
        QWidget window;
        window.resize(100, 100);
        auto *chip = new Chip(u"ETH"_s, Chip::Look::pill, &window);
        chip->resize(chip->sizeHint());
        window.show();
        const QImage idle = chip->grab().toImage();
        QEnterEvent enter({5, 5}, {5, 5}, {5, 5});
        QCoreApplication::sendEvent(chip, &enter);
        QVERIFY(waitFor([&] { return chip->grab().toImage() != idle; }));
        window.hide(); // no leave event comes then
        window.show();
        QCOMPARE(chip->grab().toImage(), idle);
    }

    void theRingFollowsTheKeyboardAndItsWidget()
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
        chip->setFocus(Qt::TabFocusReason); // the ring scrolls along and is cut by the viewport
        QVERIFY(ring->target() == chip && ring->parentWidget() == content);
        chip->move(20, 60);
        QCOMPARE(ring->geometry(), chip->geometry().adjusted(-4, -4, 4, 4));
        QTest::mouseClick(chip, Qt::LeftButton);
        QVERIFY(!ring->target());
        field->setFocus(Qt::MouseFocusReason);
        chip->setFocus(Qt::TabFocusReason);
        QCOMPARE(ring->target(), chip);
        delete area; // the ring outlives what it stands around
        QVERIFY(!ring->target() && ring->parentWidget() == &window);
    }

    void chipsScrollByWheelAndByHand()
    {
        Chips row;
        row.turnWheel(-1);
        QCOMPARE(row.offset(), 60);
        row.turnWheel(5);
        QCOMPARE(row.offset(), 0);
        row.turnWheel(-100);
        QCOMPARE(row.chip(9)->mapTo(&row, row.chip(9)->rect().topRight()).x(), 291);
        row.turnWheel(100);
        Chips few(u"A B"_s);
        few.turnWheel(-1); // everything shows
        QCOMPARE(few.offset(), 0);

        QSignalSpy picked(&row, &ChipRow::picked);
        Chip *chip = row.chip(3);
        QTest::mousePress(chip, Qt::LeftButton, {}, QPoint(10, 10));
        QMouseEvent move(QEvent::MouseMove, QPointF(-40, 10), chip->mapToGlobal(QPointF(-40, 10)),
                         Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(chip, &move);
        QCOMPARE(row.offset(), 50);
        QTest::mouseRelease(chip, Qt::LeftButton, {}, QPoint(10, 10));
        QCOMPARE(picked.size(), 0); // the hand moved the row
        QTest::mouseClick(chip, Qt::LeftButton);
        QCOMPARE(picked.value(0).value(0).toString(), u"BNB"_s);
    }

    void chipsComeIntoViewByKeysAndAsTheCurrentOne()
    {
        Chips row;
        QVERIFY(QTest::qWaitForWindowActive(&row));
        row.chip(0)->setFocus(Qt::TabFocusReason);
        const std::pair<Qt::Key, int> keys[] = {
            {Qt::Key_Left, 0}, {Qt::Key_Right, 1}, {Qt::Key_End, 9}, {Qt::Key_Right, 9}, {Qt::Key_Left, 8}};
        for (const auto &[key, at] : keys) {
            QTest::keyClick(row.focusWidget(), key);
            QCOMPARE(row.focusWidget(), row.chip(at));
            QVERIFY(row.rect().contains(row.chip(at)->geometry().translated(-row.offset(), 0)));
        }
        QTest::keyClick(row.focusWidget(), Qt::Key_Home);
        QCOMPARE(row.offset(), 0);

        row.setContent(row.items, u"LINK"_s);
        QVERIFY(row.offset() > 0);
        row.turnWheel(100);
        row.setContent(row.items, u"LINK"_s); // nothing new: the row stays where the user put it
        QCOMPARE(row.offset(), 0);
    }

    void chipsAreMovedAndRemovedByKeysAndByHand()
    {
        Chips row;
        QVERIFY(QTest::qWaitForWindowActive(&row));
        QStringList asked;
        connect(&row, &ChipRow::moveRequested, this,
                [&](const QString &key, int to) { asked << u"%1>%2"_s.arg(key).arg(to); });
        connect(&row, &ChipRow::removeRequested, this, [&](const QString &key) { asked << u'-' + key; });
        connect(&row, &ChipRow::menuRequested, this, [&](const QString &key) { asked << u'?' + key; });
        connect(&row, &ChipRow::picked, this, [&](const QString &key) { asked << key; });
        row.chip(0)->setFocus(Qt::TabFocusReason);
        const std::pair<Qt::Key, Qt::KeyboardModifiers> keys[] = {
            {Qt::Key_Left, Qt::AltModifier}, // at an end
            {Qt::Key_Right, Qt::AltModifier},
            {Qt::Key_Delete, {}},
            {Qt::Key_F10, Qt::ShiftModifier}};
        for (const auto &[key, modifiers] : keys)
            QTest::keyClick(row.focusWidget(), key, modifiers);
        QCOMPARE(asked.join(u' '), u"ETH>1 -ETH ?ETH"_s);
        asked.clear();

        Chip *chip = row.chip(1); // held for a moment it comes along, to behind the third
        const auto moveTo = [&](int x) {
            QMouseEvent move(QEvent::MouseMove, QPointF(x, 10), chip->mapToGlobal(QPointF(x, 10)),
                             Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(chip, &move);
        };
        QTest::mousePress(chip, Qt::LeftButton, {}, QPoint(10, 10));
        QVERIFY(waitFor([&] { return chip->cursor().shape() == Qt::ClosedHandCursor; }));
        moveTo(20 + row.chip(2)->width() + 8);
        QVERIFY(row.offset() == 0 && row.chip(2)->x() < chip->x());
        QTest::mouseRelease(chip, Qt::LeftButton, {}, QPoint(10, 10));
        QCOMPARE(asked.join(u' '), u"BTC>2"_s); // and nothing was picked

        row.items.erase(
            row.items.begin()); // the focus goes to what stands there now, what stays stays itself
        row.items[0].text = u"比特币"_s;
        row.setContent(row.items, u"SOL"_s);
        QVERIFY(row.chip(0) == chip && chip->hasFocus() && row.chips().size() == 9);
        QVERIFY(chip->toolTip() == u"BTC" && reader(chip)->text(QAccessible::Name) == u"比特币 BTC");
    }

    void foldingTakesTheHeightAndTheFocusAway()
    {
        QWidget window;
        auto *column = new QVBoxLayout(&window);
        auto *content = new QWidget;
        auto *text = new TextLabel(u"原始指标"_s, TypeRole::caption);
        (new QVBoxLayout(content))->addWidget(text);
        auto *body = new Collapsible(content);
        column->addWidget(body);
        column->addStretch();
        window.resize(300, 200);
        window.show();
        QVERIFY(body->height() == 0 && !text->isVisible());
        const int full = content->sizeHint().height();
        body->setExpanded(true);
        auto *animation = body->findChild<QVariantAnimation *>();
        animation->setCurrentTime(animation->duration() / 2);
        QCOMPARE(body->heightForWidth(300), int(std::lround(full / 2.0))); // it grows, it does not jump
        QVERIFY(waitFor([&] { return body->height() == full; }));
        QVERIFY(text->isVisible());
        body->setExpanded(false);
        QVERIFY(waitFor([&] { return body->height() == 0 && !text->isVisible(); }));
    }

    void theToastShowsTheLatestForItsFullTime()
    {
        QWidget window;
        window.resize(320, 400);
        auto *toast = new Toast(&window);
        toast->setAnchor({160, 380}, 292);
        window.show();
        QSignalSpy gone(toast, &Toast::dismissed);
        toast->present(u"第一条"_s, false);
        QTest::qWait(600);
        QElapsedTimer sinceLatest;
        sinceLatest.start();
        toast->present(u"刷新失败："_s + QString(60, u'网'), true);
        QVERIFY(toast->geometry().left() >= 0 && toast->geometry().right() < 320); // wraps
        QVERIFY(gone.wait(10'000));
        QVERIFY(sinceLatest.elapsed() >= 2500 && !toast->isVisible());

        int undone = 0;
        toast->present(u"已移除"_s, false, u"撤销"_s, [&] { ++undone; });
        QVERIFY(waitFor([&] { return toast->actionButton()->isVisible(); }));
        QTest::keyClick(toast->actionButton(), Qt::Key_Return);
        QVERIFY(undone == 1 && !toast->actionButton()->isVisible());

        window.hide();
        toast->present(u"没人看见"_s, false);
        window.show();
        QVERIFY(!toast->isVisible());
    }
};

KESTRUNE_TEST(WidgetsTest)
#include "tst_widgets.moc"
