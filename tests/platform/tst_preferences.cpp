// SPDX-License-Identifier: MIT
#include "platform/jsonpreferences.h"
#include "platform/sharedlinefile.h"
#include "support/bytesinuse.h"
#include "support/eventloop.h"
#include "support/program.h"
#include "support/rows.h"
#include "support/testregistry.h"

#include <QDir>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QThread>

#include <csignal>
#include <limits>
#include <memory>
#include <span>

#include <pwd.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

class PreferencesTest : public QObject
{
    Q_OBJECT

    static QByteArray readFile(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no such file");
    }
    static void writeFile(const QString &path, const QByteArray &bytes)
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("cannot write a test file");
    }
    static struct stat statOf(const QString &path)
    {
        struct stat info = {};
        if (::stat(QFile::encodeName(path).constData(), &info) != 0)
            qFatal("nothing to look at");
        return info;
    }

    /// Runs `work` in a process of its own, which ends without any clean-up.
    template <typename Work>
    static pid_t inAnotherProgram(const Work &work)
    {
        const pid_t child = ::fork();
        if (child == 0) {
            work();
            ::_exit(0);
        }
        return child;
    }
    static int waitForEnd(pid_t child)
    {
        int status = -1;
        ::waitpid(child, &status, 0);
        return status;
    }
    static void killNow(pid_t &child)
    {
        if (child <= 0)
            return;
        ::kill(child, SIGKILL);
        waitForEnd(std::exchange(child, 0));
    }

    /// Numbers that processes share, and that outlive the one that wrote them.
    struct Told
    {
        Told()
            : numbers(static_cast<volatile int *>(
                  ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)))
        {}
        ~Told() { ::munmap(const_cast<int *>(numbers), 4096); }
        Told(const Told &) = delete;
        Told &operator=(const Told &) = delete;
        volatile int *numbers;
    };

    /// A file system of 256 KiB in memory, seen by this process and those that it starts. Only root can make
    /// one.
    class SmallDisk
    {
    public:
        SmallDisk()
        {
            // A name space of our own: nobody else sees the disk, and it goes with the process whatever
            // happens.
            static const bool apart = ::unshare(CLONE_NEWNS) == 0 &&
                                      ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
            m_mounted = apart && mount(0);
        }
        SmallDisk(const SmallDisk &) = delete;
        SmallDisk &operator=(const SmallDisk &) = delete;
        ~SmallDisk()
        {
            if (m_mounted)
                ::umount2(QFile::encodeName(m_folder.path()).constData(), MNT_DETACH);
        }
        [[nodiscard]] bool isThere() const { return m_mounted; }
        [[nodiscard]] QString path(const QString &name) const { return m_folder.filePath(name); }

        /// Takes nothing more: because one file fills it, or because it is read-only.
        [[nodiscard]] bool shut(bool full)
        {
            if (!full)
                return mount(MS_REMOUNT | MS_RDONLY);
            QFile ballast(path(u"ballast"_s));
            return ballast.open(QIODevice::WriteOnly | QIODevice::Unbuffered) &&
                   ballast.write(QByteArray(300'000, 'x')) < 300'000;
        }
        [[nodiscard]] bool reopen(bool full)
        {
            return full ? QFile::remove(path(u"ballast"_s)) : mount(MS_REMOUNT);
        }

    private:
        [[nodiscard]] bool mount(unsigned long flags) const
        {
            return ::mount("tmpfs", QFile::encodeName(m_folder.path()).constData(), "tmpfs", MS_NODEV | flags,
                           "size=256k") == 0;
        }

        QTemporaryDir m_folder;
        bool m_mounted = false;
    };

    /// Adds a line, now and then by writing all anew.
    static bool note(const QString &path, const QByteArray &word, int i)
    {
        constexpr std::size_t most = 100;
        SharedLineFile file(path);
        const auto lock = file.lock();
        const auto before = file.changedLines().value_or(std::vector<QByteArray>());
        const QByteArray line = word + ' ' + QByteArray::number(i) + '\n';
        QByteArray all;
        for (const QByteArray &each : std::span(before).last(std::min(before.size(), most)))
            all += each + '\n';
        return lock && (i % 5 == 0 ? file.replaceWith(all + line) : file.append(line));
    }

    inline static const QString number = u"ks_number"_s;
    inline static const QString text = u"ks_text"_s;
    [[nodiscard]] QString folder() const { return m_folder->path(); }
    [[nodiscard]] QString file() const { return m_folder->filePath(u"preferences.json"_s); }
    [[nodiscard]] QStringList files() const
    {
        return QDir(folder()).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
    }

    std::unique_ptr<QTemporaryDir> m_folder;

private Q_SLOTS:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void everyKindSurvivesARestart()
    {
        constexpr int least = std::numeric_limits<int>::min();
        {
            JsonPreferences written(folder());
            written.setText(text, u"日线 \"\\\n\U0001F600"_s);
            written.setText(u"empty"_s, QString());
            written.setText(u"half"_s, QString(QChar(0xD83D)));
            written.setBoolean(u"no"_s, false);
            written.setNumber(number, 0.1 + 0.2);
            written.setNumber(u"tiny"_s, 5e-324);
            written.setNumber(u"whole"_s, 10.0);
            written.setInteger(u"int"_s, least);
            written.setNumber(u"nan"_s, std::numeric_limits<double>::quiet_NaN());
            written.setNumber(number, std::numeric_limits<double>::infinity()); // the stored number stays
        }
        const JsonPreferences read(folder());
        QCOMPARE(read.text(text), u"日线 \"\\\n\U0001F600"_s);
        QVERIFY(read.text(u"empty"_s) && read.text(u"empty"_s)->isEmpty());
        QVERIFY(read.text(u"half"_s).has_value()); // and the file still parses
        QCOMPARE(read.boolean(u"no"_s), std::optional(false));
        QCOMPARE(read.number(number), std::optional(0.1 + 0.2));
        QCOMPARE(read.number(u"tiny"_s), std::optional(5e-324));
        QCOMPARE(read.integer(u"whole"_s), std::optional(10));
        QCOMPARE(read.integer(u"int"_s), std::optional(least));
        QVERIFY(!read.number(u"nan"_s));
    }

    void wrongKindsReadAsNothing()
    {
        writeFile(file(),
                  R"({"t":"1","b":true,"i":7,"d":2.5,"big":2147483648,"null":null,"list":[1],"o":{}})");
        const JsonPreferences read(folder());
        const struct
        {
            const char *name; // the key
            bool isText, isBoolean, isNumber, isInteger;
        } rows[] = {{"t", true, false, false, false},       {"b", false, true, false, false},
                    {"i", false, false, true, true},        {"d", false, false, true, false},
                    {"big", false, false, true, false},     {"null", false, false, false, false},
                    {"list", false, false, false, false},   {"o", false, false, false, false},
                    {"missing", false, false, false, false}};
        forEachRow(rows, [&](const auto &row) {
            const QString key = QString::fromLatin1(row.name);
            QCOMPARE(read.text(key).has_value(), row.isText);
            QCOMPARE(read.boolean(key).has_value(), row.isBoolean);
            QCOMPARE(read.number(key).has_value(), row.isNumber);
            QCOMPARE(read.integer(key).has_value(), row.isInteger);
        });
    }

    void theFileIsReadableAndPrivate()
    {
        const QString deep = folder() + u"/a/b"_s;
        JsonPreferences preferences(deep);
        QVERIFY(!preferences.text(text) && !QFileInfo::exists(deep)); // reading creates nothing
        preferences.setText(text, u"港股"_s);
        preferences.setInteger(number, 5);
        QCOMPARE(readFile(deep + u"/preferences.json"_s),
                 QByteArray("{\n    \"ks_number\": 5,\n    \"ks_text\": \"港股\"\n}\n"));
        QCOMPARE(int(statOf(deep + u"/preferences.json"_s).st_mode & 0777), 0600);
        QCOMPARE(int(statOf(folder() + u"/a"_s).st_mode & 0777), 0700);
    }

    void brokenFilesAreSetAside()
    {
        const struct
        {
            const char *name;
            QByteArray bytes;
        } rows[] = {
            {"no JSON", "this is no JSON"},
            {"cut off", "{\"ks_number\": 1, \"ks_te"},
            {"a list", "[1, 2]"},
            {"ten thousand levels", QByteArray(R"({"a":)").repeated(10'000) + '1' + QByteArray(10'000, '}')},
            {"a million brackets", QByteArray(1'000'000, '[')},
            {"bad UTF-8", "{\"ks_text\": \"\xC3\x28\"}"},
            {"64 MiB", QByteArray(64 * 1024 * 1024, ' ')},
            {"NUL bytes", QByteArray(4096, '\0')},
        };
        forEachRow(rows, [this](const auto &row) {
            init();
            for (int round = 1; round <= 3;
                 ++round) { // within one second: the names must differ all the same
                writeFile(file(), row.bytes);
                JsonPreferences preferences(folder());
                UnreadFile told;
                QVERIFY(!preferences.number(number));
                preferences.onUnread([&](const UnreadFile &unread) { told = unread; });
                QVERIFY(told.lost && readFile(told.keptAs) == row.bytes);
                preferences.setNumber(number, round);
                QCOMPARE(JsonPreferences(folder()).number(number), std::optional(double(round)));
                QCOMPARE(files().size(), round + 1);
            }
            for (const QString &name : files().filter(u"broken"_s))
                QVERIFY(readFile(folder() + u'/' + name) == row.bytes);
        });
    }

    void aFileThatBreaksLaterLosesNothing()
    {
        JsonPreferences preferences(folder());
        preferences.setText(text, u"kept"_s);
        UnreadFile told{{}, true};
        preferences.onUnread([&](const UnreadFile &unread) { told = unread; });
        writeFile(file(), "{ broken by hand");
        preferences.setNumber(number, 2);
        QVERIFY(!told.lost && readFile(told.keptAs) == "{ broken by hand");
        const JsonPreferences read(folder());
        QCOMPARE(read.text(text), u"kept"_s);
        QCOMPARE(read.number(number), std::optional(2.0));
        QCOMPARE(files().size(), 2);
    }

    void entriesOfOthersAreKept()
    {
        writeFile(file(), R"({"theirs": {"nested": [1, null, "x"]}, "ks_number": 1})");
        JsonPreferences mine(folder());
        JsonPreferences other(folder());
        QCOMPARE(mine.number(number), std::optional(1.0));
        other.setText(text, u"from the other"_s);
        mine.setNumber(number, 3);
        QCOMPARE(mine.text(text), u"from the other"_s);
        QCOMPARE(
            QJsonDocument::fromJson(readFile(file())),
            QJsonDocument::fromJson(
                R"({"theirs": {"nested": [1, null, "x"]}, "ks_number": 3, "ks_text": "from the other"})"));
    }

    void aChangeIsMadeInWhatIsStoredAtThatMoment()
    {
        const auto append = [](const QString &word) {
            return [word](const QJsonValue &stored) { return QJsonValue(stored.toString() + word); };
        };
        JsonPreferences mine(folder());
        JsonPreferences other(folder());
        QVERIFY(mine.update(text, append(u"a"_s)) && other.update(text, append(u"b"_s)));
        const QString away = folder() + u"/away"_s;
        QVERIFY(QFile::rename(file(), away) && QDir().mkdir(file()));
        QVERIFY(!mine.update(text, append(u"lost"_s)) && !mine.update(text, append(u"d"_s)));
        QVERIFY(QDir().rmdir(file()) && QFile::rename(away, file()));
        QCOMPARE(mine.text(text), u"ab"_s); // as it is stored
        QVERIFY(other.update(text, append(u"c"_s)));
        mine.setNumber(number, 1); // takes the change along
        QCOMPARE(JsonPreferences(folder()).text(text), u"abcd"_s);
    }

    void changesOfOtherProgramsAreTold()
    {
        const QString later = folder() + u"/not/there/yet"_s;
        JsonPreferences mine(later);
        JsonPreferences other(later);
        int told = 0;
        mine.onOutsideChange([&] { ++told; });
        mine.setNumber(number, 1);
        QCOMPARE(told, 0);
        for (int i = 1; i <= 3; ++i) {
            mine.setNumber(number, i + 1);
            if (i == 3)
                writeFile(later + u"/preferences.json"_s, R"({"ks_text": "3"})"); // in place, by hand
            else
                other.setText(text, QString::number(i));
            QCOMPARE(mine.text(text), QString::number(i)); // read before it is told, and told all the same
            QVERIFY(waitFor([&] { return told >= i; }));
            QCOMPARE(told, i);
        }
    }

    void theFolderOfTheUser()
    {
        const auto restore = qScopeGuard([home = qgetenv("HOME"), config = qgetenv("XDG_CONFIG_HOME")] {
            qputenv("HOME", home);
            qputenv("XDG_CONFIG_HOME", config);
        });
        const QString own = QFile::decodeName(::getpwuid(::getuid())->pw_dir);
        const struct
        {
            const char *name, *home;
            QByteArray config;
            QString folder;
        } rows[] = {{"chosen", "/h", "/c", u"/c"_s},
                    {"relative", "/h", "c", u"/h/.config"_s},
                    {"none chosen", "/h", "", u"/h/.config"_s},
                    {"no home", "", "./c", own + u"/.config"_s}};
        forEachRow(rows, [](const auto &row) {
            qputenv("HOME", row.home);
            qputenv("XDG_CONFIG_HOME", row.config);
            QCOMPARE(JsonPreferences::defaultFolder(), row.folder + u"/kestrune-bar"_s);
        });
    }

    // Rounds of kill -9 beside a second program that goes on writing; KESTRUNE_KILL_ROUNDS asks for more.
    void killedAtAnyMomentTheFileIsTheOldOrTheNewOne()
    {
        const int rounds = std::max(25, qEnvironmentVariableIntValue("KESTRUNE_KILL_ROUNDS"));
        const QString large(20'000, u'x'), lines = folder() + u"/state/lines"_s;
        const Told told;
        // Tells each number once the call that stored it has returned.
        const auto count = [&](int place, const QString &key) {
            JsonPreferences preferences(folder());
            for (int i = preferences.integer(key).value_or(0) + 1;; ++i) {
                if (!note(lines, key.toLatin1(), i))
                    return;
                preferences.setText(key + u"_text"_s, large + QString::number(i));
                preferences.setInteger(key, i);
                told.numbers[place] = i;
                QThread::msleep(static_cast<unsigned long>(place)); // the neighbour lets others in
            }
        };
        pid_t neighbour = inAnotherProgram([&] { count(1, u"other"_s); });
        pid_t child = 0;
        const auto end = qScopeGuard([&] {
            killNow(child);
            killNow(neighbour);
        });
        int early = 0;
        for (int round = 0; round < rounds; ++round) {
            const int before = told.numbers[0];
            child = inAnotherProgram([&] { count(0, u"count"_s); });
            // Mostly in the middle of its work, now and then while it starts.
            if (round % 4 != 0)
                QVERIFY(waitFor([&] { return told.numbers[0] > before; }));
            QTest::qSleep(QRandomGenerator::global()->bounded(10) + 1);
            killNow(child);
            early += told.numbers[0] == before ? 1 : 0;
            const JsonPreferences read(folder());
            const int stored = read.integer(u"count"_s).value_or(0);
            QVERIFY(stored == told.numbers[0] || stored == told.numbers[0] + 1);
            told.numbers[0] = stored;
            const int written = read.text(u"count_text"_s).value_or(large).mid(large.size()).toInt();
            QVERIFY(written == stored || written == stored + 1);
            // Nothing was taken for broken, and what killed programs leave does not pile up.
            QVERIFY(files().size() <= 2 && files().filter(u"broken"_s).isEmpty());
            QCOMPARE(::waitpid(neighbour, nullptr, WNOHANG), 0);
        }
        killNow(neighbour);
        const int other = JsonPreferences(folder()).integer(u"other"_s).value_or(0);
        QVERIFY(other == told.numbers[1] || other == told.numbers[1] + 1);
        qInfo("%d rounds (%d before the first change), %d settings written", rounds, early, told.numbers[0]);
        QVERIFY(told.numbers[0] > rounds / 2);
        // No line that had been written is missing; one may stand twice, before and after its writer's end.
        QHash<QByteArray, int> last;
        const auto written = SharedLineFile(lines).changedLines();
        for (const QByteArray &line : *written) {
            const QByteArrayList words = line.split(' ');
            const int i = words.value(1).toInt(), known = last.value(words[0], i);
            QVERIFY2(words.size() == 2 && (i == known || i == known + 1), line.constData());
            last[words[0]] = i;
        }
        QVERIFY(last["count"] >= told.numbers[0] && last["other"] >= other);
        JsonPreferences(folder()).setInteger(u"last"_s, 1);
        QCOMPARE(files(), QStringList{u"preferences.json"_s});
    }

    void equalValuesAreNotWritten()
    {
        JsonPreferences preferences(folder());
        preferences.setNumber(number, 0.5);
        const auto before = statOf(file()).st_ino; // of a file that each write replaces
        JsonPreferences(folder()).setNumber(number, 0.5);
        QCOMPARE(statOf(file()).st_ino, before);
    }

    void aFailedWriteIsReportedOnceAndTriedAgain()
    {
        QVERIFY(QDir().mkdir(file())); // what root, too, cannot write over
        int reports = 0;
        QList<UnreadFile> told;
        JsonPreferences preferences(folder());
        preferences.onFirstWriteFailure([&] { ++reports; });
        preferences.onUnread([&](const UnreadFile &unread) { told.append(unread); });
        preferences.setNumber(number, 1);
        preferences.setText(text, u"unsaved"_s);
        QCOMPARE(reports, 1);
        QCOMPARE(told, (QList{UnreadFile{{}, true}}));
        QCOMPARE(preferences.text(text), u"unsaved"_s);
        QVERIFY(QFileInfo(file()).isDir()); // neither removed nor renamed

        QVERIFY(QDir().rmdir(file()));
        preferences.setBoolean(u"now"_s, true); // takes the others along
        const JsonPreferences read(folder());
        QCOMPARE(read.number(number), std::optional(1.0));
        QCOMPARE(read.text(text), u"unsaved"_s);
        QCOMPARE(reports, 1);

        int late = 0;
        JsonPreferences nowhere(file() + u"/below"_s); // a path below a file can never be created
        nowhere.setNumber(number, 1);
        nowhere.onFirstWriteFailure([&] { ++late; });
        QCOMPARE(late, 1);
        QCOMPARE(nowhere.number(number), std::optional(1.0));
    }

    void whatCannotBeWrittenLeavesTheOldFile()
    {
        JsonPreferences preferences(folder());
        int reports = 0;
        preferences.onFirstWriteFailure([&] { ++reports; });
        preferences.setNumber(number, 1);
        const QByteArray before = readFile(file());
        preferences.setText(text, QString(int(SharedJsonFile::largestSize), u'x'));
        QCOMPARE(reports, 1);
        QCOMPARE(readFile(file()), before);
        // Not for good: the entry may become small again.
        preferences.setText(text, u"small"_s);
        QCOMPARE(JsonPreferences(folder()).text(text), u"small"_s);

        const pid_t limited = inAnotherProgram([&] {
            // The kernel refuses the write in the middle, as it does when the disk is full.
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit limit{4096, 4096};
            ::setrlimit(RLIMIT_FSIZE, &limit);
            bool failed = false;
            JsonPreferences full(folder());
            full.onFirstWriteFailure([&] { failed = true; });
            full.setText(u"more"_s, QString(20'000, u'x'));
            ::_exit(failed && full.text(u"more"_s) ? 0 : 1);
        });
        QCOMPARE(waitForEnd(limited), 0);
        QCOMPARE(files(), QStringList{u"preferences.json"_s});
        QCOMPARE(JsonPreferences(folder()).number(number), std::optional(1.0));
        QVERIFY(!JsonPreferences(folder()).text(u"more"_s));
    }

    void settingsOutliveADiskThatTakesNothing()
    {
        if (!SmallDisk().isThere())
            QSKIP("mounting a small disk needs root: full and read-only disks are not tried");
        const struct
        {
            const char *name;
            bool full;
        } rows[] = {{"full", true}, {"read-only", false}};
        forEachRow(rows, [](const auto &row) {
            SmallDisk disk;
            const QString settings = disk.path(u"settings"_s);
            JsonPreferences preferences(settings);
            preferences.setText(text, QString(20'000, u'a'));
            preferences.setNumber(number, 1);
            const QByteArray before = readFile(settings + u"/preferences.json"_s);
            int reports = 0;
            preferences.onFirstWriteFailure([&reports] { ++reports; });
            const QString lines = disk.path(u"state/lines"_s);
            QVERIFY(note(lines, "a", 1));
            QVERIFY(disk.shut(row.full));
            for (const int i : {2, 5}) // a line more, and all anew
                QVERIFY(!note(lines, QByteArray(20'000, 'b'), i));
            QCOMPARE(readFile(lines), QByteArray("a 1\n"));
            preferences.setNumber(number, 2);
            preferences.setText(u"ks_coin"_s, u"ETH"_s);
            QCOMPARE(readFile(settings + u"/preferences.json"_s), before);
            QCOMPARE(preferences.number(number), std::optional(2.0)); // the run goes on with it

            Program bar; // nor does a snapshot run say a word
            bar.set(u"XDG_CONFIG_HOME"_s, disk.path(u"config"_s));
            const QString out = row.full ? u"out"_s : disk.path(u"out"_s);
            QVERIFY(bar.runToEnd({u"--demo"_s, u"--snapshot"_s, out, u"--symbol"_s, u"BTC"_s},
                                 std::chrono::seconds(40)));
            QVERIFY(bar.endedWell());
            QCOMPARE(bar.readAll() + bar.readAllStandardError(), QByteArray());
            QCOMPARE(bar.contentOf(u"out/data.json"_s).isEmpty(), !row.full);

            QVERIFY(disk.reopen(row.full));
            QVERIFY(note(lines, "b", 2) && readFile(lines) == "a 1\nb 2\n");
            preferences.setBoolean(u"ks_mini"_s, true);
            const JsonPreferences again(settings);
            QCOMPARE(again.number(number), std::optional(2.0)); // what had not been written is made up for
            QCOMPARE(again.text(u"ks_coin"_s), u"ETH"_s);
            QCOMPARE(again.text(text), QString(20'000, u'a'));
            QCOMPARE(reports, 1);
        });
    }

    void aLinkStaysALink()
    {
        const QString target = folder() + u"/elsewhere.json"_s;
        writeFile(target, R"({"ks_number": 4})");
        QVERIFY(QFile::link(target, file()));
        JsonPreferences preferences(folder());
        QCOMPARE(preferences.number(number), std::optional(4.0));
        preferences.setNumber(number, 5);
        QVERIFY(QFileInfo(file()).isSymLink());
        QVERIFY(readFile(target).contains("5"));
    }

    void changesLeaveNothingBehind()
    {
        writeFile(m_folder->filePath(u"occupied"_s), {});
        const struct
        {
            const char *name;
            QString folder;
        } rows[] = {{"changes that are written", folder()},
                    {"changes that wait for a disk to come back", m_folder->filePath(u"occupied"_s)}};
        forEachRow(rows, [](const auto &row) {
            JsonPreferences preferences(row.folder);
            constexpr int textSize = 32 * 1024;
            const auto change = [&preferences](int i) {
                preferences.setText(text, QString(textSize, QChar(u'0' + i % 10)));
                preferences.setInteger(number, i);
            };
            change(0);
            const qint64 before = bytesInUse();
            for (int i = 0; i < 64; ++i)
                change(i);
            const qint64 growth = bytesInUse() - before;
            QVERIFY2(growth < 4 * textSize, qPrintable(u"%1 more bytes are held"_s.arg(growth)));
            QCOMPARE(preferences.text(text), QString(textSize, u'3'));
            QCOMPARE(preferences.integer(number), 63);
        });
    }
};

KESTRUNE_TEST(PreferencesTest)
#include "tst_preferences.moc"
