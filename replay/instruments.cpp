// SPDX-License-Identifier: MIT
#include "replay/instruments.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace kestrune::replay {

namespace {

constexpr auto crypto = Venue::crypto;
constexpr auto mainland = Venue::mainland;
constexpr auto hongkong = Venue::hongkong;

// Levels, turnovers and ratios are rounded figures of the middle of 2026; nothing depends on their digits.
// clang-format off
constexpr std::array instruments = {
    Instrument{crypto, "BTC",  "BTC",  "", 66000,  0.52, 0.35, 1.6e9, 2017, 1, 1,   10,     0.01, 0, 0, 0, 0},
    Instrument{crypto, "ETH",  "ETH",  "", 1950,   0.68, 0.25, 1.1e9, 2017, 1, 1,   100,    0.1,  0, 0, 0, 0},
    Instrument{crypto, "SOL",  "SOL",  "", 92,     0.85, 0.45, 4.0e8, 2020, 9, 1,   100,    1,    0, 0, 0, 0},
    Instrument{crypto, "BNB",  "BNB",  "", 640,    0.55, 0.45, 2.0e8, 2017, 11, 6,  10,     0.01, 0, 0, 0, 0},
    Instrument{crypto, "XRP",  "XRP",  "", 1.42,   0.75, 0.15, 3.0e8, 2018, 5, 4,   10000,  100,  0, 0, 0, 0},
    Instrument{crypto, "DOGE", "DOGE", "", 0.0975, 0.90, 0.30, 1.5e8, 2019, 7, 5,   100000, 1000, 0, 0, 0, 0},
    Instrument{crypto, "ADA",  "ADA",  "", 0.28,   0.80, 0.15, 8.0e7, 2018, 4, 17,  10000,  100,  0, 0, 0, 0},
    Instrument{crypto, "AVAX", "AVAX", "", 9.6,    0.88, 0.05, 5.0e7, 2020, 9, 22,  1000,   1,    0, 0, 0, 0},
    Instrument{crypto, "LINK", "LINK", "", 9.1,    0.80, 0.20, 6.0e7, 2019, 1, 16,  1000,   1,    0, 0, 0, 0},
    Instrument{crypto, "TON",  "TON",  "", 1.45,   0.75, 0.05, 2.0e7, 2021, 11, 2,  10000,  1,    0, 0, 0, 0},
    Instrument{crypto, "PEPE", "PEPE", "", 0.0000089, 1.1, 0.20, 2.5e8, 2023, 5, 5, 1e8, 1e7, 0, 0, 0, 0},
    Instrument{crypto, "SHIB", "SHIB", "", 0.0000092, 0.9, 0.05, 6.0e7, 2021, 5, 10, 1e8, 1e4, 0, 0, 0, 0},
    Instrument{crypto, "SUI",  "SUI",  "", 1.92,   0.95, 0.30, 1.8e8, 2023, 5, 3,   10000,  1,    0, 0, 0, 0},
    Instrument{crypto, "LTC",  "LTC",  "", 62,     0.70, 0.05, 9.0e7, 2017, 12, 13, 100,    0.1,  0, 0, 0, 0},
    Instrument{crypto, "WIF",  "WIF",  "", 0.42,   1.2,  0.00, 4.0e7, 2024, 3, 5,   10000,  1,    0, 0, 0, 0},

    Instrument{mainland, "sh600519", "贵州茅台", "", 1320, 0.25, 0.14, 4.2e9, 2001, 8, 27,  100, 0, 1.250081601e9, 100, 19.6, 6.9, "gzmt"},
    Instrument{mainland, "sz300750", "宁德时代", "", 385,  0.40, 0.18, 9.5e9, 2018, 6, 11,  100, 0, 4.5627e9, 100, 24.1, 5.8, "ndsd"},
    Instrument{mainland, "sh601318", "中国平安", "", 58,   0.28, 0.06, 3.4e9, 2007, 3, 1,   100, 0, 1.82108e10, 100, 8.3, 1.1, "zgpa"},
    Instrument{mainland, "sz000001", "平安银行", "", 11.7, 0.24, 0.05, 1.0e9, 2001, 1, 2,   100, 0, 1.9405918e10, 100, 5.2, 0.48, "payh"},
    Instrument{mainland, "sh600036", "招商银行", "", 39.5, 0.24, 0.08, 2.3e9, 2002, 4, 9,   100, 0, 2.52198e10, 100, 6.7, 0.92, "zsyh"},
    Instrument{mainland, "sz000858", "五粮液",   "", 112,  0.30, 0.10, 2.1e9, 2001, 1, 2,   100, 0, 3.8816e9, 100, 14.8, 2.9, "wly"},
    Instrument{mainland, "sh601899", "紫金矿业", "", 31,   0.38, 0.12, 6.0e9, 2008, 4, 25,  100, 0, 2.65778e10, 100, 17.9, 4.8, "zjky"},
    Instrument{mainland, "sz002594", "比亚迪",   "", 98,   0.38, 0.13, 5.2e9, 2011, 6, 30,  100, 0, 9.1172e9, 100, 23.4, 3.9, "byd"},
    Instrument{mainland, "sh600900", "长江电力", "", 28.8, 0.16, 0.08, 2.1e9, 2003, 11, 18, 100, 0, 2.44682e10, 100, 20.6, 3.2, "cjdl"},
    Instrument{mainland, "sz300059", "东方财富", "", 23,   0.42, 0.12, 8.8e9, 2010, 3, 19,  100, 0, 1.58037e10, 100, 31.5, 4.3, "dfcf"},
    Instrument{mainland, "sz000651", "格力电器", "", 40.5, 0.26, 0.08, 1.8e9, 2001, 1, 2,   100, 0, 5.6014e9, 100, 7.1, 1.6, "gldq"},
    Instrument{mainland, "sz000333", "美的集团", "", 76,   0.27, 0.11, 2.6e9, 2013, 9, 18,  100, 0, 7.6863e9, 100, 13.2, 2.7, "mdjt"},
    Instrument{mainland, "sh600276", "恒瑞医药", "", 62,   0.32, 0.10, 2.8e9, 2001, 1, 2,   100, 0, 6.6372e9, 100, 51.8, 7.4, "hryy"},
    Instrument{mainland, "sh601988", "中国银行", "", 5.6,  0.16, 0.05, 1.1e9, 2006, 7, 5,   100, 0, 2.1076e11, 100, 6.9, 0.66, "zgyh"},
    Instrument{mainland, "sh600030", "中信证券", "", 28.4, 0.32, 0.08, 3.0e9, 2003, 1, 6,   100, 0, 1.2201e10, 100, 15.3, 1.5, "zxzq"},
    Instrument{mainland, "sh510300", "沪深300ETF", "", 4.712, 0.18, 0.05, 3.6e9, 2012, 5, 28, 1000, 0, 8.2e10, 100, 0, 0, "hs300etf", "ETF"},
    Instrument{mainland, "sz161725", "白酒基金LOF", "", 0.742, 0.27, 0.00, 4.0e8, 2015, 5, 27, 1000, 0, 6.1e10, 100, 0, 0, "bjjjlof", "LOF"},
    Instrument{mainland, "sh000300", "沪深300", "", 4620, 0.17, 0.05, 4.5e11, 2005, 4, 8, 100, 0, 1e12, 100, 0, 0, "hs300", "ZS"},

    Instrument{hongkong, "hk00700", "腾讯控股",    "TENCENT",       468,  0.35, 0.12, 1.0e10, 2004, 6, 16,  0, 0, 9.092605595e9, 100, 16.2, 3.3, "txkg"},
    Instrument{hongkong, "hk09988", "阿里巴巴-W",  "BABA-W",        118,  0.42, 0.00, 8.0e9,  2019, 11, 26, 0, 0, 1.9901959514e10, 100, 26.4, 1.7, "albbw"},
    Instrument{hongkong, "hk03690", "美团-W",      "MEITUAN-W",     88,   0.45, 0.00, 5.0e9,  2018, 9, 20,  0, 0, 6.1107e9, 100, 28.3, 2.9, "mtw"},
    Instrument{hongkong, "hk01810", "小米集团-W",  "XIAOMI-W",      33.5, 0.44, 0.06, 6.0e9,  2018, 7, 9,   0, 0, 2.6012e10, 200, 19.7, 3.2, "xmjtw"},
    Instrument{hongkong, "hk00005", "汇丰控股",    "HSBC HOLDINGS", 146,  0.23, 0.04, 2.0e9,  2001, 1, 2,   0, 0, 1.7141942291e10, 400, 14.1, 2.0, "hfkg"},
    Instrument{hongkong, "hk00939", "建设银行",    "CCB",           8.2,  0.22, 0.03, 2.2e9,  2005, 10, 27, 0, 0, 2.40417e11, 1000, 5.6, 0.58, "jsyh"},
    Instrument{hongkong, "hk01299", "友邦保险",    "AIA",           82,   0.31, 0.05, 1.8e9,  2010, 10, 29, 0, 0, 1.0486e10, 200, 17.2, 2.4, "ybbx"},
    Instrument{hongkong, "hk09618", "京东集团-SW", "JD-SW",         116,  0.42, 0.00, 1.5e9,  2020, 6, 18,  0, 0, 3.1822e9, 50, 9.4, 1.3, "jdjtsw"},
    Instrument{hongkong, "hk02318", "中国平安",    "PING AN",       61,   0.31, 0.05, 1.9e9,  2004, 6, 24,  0, 0, 1.82108e10, 500, 8.0, 1.05, "zgpa"},
    Instrument{hongkong, "hk01024", "快手-W",      "KUAISHOU-W",    64,   0.48, 0.00, 2.0e9,  2021, 2, 5,   0, 0, 4.2996e9, 100, 15.8, 4.0, "ksw"},
    Instrument{hongkong, "hk00388", "香港交易所",  "HKEX",          402,  0.28, 0.05, 2.1e9,  2001, 1, 2,   0, 0, 1.2678e9, 100, 30.2, 9.1, "xgjys"},
    Instrument{hongkong, "hk01211", "比亚迪股份",  "BYD COMPANY",   103,  0.40, 0.10, 2.6e9,  2002, 7, 31,  0, 0, 3.675e9, 500, 22.1, 3.8, "bydgf"},
    Instrument{hongkong, "hk02800", "盈富基金",    "TRACKER FUND",  26.4, 0.22, 0.03, 3.2e9,  2001, 1, 2,   0, 0, 6.6e9, 500, 0, 0, "yfjj", "ETF"},
};
// clang-format on

/// Hong Kong's step table, coarser with the price.
double stepsPerUnit(const Instrument &instrument, double price)
{
    if (instrument.ticksPerUnit > 0)
        return instrument.ticksPerUnit;
    struct Step
    {
        double below;
        double perUnit;
    };
    static constexpr Step steps[] = {{0.25, 1000}, {20, 100}, {50, 50}, {100, 20},
                                     {200, 10},    {500, 5},  {1000, 2}};
    for (const Step &step : steps) {
        if (price < step.below)
            return step.perUnit;
    }
    return 1;
}

} // namespace

std::span<const Instrument> allInstruments()
{
    return instruments;
}

const Instrument *findInstrument(QByteArrayView code)
{
    const auto found = std::find_if(instruments.begin(), instruments.end(), [code](const Instrument &each) {
        return code == QByteArrayView(each.code);
    });
    return found == instruments.end() ? nullptr : &*found;
}

double dailyLimit(const Instrument &instrument)
{
    if (instrument.venue != Venue::mainland)
        return std::numeric_limits<double>::infinity();
    return QByteArrayView(instrument.code).sliced(2).startsWith("300") ? 0.2 : 0.1;
}

const char *searchType(const Instrument &instrument)
{
    if (instrument.type != nullptr)
        return instrument.type;
    return instrument.venue == Venue::hongkong ? "GP" : "GP-A";
}

double snapToTick(const Instrument &instrument, double price)
{
    const double perUnit = stepsPerUnit(instrument, price);
    return std::max(1.0, std::round(price * perUnit)) / perUnit;
}

double limitPrice(const Instrument &instrument, double previousClose, bool up)
{
    // Integers, because the half cases (1306.45 + 10 % = 1437.095) must go up on every close.
    const qint64 tenths = 10 + (up ? 1 : -1) * std::llround(dailyLimit(instrument) * 10);
    const qint64 tenThousandths = std::llround(previousClose * 1000) * tenths;
    const qint64 aStep = 10000 / std::llround(instrument.ticksPerUnit);
    const qint64 steps = (tenThousandths + aStep / 2) / aStep;
    return static_cast<double>(steps) / instrument.ticksPerUnit;
}

} // namespace kestrune::replay
