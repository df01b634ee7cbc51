// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include <functional>
#include <memory>

namespace kestrune::test {

/// A test class that testmain.cpp runs; put KESTRUNE_TEST(Class) at the end of its source file.
struct Registration
{
    Registration(const char *name, std::function<std::unique_ptr<QObject>()> make);
};

/// True when the two are equal or at most `tolerance` apart; NaN is close to nothing.
[[nodiscard]] inline bool closeTo(double actual, double expected, double tolerance)
{
    if (actual == expected)
        return true;
    const double difference = actual - expected;
    return difference <= tolerance && -difference <= tolerance;
}

} // namespace kestrune::test

#define KESTRUNE_TEST(Class)                                                                                 \
    static const ::kestrune::test::Registration registration##Class(                                         \
        #Class, [] { return std::unique_ptr<QObject>(std::make_unique<Class>()); });
