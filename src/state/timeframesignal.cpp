// SPDX-License-Identifier: MIT
#include "state/timeframesignal.h"

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace kestrune {

namespace {

const std::array<QString, 5> &signalTexts() // in the order of the enumerators
{
    static const std::array texts{u"强多"_s, u"偏多"_s, u"中性"_s, u"偏空"_s, u"强空"_s};
    return texts;
}

} // namespace

SignalType signalTypeForScore(double score)
{
    if (score >= 2.0)
        return SignalType::strongBull;
    if (score >= 0.5)
        return SignalType::bull;
    if (score >= -0.5)
        return SignalType::neutral;
    // deliberate: every band owns its lower bound, so the two sides differ at 2.0
    if (score >= -2.0)
        return SignalType::bear;
    return SignalType::strongBear;
}

QString rawValue(SignalType signal)
{
    return signalTexts()[static_cast<std::size_t>(signal)];
}

std::optional<SignalType> signalTypeFromRawValue(QStringView text)
{
    const auto &texts = signalTexts();
    const auto found = std::find(texts.begin(), texts.end(), text);
    if (found == texts.end())
        return std::nullopt;
    return static_cast<SignalType>(found - texts.begin());
}

bool isBull(SignalType signal)
{
    return signal == SignalType::strongBull || signal == SignalType::bull;
}

bool isBear(SignalType signal)
{
    return signal == SignalType::strongBear || signal == SignalType::bear;
}

TimeframeSignal::TimeframeSignal(QString labelText, double total, SignalType band, QString phrase)
    : id(QUuid::createUuid())
    , label(std::move(labelText))
    , score(total)
    , signal(band)
    , reason(std::move(phrase))
{}

} // namespace kestrune
