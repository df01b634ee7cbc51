// SPDX-License-Identifier: MIT
// searchprobe ADDRESS: how many contracts and shares the search finds on a market server, -1 where it fails.
#include "market/instrumentsearch.h"
#include "market/marketservice.h"
#include "market/stockmarketservice.h"
#include "platform/curlhttpclient.h"
#include "platform/systemclock.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char **argv)
{
    using namespace kestrune;
    const QCoreApplication application(argc, argv);
    const Endpoints endpoints = Endpoints::via(application.arguments().value(1));
    const SystemClock clock;
    CurlHttpClient http;
    const auto health = std::make_shared<SourceHealth>(clock);
    const MarketService crypto(http, endpoints, health);
    const StockMarketService stocks(http, clock, endpoints, health);
    const InstrumentSearch search(crypto, stocks, clock);
    auto contracts = search.crypto();
    auto shares = search.stocks(MarketSegment::cn, QStringLiteral("zsyh"));
    for (auto *task : {&contracts, &shares}) {
        const auto found = QCoro::waitFor(*task);
        std::printf("%d ", found ? int(found->size()) : -1);
    }
}
