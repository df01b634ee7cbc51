// SPDX-License-Identifier: MIT
#include "state/observable.h"
#include "support/eventloop.h"
#include "support/testregistry.h"

#include <QTest>

using namespace kestrune;
using namespace Qt::StringLiterals;

class ObservableTest : public QObject
{
    Q_OBJECT

    class Pair : public ObservableObject
    {
    public:
        Published<int> left{*this, 1};
        Published<int> right{*this, 2, [this](int value) { left = value * 10; }};
    };

private Q_SLOTS:
    void everyAssignmentIsAnnouncedBeforeItHappens()
    {
        Pair pair;
        QStringList log;
        connect(&pair, &ObservableObject::objectWillChange, &pair, [&] { log.append(u"change"_s); });
        connect(&pair, &ObservableObject::fieldWillChange, &pair, [&](const PublishedField *field) {
            const QString name = field == &pair.left ? u"left"_s : u"right"_s;
            log.append(u"%1 %2/%3"_s.arg(name).arg(pair.left()).arg(pair.right()));
        });
        pair.left = 1;  // an equal value is announced too
        pair.right = 5; // its did-set action runs on the stored value and announces for itself
        QCOMPARE(log.join(u", "_s), u"change, left 1/2, change, right 1/2, change, left 1/5"_s);
        QCOMPARE(pair.left(), 50);
    }

    void reactionsReadTheStoredValueWhileTheirContextLives()
    {
        Pair pair;
        std::vector<int> seen;
        auto context = std::make_unique<QObject>();
        pair.onChange(pair.left, context.get(), [&] { seen.push_back(pair.left()); });
        pair.left = 7;
        pair.left = 8;
        QVERIFY(seen.empty()); // never inside the assignment
        test::drainEvents();
        QCOMPARE(seen, (std::vector<int>{8, 8})); // and nothing is folded together
        pair.left = 9;
        context.reset(); // the queued reaction goes with it
        pair.left = 10;
        test::drainEvents();
        QCOMPARE(seen.size(), 2U);
    }
};

KESTRUNE_TEST(ObservableTest)
#include "tst_observable.moc"
