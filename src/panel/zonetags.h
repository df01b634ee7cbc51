// SPDX-License-Identifier: MIT
#pragma once

#include "analysis/zone.h"
#include "ui/tag.h"

#include <vector>

namespace kestrune {

/// What a tag shows.
struct TagContent
{
    QString text;
    Tone color;
    Tag::Look look;

    [[nodiscard]] bool operator==(const TagContent &) const = default;
};

/// The tags of a zone in the order they are shown: its known sources in order of first appearance, each once,
/// then whether several levels confirm it, then whether it is a golden one.
[[nodiscard]] std::vector<TagContent> zoneTags(const Zone &zone);

} // namespace kestrune
