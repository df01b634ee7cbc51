// SPDX-License-Identifier: MIT
#include "platform/jsonpreferences.h"
#include "state/pricealert.h"
#include "support/testregistry.h"

#include <QDir>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <cstdio>

using namespace kestrune;
using namespace Qt::StringLiterals;

namespace {

/// The writer keeps no more.
constexpr std::size_t mostAlerts = 12;

class Writer : public QProcess
{
public:
    Writer(const QString &role, const QString &folder)
    {
        start(QStringLiteral(KESTRUNE_BIN_DIR "/kestrune-kill-writer"), {role, folder});
    }
    /// Ends it without a word and keeps what it had told.
    bool killNow()
    {
        if (!waitForStarted())
            return false;
        ::kill(pid_t(processId()), SIGKILL);
        const bool ended = waitForFinished();
        m_told = QString::fromLatin1(readAllStandardOutput()).split(u'\n');
        return ended && exitStatus() == CrashExit;
    }
    /// The last number told; `before` when there was none.
    [[nodiscard]] int lastTold(const QString &what, int before) const
    {
        const auto line = std::find_if(m_told.crbegin(), m_told.crend(),
                                       [&](const QString &each) { return each.startsWith(what + u' '); });
        return line == m_told.crend() ? before : line->section(u' ', 1).toInt();
    }

private:
    QStringList m_told;
};

/// What the file holds, as a program that starts now reads it.
struct Stored
{
    explicit Stored(const QString &folder)
    {
        const JsonPreferences preferences(folder);
        account = preferences.integer(u"ks_account_size"_s);
        other = preferences.integer(u"other"_s);
        margin = preferences.text(u"ks_margin_mode"_s);
        alerts = decodeAlerts(preferences.json(u"ks_alerts"_s));
    }
    /// The newest alert, when the list is one that the writer has had at some time.
    [[nodiscard]] std::optional<int> newestAlert() const
    {
        if (!alerts || alerts->empty() || alerts->size() > mostAlerts)
            return std::nullopt;
        for (std::size_t i = 1; i < alerts->size(); ++i) {
            if ((*alerts)[i].targetPrice != (*alerts)[i - 1].targetPrice + 1)
                return std::nullopt;
        }
        return int(alerts->back().targetPrice);
    }

    std::optional<int> account, other;
    std::optional<QString> margin;
    std::optional<std::vector<PriceAlert>> alerts;
};

bool isOldOrNew(std::optional<int> stored, int told)
{
    return stored == told || stored == told + 1;
}

} // namespace

/// Rounds of kill -9 while settings and alerts change, beside a second program that goes on writing. The
/// number of rounds is that of KESTRUNE_KILL_ROUNDS, else 40.
class KilledWriterTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void theStoreIsAlwaysTheOldOrTheNewOne();
};

void KilledWriterTest::theStoreIsAlwaysTheOldOrTheNewOne()
{
    bool given = false;
    const int wanted = qEnvironmentVariableIntValue("KESTRUNE_KILL_ROUNDS", &given);
    const int rounds = given ? wanted : 40;
    const quint32 seed = QRandomGenerator::global()->generate();
    QRandomGenerator random(seed);
    const QTemporaryDir parent;
    const QString folder = parent.filePath(u"settings"_s);
    Writer neighbour(u"entry"_s, folder);
    QVERIFY(neighbour.waitForReadyRead());

    int account = 0;
    int alert = 0;
    int early = 0;
    for (int round = 0; round < rounds; ++round) {
        const QByteArray where = "round " + QByteArray::number(round) + ", seed " + QByteArray::number(seed);
        Writer writer(u"state"_s, folder);
        // Mostly in the middle of its work, now and then while it starts.
        if (random.bounded(4) != 0)
            QVERIFY2(writer.waitForReadyRead(), where.constData());
        QTest::qSleep(random.bounded(25) + 1);
        QVERIFY2(writer.killNow(), where.constData());

        const Stored stored(folder);
        const int toldAccount = writer.lastTold(u"account"_s, account);
        const int toldAlert = writer.lastTold(u"alert"_s, alert);
        early += toldAccount == account ? 1 : 0;
        QVERIFY2(isOldOrNew(stored.account.value_or(0), toldAccount), where.constData());
        QVERIFY2(stored.newestAlert() || (toldAlert == 0 && !stored.alerts), where.constData());
        QVERIFY2(isOldOrNew(stored.newestAlert().value_or(0), toldAlert), where.constData());
        QVERIFY2(!stored.margin || *stored.margin == u"逐仓" || *stored.margin == u"全仓", where.constData());
        account = stored.account.value_or(0);
        alert = stored.newestAlert().value_or(0);
        // Nothing was taken for broken, and what killed programs leave does not pile up.
        const QStringList files = QDir(folder).entryList(QDir::Files | QDir::Hidden);
        QVERIFY2(files.size() <= 2 && files.filter(u"broken"_s).isEmpty(), where.constData());
        QCOMPARE(neighbour.state(), QProcess::Running);
    }
    QVERIFY(neighbour.killNow());
    QVERIFY(isOldOrNew(Stored(folder).other, neighbour.lastTold(u"other"_s, 0)));
    std::printf("%d rounds (%d before the first change), %d settings and %d alerts written, seed %u\n",
                rounds, early, account, alert, seed);
    std::fflush(stdout);
    QVERIFY(account > rounds / 2);
}

KESTRUNE_TEST(KilledWriterTest)
#include "tst_killedwriter.moc"
