// SPDX-License-Identifier: MIT
#include "ui/palette.h"

#include "support/testregistry.h"

#include <QTest>

#include <algorithm>
#include <cmath>

using namespace kestrune;
using namespace Qt::StringLiterals;

namespace {

QColor soft(QColor color, double alpha)
{
    color.setAlphaF(static_cast<float>(alpha));
    return color;
}

double linear(double channel)
{
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor &color)
{
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

/// Ratio of relative luminances as WCAG 2 defines it, 1 to 21; both colours opaque.
double contrastRatio(const QColor &a, const QColor &b)
{
    const double first = luminance(a) + 0.05;
    const double second = luminance(b) + 0.05;
    return std::max(first, second) / std::min(first, second);
}

} // namespace

class PaletteTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void contrastOfKnownPairs();
    void everyTextIsReadableOnItsGrounds_data();
    void everyTextIsReadableOnItsGrounds();
    void shapesStandOut();
};

void PaletteTest::contrastOfKnownPairs()
{
    // Published values: black on white 21, #767676 on white 4.54 (the lightest grey that passes).
    QCOMPARE(contrastRatio(Qt::white, Qt::black), 21.0);
    QVERIFY(test::closeTo(contrastRatio(QColor(0x767676), Qt::white), 4.54, 0.005));
}

void PaletteTest::everyTextIsReadableOnItsGrounds_data()
{
    QTest::addColumn<QColor>("text");
    QTest::addColumn<QColor>("ground");
    for (const Palette *p : {&darkPalette(), &lightPalette()}) {
        const QByteArray theme = p->dark ? "dark" : "light";
        const QColor selected = blended(p->accentSoft, p->ground);
        const auto row = [&theme](const char *what, const QColor &text, const QColor &ground) {
            QTest::newRow(theme + ' ' + what) << text << ground;
        };
        for (const auto &[name, text] : {std::pair("text", p->text), std::pair("secondary", p->secondary)}) {
            const QByteArray on = QByteArray(name) + " on ";
            row(on + "ground", text, p->ground);
            row(on + "raised", text, p->raised);
            row(on + "hovered raised", text, blended(p->veil(1), p->raised));
            row(on + "pressed ground", text, blended(p->veil(2), p->ground));
            row(on + "field", text, p->field);
            row(on + "selected row", text, selected);
            for (const Tone grade : {Tone::red, Tone::green, Tone::orange, Tone::secondary})
                row(on + "banner", text, blended(soft(p->color(grade), 0.10), p->ground));
        }
        for (const Tone tone :
             {Tone::red, Tone::green, Tone::orange, Tone::blue, Tone::purple, Tone::teal, Tone::pink}) {
            const QColor color = p->color(tone);
            row("tone on ground", color, p->ground);
            row("tone on hovered ground", color, blended(p->veil(1), p->ground));
            row("tone on selected row", color, selected);
            row("tone in its tag", color, blended(soft(color, 0.15), p->ground));
            row("tone in its banner", color, blended(soft(color, 0.10), p->ground));
        }
        for (const Tone tone : {Tone::purple, Tone::blue, Tone::teal, Tone::orange}) {
            const QColor color = p->color(tone);
            row("tag in the selected row", color, blended(soft(color, 0.15), selected));
        }
        row("white on accent fill", Qt::white, p->accentFill);
    }
}

void PaletteTest::everyTextIsReadableOnItsGrounds()
{
    QFETCH(const QColor, text);
    QFETCH(const QColor, ground);
    const double ratio = contrastRatio(text, ground);
    QVERIFY2(ratio >= 4.5, qPrintable(u"%1 on %2: %3"_s.arg(text.name(), ground.name()).arg(ratio)));
}

void PaletteTest::shapesStandOut()
{
    for (const Palette *p : {&darkPalette(), &lightPalette()}) {
        for (const Tone tone : {Tone::secondary, Tone::accent, Tone::red, Tone::green, Tone::orange}) {
            QVERIFY(contrastRatio(p->shapeColor(tone), p->ground) >= 3);
            QVERIFY(contrastRatio(p->shapeColor(tone), p->raised) >= 3);
        }
    }
}

KESTRUNE_TEST(PaletteTest)
#include "tst_palette.moc"
