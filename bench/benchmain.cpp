// SPDX-License-Identifier: MIT
#include <QApplication>

#include <benchmark/benchmark.h>

/// Pictures need an application object around them.
int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
