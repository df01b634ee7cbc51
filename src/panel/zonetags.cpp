// SPDX-License-Identifier: MIT
#include "panel/zonetags.h"

#include <algorithm>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr int confirmedFrom = 2; ///< levels in the zone

/// Every tag the panel knows, by the source it stands for or by what else the zone is.
const struct
{
    QLatin1StringView source; ///< as zone building spells it
    TagContent tag;
} sourceTags[] = {
    {"pivot"_L1, {u"Pivot"_s, Tone::purple, Tag::Look::soft}},
    {"fib"_L1, {u"Fib"_s, Tone::blue, Tag::Look::soft}},
    {"swing"_L1, {u"摆动"_s, Tone::teal, Tag::Look::soft}},
    {"vol"_L1, {u"量能"_s, Tone::orange, Tag::Look::soft}},
    // Not produced today; they keep their place for levels of their own.
    {"ema"_L1, {u"EMA"_s, Tone::pink, Tag::Look::soft}},
    {"vegas"_L1, {u"Vegas"_s, Tone::red, Tag::Look::soft}},
    {"vwap"_L1, {u"VWAP"_s, Tone::green, Tag::Look::soft}},
};
const TagContent confirmedTag{u"多指标确认"_s, Tone::blue, Tag::Look::outlined};
const TagContent goldenTag{u"黄金位"_s, Tone::orange, Tag::Look::soft};

} // namespace

std::vector<TagContent> zoneTags(const Zone &zone)
{
    std::vector<TagContent> tags;
    for (const QString &source : zone.sources) {
        const auto *known = std::ranges::find(sourceTags, source, [](const auto &row) { return row.source; });
        if (known != std::end(sourceTags) && std::ranges::find(tags, known->tag) == tags.end())
            tags.push_back(known->tag);
    }
    if (zone.confirm >= confirmedFrom)
        tags.push_back(confirmedTag);
    if (zone.isGolden)
        tags.push_back(goldenTag);
    return tags;
}

} // namespace kestrune
