// SPDX-License-Identifier: MIT
#include "statusbar/statusitem.h"

#include <algorithm>

namespace kestrune {

namespace {

/// Answers with a darkness that has been decided already.
class DecidedAppearance final : public AppearanceSource
{
public:
    explicit DecidedAppearance(bool dark) : m_dark(dark) {}

    [[nodiscard]] std::optional<QColor> trayTextColor() const override { return std::nullopt; }
    [[nodiscard]] std::optional<bool> prefersDark() const override { return m_dark; }
    [[nodiscard]] bool paletteIsDark() const override { return m_dark; }

private:
    bool m_dark;
};

bool sameSigns(const std::vector<BlingItem> &a, const std::vector<BlingItem> &b)
{
    // By label: a price that moves below its last digit draws the same sign.
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const BlingItem &x, const BlingItem &y) {
        return x.symbol == y.symbol && blingLabel(x) == blingLabel(y);
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
    if (content.bling)
        return makeBlingStatusBarImage(content.signs, content.blingPulse);
    const StatusContent &status = content.status;
    return makeStatusBarImage(status.text, status.signal, status.align, status.baselineShift,
                              status.alertActive, status.pulse, DecidedAppearance(status.dark));
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
