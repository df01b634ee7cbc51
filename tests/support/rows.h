// SPDX-License-Identifier: MIT
#pragma once

#include <QTest>

namespace kestrune::test {

/// Runs `check` on each row of a table and stops at the first that fails, naming it. A row is a plain struct
/// whose `name` says what is special about it.
template <typename Rows, typename Check>
void forEachRow(const Rows &rows, Check check)
{
    for (const auto &row : rows) {
        check(row);
        if (QTest::currentTestFailed()) {
            qWarning("in the row \"%s\"", row.name);
            return;
        }
    }
}

} // namespace kestrune::test
