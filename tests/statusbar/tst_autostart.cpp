#include "statusbar/desktop/autostart.h"

#include "support/testregistry.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace kestrune;
using namespace Qt::StringLiterals;

class TestAutostart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isWrittenAndRemoved();
    void switchedOffBySessionSettings_data();
    void switchedOffBySessionSettings();
    void quotesPaths_data();
    void quotesPaths();
    void reportsAFolderThatCannotBeWritten();
};

void TestAutostart::isWrittenAndRemoved()
{
    const QTemporaryDir home;
    const Autostart autostart(home.filePath(u"config/autostart"_s), u"/opt/Kestrune Bar/kestrune-bar"_s);
    QVERIFY(!autostart.isOn());
    QVERIFY(autostart.set(true));
    QVERIFY(autostart.isOn());
    QFile file(home.filePath(u"config/autostart/org.kestrune.bar.desktop"_s));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = file.readAll().split('\n');
    QCOMPARE(lines.first(), "[Desktop Entry]");
    QVERIFY(lines.contains("Exec=\"/opt/Kestrune Bar/kestrune-bar\""));
    QVERIFY(lines.contains("Type=Application"));
    QVERIFY(autostart.set(false));
    QVERIFY(!autostart.isOn());
    QVERIFY(autostart.set(false));
    QVERIFY(QDir(home.filePath(u"config/autostart"_s)).isEmpty());
}

void TestAutostart::switchedOffBySessionSettings_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<bool>("on");
    QTest::newRow("hidden") << QByteArray("Hidden=true") << false;
    QTest::newRow("hidden with blanks") << QByteArray("Hidden = true\r") << false;
    QTest::newRow("disabled") << QByteArray("X-GNOME-Autostart-enabled=false") << false;
    QTest::newRow("not hidden") << QByteArray("Hidden=false") << true;
    QTest::newRow("a comment") << QByteArray("# Hidden=true") << true;
}

void TestAutostart::switchedOffBySessionSettings()
{
    QFETCH(QByteArray, line);
    QFETCH(bool, on);
    const QTemporaryDir home;
    QFile file(home.filePath(u"org.kestrune.bar.desktop"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[Desktop Entry]\nType=Application\nExec=kestrune-bar\n" + line + '\n');
    file.close();
    const Autostart autostart(home.path(), u"/usr/bin/kestrune-bar"_s);
    QCOMPARE(autostart.isOn(), on);
    QVERIFY(autostart.set(true)); // writes the entry anew
    QVERIFY(autostart.isOn());
}

void TestAutostart::quotesPaths_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");
    // By the desktop entry rules: a value is unescaped as a string first and then as a quoted argument.
    QTest::newRow("plain") << u"/usr/bin/kestrune-bar"_s << u"\"/usr/bin/kestrune-bar\""_s;
    QTest::newRow("blank") << u"/opt/a b"_s << u"\"/opt/a b\""_s;
    QTest::newRow("dollar") << u"/a$b"_s << uR"("/a\\$b")"_s;
    QTest::newRow("quote") << u"/a\"b"_s << uR"("/a\\"b")"_s;
    QTest::newRow("backslash") << u"/a\\b"_s << uR"("/a\\\\b")"_s;
    QTest::newRow("percent") << u"/100%"_s << u"\"/100%%\""_s;
}

void TestAutostart::quotesPaths()
{
    QFETCH(QString, path);
    QFETCH(QString, expected);
    QCOMPARE(quotedForExec(path), expected);
}

void TestAutostart::reportsAFolderThatCannotBeWritten()
{
    const QTemporaryDir home;
    QFile file(home.filePath(u"autostart"_s)); // a file where the folder should be
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    const Autostart autostart(home.filePath(u"autostart"_s), u"/usr/bin/kestrune-bar"_s);
    QVERIFY(!autostart.set(true));
    QVERIFY(!autostart.isOn());
}

KESTRUNE_TEST(TestAutostart)
#include "tst_autostart.moc"
