// SPDX-License-Identifier: MIT
#include "support/testregistry.h"

#if defined(KESTRUNE_TEST_APP_WIDGETS)
#include <QApplication>
#elif defined(KESTRUNE_TEST_APP_GUI)
#include <QGuiApplication>
#else
#include <QCoreApplication>
#endif
#include <QStandardPaths>
#include <QTest>

#include <cstdio>
#include <string>
#include <vector>

namespace kestrune::test {

namespace {

struct Entry
{
    const char *name;
    std::function<std::unique_ptr<QObject>()> make;
};

std::vector<Entry> &entries()
{
    static std::vector<Entry> list;
    return list;
}

} // namespace

Registration::Registration(const char *name, std::function<std::unique_ptr<QObject>()> make)
{
    entries().push_back({name, std::move(make)});
}

} // namespace kestrune::test

/// Runs every registered class, or with "--class NAME" that one; further arguments go to Qt Test.
int main(int argc, char **argv)
{
    using namespace kestrune::test;
#if defined(KESTRUNE_TEST_APP_WIDGETS)
    QApplication application(argc, argv);
#elif defined(KESTRUNE_TEST_APP_GUI)
    QGuiApplication application(argc, argv);
#else
    QCoreApplication application(argc, argv);
#endif
    QStandardPaths::setTestModeEnabled(true);

    QStringList arguments = QCoreApplication::arguments();
    std::string only;
    if (arguments.size() > 2 && arguments[1] == QLatin1String("--class")) {
        only = arguments[2].toStdString();
        arguments.remove(1, 2);
    }
    arguments.append(QStringLiteral("-nocrashhandler")); // Qt's ends in a loop from the second class on
    int failed = 0;
    int run = 0;
    for (const Entry &entry : entries()) {
        if (!only.empty() && only != entry.name)
            continue;
        const auto object = entry.make();
        failed += QTest::qExec(object.get(), arguments);
        ++run;
    }
    if (run == 0) {
        std::fprintf(stderr, "no test class%s%s\n", only.empty() ? "" : " named ", only.c_str());
        return 1;
    }
    return failed == 0 ? 0 : 1;
}
