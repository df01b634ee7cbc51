// SPDX-License-Identifier: MIT
#include "state/observable.h"
#include "support/eventloop.h"
#include "support/testregistry.h"

#include <QProcess>
#include <QStringList>
#include <QTest>

#include <thread>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

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
    void aWriteFromAnotherThreadStopsTheProgram();
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

void ObservableTest::aWriteFromAnotherThreadStopsTheProgram()
{
#ifdef QT_NO_DEBUG
    QSKIP("assertions are for debug builds");
#endif
    constexpr const char *inside = "KESTRUNE_WRITES_ELSEWHERE";
    if (qEnvironmentVariableIsSet(inside)) {
        Pair pair;
        std::thread([&pair] { pair.left = 3; }).join();
        return; // reached only without the assertion, and the run ends as passed
    }
    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(inside), u"1"_s);
    child.setProcessEnvironment(environment);
    child.setProcessChannelMode(QProcess::MergedChannels);
    child.start(QCoreApplication::applicationFilePath(),
                {u"--class"_s, u"ObservableTest"_s, QString::fromLatin1(QTest::currentTestFunction())});
    QVERIFY(child.waitForFinished());
    const QByteArray said = child.readAll();
    QVERIFY2(child.exitStatus() == QProcess::CrashExit, said.constData());
    QVERIFY2(said.contains("written outside its own thread"), said.constData());
}

KESTRUNE_TEST(ObservableTest)
#include "tst_observable.moc"
