// SPDX-License-Identifier: MIT
#include "line/barline.h"

#include "line/barrecord.h"
#include "viewmodel/signalcolors.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <iterator>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

struct NamedFormat
{
    QStringView name;
    LineFormat format;
};

constexpr NamedFormat lineFormats[]{
    {u"waybar", LineFormat::waybar}, {u"i3bar", LineFormat::i3bar}, {u"polybar", LineFormat::polybar},
    {u"xfce", LineFormat::xfce},     {u"argos", LineFormat::argos}, {u"tmux", LineFormat::tmux},
    {u"plain", LineFormat::plain},   {u"json", LineFormat::json},
};

// Where a state shows as a colour: an alert before an old price, and that before the light.
struct StateColor
{
    QString state, rgb, terminal;
};

/// Nothing for the bar's own colour.
const StateColor *colorOf(const BarRecord &record)
{
    const auto hex = [](quint32 rgb) { return u"#%1"_s.arg(rgb, 6, 16, QChar(u'0')); };
    static const StateColor colors[]{
        {u"alert"_s, hex(signalsOnDark.orange), u"colour208"_s},
        {u"stale"_s, u"#8e8e93"_s, u"colour245"_s},
        {u"buy"_s, hex(signalsOnDark.green), u"green"_s},
        {u"sell"_s, hex(signalsOnDark.red), u"red"_s},
    };
    const auto *color =
        std::ranges::find_if(colors, [&record](const StateColor &entry) { return record.is(entry.state); });
    return color == std::end(colors) ? nullptr : color;
}

/// Breaks of lines and other control characters become blanks.
QString onOneLine(QString text)
{
    for (QChar &c : text) {
        if (c.category() == QChar::Other_Control || c == QChar::LineSeparator ||
            c == QChar::ParagraphSeparator)
            c = u' ';
    }
    return text;
}

QString escapedTooltip(const BarRecord &record, const QString &lineBreak)
{
    QStringList lines = record.tooltip.split(u'\n');
    for (QString &line : lines)
        line = onOneLine(line).toHtmlEscaped();
    return lines.join(lineBreak);
}

QByteArray jsonLine(const QJsonValue &value)
{
    return value.isArray() ? QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact)
                           : QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact);
}

QByteArray waybarLine(const BarRecord &record, const QString &text)
{
    return jsonLine(QJsonObject{{u"text"_s, text.toHtmlEscaped()},
                                {u"alt"_s, record.states.first()},
                                {u"tooltip"_s, escapedTooltip(record, u"\n"_s)},
                                {u"class"_s, QJsonArray::fromStringList(record.states)},
                                {u"percentage"_s, record.percentage}});
}

QByteArray i3barLine(const BarRecord &record, const QString &text, const StateColor *color)
{
    QJsonObject block{{u"name"_s, u"kestrune-bar"_s},
                      {u"full_text"_s, text},
                      {u"markup"_s, u"none"_s},
                      {u"urgent"_s, record.is(u"alert"_s)}};
    if (color)
        block.insert(u"color"_s, color->rgb);
    return jsonLine(QJsonArray{block});
}

QString polybarLine(QString text, const StateColor *color)
{
    text.replace(u"%{"_s, u"% {"_s); // a tag begins so, and nothing escapes it
    return color ? u"%{F"_s + color->rgb + u'}' + text + u"%{F-}"_s : text;
}

QString xfceLine(const BarRecord &record, const QString &text, const StateColor *color)
{
    QString label = text.toHtmlEscaped();
    if (color)
        label = u"<span foreground=\"%1\">"_s.arg(color->rgb) + label + u"</span>"_s;
    // A second start of the program opens the panel of the first.
    return u"<txt>"_s + label + u"</txt><tool>"_s + escapedTooltip(record, u"&#10;"_s) +
           u"</tool><txtclick>kestrune-bar</txtclick>"_s;
}

QString argosLine(QString text, const StateColor *color)
{
    text.replace(u'|', u'¦'); // options follow behind the first one
    text += u" | useMarkup=false unescape=false emojize=false ansi=false"_s;
    return color ? text + u" color="_s + color->rgb : text;
}

QString tmuxLine(QString text, const StateColor *color)
{
    text.replace(u"#"_s, u"##"_s);
    return color ? u"#[fg="_s + color->terminal + u']' + text + u"#[default]"_s : text;
}

QString plainLine(const BarRecord &record, const QString &text)
{
    QStringList states = record.states;
    states.removeAll(u"neutral"_s);
    return states.isEmpty() ? text : text + u" ["_s + onOneLine(states.join(u' ')) + u']';
}

} // namespace

std::optional<LineFormat> lineFormat(QStringView name)
{
    const auto *found = std::ranges::find(lineFormats, name, &NamedFormat::name);
    return found == std::end(lineFormats) ? std::nullopt : std::optional(found->format);
}

QString lineFormatNames()
{
    QStringList names;
    for (const NamedFormat &entry : lineFormats)
        names.append(entry.name.toString());
    return names.join(u", "_s);
}

QByteArray formatLine(const BarRecord &record, LineFormat format)
{
    const QString text = onOneLine(record.text);
    const StateColor *color = colorOf(record);
    QByteArray line;
    switch (format) {
    case LineFormat::waybar:
        line = waybarLine(record, text);
        break;
    case LineFormat::i3bar:
        line = i3barLine(record, text, color);
        break;
    case LineFormat::polybar:
        line = polybarLine(text, color).toUtf8();
        break;
    case LineFormat::xfce:
        line = xfceLine(record, text, color).toUtf8();
        break;
    case LineFormat::argos:
        line = argosLine(text, color).toUtf8();
        break;
    case LineFormat::tmux:
        line = tmuxLine(text, color).toUtf8();
        break;
    case LineFormat::plain:
        line = plainLine(record, text).toUtf8();
        break;
    case LineFormat::json:
        line = record.json;
        break;
    }
    return line + '\n';
}

QByteArray linesBegin(LineFormat format)
{
    return format == LineFormat::i3bar ? "{\"version\":1,\"click_events\":true}\n[\n" : QByteArray();
}

QByteArray betweenLines(LineFormat format)
{
    return format == LineFormat::i3bar ? "," : QByteArray();
}

} // namespace kestrune
