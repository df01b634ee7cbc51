// SPDX-License-Identifier: MIT
#pragma once

#include "statusbar/statusitem.h"

namespace kestrune::test {

/// Keeps what it was given to show.
class FakeItem final : public StatusItem
{
public:
    std::vector<StatusItemContent> shown;
    std::optional<QRect> where = QRect(600, 0, 100, 22);

    void show(const StatusItemContent &content) override { shown.push_back(content); }
    [[nodiscard]] std::optional<QRect> place() const override { return where; }
    [[nodiscard]] const StatusItemContent &last() const { return shown.back(); }
    void click(const QRect &anchor) { Q_EMIT activated(anchor); }
};

} // namespace kestrune::test
