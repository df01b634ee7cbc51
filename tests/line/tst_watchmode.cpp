// SPDX-License-Identifier: MIT
#include "line/barclient.h"
#include "line/clickinput.h"
#include "line/lineoutput.h"
#include "line/lines.h"
#include "line/watchmode.h"
#include "support/appfixture.h"
#include "support/rows.h"
#include "support/testregistry.h"

#include <QSignalSpy>

#include <csignal>
#include <cstring>

#include <sys/socket.h>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class WatchModeTest : public QObject
{
    Q_OBJECT
    /// A run on the fakes, with a state of its own.
    struct Run : AppFixture
    {
        Run() { serveCrypto(3000); }
        void start(const WatchMode::Config &config)
        {
            const auto makeState = [this] { return create().shared_from_this(); };
            mode = std::make_unique<WatchMode>(config, clock, makeState, QString(), output, nullptr);
            QObject::connect(mode.get(), &WatchMode::finished, mode.get(), [this](int s) { status = s; });
            mode->run();
        }
        Pipe bar;
        LineOutput output{bar.ends[1]};
        std::unique_ptr<WatchMode> mode;
        std::optional<int> status;
    };

private Q_SLOTS:
    static void initTestCase() { std::signal(SIGPIPE, SIG_IGN); }

    void theOptionsAreRead()
    {
        const struct
        {
            const char *name, *arguments, *read;
        } rows[] = {
            {"none", "--demo", "-"},
            {"a line at every change", "--symbol BTC --watch tmux", "watch 5 BTC"},
            {"one line", "--print json --watcher x", "print 7 "},
            {"the first format", "--watch plain --watch json", "watch 6 "},
            {"no format", "--watch", "error"},
            {"an option as format", "--print --demo plain", "error"},
            {"an unknown format", "--watch Plain", "error"},
            {"both", "--watch plain --print plain", "error"},
            {"with a snapshot", "--print plain --snapshot out", "error"},
            {"a snapshot's folder", "--snapshot --print out", "-"},
        };
        forEachRow(rows, [](const auto &row) {
            const auto parsed = WatchMode::parse(QString::fromLatin1(row.arguments).split(u' '));
            QString read = parsed ? u"-"_s : u"error"_s;
            if (parsed && *parsed)
                read = ((*parsed)->once ? u"print "_s : u"watch "_s) +
                       QString::number(int((*parsed)->format)) + u' ' +
                       (*parsed)->selection.symbol.value_or(QString());
            QCOMPARE(read, QString::fromLatin1(row.read));
        });
    }

    void aLineAtOnceAndAtEveryChange()
    {
        Run run;
        run.preferences.preset(u"ks_tf"_s, u"4H"_s);
        run.start({LineFormat::plain, false, {u"BTC"_s, {}, u"1H"_s}});
        QCOMPARE(run.bar.text(), u"等待 BTC 报价… [stale]\n"_s);
        QCOMPARE(run.state->timeframe(), u"1H"_s);
        run.clock.advance(400ms);
        const QString first = run.bar.text();
        QVERIFY2(first.startsWith(u"BTC  3,000"_s) && first.endsWith(u'\n'), qPrintable(first));
        run.clock.advance(30s);
        QCOMPARE(run.bar.read(), QByteArray()); // it reads the same
        run.tickTo(3100);
        run.clock.advance(5s);
        QVERIFY(run.bar.text().startsWith(u"BTC  3,100"_s));
        run.mode->click({3, {}});
        drainEvents();
        QVERIFY2(run.bar.text().startsWith(u"等待 SOL"_s), "the choice shows before its price");
        for (const int button : {4, 1, 2, 9, 0, -1})
            run.mode->click({button, {}});
        QCOMPARE(run.state->coinSymbol(), u"BTC"_s);
        QVERIFY(!run.status);
        run.bar.hangUp();
        QVERIFY(waitFor([&] { return run.status.has_value(); }));
        QCOMPARE(*run.status, 0);
    }

    void oneLineAndItsStatus()
    {
        Run good, mute;
        for (const QString &route :
             {u"/api/v4/futures/usdt/tickers"_s, u"/api/v4/spot/candlesticks"_s, u"/api/v3/klines"_s})
            mute.crypto.failAlways(route);
        for (Run *run : {&good, &mute}) {
            run->start({LineFormat::i3bar, true, {}});
            QCOMPARE(run->bar.read(), QByteArray());
            run->clock.advance(9999ms);
            QCOMPARE(run->status.has_value(), run == &good);
            run->clock.advance(1ms);
        }
        QCOMPARE(*good.status, 0);
        QVERIFY(good.bar.text().startsWith(u"[{"_s) && good.bar.read().isEmpty());
        QCOMPARE(*mute.status, 3);
        QVERIFY(mute.bar.text().contains(u"等待 ETH"_s));
    }

    void aSeriesOfBlocksIsOneArray()
    {
        Run run;
        run.start({LineFormat::i3bar, false, {}});
        run.clock.advance(400ms);
        const QByteArrayList lines = run.bar.read().trimmed().split('\n');
        QCOMPARE(lines.mid(0, 2), QByteArrayList({R"({"version":1,"click_events":true})", "["}));
        for (qsizetype i = 2; i < lines.size(); ++i)
            QVERIFY2(lines[i].startsWith(i == 2 ? "[{" : ",[{") && lines[i].endsWith("}]"),
                     lines[i].constData());
        QVERIFY(lines.size() >= 4);
    }

    void aReaderThatSleepsGetsTheNewestLine()
    {
        Pipe pipe;
        LineOutput output(pipe.ends[1]);
        const QSignalSpy closed(&output, &LineOutput::closed), drained(&output, &LineOutput::drained);
        const QByteArray large(100'000, 'x');
        output.write(large + '\n');
        for (const char *line : {"a\n", "b\n", "c\n"})
            output.write(line);
        QVERIFY(!output.isDrained());
        QByteArray got;
        QVERIFY(waitFor([&] {
            got += pipe.read();
            return output.isDrained();
        }));
        QCOMPARE(QByteArray(got + pipe.read()).mid(large.size()), QByteArray("\nc\n"));
        QCOMPARE(drained.size(), 1);
        pipe.hangUp();
        output.write("d\n");
        QCOMPARE(closed.size(), 1);
    }

    void aSocketsOtherEndMayReadOnAndSendNoMore()
    {
        for (const bool reads : {true, false}) {
            std::array<int, 2> ends{};
            QVERIFY(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0);
            LineOutput output(ends[1]);
            const QSignalSpy closed(&output, &LineOutput::closed);
            QVERIFY((reads ? ::shutdown(ends[0], SHUT_WR) : ::close(ends[0])) == 0);
            QCOMPARE(waitFor([&] { return !closed.empty(); }, reads ? 50ms : 5000ms), !reads);
            output.write("a\n");
            QCOMPARE(closed.size(), reads ? 0 : 2);
            ::close(ends[1]);
            if (reads)
                ::close(ends[0]);
        }
    }

    void clicksAreReadAsTheyCome()
    {
        const struct
        {
            const char *name, *line;
            std::optional<BarClick> click;
        } rows[] = {
            {"first", R"([{"name":"kestrune-bar","button":1,"x":1200,"y":-5,"relative_x":3})",
             BarClick{1, {1200, -5}}},
            {"later", R"( ,{"button":5} )", BarClick{5, {0, 0}}},
            {"the array alone", "[", {}},
            {"no button", R"(,{"x":1})", {}},
            {"a text as button", R"({"button":"1"})", {}},
            {"huge", R"({"button":1e99,"x":1e99,"y":"a"})", {}},
            {"half", R"({"button":1)", {}},
            {"nested", "[[[[[[[[,,,,", {}},
        };
        forEachRow(rows, [](const auto &row) { QVERIFY(readClick(row.line) == row.click); });

        Pipe pipe;
        ClickInput input(pipe.ends[0]);
        QList<int> buttons;
        connect(&input, &ClickInput::clicked, this,
                [&](const BarClick &click) { buttons.append(click.button); });
        for (const char *piece : {"[\n{\"button\":1}\n,{\"but", "ton\":3}\n{{{\n{\"button\":4}\n"}) {
            QVERIFY(::write(pipe.ends[1], piece, std::strlen(piece)) > 0);
            drainEvents();
        }
        QCOMPARE(buttons, QList<int>({1, 3, 4}));
    }
};

KESTRUNE_TEST(WatchModeTest)
#include "tst_watchmode.moc"
