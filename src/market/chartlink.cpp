// SPDX-License-Identifier: MIT
#include "market/chartlink.h"

#include "market/endpoints.h"

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int hongKongDigits = 4;

QString hongKongSymbol(const QString &number)
{
    qsizetype zeros = 0;
    while (zeros < number.size() && number[zeros] == u'0')
        ++zeros;
    return "HKEX:"_L1 + number.mid(zeros).rightJustified(hongKongDigits, u'0');
}

} // namespace

QString tradingViewSymbol(const QString &coinSymbol, MarketSegment market)
{
    switch (market) {
    case MarketSegment::crypto: {
        const QString base = coinSymbol.toUpper();
        return "BINANCE:"_L1 + base + (base.endsWith("USDT"_L1) ? ".P"_L1 : "USDT.P"_L1);
    }
    case MarketSegment::cn:
        return (stockMarketOf(coinSymbol) == StockMarket::sz ? "SZSE:"_L1 : "SSE:"_L1) + bareCode(coinSymbol);
    case MarketSegment::hk:
        return hongKongSymbol(bareCode(coinSymbol));
    }
    Q_UNREACHABLE();
}

std::optional<QUrl> tradingViewUrl(const QString &coinSymbol, MarketSegment market, QStringView timeframe)
{
    const QString symbol = tradingViewSymbol(coinSymbol, market);
    // Text with half a surrogate pair has no UTF-8 form to encode; as it stands it forms no address either.
    if (!symbol.isValidUtf16())
        return std::nullopt;
    // What may stand unencoded in a query beside letters, digits and "-._~".
    const QByteArray encoded = QUrl::toPercentEncoding(symbol, "!$&'()*+,;=:@/?");
    return requestUrl("https://cn.tradingview.com/chart/?symbol="_L1 + QString::fromLatin1(encoded) +
                      "&interval="_L1 + tradingViewInterval(timeframe));
}

} // namespace kestrune
