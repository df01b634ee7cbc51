// SPDX-License-Identifier: MIT
#include "market/instrumentsearch.h"
namespace kestrune {
using namespace Qt::StringLiterals;
QCoro::Task<Result<std::vector<Found>>> InstrumentSearch::crypto()
{
    std::vector<Found> l;
    for (auto s : {"BTC", "ETH", "SOL", "XRP", "PEPE", "SUI", "WIF", "ARB", "OP", "APT", "TIA", "SEI", "NEAR",
                   "FIL", "LTC", "BCH"})
        l.push_back({QString::fromLatin1(s), {}, 1});
    co_return l;
}
QCoro::Task<Result<std::vector<Found>>> InstrumentSearch::stocks(MarketSegment s, QString t)
{
    if (t == u"x"_s)
        co_return tl::unexpected(ServiceError{});
    if (t == u"y"_s)
        co_return std::vector<Found>();
    if (s == MarketSegment::hk)
        co_return std::vector<Found>{{u"hk01810"_s, u"小米集团-W"_s, 0}, {u"hk02018"_s, u"瑞声科技"_s, 0}};
    co_return std::vector<Found>{{u"sh600036"_s, u"招商银行"_s, 0},
                                 {u"sh600999"_s, u"招商证券"_s, 0},
                                 {u"sh600010"_s, u"招商银行股份有限公司优先股非常长的名字测试"_s, 0}};
}
QCoro::Task<bool> InstrumentSearch::answers(MarketSegment, QString)
{
    co_return true;
}
std::vector<Found> matching(const std::vector<Found> &list, const QString &text)
{
    std::vector<Found> r;
    for (auto &f : list)
        if (f.symbol.contains(text, Qt::CaseInsensitive))
            r.push_back(f);
    return r;
}
std::optional<QString> codeFromTyped(MarketSegment, const QString &text)
{
    return text.toUpper();
}
} // namespace kestrune
