// SPDX-License-Identifier: MIT
#include "kill/smalldisk.h"
#include "platform/jsonpreferences.h"
#include "support/testregistry.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <optional>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

namespace {

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

/// Disks that take nothing more: old settings stay whole, the failure is told once, the program goes on.
class StorageFaultsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void settingsOutliveADiskThatTakesNothing_data();
    void settingsOutliveADiskThatTakesNothing();
    void aSnapshotRunStaysSilent_data();
    void aSnapshotRunStaysSilent();

private:
    static void addKinds();
};

void StorageFaultsTest::initTestCase()
{
    if (!SmallDisk().isThere())
        QSKIP("mounting a small disk needs root: full and read-only disks are not tried");
}

void StorageFaultsTest::addKinds()
{
    QTest::addColumn<bool>("full");
    QTest::newRow("full") << true;
    QTest::newRow("read-only") << false;
}

void StorageFaultsTest::settingsOutliveADiskThatTakesNothing_data()
{
    addKinds();
}

void StorageFaultsTest::settingsOutliveADiskThatTakesNothing()
{
    QFETCH(bool, full);
    SmallDisk disk;
    QVERIFY(disk.isThere());
    JsonPreferences preferences(disk.path(u"settings"_s));
    const QString alerts(20'000, u'a');
    preferences.setText(u"ks_alerts"_s, alerts);
    preferences.setText(u"ks_coin"_s, u"BTC"_s);
    const QString path = disk.path(u"settings/preferences.json"_s);
    const QByteArray before = contentOf(path);
    QVERIFY(before.size() > alerts.size());

    int reports = 0;
    preferences.onFirstWriteFailure([&reports] { ++reports; });
    QVERIFY(full ? disk.fill() : disk.setReadOnly(true));
    preferences.setText(u"ks_coin"_s, u"ETH"_s);
    preferences.setNumber(u"ks_leverage"_s, 5);
    QCOMPARE(reports, 1);
    QCOMPARE(contentOf(path), before);
    QCOMPARE(preferences.text(u"ks_coin"_s), u"ETH"_s); // the run goes on with it

    if (full)
        disk.makeRoom();
    else
        QVERIFY(disk.setReadOnly(false));
    preferences.setBoolean(u"ks_mini"_s, true);
    const JsonPreferences again(disk.path(u"settings"_s));
    QCOMPARE(again.text(u"ks_coin"_s), u"ETH"_s); // what had not been written is made up for
    QCOMPARE(again.number(u"ks_leverage"_s), 5.0);
    QCOMPARE(again.boolean(u"ks_mini"_s), true);
    QCOMPARE(again.text(u"ks_alerts"_s), alerts);
    QCOMPARE(reports, 1);
}

void StorageFaultsTest::aSnapshotRunStaysSilent_data()
{
    addKinds();
}

void StorageFaultsTest::aSnapshotRunStaysSilent()
{
    QFETCH(bool, full);
    SmallDisk disk;
    QVERIFY(disk.isThere());
    QVERIFY(full ? disk.fill() : disk.setReadOnly(true));
    const QTemporaryDir elsewhere;
    for (const QString &out : {elsewhere.filePath(u"out"_s), disk.path(u"out"_s)}) {
        QProcess bar;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"HOME"_s, elsewhere.path());
        environment.insert(u"XDG_CONFIG_HOME"_s, disk.path(u"config"_s));
        environment.insert(u"all_proxy"_s, u"http://127.0.0.1:1"_s);
        bar.setProcessEnvironment(environment);
        bar.start(QStringLiteral(KESTRUNE_BIN_DIR "/kestrune-bar"),
                  {u"--demo"_s, u"--snapshot"_s, out, u"--symbol"_s, u"BTC"_s});
        QVERIFY(bar.waitForFinished(40'000));
        QCOMPARE(bar.exitStatus(), QProcess::NormalExit);
        QCOMPARE(bar.exitCode(), 0);
        QCOMPARE(bar.readAllStandardError(), QByteArray());
        QCOMPARE(bar.readAllStandardOutput(), QByteArray());
    }
    QVERIFY(!contentOf(elsewhere.filePath(u"out/data.json"_s)).isEmpty());
    QVERIFY(contentOf(disk.path(u"out/data.json"_s)).isEmpty());
}

KESTRUNE_TEST(StorageFaultsTest)
#include "tst_storagefaults.moc"
