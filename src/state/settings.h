// SPDX-License-Identifier: MIT
#pragma once

#include "market/marketsegment.h"
#include "state/marginmode.h"
#include "state/pricealert.h"

#include <QString>

#include <array>
#include <optional>
#include <vector>

namespace kestrune {

class Preferences;

/// A value that survives restarts: text, bool, double, int, segment, margin mode or list of alerts.
template <typename T>
struct Setting
{
    QString key;
    T initial{}; ///< where nothing usable is stored
    /// What a stored value becomes that is not simply taken over; nothing leaves the initial one.
    std::optional<T> (*rule)(std::optional<T> stored, const Preferences &preferences) = nullptr;

    /// What a start sets the field to. A bool that is not stored is the initial one and set as well, so that
    /// it is written.
    [[nodiscard]] std::optional<T> restored(const Preferences &preferences) const;
    /// A list of alerts is stored by storeAlerts() instead.
    void store(Preferences &preferences, const T &value) const;
};

/// Every setting of the state, in the order in which they are restored.
namespace settings {

/// One that the stored segment offers: the stored one, else days, else the segment's first.
[[nodiscard]] std::optional<QString> offeredTimeframe(std::optional<QString> stored, const Preferences &);
/// deliberate: 4 was an earlier initial value and becomes today's.
[[nodiscard]] std::optional<int> withoutEarlierInitial(std::optional<int> stored, const Preferences &);
[[nodiscard]] std::optional<double> aboveZero(std::optional<double> stored, const Preferences &);
/// What names no proxy is no choice.
[[nodiscard]] std::optional<QString> namingProxy(std::optional<QString> stored, const Preferences &);
/// What is initial anyway is neither set nor written at the start.
[[nodiscard]] std::optional<bool> onlyTrue(std::optional<bool> stored, const Preferences &);
[[nodiscard]] std::optional<bool> onlyFalse(std::optional<bool> stored, const Preferences &);

inline const Setting<QString> coin{QStringLiteral("ks_coin"), QStringLiteral("ETH")};
inline const Setting<bool> miniMode{QStringLiteral("ks_mini")};
inline const Setting<MarketSegment> market{QStringLiteral("ks_market"), MarketSegment::crypto};
inline const Setting<QString> timeframe{QStringLiteral("ks_tf"), defaultTimeframe.toString(),
                                        offeredTimeframe};
inline const Setting<double> signalThreshold{QStringLiteral("ks_signal_threshold"), 2.5}; ///< percent
inline const Setting<double> displayRange{QStringLiteral("ks_disp_range"), 12};           ///< percent
inline const Setting<int> maxPerSide{QStringLiteral("ks_disp_maxside"), 5, withoutEarlierInitial};
inline const Setting<double> accountSize{QStringLiteral("ks_account_size")}; ///< money, 0 when not set
inline const Setting<double> riskPerTrade{QStringLiteral("ks_risk_pct"), 1}; ///< percent of the account
inline const Setting<double> leverage{QStringLiteral("ks_leverage"), 10, aboveZero}; ///< multiple
inline const Setting<MarginMode> marginMode{QStringLiteral("ks_margin_mode"), MarginMode::isolated};
inline const Setting<bool> marketContextExpanded{QStringLiteral("ks_ctx_expanded")};
/// Whether the desktop tells of alerts, and of zones that the price comes near.
inline const Setting<bool> desktopNotices{QStringLiteral("ks_notify"), true, onlyFalse};
inline const Setting<bool> zoneNotices{QStringLiteral("ks_notify_zones"), false, onlyTrue};
inline const Setting<std::vector<PriceAlert>> alerts{QStringLiteral("ks_alerts")};
inline const Setting<bool> blingMode{QStringLiteral("ks_bling"), false, onlyTrue};
/// For requests about crypto and about stocks, as `parseProxy` reads them.
inline const Setting<QString> proxyCrypto{QStringLiteral("ks_proxy_crypto"), {}, namingProxy};
inline const Setting<QString> proxyStock{QStringLiteral("ks_proxy_stock"), {}, namingProxy};
/// Words of the indicators on the chart, and its size as "720x460"; what cannot be read is the usual one.
inline const Setting<QString> chartLines{QStringLiteral("ks_chart_lines")};
inline const Setting<QString> chartSize{QStringLiteral("ks_chart_size")};
/// By MarketSegment: the codes of a list that is not the default, an array; null or absent where it is.
inline const std::array listKeys{QStringLiteral("ks_list_crypto"), QStringLiteral("ks_list_cn"),
                                 QStringLiteral("ks_list_hk")};
inline const QString namesKey = QStringLiteral("ks_names"); ///< an object, by code
inline const Setting<bool> hasLaunched{QStringLiteral("ks_has_launched_v2")};

/// Stores what `known`, the list as it was last seen stored, has become; what other running programs have
/// stored since stays. False when that could not be written.
bool storeAlerts(Preferences &preferences, std::vector<PriceAlert> known, std::vector<PriceAlert> own);

} // namespace settings

} // namespace kestrune
