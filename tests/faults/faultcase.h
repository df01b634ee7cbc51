// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

#include <vector>

namespace kestrune::test {

/// What a run of the program must come to under its faults.
enum class Outcome {
    complete,  ///< another source serves: live price, three signals, zones, well before the deadline
    priceless, ///< no price: everything else is there at the deadline, against the last close
    candleless ///< no candles: the price alone is there at the deadline
};

/// One run against a market of which some endpoints fail.
struct FaultCase
{
    QString name;
    QStringList faults;    ///< as the replay server takes them
    QStringList selection; ///< arguments that choose the instrument
    Outcome outcome = Outcome::complete;
    bool needsDns = false; ///< asks the machine's own resolver for a name that exists nowhere
};

/// Addresses that a redirect leads to for the faults of a whole host; of the first two without a path.
struct BrokenHosts
{
    QString untrusted;   ///< https with a certificate that nobody signed
    QString expired;     ///< https with one out of date
    QString serverFault; ///< http that answers everything with status 501 and a page
};

/// Every kind of fault at every endpoint alone, and six kinds in pairs along the two fallback chains.
[[nodiscard]] std::vector<FaultCase> allFaultCases(const BrokenHosts &hosts);
/// Two dozen that end at once: some of those, and the last source alone against each kind in all before it.
[[nodiscard]] std::vector<FaultCase> quickFaultCases(const BrokenHosts &hosts);

} // namespace kestrune::test
