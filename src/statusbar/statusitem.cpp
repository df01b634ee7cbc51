// SPDX-License-Identifier: MIT
#include "statusbar/statusitem.h"

#include "ui/devicepixels.h"

#include <QPainter>

#include <algorithm>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

bool sameSigns(const std::vector<BlingItem> &a, const std::vector<BlingItem> &b)
{
    // By label: a price that moves below its last digit draws the same sign.
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const BlingItem &x, const BlingItem &y) {
        return x.symbol == y.symbol && x.dimmed == y.dimmed && blingLabel(x) == blingLabel(y);
    });
}

double baseWidth(const StatusItemContent &content, double scale)
{
    return content.bling ? blingStatusWidth(content.signs, scale) : statusWidth(content.status, scale);
}

bool sameBell(const StatusItemContent &a, const StatusItemContent &b)
{
    return a.firedElsewhere == b.firedElsewhere && (a.firedElsewhere == 0 || a.status.dark == b.status.dark);
}

} // namespace

bool samePicture(const StatusItemContent &a, const StatusItemContent &b)
{
    if (a.bling != b.bling || !sameBell(a, b))
        return false;
    return a.bling ? a.blingPulse == b.blingPulse && sameSigns(a.signs, b.signs) : a.status == b.status;
}

bool sameContent(const StatusItemContent &a, const StatusItemContent &b)
{
    return samePicture(a, b) && a.status == b.status && a.title == b.title && a.detail == b.detail;
}

StatusPicture pictureOf(const StatusItemContent &content)
{
    StatusPicture picture = content.bling ? makeBlingStatusBarImage(content.signs, content.blingPulse)
                                          : makeStatusBarImage(content.status);
    if (content.firedElsewhere == 0)
        return picture;
    const StatusPicture bell = makeAlertBell(content.firedElsewhere, content.status.dark);
    QImage both(picture.image.width() + bell.image.width(), picture.image.height(), picture.image.format());
    both.fill(Qt::transparent);
    both.setDevicePixelRatio(picture.image.devicePixelRatio());
    QPainter painter(&both);
    painter.drawImage(QPointF(), picture.image);
    painter.drawImage(QPointF(picture.image.width() / picture.image.devicePixelRatio(), 0), bell.image);
    painter.end();
    return {std::move(both), picture.width + bell.width};
}

double widthOf(const StatusItemContent &content, double scale)
{
    const double width = baseWidth(content, scale);
    return content.firedElsewhere == 0
               ? width
               : width + makeAlertBell(content.firedElsewhere, content.status.dark, scale).width;
}

void paintContent(QPainter &painter, const QPointF &origin, const StatusItemContent &content)
{
    if (content.bling)
        paintBlingStatus(painter, origin, content.signs, content.blingPulse);
    else
        paintStatus(painter, origin, content.status);
    if (content.firedElsewhere != 0)
        paintAlertBell(painter, origin + QPointF(baseWidth(content, deviceScale(painter)), 0),
                       content.firedElsewhere, content.status.dark);
}

QString StatusItemContent::label() const
{
    return firedElsewhere == 0 ? status.text : u"%1 · 提醒 %2"_s.arg(status.text).arg(firedElsewhere);
}

} // namespace kestrune
