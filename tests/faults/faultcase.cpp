// SPDX-License-Identifier: MIT
#include "faults/faultcase.h"

#include <algorithm>
#include <array>

namespace kestrune::test {

using namespace Qt::StringLiterals;

namespace {

struct Endpoint
{
    QString name;
    QString request; ///< path and query of a sound request
};

struct Kind
{
    QString name;
    QString fault; ///< where it ends with "*", the same request follows
    bool needsDns = false;
};

const std::array<Endpoint, 7> &endpoints()
{
    static const std::array<Endpoint, 7> list{
        {{u"gate.candles"_s, u"/api/v4/spot/candlesticks?currency_pair=BTC_USDT&interval=1d&limit=200"_s},
         {u"binance.candles"_s, u"/api/v3/klines?symbol=BTCUSDT&interval=1d&limit=200"_s},
         {u"okx.candles"_s, u"/api/v5/market/candles?instId=BTC-USDT-SWAP&bar=1D&limit=200"_s},
         {u"gate.ticker"_s, u"/api/v4/futures/usdt/tickers?contract=BTC_USDT"_s},
         {u"binance.ticker"_s, u"/fapi/v1/ticker/24hr?symbol=BTCUSDT"_s},
         {u"tencent.quotes"_s, u"/q=sh600519"_s},
         {u"tencent.candles"_s, u"/appstock/app/fqkline/get?param=sh600519,day,,,320,qfq"_s}}};
    return list;
}

std::vector<Kind> allKinds(const BrokenHosts &hosts)
{
    std::vector<Kind> kinds{{u"refused"_s, u"redirect:http://127.0.0.1:1/"_s},
                            {u"redirect loop"_s, u"redirect:*"_s},
                            {u"untrusted certificate"_s, u"redirect:"_s + hosts.untrusted + u'*'},
                            {u"expired certificate"_s, u"redirect:"_s + hosts.expired + u'*'},
                            {u"no such host"_s, u"redirect:http://nowhere.invalid/"_s, true},
                            {u"501 with a page"_s, u"redirect:"_s + hosts.serverFault}};
    for (const QString &name : {u"status:429"_s, u"status:451"_s, u"empty"_s, u"html"_s, u"gzip-bomb"_s,
                                u"stall"_s, u"stall-body"_s, u"reset"_s, u"reset-body"_s, u"truncate"_s,
                                u"wrong-length"_s, u"drip"_s, u"flood"_s})
        kinds.push_back({name, name});
    return kinds;
}

// A host with a bad certificate would serve what is asked for: a client that took it would show.
QString faultAt(const Endpoint &endpoint, const Kind &kind)
{
    QString fault = kind.fault;
    return endpoint.name + u'=' + fault.replace(u'*', endpoint.request);
}

FaultCase makeCase(const std::vector<std::pair<Endpoint, Kind>> &parts, Outcome outcome)
{
    FaultCase made;
    QStringList names;
    for (const auto &[endpoint, kind] : parts) {
        names += endpoint.name + u": "_s + kind.name;
        made.faults += faultAt(endpoint, kind);
        made.needsDns = made.needsDns || kind.needsDns;
    }
    made.name = names.join(u", "_s);
    made.outcome = outcome;
    const bool stock = parts.front().first.name.startsWith(u"tencent");
    made.selection = stock ? QStringList{u"--market"_s, u"A股"_s} : QStringList{u"--symbol"_s, u"BTC"_s};
    return made;
}

Outcome outcomeAlone(const Endpoint &endpoint, const Kind &kind)
{
    // Half a quote under a length that says so is an ordinary answer, and its first half holds the price.
    if (endpoint.name == u"tencent.quotes")
        return kind.name == u"wrong-length" ? Outcome::complete : Outcome::priceless;
    return endpoint.name == u"tencent.candles" ? Outcome::candleless : Outcome::complete;
}

const Kind &kindNamed(const std::vector<Kind> &kinds, const QString &name)
{
    return *std::ranges::find(kinds, name, &Kind::name);
}

void appendPairs(std::vector<FaultCase> &cases, const std::vector<Kind> &kinds, std::size_t first,
                 std::size_t second, Outcome outcome)
{
    const QStringList chosen{u"reset"_s,     u"stall"_s,      u"drip"_s,
                             u"gzip-bomb"_s, u"status:429"_s, u"untrusted certificate"_s};
    for (const QString &one : chosen) {
        for (const QString &other : chosen)
            cases.push_back(makeCase(
                {{endpoints()[first], kindNamed(kinds, one)}, {endpoints()[second], kindNamed(kinds, other)}},
                outcome));
    }
}

} // namespace

std::vector<FaultCase> allFaultCases(const BrokenHosts &hosts)
{
    const std::vector<Kind> kinds = allKinds(hosts);
    std::vector<FaultCase> cases;
    appendPairs(cases, kinds, 3, 4, Outcome::priceless); // the longest first
    for (const Endpoint &endpoint : endpoints()) {
        for (const Kind &kind : kinds)
            cases.push_back(makeCase({{endpoint, kind}}, outcomeAlone(endpoint, kind)));
    }
    appendPairs(cases, kinds, 0, 1, Outcome::complete);
    appendPairs(cases, kinds, 0, 2, Outcome::complete);
    appendPairs(cases, kinds, 1, 2, Outcome::complete);
    return cases;
}

std::vector<FaultCase> quickFaultCases(const BrokenHosts &hosts)
{
    const QStringList kinds{u"untrusted certificate"_s, u"expired certificate"_s, u"redirect loop"_s,
                            u"501 with a page"_s};
    std::vector<FaultCase> cases;
    const std::vector<Kind> everywhere = allKinds(hosts);
    for (const QString &name : {u"refused"_s, u"status:429"_s, u"empty"_s, u"html"_s, u"gzip-bomb"_s,
                                u"reset"_s, u"reset-body"_s, u"truncate"_s, u"wrong-length"_s, u"flood"_s}) {
        const Kind &kind = kindNamed(everywhere, name);
        cases.push_back(makeCase({{endpoints()[0], kind}, {endpoints()[1], kind}, {endpoints()[3], kind}},
                                 Outcome::complete));
    }
    for (const FaultCase &each : allFaultCases(hosts)) {
        const qsizetype colon = each.name.indexOf(u": "_s);
        const bool wanted = each.faults.size() == 1 && each.outcome == Outcome::complete &&
                            kinds.contains(each.name.sliced(colon + 2)) && !each.name.startsWith(u"okx");
        if (wanted)
            cases.push_back(each);
    }
    return cases;
}

} // namespace kestrune::test
