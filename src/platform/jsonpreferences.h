// SPDX-License-Identifier: MIT
#pragma once

#include "platform/preferences.h"
#include "platform/sharedjsonfile.h"

#include <QJsonObject>

#include <functional>

namespace kestrune {

/// Preferences in the file "preferences.json" of a folder: one indented JSON object, an entry per key, for
/// its owner's eyes. Text, bool and numbers are themselves; binary data are {"utf8": "…"} where they are
/// UTF-8 and {"base64": "…"} otherwise. A value that the file holds already is not written again.
class JsonPreferences final : public Preferences
{
public:
    explicit JsonPreferences(const QString &folder);

    /// $XDG_CONFIG_HOME/kestrune-bar, by default ~/.config/kestrune-bar.
    [[nodiscard]] static QString defaultFolder();

    /// Calls `report` at the first write that fails, once in the object's life, and at once when one has
    /// failed before. What could not be written reads back all the same, and later writes try it again.
    void onFirstWriteFailure(std::function<void()> report);

    [[nodiscard]] std::optional<QString> text(const QString &key) const override;
    [[nodiscard]] std::optional<bool> boolean(const QString &key) const override;
    [[nodiscard]] std::optional<double> number(const QString &key) const override;
    [[nodiscard]] std::optional<int> integer(const QString &key) const override;
    [[nodiscard]] std::optional<QByteArray> data(const QString &key) const override;

    /// Halves of surrogate pairs, which no file can hold, become replacement characters.
    void setText(const QString &key, const QString &value) override;
    void setBoolean(const QString &key, bool value) override;
    /// A number that is not finite is not stored: the entry stays as it was.
    void setNumber(const QString &key, double value) override;
    void setInteger(const QString &key, int value) override;
    void setData(const QString &key, const QByteArray &value) override;

private:
    [[nodiscard]] QJsonValue read(const QString &key) const;
    void write(const QString &key, const QJsonValue &value);

    mutable SharedJsonFile m_file; // reading looks whether another program has written
    QJsonObject m_unsaved;
    bool m_failed = false;
    std::function<void()> m_report;
};

} // namespace kestrune
