// SPDX-License-Identifier: MIT
#include "fuzztarget.h"
#include "line/barline.h"
#include "line/barrecord.h"
#include "line/clickinput.h"
#include "market/candleparsers.h"
#include "market/quoteparser.h"
#include "market/searchparsers.h"
#include "platform/decompression.h"
#include "platform/jsonpreferences.h"
#include "platform/textdecoding.h"
#include "snapshot/commandline.h"
#include "snapshot/snapshotmode.h"
#include "state/instruments.h"
#include "state/settings.h"
#include "viewmodel/settingsinput.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>

namespace kestrune::fuzz {

using namespace Qt::StringLiterals;

namespace {

bool isPlausible(const Candle &c)
{
    return c.o > 0 && c.h > 0 && c.l > 0 && c.c > 0 && c.l <= c.h;
}

const Registration sources("crypto-candles", [](const QByteArray &body) {
    const auto gate = parseGateCandles(body);
    KESTRUNE_REQUIRE(!gate || std::ranges::all_of(*gate, isPlausible));
    KESTRUNE_REQUIRE(!gate || std::ranges::all_of(*gate, [](auto &c) { return c.ts % 1000 == 0; }));
    for (const auto &candles : {gate, parseBinanceCandles(body), parseOkxCandles(body)})
        KESTRUNE_REQUIRE(!candles || candles->size() >= 25);
});

const Registration tickers("crypto-tickers", [](const QByteArray &body) {
    static_cast<void>(parseGateTicker(body));
    static_cast<void>(parseBinanceTicker(body));
});

const Registration quotes("quotes", [](const QByteArray &body) {
    const QString text = decodeGb18030(body);
    KESTRUNE_REQUIRE(text.isValidUtf16());
    const StockQuotes found = parseQuotes(text, Instant{});
    for (auto quote = found.begin(); quote != found.end(); ++quote) {
        KESTRUNE_REQUIRE(quote.key() == quote->symbol && quote->symbol == quote->symbol.toLower());
        KESTRUNE_REQUIRE(std::isfinite(quote->price) && quote->price > 0);
        KESTRUNE_REQUIRE(std::isfinite(quote->prevClose) && std::isfinite(quote->open));
        KESTRUNE_REQUIRE(quote->limitUp.value_or(1) > 0 && quote->limitDown.value_or(1) > 0);
        KESTRUNE_REQUIRE(!quote->name.contains(u'~') && !quote->name.contains(u';'));
    }
});

void requireCodes(const std::optional<FoundList> &found, MarketSegment segment)
{
    for (const Found &each : found.value_or(FoundList())) {
        KESTRUNE_REQUIRE(listedSegment(each.symbol) == segment && each.name.isValidUtf16());
        KESTRUNE_REQUIRE(std::isfinite(each.turnover) && each.turnover >= 0);
    }
}

const Registration contracts("contract-lists", [](const QByteArray &body) {
    requireCodes(parseGateContracts(body), MarketSegment::crypto);
    requireCodes(parseBinanceContracts(body), MarketSegment::crypto);
});

const Registration searches("searches", [](const QByteArray &body) {
    const QString text = decodeGb18030(body);
    for (const MarketSegment segment : {MarketSegment::cn, MarketSegment::hk})
        requireCodes(parseSearchAnswer(text, segment), segment);
});

const Registration stockCandles("stock-candles", [](const QByteArray &body) {
    for (const QString &period : {u"day"_s, u"week"_s}) {
        const auto candles = parseStockCandles(body, u"sh600519"_s, period);
        if (!candles) {
            const int code = candles.error().code;
            KESTRUNE_REQUIRE(code >= 3 && code <= 5 && !candles.error().message.isEmpty());
            continue;
        }
        KESTRUNE_REQUIRE(candles->size() >= 25 && std::ranges::all_of(*candles, isPlausible));
        KESTRUNE_REQUIRE(std::ranges::all_of(*candles, [](auto &c) {
            return std::isfinite(c.o) && std::isfinite(c.h) && std::isfinite(c.c) && std::isfinite(c.v);
        }));
        KESTRUNE_REQUIRE(std::ranges::is_sorted(*candles, {}, &Candle::ts));
    }
});

const Registration packedBody("packed-body", [](const QByteArray &bytes) {
    constexpr qsizetype largest = 100'000;
    const auto content = unpackGzip(bytes, largest);
    KESTRUNE_REQUIRE(!content || content->size() <= largest);
    // The limit only decides whether there is a content, not which.
    if (content && !content->isEmpty()) {
        KESTRUNE_REQUIRE(unpackGzip(bytes, content->size()) == content);
        KESTRUNE_REQUIRE(!unpackGzip(bytes, content->size() - 1));
    }
    if (bytes.isEmpty())
        return;                                           // Qt packs nothing into nothing
    const QByteArray packed = qCompress(bytes).sliced(4); // behind Qt's own length
    KESTRUNE_REQUIRE(unpackGzip(packed, largest) == bytes);
    const qsizetype shorter = static_cast<unsigned char>(bytes.front()) % packed.size();
    KESTRUNE_REQUIRE(!unpackGzip(packed.first(shorter), largest));
});

const Registration alerts("alerts", [](const QByteArray &bytes) {
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    const auto read = decodeAlerts(document.isArray() ? QJsonValue(document.array()) : document.object());
    if (!read)
        return;
    // What could be read can be stored, and reads back the same.
    const auto stored = encodeAlerts(*read);
    KESTRUNE_REQUIRE(stored);
    const auto again = decodeAlerts(*stored);
    KESTRUNE_REQUIRE(again && again->size() == read->size() && encodeAlerts(*again) == stored);
});

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

const Registration preferences("preferences", [](const QByteArray &bytes) {
    static const QTemporaryDir parent;
    const QDir folder(parent.filePath(u"settings"_s));
    const QString path = folder.filePath(u"preferences.json"_s);
    QDir(folder).removeRecursively();
    QDir().mkpath(folder.path());
    QFile file(path);
    KESTRUNE_REQUIRE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    file.close();

    JsonPreferences stored(folder.path());
    bool failed = false;
    stored.onFirstWriteFailure([&failed] { failed = true; });
    const auto restore = [&stored](const auto &...setting) {
        (static_cast<void>(setting.restored(stored)), ...);
        for (const QString &key : {setting.key...}) {
            const auto number = stored.number(key);
            KESTRUNE_REQUIRE(!number || std::isfinite(*number));
            const auto integer = stored.integer(key);
            KESTRUNE_REQUIRE(!integer || number == double(*integer));
        }
    };
    restore(settings::coin, settings::miniMode, settings::market, settings::timeframe,
            settings::signalThreshold, settings::displayRange, settings::maxPerSide, settings::accountSize,
            settings::riskPerTrade, settings::leverage, settings::marginMode, settings::marketContextExpanded,
            settings::alerts, settings::blingMode, settings::hasLaunched);
    const InstrumentBook book(stored);
    for (const MarketSegment segment : allMarketSegments)
        KESTRUNE_REQUIRE(!book.list(segment).isEmpty() &&
                         listedSegment(book.list(segment).constLast()) == segment);
    // What is no JSON object is set aside, once.
    const QJsonDocument before = QJsonDocument::fromJson(bytes);
    const QStringList broken = folder.entryList({u"*.broken-*"_s}, QDir::Files);
    KESTRUNE_REQUIRE(broken.size() == (before.isObject() || bytes.isEmpty() ? 0 : 1));
    KESTRUNE_REQUIRE(broken.isEmpty() || contentOf(folder.filePath(broken.front())) == bytes);

    stored.setText(u"ks_written"_s, u"now"_s);
    QJsonObject expected = before.object();
    expected.insert(u"ks_written"_s, u"now"_s);
    const QJsonObject after = QJsonDocument::fromJson(contentOf(path)).object();
    KESTRUNE_REQUIRE(!failed && after.keys() == expected.keys());
    KESTRUNE_REQUIRE(JsonPreferences(folder.path()).text(u"ks_written"_s) == u"now"_s);
});

const Registration commandLine("command-line", [](const QByteArray &bytes) {
    // The command line as the kernel hands it over: arguments with a zero byte behind each.
    QStringList arguments;
    for (const QByteArray &argument : bytes.split('\0'))
        arguments.append(QString::fromLocal8Bit(argument));
    const CommandLine line = parseCommandLine(arguments);
    KESTRUNE_REQUIRE(!line.error || !line.error->contains(u'\n'));
    const QString server = line.marketServer.value_or(u"http:"_s);
    KESTRUNE_REQUIRE(server.startsWith(u"http", Qt::CaseInsensitive) && !server.endsWith(u'/'));
    KESTRUNE_REQUIRE(!line.demo || !line.marketServer || line.error);

    const auto snapshot = SnapshotMode::parse(arguments);
    const qsizetype option = arguments.indexOf(u"--snapshot"_s);
    KESTRUNE_REQUIRE(snapshot.has_value() == (option >= 0 && option + 1 < arguments.size()));
    KESTRUNE_REQUIRE(!snapshot || snapshot->dir == arguments[option + 1]);
    KESTRUNE_REQUIRE(!snapshot || !snapshot->selection.symbol ||
                     arguments.contains(*snapshot->selection.symbol));
});

const Registration lines("bar-lines", [](const QByteArray &bytes) {
    const auto click = readClick(bytes);
    KESTRUNE_REQUIRE(!click || click->button > 0);
    const auto record = barRecord(bytes);
    if (!record)
        return;
    KESTRUNE_REQUIRE(!record->text.isEmpty() && barRecord(record->json) == record);
    for (const QString &name : lineFormatNames().split(u", "_s)) {
        const QByteArray line = formatLine(*record, lineFormat(name).value());
        KESTRUNE_REQUIRE(line.indexOf('\n') == line.size() - 1 && line.size() > 1);
    }
});

const Registration settingInputs("setting-inputs", [](const QByteArray &bytes) {
    const QString text = QString::fromUtf8(bytes);
    for (const NumberField *number : {&fields::threshold, &fields::range, &fields::perSide, &fields::risk,
                                      &fields::leverage, &fields::account, &fields::alertPrice}) {
        const auto value = number->accepted(text);
        if (!value)
            continue;
        KESTRUNE_REQUIRE(std::isfinite(*value) && *value >= number->lowest && *value <= number->highest);
        KESTRUNE_REQUIRE(number->accepted(number->spelled(std::max(*value, 1.0))));
    }
});

} // namespace

} // namespace kestrune::fuzz
