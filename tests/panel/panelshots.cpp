// Renders the whole panel in many states at twice its size, for the eye: panel-shots DIR
#include "panelfixture.h"

#include "panel/helpview.h"
#include "panel/zonerow.h"

#include <QApplication>
#include <QDir>
#include <QPainter>

using namespace kestrune;
using namespace kestrune::test;

namespace {

QString directory;
QList<QImage> sheet;

void save(QWidget &widget, const QString &name)
{
    QImage image(widget.size() * 2, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(2);
    image.fill(paletteOf(&widget).ground);
    widget.render(&image);
    image.save(directory + u'/' + name + u".png"_s);
    sheet.append(image);
}

/// All shots side by side.
void saveSheet()
{
    int width = 0;
    int height = 0;
    for (const QImage &image : sheet) {
        width += image.width() + 20;
        height = std::max(height, image.height());
    }
    QImage whole(width, height, QImage::Format_RGB32);
    whole.fill(Qt::gray);
    QPainter painter(&whole);
    int x = 0;
    for (QImage image : sheet) {
        image.setDevicePixelRatio(1);
        painter.drawImage(x, 0, image);
        x += image.width() + 20;
    }
    for (int from = 0, part = 0; from < width; from += 4 * 660, ++part)
        whole.copy(from, 0, 4 * 660, 1800).save(directory + u"/sheet%1.png"_s.arg(part));
}

void shoot(const QString &name, const std::function<void(PanelFixture &)> &arrange, bool dark = true,
           const QString &notice = {})
{
    PanelFixture fixture(notice);
    fixture.view->setDark(dark);
    fixture.view->show();
    arrange(fixture);
    fixture.settle();
    QTest::qWait(350);
    save(*fixture.view, name);
}

void good(PanelFixture &fixture)
{
    fixture.fillMarket();
    const Zone second = fixture.state->zones()[2];
    fixture.state->toggleZoneAlert(second);
    fixture.state->addAlert(3400);
}

void everything(PanelFixture &fixture)
{
    good(fixture);
    fixture.view->setMaximumPanelHeight(900);
    fixture.state->accountSize = 12000;
    fixture.state->marketContextExpanded = true;
    fixture.view->setSettingsExpanded(true);
    fixture.tick(3530);
    fixture.state->evaluateAlerts();
    fixture.view->setFixedSize(320, 1600); // all of it at once, for the eye only
}

void picked(PanelFixture &fixture)
{
    good(fixture);
    fixture.state->accountSize = 12000;
    fixture.state->leverage = 50;
    fixture.state->selectedZonePrice = fixture.state->zones()[4].mid;
    fixture.state->selectedZoneType = u"support"_s;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication::setStyle(u"Fusion"_s);
    QApplication application(argc, argv);
    if (argc != 2)
        return 2;
    directory = QString::fromLocal8Bit(argv[1]);
    QDir().mkpath(directory);
    shoot(u"good-dark"_s, good);
    shoot(u"good-light"_s, good, false);
    shoot(u"everything-dark"_s, everything);
    shoot(u"everything-light"_s, everything, false, u"演示行情"_s);
    shoot(u"picked-dark"_s, picked, true, u"行情服务器 a.rather.long.market.server.name.example.internal"_s);
    shoot(
        u"empty-light"_s, [](PanelFixture &) {}, false);
    shoot(u"loading-dark"_s, [](PanelFixture &fixture) {
        good(fixture);
        fixture.settle();
        fixture.state->zones = {};
        fixture.state->snapshot = {};
        fixture.state->snapshotConclusion = u"加载中…"_s;
        fixture.state->errorMessage = std::nullopt;
        fixture.state->isLoading = true;
    });
    shoot(u"reloading-dark"_s, [](PanelFixture &fixture) {
        good(fixture);
        fixture.state->isLoading = true;
        fixture.view->showToast(u"刷新成功"_s, false);
    });
    shoot(u"tiny-dark"_s, [](PanelFixture &fixture) {
        fixture.fillMarket(0.000012);
        fixture.state->accountSize = 12000;
    });
    shoot(
        u"huge-light"_s,
        [](PanelFixture &fixture) {
            fixture.fillMarket(1234567.89);
            fixture.state->decimals = 2;
            fixture.state->accountSize = 123456789;
            fixture.state->isLoading = true;
            fixture.view->showToast(u"价格获取失败"_s, true);
        },
        false);
    shoot(u"longname-dark"_s, [](PanelFixture &fixture) {
        fixture.state->market = MarketSegment::cn;
        fixture.state->coinSymbol = u"sh600519"_s;
        fixture.state->timeframe = u"周线"_s;
        StockQuote quote;
        quote.name = u"内蒙古伊利实业集团股份有限公司"_s;
        fixture.state->stockQuote = quote;
        fixture.fillMarket(1688.5);
        fixture.view->setSettingsExpanded(true);
    });
    PanelFixture fixture;
    HelpView help(fixture.view.get());
    save(help, u"help-dark"_s);
    saveSheet();
    return 0;
}
