// SPDX-License-Identifier: MIT
#include "support/testregistry.h"
#include "ui/divider.h"
#include "ui/icons.h"
#include "ui/palette.h"
#include "ui/textlabel.h"

#include <QPainter>
#include <QTest>

#include <cmath>

using namespace kestrune;
using namespace kestrune::test;
using namespace Qt::StringLiterals;

/// Colours, icons and texts.
class DrawingTest : public QObject
{
    Q_OBJECT

    /// Ratio of relative luminances as WCAG 2 defines it, 1 to 21; both colours opaque.
    static double contrastRatio(const QColor &a, const QColor &b)
    {
        const auto luminance = [](const QColor &color) {
            const auto linear = [](double channel) {
                return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
            };
            return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
                   0.0722 * linear(color.blueF()) + 0.05;
        };
        return std::max(luminance(a), luminance(b)) / std::min(luminance(a), luminance(b));
    }

    /// A picture of what `draw` paints at a scale on a transparent ground of `size` units.
    template <typename Draw>
    static QImage drawn(const QSizeF &size, double scale, Draw draw)
    {
        QImage image((size * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.scale(scale, scale);
        draw(painter);
        return image;
    }

    static QImage icon(const QString &name, double scale, const QPointF &at = {0, 0})
    {
        return drawn({24, 24}, scale, [&](QPainter &painter) {
            drawIcon(painter, QRectF(at, QSizeF(16, 16)), name, Qt::black);
        });
    }

    /// Opacities of all pixels, in square units of the drawing's own coordinates.
    static double ink(const QImage &image, double scale)
    {
        double sum = 0;
        for (int i = 0; i < image.width() * image.height(); ++i)
            sum += qAlpha(image.pixel(i % image.width(), i / image.width())) / 255.0;
        return sum / (scale * scale);
    }

private Q_SLOTS:
    void everyTextIsReadableOnItsGrounds()
    {
        for (const Palette *p : {&darkPalette(), &lightPalette()}) {
            const auto over = [](QColor color, double alpha, const QColor &ground) {
                color.setAlphaF(static_cast<float>(alpha));
                return blended(color, ground);
            };
            const QColor selected = blended(p->accentSoft, p->ground);
            std::vector<std::pair<QColor, QColor>> pairs{{Qt::white, p->accentFill}};
            for (const QColor &text : {p->text, p->secondary}) {
                for (const QColor &ground : {p->ground, p->raised, p->field, selected,
                                             blended(p->veil(1), p->raised), blended(p->veil(2), p->ground)})
                    pairs.emplace_back(text, ground);
                for (const Tone tone : {Tone::red, Tone::green, Tone::orange, Tone::secondary}) // of banners
                    pairs.emplace_back(text, over(p->color(tone), 0.10, p->ground));
            }
            for (const Tone tone :
                 {Tone::red, Tone::green, Tone::orange, Tone::blue, Tone::purple, Tone::teal, Tone::pink}) {
                const QColor color = p->color(tone); // also on its own soft ground, in banners and tags
                for (const QColor &ground : {p->ground, blended(p->veil(1), p->ground), selected,
                                             over(color, 0.10, p->ground), over(color, 0.15, p->ground)})
                    pairs.emplace_back(color, ground);
            }
            for (const Tone tone : {Tone::purple, Tone::blue, Tone::teal, Tone::orange})
                pairs.emplace_back(p->color(tone), over(p->color(tone), 0.15, selected));
            for (const auto &[text, ground] : pairs)
                QVERIFY2(contrastRatio(text, ground) >= 4.5,
                         qPrintable(text.name() + u" on "_s + ground.name()));
            for (const Tone tone : {Tone::secondary, Tone::accent, Tone::red, Tone::green, Tone::orange}) {
                for (const QColor &ground : {p->ground, p->raised})
                    QVERIFY(contrastRatio(p->shapeColor(tone), ground) >= 3);
            }
        }
    }

    void everyIconOfTheProgramIsThere()
    {
        const QString names =
            u"bell bell.fill bell.badge.plus xmark.circle.fill plus.circle.fill plus minus "
            u"arrow.clockwise questionmark.circle globe sparkles chevron.right chevron.down "
            u"chart.line.uptrend.xyaxis exclamationmark.triangle.fill command "
            u"checkmark.circle.fill chevron.down.circle.fill chevron.up.circle.fill "
            u"circle.fill"_s;
        for (const QString &name : names.split(u' '))
            QVERIFY2(hasIcon(name) && ink(icon(name, 2), 2) > 4.9, qPrintable(name));
        const QImage cross = icon(u"xmark.circle.fill"_s, 2);
        QCOMPARE(qAlpha(cross.pixel(16, 16)), 0);  // the middle of the cross is cut out
        QCOMPARE(qAlpha(cross.pixel(16, 6)), 255); // the disc above it
    }

    void iconsAndDividersStandOnWholePixels()
    {
        for (const double scale : {1.25, 1.5}) { // the same picture wherever the icon lies
            const QRect home(QPoint(0, 0), (QSizeF(16, 16) * scale).toSize());
            const QImage moved = icon(u"bell"_s, scale, {4 / scale + 0.1 / scale, 2 / scale});
            QCOMPARE(moved.copy(home.translated(4, 2)), icon(u"bell"_s, scale).copy(home));
        }
        for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
            for (const int y : {3, 4, 5, 6}) {
                Divider line;
                line.resize(20, 1);
                const QImage image = drawn({20, 10}, scale, [&](QPainter &painter) {
                    line.render(&painter, {0, y}, {}, QWidget::DrawChildren);
                });
                int rows = 0;
                for (int row = 0; row < image.height(); ++row)
                    rows += qAlpha(image.pixel(4, row)) > 0;
                QVERIFY2(rows == 1, qPrintable(u"%1 rows at %2, scale %3"_s.arg(rows).arg(y).arg(scale)));
            }
        }
    }

    void linesHaveTheHeightOfTheirRole()
    {
        // Mixed scripts come from families of different line heights.
        for (const QString &text : {u"ETH"_s, u"更新"_s, u"ETH 更新 ⚠️ 🔔"_s, QString()}) {
            TextLabel label(text, TypeRole::caption);
            QCOMPARE(label.sizeHint().height(), 15); // 11 x 1.35
            label.setWrap(true);
            QCOMPARE(label.heightForWidth(1000), 15);
        }
        TextLabel label(u"一二三四五六七八九十"_s, TypeRole::caption);
        label.setWrap(true);
        QCOMPARE(label.heightForWidth(56), 2 * 15); // five to a line
        for (const TypeRole role : {TypeRole::price, TypeRole::caption, TypeRole::zonePrice}) {
            for (char16_t digit = u'1'; digit <= u'9'; ++digit) // all digits are equally wide
                QCOMPARE(textWidth(QString(10, digit), role), textWidth(QString(10, u'0'), role));
        }
    }

    void chineseIsNotEmboldened()
    {
        // Large glyphs are drawn from their outlines: small ones must carry as much ink for their size.
        const auto inkAt = [](double scale) {
            const QImage image = drawn({200, 20}, scale, [](QPainter &painter) {
                painter.setPen(Qt::white);
                drawTextLine(painter, {2, 2}, u"更新 摆动 多指标确认 设提醒"_s, TypeRole::caption);
            });
            return ink(image, scale);
        };
        for (const double scale : {1.0, 1.25, 2.0})
            QVERIFY(closeTo(inkAt(scale) / inkAt(16), 1, 0.03));
    }

    void emojiAreDrawnInColour()
    {
        for (const QString &text : {u"🔔"_s, u"⚠️"_s}) { // the second one with its variation selector
            TextLabel label(text, TypeRole::body);
            label.resize(label.sizeHint());
            const QImage image = label.grab().toImage();
            QColor brightest;
            for (int i = 0; i < image.width() * image.height(); ++i) {
                const QColor pixel = image.pixelColor(i % image.width(), i / image.width());
                brightest = pixel.saturation() > brightest.saturation() ? pixel : brightest;
            }
            QVERIFY2(brightest.saturation() > 100, qPrintable(text));
        }
    }
};

KESTRUNE_TEST(DrawingTest)
#include "tst_drawing.moc"
