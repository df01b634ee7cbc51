// SPDX-License-Identifier: MIT
// The panel in a popup window over a market that stands still, for the walk over the accessibility bus. Says
// what it shows, then which fields change and which addresses are opened.
#include "panelfixture.h"

#include <QApplication>

#include <cstdio>

using namespace kestrune;
using namespace kestrune::test;

int main(int argc, char **argv)
{
    QApplication::setStyle(u"Fusion"_s);
    QApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"panelwindow"_s);
    installAccessibility();

    PanelFixture fixture(u"演示行情"_s);
    fixture.fillMarket();
    fixture.state->marketContextExpanded = true;
    fixture.state->addAlert(3400, {}, true); // rings at once
    fixture.view->setSettingsExpanded(true);
    fixture.view->setWindowFlags(Qt::Popup | Qt::FramelessWindowHint);
    fixture.view->move(100, 20);
    fixture.view->show();
    const auto report = [](const char *what, const QString &value) {
        std::printf("%s %s\n", what, value.toUtf8().constData());
        std::fflush(stdout);
    };
    for (QWidget *widget : fixture.readable())
        report("shows", fixture.nameOf(widget));
    QObject::connect(fixture.state.get(), &AppState::fieldWillChange, &application,
                     [&](const PublishedField *field) { report("field", fieldName(*fixture.state, field)); });
    fixture.onOpened = [&](const QUrl &url) { report("opened", url.toString()); };
    QObject::connect(fixture.view.get(), &PopoverView::closeRequested, &application, &QCoreApplication::quit);
    return QCoreApplication::exec();
}
