// SPDX-License-Identifier: MIT
#include "platform/jsonpreferences.h"
#include "support/bytesinuse.h"
#include "support/testregistry.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <csignal>
#include <limits>
#include <memory>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace kestrune;

namespace {

const QString number = QStringLiteral("ks_number");
const QString text = QStringLiteral("ks_text");

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no such file");
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write a test file");
}

// Runs `work` in a process of its own, which ends without any clean-up.
template <typename Work>
pid_t inAnotherProgram(const Work &work)
{
    const pid_t child = ::fork();
    if (child == 0) {
        work();
        ::_exit(0);
    }
    return child;
}

int waitForEnd(pid_t child)
{
    int status = -1;
    ::waitpid(child, &status, 0);
    return status;
}

} // namespace

class JsonPreferencesTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }
    void everyKindSurvivesARestart();
    void wrongKindsReadAsNothing();
    void theFileIsReadableAndPrivate();
    void brokenFilesAreSetAside_data();
    void brokenFilesAreSetAside();
    void aFileThatBreaksLaterLosesNothing();
    void entriesOfOthersAreKept();
    void twoProgramsLoseNothing();
    void killedAtAnyMomentTheFileIsComplete();
    void equalValuesAreNotWritten();
    void aFailedWriteIsReportedOnceAndTriedAgain();
    void aFullDiskLeavesTheOldFile();
    void aLinkStaysALink();
    void changesLeaveNothingBehind_data();
    void changesLeaveNothingBehind();

private:
    [[nodiscard]] QString folder() const { return m_folder->path(); }
    [[nodiscard]] QString file() const { return m_folder->filePath(QStringLiteral("preferences.json")); }
    [[nodiscard]] QStringList files() const
    {
        return QDir(folder()).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void JsonPreferencesTest::everyKindSurvivesARestart()
{
    const QJsonArray list{QJsonObject{{QStringLiteral("label"), QStringLiteral("加\n")}}, 0.1 + 0.2};
    {
        JsonPreferences written(folder());
        written.setText(text, QStringLiteral("日线 \"\\\n\U0001F600"));
        written.setText(QStringLiteral("empty"), QString());
        written.setText(QStringLiteral("half"), QString(QChar(0xD83D)));
        written.setBoolean(QStringLiteral("no"), false);
        written.setNumber(number, 0.1 + 0.2);
        written.setNumber(QStringLiteral("tiny"), 5e-324);
        written.setNumber(QStringLiteral("whole"), 10.0);
        written.setInteger(QStringLiteral("int"), std::numeric_limits<int>::min());
        written.setJson(QStringLiteral("list"), list);
        written.setNumber(QStringLiteral("nan"), std::numeric_limits<double>::quiet_NaN());
        written.setNumber(number, std::numeric_limits<double>::infinity()); // the stored number stays
    }
    const JsonPreferences read(folder());
    QCOMPARE(read.text(text), std::optional(QStringLiteral("日线 \"\\\n\U0001F600")));
    QVERIFY(read.text(QStringLiteral("empty")) && read.text(QStringLiteral("empty"))->isEmpty());
    QVERIFY(read.text(QStringLiteral("half")).has_value()); // and the file still parses
    QCOMPARE(read.boolean(QStringLiteral("no")), std::optional(false));
    QCOMPARE(read.number(number), std::optional(0.1 + 0.2));
    QCOMPARE(read.number(QStringLiteral("tiny")), std::optional(5e-324));
    QCOMPARE(read.number(QStringLiteral("whole")), std::optional(10.0));
    QCOMPARE(read.integer(QStringLiteral("whole")), std::optional(10));
    QCOMPARE(read.integer(QStringLiteral("int")), std::optional(std::numeric_limits<int>::min()));
    QCOMPARE(read.json(QStringLiteral("list")), QJsonValue(list));
    QVERIFY(read.json(QStringLiteral("missing")).isUndefined());
    QVERIFY(!read.number(QStringLiteral("nan")));
    QVERIFY(!read.text(QStringLiteral("missing")));
}

void JsonPreferencesTest::wrongKindsReadAsNothing()
{
    writeFile(file(), R"({"t":"1","b":true,"i":7,"d":2.5,"big":2147483648,"null":null,"list":[1]})");
    const JsonPreferences read(folder());
    const auto kinds = [&](const char *name) {
        const QString key = QString::fromLatin1(name);
        QByteArray found;
        if (read.text(key))
            found += 't';
        if (read.boolean(key))
            found += 'b';
        if (read.number(key))
            found += 'n';
        if (read.integer(key))
            found += 'i';
        return found;
    };
    QCOMPARE(kinds("t"), QByteArray("t"));
    QCOMPARE(kinds("b"), QByteArray("b"));
    QCOMPARE(kinds("i"), QByteArray("ni"));
    QCOMPARE(kinds("d"), QByteArray("n"));
    QCOMPARE(kinds("big"), QByteArray("n"));
    for (const char *nothing : {"null", "list", "missing"})
        QCOMPARE(kinds(nothing), QByteArray());
}

void JsonPreferencesTest::theFileIsReadableAndPrivate()
{
    const QString deep = folder() + QStringLiteral("/a/b");
    JsonPreferences preferences(deep);
    QVERIFY(!QFileInfo::exists(deep)); // reading and looking create nothing
    preferences.setText(text, QStringLiteral("港股"));
    preferences.setJson(QStringLiteral("alerts"), QJsonArray());
    QCOMPARE(readFile(deep + QStringLiteral("/preferences.json")),
             QByteArray("{\n    \"alerts\": [\n    ],\n    \"ks_text\": \"港股\"\n}\n"));
    struct stat info = {};
    QCOMPARE(::stat(QFile::encodeName(deep + QStringLiteral("/preferences.json")).constData(), &info), 0);
    QCOMPARE(int(info.st_mode & 0777), 0600);
    QCOMPARE(::stat(QFile::encodeName(folder() + QStringLiteral("/a")).constData(), &info), 0);
    QCOMPARE(int(info.st_mode & 0777), 0700);
}

void JsonPreferencesTest::brokenFilesAreSetAside_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const auto row = [](const char *name, const QByteArray &bytes) { QTest::newRow(name) << bytes; };
    row("no JSON", "this is no JSON");
    row("cut off", R"({"ks_number": 1, "ks_te)");
    row("a list", "[1, 2]");
    row("ten thousand levels", QByteArray(R"({"a":)").repeated(10'000) + '1' + QByteArray(10'000, '}'));
    row("a million brackets", QByteArray(1'000'000, '['));
    row("bad UTF-8", "{\"ks_text\": \"\xC3\x28\"}");
    row("64 MiB", QByteArray(64 * 1024 * 1024, ' '));
    row("NUL bytes", QByteArray(4096, '\0'));
}

void JsonPreferencesTest::brokenFilesAreSetAside()
{
    QFETCH(QByteArray, bytes);
    QElapsedTimer timer;
    for (int round = 1; round <= 3; ++round) { // within one second: the names must differ all the same
        writeFile(file(), bytes);
        timer.start();
        JsonPreferences preferences(folder());
        QVERIFY(!preferences.number(number));
        preferences.setNumber(number, round);
        QVERIFY2(timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(JsonPreferences(folder()).number(number), std::optional(double(round)));
        QCOMPARE(files().size(), round + 1);
    }
    for (const QString &name : files()) {
        if (name != QLatin1String("preferences.json"))
            QVERIFY(readFile(folder() + u'/' + name) == bytes);
    }
}

void JsonPreferencesTest::aFileThatBreaksLaterLosesNothing()
{
    JsonPreferences preferences(folder());
    preferences.setText(text, QStringLiteral("kept"));
    writeFile(file(), "{ broken by hand");
    preferences.setNumber(number, 2);
    const JsonPreferences read(folder());
    QCOMPARE(read.text(text), std::optional(QStringLiteral("kept")));
    QCOMPARE(read.number(number), std::optional(2.0));
    QCOMPARE(files().size(), 2);
}

void JsonPreferencesTest::entriesOfOthersAreKept()
{
    writeFile(file(), R"({"theirs": {"nested": [1, null, "x"]}, "ks_number": 1})");
    JsonPreferences mine(folder());
    JsonPreferences other(folder());
    QCOMPARE(mine.number(number), std::optional(1.0));
    other.setText(text, QStringLiteral("from the other"));
    mine.setNumber(number, 3);
    QCOMPARE(mine.text(text), std::optional(QStringLiteral("from the other")));
    const QJsonObject content = QJsonDocument::fromJson(readFile(file())).object();
    QCOMPARE(content.keys(), QStringList({number, text, QStringLiteral("theirs")}));
    QCOMPARE(
        content.value(QStringLiteral("theirs")).toObject().value(QStringLiteral("nested")).toArray().size(),
        3);
}

void JsonPreferencesTest::twoProgramsLoseNothing()
{
    constexpr int programs = 3;
    constexpr int writes = 40;
    std::vector<pid_t> children;
    for (int p = 0; p < programs; ++p) {
        children.push_back(inAnotherProgram([&] {
            JsonPreferences preferences(folder());
            for (int i = 0; i < writes; ++i)
                preferences.setInteger(QStringLiteral("key_%1_%2").arg(p).arg(i), i);
        }));
    }
    for (const pid_t child : children)
        QCOMPARE(waitForEnd(child), 0);
    QCOMPARE(QJsonDocument::fromJson(readFile(file())).object().size(), programs * writes);
    QCOMPARE(files(), QStringList(QStringLiteral("preferences.json")));
}

void JsonPreferencesTest::killedAtAnyMomentTheFileIsComplete()
{
    const QString large(20'000, u'x');
    JsonPreferences(folder()).setInteger(QStringLiteral("first"), 1);
    int last = 0;
    for (int round = 0; round < 25; ++round) {
        const pid_t child = inAnotherProgram([&] {
            JsonPreferences preferences(folder());
            for (int i = last;; ++i) {
                preferences.setText(QStringLiteral("large"), large + QString::number(i));
                preferences.setInteger(QStringLiteral("count"), i);
            }
        });
        QThread::usleep(static_cast<unsigned long>(1000 + 977 * round));
        ::kill(child, SIGKILL);
        waitForEnd(child);
        const JsonPreferences read(folder());
        QCOMPARE(read.integer(QStringLiteral("first")), std::optional(1));
        const int count = read.integer(QStringLiteral("count")).value_or(0);
        QVERIFY(count >= last); // nothing goes back
        if (const auto data = read.text(QStringLiteral("large"))) {
            const int written = data->mid(large.size()).toInt();
            QVERIFY(written == count || written == count + 1);
        }
        last = count;
    }
    QVERIFY2(last > 0, "the children never got to write");
    // One file of a killed writer may be left, and no more.
    QVERIFY(files().size() <= 2);
    JsonPreferences(folder()).setInteger(QStringLiteral("first"), 2);
    QCOMPARE(files(), QStringList(QStringLiteral("preferences.json")));
}

void JsonPreferencesTest::equalValuesAreNotWritten()
{
    constexpr int entries = 14;
    JsonPreferences preferences(folder());
    const auto key = [](int i) { return QStringLiteral("ks_%1").arg(i); };
    for (int i = 0; i < entries; ++i)
        preferences.setNumber(key(i), i + 0.5);
    struct stat before = {};
    QCOMPARE(::stat(QFile::encodeName(file()).constData(), &before), 0);
    JsonPreferences later(folder());
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < entries; ++i)
        later.setNumber(key(i), later.number(key(i)).value_or(0));
    const qint64 microseconds = timer.nsecsElapsed() / 1000;
    struct stat after = {};
    QCOMPARE(::stat(QFile::encodeName(file()).constData(), &after), 0);
    QCOMPARE(after.st_ino, before.st_ino);
    QCOMPARE(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    qInfo("14 values read and written back: %lld us", static_cast<long long>(microseconds));
    QVERIFY2(microseconds < 5000, qPrintable(QString::number(microseconds)));
}

void JsonPreferencesTest::aFailedWriteIsReportedOnceAndTriedAgain()
{
    QVERIFY(QDir().mkdir(file())); // what root, too, cannot write over
    int reports = 0;
    JsonPreferences preferences(folder());
    preferences.onFirstWriteFailure([&] { ++reports; });
    preferences.setNumber(number, 1);
    preferences.setText(text, QStringLiteral("unsaved"));
    QCOMPARE(reports, 1);
    QCOMPARE(preferences.text(text), std::optional(QStringLiteral("unsaved")));
    QVERIFY(QFileInfo(file()).isDir()); // neither removed nor renamed

    int lateReports = 0;
    JsonPreferences late(folder());
    late.setNumber(number, 7);
    late.onFirstWriteFailure([&] { ++lateReports; });
    QCOMPARE(lateReports, 1);

    QVERIFY(QDir().rmdir(file()));
    preferences.setBoolean(QStringLiteral("now"), true); // takes the others along
    const JsonPreferences read(folder());
    QCOMPARE(read.number(number), std::optional(1.0));
    QCOMPARE(read.text(text), std::optional(QStringLiteral("unsaved")));
    QCOMPARE(reports, 1);

    // A path below a file can never be created.
    int impossible = 0;
    JsonPreferences nowhere(file() + QStringLiteral("/below"));
    nowhere.onFirstWriteFailure([&] { ++impossible; });
    nowhere.setNumber(number, 1);
    QCOMPARE(impossible, 1);
    QCOMPARE(nowhere.number(number), std::optional(1.0));
}

void JsonPreferencesTest::aFullDiskLeavesTheOldFile()
{
    // More than the largest file is refused by the same path as a disk that takes no more.
    JsonPreferences preferences(folder());
    int reports = 0;
    preferences.onFirstWriteFailure([&] { ++reports; });
    preferences.setNumber(number, 1);
    const QByteArray before = readFile(file());
    preferences.setText(QStringLiteral("huge"), QString(3 * 1024 * 1024, u'x'));
    QCOMPARE(reports, 1);
    QCOMPARE(readFile(file()), before);
    QCOMPARE(files(), QStringList(QStringLiteral("preferences.json")));
    // Not for good: the entry may become small again.
    preferences.setText(QStringLiteral("huge"), QStringLiteral("small"));
    QCOMPARE(JsonPreferences(folder()).text(QStringLiteral("huge")), std::optional(QStringLiteral("small")));

    const pid_t limited = inAnotherProgram([&] {
        // The kernel refuses the write in the middle, as it does when the disk is full.
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{4096, 4096};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        bool failed = false;
        JsonPreferences full(folder());
        full.onFirstWriteFailure([&] { failed = true; });
        full.setText(QStringLiteral("more"), QString(20'000, u'x'));
        ::_exit(failed && full.text(QStringLiteral("more")) ? 0 : 1);
    });
    QCOMPARE(waitForEnd(limited), 0);
    QCOMPARE(files(), QStringList(QStringLiteral("preferences.json")));
    QCOMPARE(JsonPreferences(folder()).number(number), std::optional(1.0));
    QVERIFY(!JsonPreferences(folder()).text(QStringLiteral("more")));
}

void JsonPreferencesTest::aLinkStaysALink()
{
    const QString target = folder() + QStringLiteral("/elsewhere.json");
    writeFile(target, R"({"ks_number": 4})");
    QVERIFY(QFile::link(target, file()));
    JsonPreferences preferences(folder());
    QCOMPARE(preferences.number(number), std::optional(4.0));
    preferences.setNumber(number, 5);
    QVERIFY(QFileInfo(file()).isSymLink());
    QVERIFY(readFile(target).contains("5"));
}

void JsonPreferencesTest::changesLeaveNothingBehind_data()
{
    QTest::addColumn<bool>("writable");
    QTest::newRow("changes that are written") << true;
    QTest::newRow("changes that wait for a disk to come back") << false;
}

void JsonPreferencesTest::changesLeaveNothingBehind()
{
    QFETCH(const bool, writable);
    writeFile(m_folder->filePath(QStringLiteral("occupied")), {});
    JsonPreferences preferences(writable ? folder() : m_folder->filePath(QStringLiteral("occupied")));
    constexpr int textSize = 32 * 1024;
    constexpr int changes = 64;
    const auto change = [&preferences](int i) {
        preferences.setText(text, QString(textSize, QLatin1Char(static_cast<char>('0' + i % 10))));
        preferences.setInteger(number, i);
    };
    change(0);
    const qint64 before = test::bytesInUse();
    for (int i = 0; i < changes; ++i)
        change(i);
    const qint64 growth = test::bytesInUse() - before;
    QVERIFY2(growth < 4 * textSize, qPrintable(QStringLiteral("%1 more bytes are held").arg(growth)));
    QCOMPARE(preferences.text(text), QString(textSize, QLatin1Char('3')));
    QCOMPARE(preferences.integer(number), changes - 1);
}

KESTRUNE_TEST(JsonPreferencesTest)
#include "tst_jsonpreferences.moc"
