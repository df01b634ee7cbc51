// SPDX-License-Identifier: MIT
#include "replay/commandline.h"

#include "analysis/utczone.h"
#include "replay/marketclock.h"

#include <QDateTime>

#include <cmath>

namespace kestrune::replay {

namespace {

constexpr double maxSpeed = 86400; // a day a second
constexpr int maxLatencyMs = 600000;

/// Walks over the arguments; the first thing that is wrong ends it.
class Reader
{
public:
    explicit Reader(const QStringList &arguments) : m_arguments(arguments) {}

    std::variant<Options, QString> read()
    {
        while (m_error.isEmpty() && m_next < m_arguments.size())
            readOption(m_arguments[m_next++]);
        if (m_error.isEmpty())
            return m_options;
        return m_error;
    }

private:
    void readOption(const QString &name)
    {
        if (name == QLatin1String("--help"))
            m_options.help = true;
        else if (name == QLatin1String("--version"))
            m_options.version = true;
        else if (name == QLatin1String("--exit-with-stdin"))
            m_options.exitWithStdin = true;
        else if (name == QLatin1String("--port"))
            readNumber(name, 0, 65535, [this](qint64 port) { m_options.port = static_cast<quint16>(port); });
        else if (name == QLatin1String("--latency"))
            readNumber(name, 0, maxLatencyMs,
                       [this](qint64 ms) { m_options.latency = std::chrono::milliseconds(ms); });
        else if (name == QLatin1String("--history"))
            m_options.history = value(name);
        else if (name == QLatin1String("--seed"))
            readSeed(name);
        else if (name == QLatin1String("--clock"))
            readClock(name);
        else if (name == QLatin1String("--speed"))
            readSpeed(name);
        else if (name == QLatin1String("--tls"))
            readTls(name);
        else if (name == QLatin1String("--fault"))
            readFault(name);
        else
            m_error = QStringLiteral("unknown argument \"%1\"").arg(name);
    }

    QString value(const QString &name)
    {
        if (m_next < m_arguments.size() && !m_arguments[m_next].isEmpty())
            return m_arguments[m_next++];
        m_error = QStringLiteral("%1 needs a value").arg(name);
        return {};
    }

    void reject(const QString &name, const QString &text)
    {
        if (m_error.isEmpty())
            m_error = QStringLiteral("%1 cannot be \"%2\"").arg(name, text);
    }

    template <typename Store>
    void readNumber(const QString &name, qint64 least, qint64 most, Store store)
    {
        const QString text = value(name);
        bool ok = false;
        const qint64 number = text.toLongLong(&ok);
        if (ok && number >= least && number <= most)
            store(number);
        else
            reject(name, text);
    }

    void readSeed(const QString &name)
    {
        const QString text = value(name);
        bool ok = false;
        m_options.seed = text.toULongLong(&ok);
        if (!ok)
            reject(name, text);
    }

    void readClock(const QString &name)
    {
        const QString text = value(name);
        QDateTime time = QDateTime::fromString(text, Qt::ISODateWithMs);
        if (time.timeSpec() == Qt::LocalTime) // no zone told: the answers must not depend on the machine's
            time = QDateTime(time.date(), time.time(), utcZone);
        const qint64 ms = time.toMSecsSinceEpoch();
        if (time.isValid() && ms >= 0 && ms < MarketClock::endOfTime)
            m_options.clock = ms;
        else
            reject(name, text);
    }

    void readSpeed(const QString &name)
    {
        const QString text = value(name);
        bool ok = false;
        const double speed = text.toDouble(&ok);
        if (ok && speed >= 0 && speed <= maxSpeed)
            m_options.speed = speed;
        else
            reject(name, text);
    }

    void readTls(const QString &name)
    {
        m_options.certificate = value(name);
        m_options.key = value(name);
    }

    void readFault(const QString &name)
    {
        const QString text = value(name);
        if (!addFault(m_options.faults, text.toUtf8()))
            reject(name, text);
    }

    const QStringList &m_arguments;
    qsizetype m_next = 0;
    Options m_options;
    QString m_error;
};

} // namespace

std::variant<Options, QString> parseCommandLine(const QStringList &arguments)
{
    return Reader(arguments).read();
}

const char *helpText()
{
    return "Usage: kestrune-replay [options]\n"
           "Serves crypto and stock market data on this machine's loopback address, in the layouts of the\n"
           "public sources, from a built-in simulation or from recorded candles.\n"
           "\n"
           "  --port N              listen on this port; 0, the default, takes a free one\n"
           "  --history DIR         replay the candles of DIR's CSV files (BTCUSDT_1d_*.csv, "
           "sh600519_1d_*.csv)\n"
           "  --seed N              choose another simulated market (default 1)\n"
           "  --clock TIME          set the market's clock (ISO 8601, UTC unless told) and stop it there\n"
           "  --speed X             market seconds per real second (default 1; 0 with --clock)\n"
           "  --latency MS          answer this much later\n"
           "  --fault WHERE=KIND    make an endpoint fail, repeatable\n"
           "  --tls CERT KEY        speak HTTPS with these PEM files\n"
           "  --exit-with-stdin     end when standard input closes\n"
           "  --help, --version     print and end\n"
           "\n"
           "WHERE is gate.candles, gate.ticker, binance.candles, binance.ticker, okx.candles, "
           "tencent.quotes,\n"
           "tencent.candles or all. KIND is one of status:NNN, empty, html, gzip-bomb, redirect:URL, or one "
           "of\n"
           "stall, stall-body, reset, reset-body, truncate, wrong-length, drip, flood, flood-chunk, "
           "flood-extension,\n"
           "flood-head, or one of each with a comma between (redirect last).\n"
           "The address is printed on standard output once the server listens.\n";
}

} // namespace kestrune::replay
