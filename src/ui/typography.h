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
/// The panel's families at `pixelSize`; also for the status pictures.
[[nodiscard]] QFont uiFont(int pixelSize, QFont::Weight weight);

/// Height of a line of text in a role: 1.35 of the size, whole pixels.
[[nodiscard]] int lineHeight(TypeRole role);
/// Distance of the baseline from the top of such a line; the same whatever scripts the line mixes.
[[nodiscard]] int baselineInLine(TypeRole role);

/// Marks the emoji of the layout's text for the colour emoji family: the warning sign with its variation
/// selector and the pictographs beyond the basic plane would otherwise come from a text family, black.
void useColourEmoji(QTextLayout &layout);

/// Advance of one line of text, rounded up to whole pixels.
[[nodiscard]] int textWidth(const QString &text, TypeRole role);
/// One line of text from `topLeft` of its line box in the painter's pen.
void drawTextLine(QPainter &painter, const QPointF &topLeft, const QString &text, TypeRole role);

} // namespace kestrune
