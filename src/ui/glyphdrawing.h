// SPDX-License-Identifier: MIT
#pragma once

class QPainter;
class QPointF;
class QString;
class QTextLine;

namespace kestrune {

/// Draws a line of the layout of `text`, `offset` away from the layout's own place, in the painter's pen.
///
/// The toolkit has glyphs of PostScript-flavoured fonts, the Chinese ones among them, emboldened at small
/// sizes: regular Chinese beside regular Latin would look bold, and bold Chinese clotted. Their glyphs are
/// filled from the outlines here once and kept.
void drawGlyphs(QPainter &painter, const QTextLine &line, const QString &text, const QPointF &offset);

} // namespace kestrune
