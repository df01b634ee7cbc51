// SPDX-License-Identifier: MIT
#include "ui/flowlayout.h"

#include "support/testregistry.h"

#include <QTest>
#include <QWidget>

using namespace kestrune;

using Sizes = std::vector<QSize>;
using Points = std::vector<QPoint>;
Q_DECLARE_METATYPE(Sizes)
Q_DECLARE_METATYPE(Points)

class FlowLayoutTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void walk_data();
    void walk();
    void placesWidgetsAndSkipsHiddenOnes();
};

void FlowLayoutTest::walk_data()
{
    QTest::addColumn<Sizes>("children");
    QTest::addColumn<int>("width"); // negative: none proposed
    QTest::addColumn<Points>("positions");
    QTest::addColumn<QSize>("size");
    const Sizes three{{30, 10}, {40, 14}, {20, 10}};
    QTest::newRow("no children, no width") << Sizes{} << -1 << Points{} << QSize(0, 0);
    QTest::newRow("without a width all stand on one line, no gap after the last")
        << three << -1 << Points{{0, 0}, {34, 0}, {78, 0}} << QSize(98, 14);
    QTest::newRow("an exact fit stays on the line")
        << three << 98 << Points{{0, 0}, {34, 0}, {78, 0}} << QSize(98, 14);
    QTest::newRow("one unit less and the last child wraps below the tallest")
        << three << 97 << Points{{0, 0}, {34, 0}, {0, 16}} << QSize(97, 26);
    QTest::newRow("children wider than the width take a line each")
        << three << 10 << Points{{0, 0}, {0, 12}, {0, 28}} << QSize(10, 38);
}

void FlowLayoutTest::walk()
{
    QFETCH(const Sizes, children);
    QFETCH(const int, width);
    const FlowGeometry flow = flowGeometry(children, width < 0 ? std::nullopt : std::optional(width), 4, 2);
    QTEST(flow.positions, "positions");
    QTEST(flow.size, "size");
}

void FlowLayoutTest::placesWidgetsAndSkipsHiddenOnes()
{
    QWidget box;
    auto *flow = new FlowLayout(&box);
    std::vector<QWidget *> children;
    for (int i = 0; i < 3; ++i) {
        children.push_back(new QWidget);
        children.back()->setFixedSize(40, 10);
        flow->addWidget(children.back());
    }
    QCOMPARE(flow->heightForWidth(90), 22);
    children[1]->hide();
    QCOMPARE(flow->heightForWidth(90), 10);
    flow->setGeometry({3, 5, 90, 40});
    QCOMPARE(children[2]->pos(), QPoint(47, 5));
}

KESTRUNE_TEST(FlowLayoutTest)
#include "tst_flowlayout.moc"
