// SPDX-License-Identifier: MIT
#include "replay/simulation.h"

#include "analysis/utczone.h"
#include "replay/random.h"

#include <QDate>
#include <QDateTime>

#include <algorithm>
#include <cmath>

namespace kestrune::replay {

namespace {

// Half a year of pull keeps prices within some ten (stocks) to twenty (coins) percent of their level.
constexpr double pullPerDay = 1.0 / 120;
constexpr double garchAlpha = 0.09;
constexpr double garchBeta = 0.88;
constexpr double yearMs = 365.25 * static_cast<double>(dayMs);
constexpr qint64 driftWindowMs = 40 * dayMs;

double tradingDaysPerYear(const Instrument &instrument)
{
    return instrument.venue == Venue::crypto ? 365 : 245;
}

qint64 firstDay(const Instrument &instrument)
{
    const QDate date(instrument.firstYear, instrument.firstMonth, instrument.firstDay);
    const qint64 midnight = date.startOfDay(utcZone).toMSecsSinceEpoch();
    return instrument.venue == Venue::crypto ? midnight : midnight - chinaOffsetMs;
}

TimeSpan wholeDay(Venue venue, qint64 time)
{
    if (venue != Venue::crypto)
        return tradingHours(venue, chinaMidnight(time));
    const qint64 midnight = bucketStart(Interval{}, time);
    return {midnight, midnight + dayMs};
}

} // namespace

Simulation::Simulation(const Instrument &instrument, quint64 seed)
    : Simulation(instrument, seed, firstDay(instrument), instrument.level, instrument.level)
{
    m_levelTime = anchorTime;
    m_growth = instrument.growth;
    m_close = snapToTick(instrument, std::exp(levelLog(m_time)));
    m_previousClose = m_close;
}

Simulation::Simulation(const Instrument &instrument, quint64 seed, qint64 time, double price,
                       double previousClose)
    : m_instrument(&instrument)
    , m_seed(seed)
    , m_time(time)
    , m_levelTime(time)
    , m_level(price)
    , m_growth(0)
    , m_usualVariance(instrument.volatility * instrument.volatility / tradingDaysPerYear(instrument))
    , m_variance(m_usualVariance)
    , m_close(price)
    , m_previousClose(previousClose)
{}

Block Simulation::next()
{
    const TimeSpan span = nextSpan();
    const TimeSpan day = wholeDay(m_instrument->venue, span.start);
    if (span.start == day.start)
        m_previousClose = m_close;
    const double share =
        static_cast<double>(span.end - span.start) / static_cast<double>(day.end - day.start);
    Random random(mixSeed(m_seed, static_cast<quint64>(span.start)));
    const double deviation = std::sqrt(m_variance * share);

    // Stocks open away from the last close; a market without a break cannot.
    const bool gaps = m_instrument->venue != Venue::crypto && span.start == day.start;
    const double gap = gaps ? 0.35 * deviation * random.normal() : 0;
    const double shock = random.uniform() < 0.02 ? 2.2 : 1;
    const double pull = pullPerDay * (levelLog(span.start) - std::log(m_close)) + driftOf(span.start);
    const double move = pull * share + 0.93 * shock * deviation * random.normal();

    Block block{span, 0, 0, 0, 0, 0};
    block.o = gaps ? tradable(m_close * std::exp(gap)) : m_close;
    block.c = tradable(m_close * std::exp(gap + move));
    const double above = 0.45 * deviation * std::abs(random.normal());
    const double below = 0.45 * deviation * std::abs(random.normal());
    block.h = std::max({block.o, block.c, tradable(std::max(block.o, block.c) * std::exp(above))});
    block.l = std::min({block.o, block.c, tradable(std::min(block.o, block.c) * std::exp(-below))});

    const double busy = 0.35 * random.normal() + 0.4 * (std::abs(move) / std::sqrt(m_usualVariance) - 0.8);
    block.v = m_instrument->dailyTurnover * share * std::exp(std::min(busy, 2.0)) / block.c;

    const double change = std::log(block.c / m_close);
    m_variance = (1 - garchAlpha - garchBeta) * m_usualVariance + garchAlpha * change * change / share +
                 garchBeta * m_variance;
    m_variance = std::min(m_variance, 9 * m_usualVariance);
    m_close = block.c;
    m_time = span.end;
    return block;
}

TimeSpan Simulation::nextSpan() const
{
    const Venue venue = m_instrument->venue;
    if (venue == Venue::crypto)
        return {m_time, wholeDay(venue, m_time).end};
    const qint64 today = chinaMidnight(m_time);
    const qint64 tomorrow = today + dayMs;
    const bool open = isTradingDay(venue, today) && m_time < tradingHours(venue, today).end;
    const TimeSpan day = tradingHours(venue, open ? today : tradingDayFrom(venue, tomorrow));
    return {std::max(m_time, day.start), day.end};
}

double Simulation::levelLog(qint64 time) const
{
    const double years = static_cast<double>(time - m_levelTime) / yearMs;
    return std::log(m_level) + m_growth * std::min(years, 0.0);
}

double Simulation::driftOf(qint64 time) const
{
    Random random(mixSeed(m_seed ^ 0x5eed, static_cast<quint64>(time / driftWindowMs)));
    return (random.index(3) - 1) * 0.13 * std::sqrt(m_usualVariance);
}

double Simulation::tradable(double price) const
{
    if (m_instrument->venue == Venue::mainland) {
        price = std::clamp(price, limitPrice(*m_instrument, m_previousClose, false),
                           limitPrice(*m_instrument, m_previousClose, true));
    }
    return snapToTick(*m_instrument, price);
}

} // namespace kestrune::replay
