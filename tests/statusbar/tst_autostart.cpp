// SPDX-License-Identifier: MIT
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
    void switchedOffBySessionSettings();
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

void TestAutostart::switchedOffBySessionSettings()
{
    const std::vector<std::pair<QByteArray, bool>> cases{
        {"Hidden = true\r", false}, {"X-GNOME-Autostart-enabled=false", false}, {"# Hidden=true", true}};
    for (const auto &[line, on] : cases) {
        const QTemporaryDir home;
        QFile file(home.filePath(u"org.kestrune.bar.desktop"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[Desktop Entry]\nType=Application\nExec=kestrune-bar\n" + line + '\n');
        file.close();
        const Autostart autostart(home.path(), u"/usr/bin/kestrune-bar"_s);
        QVERIFY2(autostart.isOn() == on, line.constData());
        QVERIFY(autostart.set(true)); // writes the entry anew
        QVERIFY(autostart.isOn());
    }
}

// By the desktop entry rules a value is unescaped as a string first and then as a quoted argument.
void TestAutostart::quotesPaths()
{
    QCOMPARE(quotedForExec(u"/a b/100%"_s), u"\"/a b/100%%\""_s);
    QCOMPARE(quotedForExec(u"/a$b"_s), uR"("/a\\$b")"_s);
    QCOMPARE(quotedForExec(u"/a\"b"_s), uR"("/a\\"b")"_s);
    QCOMPARE(quotedForExec(u"/a\\b"_s), uR"("/a\\\\b")"_s);
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
