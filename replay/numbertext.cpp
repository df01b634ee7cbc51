// SPDX-License-Identifier: MIT
#include "replay/numbertext.h"

#include <QString>

#include <algorithm>

namespace kestrune::replay {

QByteArray fixedText(double value, int decimals)
{
    QByteArray text = QByteArray::number(value, 'f', decimals);
    const bool zero = std::all_of(text.cbegin(), text.cend(), [](char letter) {
        return letter == '-' || letter == '0' || letter == '.';
    });
    return zero && text.startsWith('-') ? text.sliced(1) : text;
}

QByteArray trimmedText(double value, int decimals)
{
    return fixedText(value, neededDecimals(value, 0, decimals));
}

int neededDecimals(double value, int least, int most)
{
    const QByteArray text = fixedText(value, most);
    int needed = most;
    while (needed > least && text[text.size() - 1 - (most - needed)] == '0')
        --needed;
    return needed;
}

QByteArray escapedJson(const QString &text)
{
    QByteArray json("\"");
    for (const QChar letter : text) {
        const ushort code = letter.unicode();
        if (code == '"' || code == '\\' || code == '/')
            json.append('\\').append(static_cast<char>(code));
        else if (code >= 0x20 && code < 0x7f)
            json.append(static_cast<char>(code));
        else
            json.append("\\u").append(QByteArray::number(code, 16).rightJustified(4, '0'));
    }
    return json.append('"');
}

QByteArray jsonArray(const QByteArrayList &entries)
{
    return '[' + entries.join(',') + ']';
}

} // namespace kestrune::replay
