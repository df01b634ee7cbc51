// SPDX-License-Identifier: MIT
#include "viewmodel/settingsinput.h"

#include "state/fixedtext.h"

#include <QRegularExpression>

#include <algorithm>
#include <cmath>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

// "67,5" is no group: as the decimal comma of other countries it would be another price.
QString withoutGroups(const QString &text)
{
    static const QRegularExpression groups(u"^\\d{1,3}((, ?| )\\d{3})+(?=\\.|$)"_s);
    static const QRegularExpression separators(u"[, ]"_s);
    QString plain = text.normalized(QString::NormalizationForm_KC).replace(u'。', u'.').simplified();
    const QString grouped = groups.match(plain).captured();
    return plain.replace(0, grouped.size(), QString(grouped).remove(separators));
}

} // namespace

std::optional<double> NumberField::numberIn(QString text) const
{
    if (amount)
        text.remove(u',');
    else if (grouped)
        text = withoutGroups(text);
    bool ok = false;
    const double value = whole ? double(text.toLongLong(&ok)) : text.toDouble(&ok);
    if (!ok || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<double> NumberField::accepted(const QString &text) const
{
    auto value = numberIn(text);
    if (amount)
        value = value.value_or(0);
    return value && *value >= refusedBelow ? std::optional(limited(*value)) : std::nullopt;
}

NumberField::Answer NumberField::answer(const QString &text, double current) const
{
    Answer answer{accepted(text), {}};
    const auto number = numberIn(text);
    const QString kept = u"，仍为 "_s + spelled(current);
    const auto changed = [&](const QString &bound, double limit) {
        return bound + QString::number(limit) + unit + u"，已改为 "_s + spelled(limit);
    };
    if (!number && amount)
        answer.note = text.trimmed().isEmpty() ? QString() : u"不是金额，已清空"_s;
    else if (!number)
        answer.note = (whole ? u"不是整数"_s : u"不是数字"_s) + kept;
    else if (!answer.value)
        answer.note =
            (refusedBelow < 1 ? u"须大于 0"_s : u"最小 "_s + QString::number(refusedBelow) + unit) + kept;
    else if (*answer.value > *number)
        answer.note = changed(u"最小 "_s, lowest);
    else if (*answer.value < *number)
        answer.note = changed(u"最大 "_s, highest);
    return answer;
}

double NumberField::limited(double value) const
{
    return std::clamp(value, lowest, highest);
}

QString NumberField::spelled(double value) const
{
    return amount && !(value > 0) ? QString() : fixedText(value, decimals);
}

} // namespace kestrune
