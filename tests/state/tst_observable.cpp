#include "state/observable.h"
#include "support/eventloop.h"
#include "support/testregistry.h"

#include <QStringList>
#include <QTest>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class Pair : public ObservableObject
{
public:
    Published<int> left{*this, 1};
    Published<int> right{*this, 2, [this](int value) { left = value * 10; }};
};

} // namespace

class ObservableTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void everyAssignmentIsAnnouncedBeforeItHappens();
    void reactionsReadTheStoredValueAndNothingIsFolded();
    void aReactionEndsWithItsContext();
};

void ObservableTest::everyAssignmentIsAnnouncedBeforeItHappens()
{
    Pair pair;
    QStringList log;
    int objectChanges = 0;
    connect(&pair, &ObservableObject::objectWillChange, &pair, [&] { ++objectChanges; });
    connect(&pair, &ObservableObject::fieldWillChange, &pair, [&](const PublishedField *field) {
        log.append(u"%1 %2/%3"_s.arg(field == &pair.left ? u"left"_s : u"right"_s)
                       .arg(pair.left())
                       .arg(pair.right()));
    });
    pair.left = 1;  // an equal value is announced too
    pair.right = 5; // its did-set action runs on the stored value and announces for itself
    const QStringList expected{u"left 1/2"_s, u"right 1/2"_s, u"left 1/5"_s};
    QCOMPARE(log, expected);
    QCOMPARE(objectChanges, 3);
    QCOMPARE(pair.left(), 50);
}

void ObservableTest::reactionsReadTheStoredValueAndNothingIsFolded()
{
    Pair pair;
    std::vector<int> seen;
    pair.onChange(pair.left, &pair, [&] { seen.push_back(pair.left()); });
    pair.left = 7;
    pair.left = 8;
    QVERIFY(seen.empty()); // never inside the assignment
    drainEvents();
    QCOMPARE(seen, (std::vector<int>{8, 8}));
}

void ObservableTest::aReactionEndsWithItsContext()
{
    Pair pair;
    int reactions = 0;
    auto context = std::make_unique<QObject>();
    pair.onChange(pair.left, context.get(), [&] { ++reactions; });
    pair.left = 3;
    context.reset(); // the queued reaction goes with it
    pair.left = 4;
    drainEvents();
    QCOMPARE(reactions, 0);
}

KESTRUNE_TEST(ObservableTest)
#include "tst_observable.moc"
