// SPDX-License-Identifier: MIT
#include "state/instrumentlists.h"

namespace kestrune {

using namespace Qt::StringLiterals;

const QStringList &pickerSymbols(MarketSegment segment)
{
    static const QStringList coins{u"ETH"_s,  u"BTC"_s, u"SOL"_s,  u"BNB"_s,  u"XRP"_s,
                                   u"DOGE"_s, u"ADA"_s, u"AVAX"_s, u"LINK"_s, u"TON"_s};
    static const QStringList cn{u"sh600519"_s, u"sz300750"_s, u"sh601318"_s, u"sz000001"_s, u"sh600036"_s,
                                u"sz000858"_s, u"sh601899"_s, u"sz002594"_s, u"sh600900"_s, u"sz300059"_s};
    static const QStringList hk{u"hk00700"_s, u"hk09988"_s, u"hk03690"_s, u"hk01810"_s, u"hk00005"_s,
                                u"hk00939"_s, u"hk01299"_s, u"hk09618"_s, u"hk02318"_s, u"hk01024"_s};
    switch (segment) {
    case MarketSegment::crypto:
        return coins;
    case MarketSegment::cn:
        return cn;
    case MarketSegment::hk:
        return hk;
    }
    Q_UNREACHABLE();
}

const QStringList &blingSymbols(MarketSegment segment)
{
    static const QStringList coins{u"BTC"_s, u"ETH"_s,  u"SOL"_s, u"BNB"_s,
                                   u"XRP"_s, u"DOGE"_s, u"ADA"_s, u"LINK"_s};
    static const QStringList cn{u"sh600519"_s, u"sz000001"_s, u"sz000858"_s, u"sh601318"_s,
                                u"sz000651"_s, u"sh600036"_s, u"sz000333"_s, u"sh600276"_s};
    static const QStringList hk{u"hk00700"_s, u"hk09988"_s, u"hk03690"_s, u"hk01810"_s,
                                u"hk00005"_s, u"hk00939"_s, u"hk01299"_s, u"hk09618"_s};
    switch (segment) {
    case MarketSegment::crypto:
        return coins;
    case MarketSegment::cn:
        return cn;
    case MarketSegment::hk:
        return hk;
    }
    Q_UNREACHABLE();
}

} // namespace kestrune
