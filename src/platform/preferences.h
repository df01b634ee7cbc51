// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonValue>
#include <QString>

#include <functional>
#include <map>
#include <optional>

namespace kestrune {

/// What becomes of a stored entry; undefined where there is none, and as a result where it is to stay as it
/// is.
using EntryChange = std::function<QJsonValue(const QJsonValue &stored)>;
/// By key.
using EntryChanges = std::map<QString, EntryChange>;

/// A file of settings that is there and cannot be read.
struct UnreadFile
{
    QString keptAs;    ///< path that it was moved to; empty: it stays as it is, and nothing is written
    bool lost = false; ///< nothing had been read from it before

    [[nodiscard]] bool operator==(const UnreadFile &) const = default;
};

/// Typed settings that survive restarts. A missing key and an entry of another kind both read as nothing.
/// A write is on disk when the call returns.
class Preferences
{
public:
    Preferences() = default;
    Preferences(const Preferences &) = delete;
    Preferences &operator=(const Preferences &) = delete;
    virtual ~Preferences() = default;

    [[nodiscard]] std::optional<QString> text(const QString &key) const;
    [[nodiscard]] std::optional<bool> boolean(const QString &key) const;
    /// Any stored number, whole or not.
    [[nodiscard]] std::optional<double> number(const QString &key) const;
    /// A stored number without a fraction that fits an int.
    [[nodiscard]] std::optional<int> integer(const QString &key) const;
    /// The entry as it is; undefined for a missing key.
    [[nodiscard]] virtual QJsonValue json(const QString &key) const = 0;

    /// Halves of surrogate pairs, which no file can hold, become replacement characters.
    void setText(const QString &key, const QString &value);
    void setBoolean(const QString &key, bool value) { setJson(key, value); }
    /// A number that is not finite is not stored: the entry stays as it was.
    void setNumber(const QString &key, double value);
    void setInteger(const QString &key, int value) { setJson(key, value); }
    virtual void setJson(const QString &key, const QJsonValue &value) = 0;
    /// Changes the entry as it is stored at that moment; no other program writes in between. False when the
    /// result could not be written: the entry then reads as it is stored, and later writes try the change
    /// again, or the next one of this key instead, so it holds by value all that it needs.
    virtual bool update(const QString &key, EntryChange change) = 0;
};

} // namespace kestrune
