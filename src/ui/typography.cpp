// SPDX-License-Identifier: MIT
#include "ui/typography.h"

#include "ui/glyphdrawing.h"

#include <QCache>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPainter>
#include <QRegularExpression>
#include <QTextLayout>

#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

constexpr auto roleCount = static_cast<std::size_t>(TypeRole::zonePrice) + 1;

struct RoleEntry
{
    QFont font;
    int lineHeight = 0;
    int baseline = 0;
};

QString installedOr(const QString &family, QFontDatabase::SystemFont fallback)
{
    return QFontDatabase::hasFamily(family) ? family : QFontDatabase::systemFont(fallback).family();
}

QFont makeFont(const QString &latin, int pixelSize, QFont::Weight weight)
{
    QFont font;
    // A Latin family has to come first: the Chinese one would set middle dots and curly quotes full width.
    font.setFamilies({latin, u"Noto Sans CJK SC"_s, u"Noto Color Emoji"_s});
    font.setPixelSize(pixelSize);
    font.setWeight(weight);
    // What is not said here would be taken over from the desktop's font.
    font.setStyle(QFont::StyleNormal);
    font.setStretch(QFont::Unstretched);
    font.setUnderline(false);
    font.setOverline(false);
    font.setStrikeOut(false);
    font.setKerning(true);
    font.setCapitalization(QFont::MixedCase);
    font.setLetterSpacing(QFont::PercentageSpacing, 100);
    font.setWordSpacing(0);
    font.setHintingPreference(QFont::PreferVerticalHinting);
    font.setStyleStrategy(QFont::StyleStrategy(QFont::PreferAntialias | QFont::NoSubpixelAntialias));
    return font;
}

QFont roleFont(TypeRole role)
{
    switch (role) {
    case TypeRole::headline:
        return uiFont(14, QFont::DemiBold);
    case TypeRole::price:
        return uiFont(18, QFont::Bold);
    case TypeRole::body:
        return uiFont(13, QFont::Normal);
    case TypeRole::bodyBold:
        return uiFont(13, QFont::Bold);
    case TypeRole::section:
        return uiFont(12, QFont::Bold);
    case TypeRole::caption:
        return uiFont(11, QFont::Normal);
    case TypeRole::captionBold:
        return uiFont(11, QFont::Bold);
    case TypeRole::tag:
        return uiFont(10, QFont::Normal);
    case TypeRole::zonePrice:
        break;
    }
    static const QString mono = installedOr(u"Noto Sans Mono"_s, QFontDatabase::FixedFont);
    return makeFont(mono, 13, QFont::Medium);
}

const RoleEntry &entryOf(TypeRole role)
{
    static const auto table = [] {
        std::array<RoleEntry, roleCount> entries;
        for (std::size_t i = 0; i < roleCount; ++i) {
            RoleEntry &entry = entries[i];
            entry.font = roleFont(static_cast<TypeRole>(i));
            const QFontMetricsF metrics(entry.font);
            entry.lineHeight = static_cast<int>(std::lround(entry.font.pixelSize() * 1.35));
            const double slack = entry.lineHeight - metrics.ascent() - metrics.descent();
            entry.baseline = static_cast<int>(std::lround(slack / 2 + metrics.ascent()));
        }
        return entries;
    }();
    return table[static_cast<std::size_t>(role)];
}

bool isEmojiLead(const QString &text, qsizetype at)
{
    const bool selected = at + 1 < text.size() && text[at + 1] == QChar(0xFE0F);
    if (selected)
        return true;
    if (!text[at].isHighSurrogate() || at + 1 >= text.size())
        return false;
    const char32_t point = QChar::surrogateToUcs4(text[at], text[at + 1]);
    return point >= 0x1F300 && point <= 0x1FAFF;
}

/// The emoji of a text in the colour emoji family: the warning sign with its variation selector and the
/// pictographs beyond the basic plane would otherwise come from a text family, black.
QList<QTextLayout::FormatRange> emojiFormats(const QString &text, QFont font)
{
    font.setFamilies({u"Noto Color Emoji"_s});
    font.setWeight(QFont::Normal);
    QList<QTextLayout::FormatRange> formats;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (!isEmojiLead(text, i))
            continue;
        QTextLayout::FormatRange range;
        range.start = static_cast<int>(i);
        range.length = 2; // a surrogate pair, or a sign and its variation selector
        range.format.setFont(font);
        formats.append(range);
        ++i;
    }
    return formats;
}

} // namespace

QFont uiFont(int pixelSize, QFont::Weight weight)
{
    static const QString latin = installedOr(u"Noto Sans"_s, QFontDatabase::GeneralFont);
    return makeFont(latin, pixelSize, weight);
}

const QFont &fontFor(TypeRole role)
{
    return entryOf(role).font;
}

int lineHeight(TypeRole role)
{
    return entryOf(role).lineHeight;
}

int baselineInLine(TypeRole role)
{
    return entryOf(role).baseline;
}

void takeText(QTextLayout &layout, const QString &text, TypeRole role, bool wrap)
{
    layout.clearLayout();
    layout.setFont(fontFor(role));
    // A number stays on the line of the word before it.
    static const QRegularExpression beforeNumber(u" (?=[+\\x{2212}-]?[0-9])"_s);
    layout.setText(wrap ? QString(text).replace(beforeNumber, QString(QChar::Nbsp)) : text);
    layout.setFormats(emojiFormats(text, layout.font()));
    layout.setCacheEnabled(true);
    QTextOption option;
    option.setWrapMode(wrap ? QTextOption::WrapAtWordBoundaryOrAnywhere : QTextOption::NoWrap);
    layout.setTextOption(option);
}

void breakLines(QTextLayout &layout, TypeRole role, int width)
{
    double top = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        // A fallback family has a taller line; every baseline stands where the role says.
        line.setPosition(QPointF(0, top + baselineInLine(role) - line.ascent()));
        top += lineHeight(role);
    }
    layout.endLayout();
}

int textWidth(const QString &text, TypeRole role)
{
    static QCache<std::pair<int, QString>, int> known(256); // measuring takes longer than painting
    const std::pair key(static_cast<int>(role), text);
    if (const int *width = known.object(key))
        return *width;
    const int width = static_cast<int>(std::ceil(QFontMetricsF(fontFor(role)).horizontalAdvance(text)));
    known.insert(key, new int(width));
    return width;
}

void drawTextLine(QPainter &painter, const QPointF &topLeft, const QString &text, TypeRole role)
{
    QTextLayout layout(text, fontFor(role));
    QTextOption option;
    option.setWrapMode(QTextOption::NoWrap);
    layout.setTextOption(option);
    layout.beginLayout();
    QTextLine line = layout.createLine();
    if (line.isValid())
        line.setLineWidth(std::numeric_limits<int>::max());
    layout.endLayout();
    if (line.isValid())
        drawGlyphs(painter, line, text, topLeft + QPointF(0, baselineInLine(role) - line.ascent()));
}

} // namespace kestrune
