// SPDX-License-Identifier: MIT
#include "state/settings.h"

#include "platform/preferences.h"
#include "platform/proxychoice.h"

#include <QJsonArray>

#include <type_traits>
#include <utility>

namespace kestrune {

template <typename T>
std::optional<T> Setting<T>::restored(const Preferences &preferences) const
{
    std::optional<T> stored;
    if constexpr (std::is_same_v<T, QString>)
        stored = preferences.text(key);
    else if constexpr (std::is_same_v<T, bool>)
        stored = preferences.boolean(key).value_or(initial);
    else if constexpr (std::is_same_v<T, double>)
        stored = preferences.number(key);
    else if constexpr (std::is_same_v<T, int>)
        stored = preferences.integer(key);
    else if constexpr (std::is_same_v<T, MarketSegment>)
        stored = marketSegmentFromRawValue(preferences.text(key).value_or(QString()));
    else if constexpr (std::is_same_v<T, MarginMode>)
        stored = marginModeFromRawValue(preferences.text(key).value_or(QString()));
    else
        stored = decodeAlerts(preferences.json(key));
    return rule ? rule(std::move(stored), preferences) : stored;
}

template <typename T>
void Setting<T>::store(Preferences &preferences, const T &value) const
{
    if constexpr (std::is_same_v<T, QString>)
        preferences.setText(key, value);
    else if constexpr (std::is_same_v<T, bool>)
        preferences.setBoolean(key, value);
    else if constexpr (std::is_same_v<T, double>)
        preferences.setNumber(key, value);
    else if constexpr (std::is_same_v<T, int>)
        preferences.setInteger(key, value);
    else
        preferences.setText(key, rawValue(value));
}

template struct Setting<QString>;
template struct Setting<bool>;
template struct Setting<double>;
template struct Setting<int>;
template struct Setting<MarketSegment>;
template struct Setting<MarginMode>;
template std::optional<std::vector<PriceAlert>>
Setting<std::vector<PriceAlert>>::restored(const Preferences &) const;

namespace settings {

std::optional<QString> offeredTimeframe(std::optional<QString> stored, const Preferences &preferences)
{
    const QStringList &offered = timeframes(market.restored(preferences).value_or(market.initial));
    const QString label = std::move(stored).value_or(timeframe.initial);
    return offered.contains(label) ? label : offered.constFirst();
}

std::optional<int> withoutEarlierInitial(std::optional<int> stored, const Preferences &)
{
    return stored == 4 ? maxPerSide.initial : stored;
}

std::optional<double> aboveZero(std::optional<double> stored, const Preferences &)
{
    return stored && *stored > 0 ? stored : std::nullopt;
}

std::optional<QString> namingProxy(std::optional<QString> stored, const Preferences &)
{
    return stored && parseProxy(*stored) ? stored : std::nullopt;
}

std::optional<bool> onlyTrue(std::optional<bool> stored, const Preferences &)
{
    return stored == true ? stored : std::nullopt;
}

std::optional<bool> onlyFalse(std::optional<bool> stored, const Preferences &)
{
    return stored == false ? stored : std::nullopt;
}

bool storeAlerts(Preferences &preferences, std::vector<PriceAlert> known, std::vector<PriceAlert> own)
{
    return preferences.update(
        alerts.key, [known = std::move(known), own = std::move(own)](const QJsonValue &stored) -> QJsonValue {
            // What cannot be read loses nothing: all that is known takes its place.
            const auto list = encodeAlerts(mergedAlerts(known, own, decodeAlerts(stored).value_or(known)));
            return list ? QJsonValue(*list) : QJsonValue(QJsonValue::Undefined);
        });
}

} // namespace settings

} // namespace kestrune
