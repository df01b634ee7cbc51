// SPDX-License-Identifier: MIT
#include "platform/jsonpreferences.h"

#include <QJsonValue>
#include <QStandardPaths>

#include <cmath>
#include <limits>
#include <utility>

namespace kestrune {

namespace {

const QString utf8Key = QStringLiteral("utf8");
const QString base64Key = QStringLiteral("base64");

QString validText(const QString &text)
{
    return text.isValidUtf16() ? text : QString::fromUtf8(text.toUtf8());
}

QJsonValue toJson(const QByteArray &data)
{
    const QString text = QString::fromUtf8(data);
    if (text.toUtf8() == data)
        return QJsonObject{{utf8Key, text}};
    return QJsonObject{{base64Key, QString::fromLatin1(data.toBase64())}};
}

} // namespace

JsonPreferences::JsonPreferences(const QString &folder) : m_file(folder, QStringLiteral("preferences.json"))
{}

QString JsonPreferences::defaultFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/kestrune-bar");
}

void JsonPreferences::onFirstWriteFailure(std::function<void()> report)
{
    m_report = std::move(report);
    if (m_failed && m_report)
        m_report();
}

std::optional<QString> JsonPreferences::text(const QString &key) const
{
    const QJsonValue value = read(key);
    if (!value.isString())
        return std::nullopt;
    return value.toString();
}

std::optional<bool> JsonPreferences::boolean(const QString &key) const
{
    const QJsonValue value = read(key);
    if (!value.isBool())
        return std::nullopt;
    return value.toBool();
}

std::optional<double> JsonPreferences::number(const QString &key) const
{
    const QJsonValue value = read(key);
    if (!value.isDouble() || !std::isfinite(value.toDouble()))
        return std::nullopt;
    return value.toDouble();
}

std::optional<int> JsonPreferences::integer(const QString &key) const
{
    const auto value = number(key);
    if (!value || std::trunc(*value) != *value || *value < std::numeric_limits<int>::min() ||
        *value > std::numeric_limits<int>::max()) {
        return std::nullopt;
    }
    return static_cast<int>(*value);
}

std::optional<QByteArray> JsonPreferences::data(const QString &key) const
{
    const QJsonObject object = read(key).toObject();
    if (object.size() != 1)
        return std::nullopt;
    if (const QJsonValue text = object.value(utf8Key); text.isString())
        return text.toString().toUtf8();
    const QJsonValue encoded = object.value(base64Key);
    if (!encoded.isString())
        return std::nullopt;
    auto decoded = QByteArray::fromBase64Encoding(encoded.toString().toLatin1(),
                                                  QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        return std::nullopt;
    return *std::move(decoded);
}

void JsonPreferences::setText(const QString &key, const QString &value)
{
    write(key, validText(value));
}

void JsonPreferences::setBoolean(const QString &key, bool value)
{
    write(key, value);
}

void JsonPreferences::setNumber(const QString &key, double value)
{
    if (std::isfinite(value))
        write(key, value);
}

void JsonPreferences::setInteger(const QString &key, int value)
{
    write(key, value);
}

void JsonPreferences::setData(const QString &key, const QByteArray &value)
{
    write(key, toJson(value));
}

QJsonValue JsonPreferences::read(const QString &key) const
{
    const QString name = validText(key);
    const auto unsaved = m_unsaved.constFind(name);
    return unsaved != m_unsaved.constEnd() ? *unsaved : m_file.content().value(name);
}

void JsonPreferences::write(const QString &key, const QJsonValue &value)
{
    m_unsaved = withChanges(m_unsaved, {{validText(key), value}});
    if (m_file.merge(m_unsaved)) {
        m_unsaved = {};
        return;
    }
    if (std::exchange(m_failed, true) || !m_report)
        return;
    m_report();
}

} // namespace kestrune
