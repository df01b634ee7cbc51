// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace kestrune {

/// Typed settings that survive restarts. A missing key and an entry of another kind both read as nothing.
/// A write is on disk when the call returns.
class Preferences
{
public:
    Preferences() = default;
    Preferences(const Preferences &) = delete;
    Preferences &operator=(const Preferences &) = delete;
    virtual ~Preferences() = default;

    [[nodiscard]] virtual std::optional<QString> text(const QString &key) const = 0;
    [[nodiscard]] virtual std::optional<bool> boolean(const QString &key) const = 0;
    /// Any stored number, whole or not.
    [[nodiscard]] virtual std::optional<double> number(const QString &key) const = 0;
    /// A stored number without a fraction that fits an int.
    [[nodiscard]] virtual std::optional<int> integer(const QString &key) const = 0;
    [[nodiscard]] virtual std::optional<QByteArray> data(const QString &key) const = 0;

    virtual void setText(const QString &key, const QString &value) = 0;
    virtual void setBoolean(const QString &key, bool value) = 0;
    virtual void setNumber(const QString &key, double value) = 0;
    virtual void setInteger(const QString &key, int value) = 0;
    virtual void setData(const QString &key, const QByteArray &value) = 0;
};

} // namespace kestrune
