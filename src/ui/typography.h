// SPDX-License-Identifier: MIT
#pragma once

#include <QFont>
#include <QString>

class QPainter;
class QPointF;
class QTextLayout;

namespace kestrune {

/// A step of the type scale; sizes in device-independent pixels.
enum class TypeRole {
    headline,    ///< 14 semibold: instrument, help title
    price,       ///< 18 bold
    body,        ///< 13
    bodyBold,    ///< 13 bold
    section,     ///< 12 bold
    caption,     ///< 11, also for the smallest captions
    captionBold, ///< 11 bold
    tag,         ///< 10
    zonePrice,   ///< 13 medium, monospaced
};

/// The font of a role: Latin family first, then Chinese, then emoji; the system's family where Noto is
/// missing. Sizes are pixels and hinting is fixed, so that no desktop setting changes a picture.
[[nodiscard]] const QFont &fontFor(TypeRole role);
/// The Latin role families at `pixelSize`, for pictures outside the type scale.
[[nodiscard]] QFont uiFont(int pixelSize, QFont::Weight weight);

/// Height of a line of text in a role: 1.35 of the size, whole pixels.
[[nodiscard]] int lineHeight(TypeRole role);
/// Distance of the baseline from the top of such a line; the same whatever scripts the line mixes.
[[nodiscard]] int baselineInLine(TypeRole role);

/// Gives the layout a text in a role, its emoji in colour, to be wrapped or not. It is wrapped nowhere
/// between a word and its number.
void takeText(QTextLayout &layout, const QString &text, TypeRole role, bool wrap);
/// Breaks the text of a layout into lines of `width`, each on the role's line height.
void breakLines(QTextLayout &layout, TypeRole role, int width);

/// Advance of one line of text, rounded up to whole pixels.
[[nodiscard]] int textWidth(const QString &text, TypeRole role);
/// One line of text from `topLeft` of its line box in the painter's pen.
void drawTextLine(QPainter &painter, const QPointF &topLeft, const QString &text, TypeRole role);

} // namespace kestrune
