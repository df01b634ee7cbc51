// SPDX-License-Identifier: MIT
#include "statusbar/statusitem.h"

#include <algorithm>

namespace kestrune {

namespace {

bool sameSigns(const std::vector<BlingItem> &a, const std::vector<BlingItem> &b)
{
    // By label: a price that moves below its last digit draws the same sign.
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const BlingItem &x, const BlingItem &y) {
        return x.symbol == y.symbol && x.dimmed == y.dimmed && blingLabel(x) == blingLabel(y);
    });
}

} // namespace

bool samePicture(const StatusItemContent &a, const StatusItemContent &b)
{
    if (a.bling != b.bling)
        return false;
    return a.bling ? a.blingPulse == b.blingPulse && sameSigns(a.signs, b.signs) : a.status == b.status;
}

bool sameContent(const StatusItemContent &a, const StatusItemContent &b)
{
    return samePicture(a, b) && a.status == b.status && a.title == b.title && a.detail == b.detail;
}

StatusPicture pictureOf(const StatusItemContent &content)
{
    return content.bling ? makeBlingStatusBarImage(content.signs, content.blingPulse)
                         : makeStatusBarImage(content.status);
}

double widthOf(const StatusItemContent &content, double scale)
{
    return content.bling ? blingStatusWidth(content.signs, scale) : statusWidth(content.status, scale);
}

void paintContent(QPainter &painter, const QPointF &origin, const StatusItemContent &content)
{
    if (content.bling)
        paintBlingStatus(painter, origin, content.signs, content.blingPulse);
    else
        paintStatus(painter, origin, content.status);
}

} // namespace kestrune
