// SPDX-License-Identifier: MIT
#pragma once
#include "market/marketsegment.h"
#include "market/serviceerror.h"
#include <QCoroTask>
#include <vector>
namespace kestrune {
struct Found
{
    QString symbol;
    QString name;
    double turnover = 0;
};
class InstrumentSearch
{
public:
    QCoro::Task<Result<std::vector<Found>>> crypto();
    QCoro::Task<Result<std::vector<Found>>> stocks(MarketSegment segment, QString text);
    QCoro::Task<bool> answers(MarketSegment segment, QString symbol);
};
std::vector<Found> matching(const std::vector<Found> &list, const QString &text);
std::optional<QString> codeFromTyped(MarketSegment segment, const QString &text);
} // namespace kestrune
