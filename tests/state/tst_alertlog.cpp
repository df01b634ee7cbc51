// SPDX-License-Identifier: MIT
#include "state/alertlog.h"
#include "state/alerttexts.h"
#include "support/rows.h"
#include "support/testregistry.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace kestrune;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class AlertLogTest : public QObject
{
    Q_OBJECT

    static AlertLogEntry firing(const QString &id, int second = 0)
    {
        return {id,       Instant(std::chrono::seconds(1767601800 + second)),
                u"ETH"_s, u"ETH"_s,
                3456.78,  true,
                3457.1,   u"手动\n3,457"_s};
    }
    [[nodiscard]] QString path() const { return m_folder.filePath(u"state/bar/alerts.jsonl"_s); }
    [[nodiscard]] QByteArray content() const
    {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void put(const QByteArray &bytes) const
    {
        QFile file(path());
        QVERIFY(QDir().mkpath(m_folder.filePath(u"state/bar"_s)) && file.open(QIODevice::WriteOnly) &&
                file.write(bytes) == bytes.size());
    }
    static QString ids(AlertLog &log)
    {
        QStringList all;
        for (const AlertLogEntry &entry : log.entries())
            all.append(entry.id + (entry.acknowledgedAt ? u"+"_s : QString()));
        return all.join(u' ');
    }

    QTemporaryDir m_folder;

private Q_SLOTS:
    void cleanup() { QDir(m_folder.filePath(u"state"_s)).removeRecursively(); }

    void everyFieldSurvivesOnALineOfItsOwn()
    {
        AlertLogEntry entry = firing(u"A"_s);
        for (const bool more : {false, true}) {
            if (more) {
                entry.acknowledgedAt = entry.time + 61s;
                entry.acknowledgedWhere = u"notification"_s;
                entry.away = true;
                entry.above = false;
            }
            const QByteArray line = toJsonLine(entry);
            QVERIFY(!line.contains('\n'));
            QCOMPARE(fromJsonLine(line), std::optional(entry));
        }
        QCOMPARE(firingNotice(entry),
                 (Notice{u"A"_s, u"ETH 触及 3,456.78"_s, u"下跌触及 · 现价 3,457.1 · 手动\n3,457"_s}));
        const QString line = alertLogLine(entry);
        QVERIFY(line.contains(u"下跌触及 3,456.78 现价 3,457.1") && line.contains(u"离开期间 已收到") &&
                line.endsWith(u"（通知）") && !line.contains(u'\n'));
        for (const char *bad : {"", "{}", R"({"time":"2026-01-05T08:30:00.000Z"})", "[1]"})
            QVERIFY(!fromJsonLine(bad));
        QCOMPARE(alertPriceText(u"ETH"_s, 3410.123456), u"3,410"_s);
        QCOMPARE(alertPriceText(u"sh600519"_s, 1500), u"1,500.00"_s);
    }

    void severalBarsOverOneFile()
    {
        AlertLog mine(path()), other(path());
        mine.append(firing(u"a"_s));
        other.append(firing(u"b"_s));
        mine.append(firing(u"a"_s));
        QCOMPARE(QFile::permissions(path()) & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
        QCOMPARE(QFile::permissions(m_folder.filePath(u"state/bar"_s)) & QFile::ReadOther,
                 QFile::Permissions());
        other.acknowledge(u"a"_s, firing({}).time, u"panel"_s);
        other.acknowledge(u"nobody"_s, firing({}).time, u"panel"_s);
        mine.append(firing(u"c"_s));
        mine.acknowledge(u"b"_s, firing({}).time, u"panel"_s);
        QCOMPARE(ids(mine), u"a b+ a+ c"_s);
        QCOMPARE(ids(other), ids(mine));
        QCOMPARE(content().count('\n'), 4);
    }

    void whatIsInTheFile()
    {
        const QByteArray good = toJsonLine(firing(u"a"_s));
        const struct
        {
            const char *name;
            QByteArray content;
            QString read, after;
            int files = 1;
        } rows[] = {
            {"lines that nobody can read", "rubbish\n" + good + "\n\n\xff\n", u"a"_s, u"a x"_s},
            {"one that was being written", good + '\n' + good.left(30), u"a"_s, u"a x"_s},
            {"a whole one without its end", good, u"a"_s, u"a x"_s},
            {"nothing that can be read", QByteArray(5000, '\0'), {}, u"x"_s, 2},
            {"nothing", "", {}, u"x"_s},
        };
        test::forEachRow(rows, [this](const auto &row) {
            cleanup();
            put(row.content);
            {
                AlertLog log(path());
                QCOMPARE(ids(log), row.read);
                log.append(firing(u"x"_s));
            }
            AlertLog again(path());
            QCOMPARE(ids(again), row.after);
            QCOMPARE(QDir(m_folder.filePath(u"state/bar"_s)).entryList(QDir::Files).size(), row.files);
        });
    }

    void aThousandAreKept()
    {
        put({});
        QFile file(path());
        QVERIFY(file.resize(qint64(1) << 30)); // of which only the end is looked at
        QVERIFY(file.open(QIODevice::Append));
        for (int i = 0; i < 1005; ++i)
            file.write('\n' + toJsonLine(firing(QString::number(i))));
        QVERIFY(file.write("\n") == 1);
        file.close();
        AlertLog log(path());
        log.append(firing(u"last"_s));
        QCOMPARE(log.entries().size(), AlertLog::mostEntries);
        QCOMPARE(log.entries().front().id, u"6"_s);
        QCOMPARE(content().count('\n'), 1000);
    }

    void whatCannotBeWrittenIsWrittenLater()
    {
        QVERIFY(QDir().mkpath(path())); // a folder in its place
        AlertLog log(path());
        log.append(firing(u"a"_s));
        log.acknowledge(u"a"_s, firing({}).time, u"panel"_s);
        QCOMPARE(ids(log), u"a+"_s);
        QVERIFY(QDir().rmdir(path()));
        log.append(firing(u"b"_s));
        AlertLog again(path());
        QCOMPARE(ids(again), u"a+ b"_s);
    }
};

KESTRUNE_TEST(AlertLogTest)
#include "tst_alertlog.moc"
