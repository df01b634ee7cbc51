// SPDX-License-Identifier: MIT
#pragma once

#include "market/sourcehealth.h"
#include "state/pricealert.h"
#include "state/standing.h"

#include <QString>
#include <QStringList>

#include <chrono>
#include <map>
#include <optional>
#include <vector>

namespace kestrune {

/// What is known of the instruments that have alerts and are not selected, and which of them to ask for.
class AlertWatch
{
public:
    static constexpr std::chrono::seconds period{15};

    explicit AlertWatch(const Clock &clock);

    /// Whether there is anything to watch.
    [[nodiscard]] static bool isNeeded(const std::vector<PriceAlert> &alerts, const QString &selected);

    struct Asking
    {
        QStringList coins, stocks; ///< each once, as the alerts write them
    };
    /// What to ask for in this period: all that are watched but for those whose price has come by itself
    /// since the last call, those that are being asked or that failed a moment ago, and stocks that are not
    /// traded and whose last quote has come. Of what is asked noteAnswer() is to tell, after take().
    [[nodiscard]] Asking due(const std::vector<PriceAlert> &alerts, const QString &selected);
    void noteAnswer(const QString &symbol, bool usable);
    /// Takes a price of the instrument itself, whoever has asked for it. Absent when it is not to be believed
    /// yet, or of an earlier hour.
    [[nodiscard]] std::optional<double> take(const QString &symbol, double price, const StockQuote *quote);
    /// What failed may be asked again at once.
    void forgetFailures() { m_health.forgetFailures(); }

private:
    struct Watched
    {
        std::optional<PriceOrigin> last;
        bool asked = false; ///< and not answered yet
        bool came = false;  ///< without having been asked for, since the last period began
    };

    [[nodiscard]] bool rests(const QString &symbol, const Watched &watched) const;

    const Clock &m_clock;
    SourceHealth m_health;
    std::map<QString, Watched> m_watched;
};

} // namespace kestrune
