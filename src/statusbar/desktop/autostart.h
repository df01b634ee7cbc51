// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kestrune {

/// The entry that starts the program at log-in.
class Autostart
{
public:
    /// `folder` holds the entries of all programs; `program` is the absolute path to start.
    Autostart(const QString &folder, const QString &program);

    /// Where the desktop looks for such entries.
    [[nodiscard]] static QString defaultFolder();

    [[nodiscard]] bool isOn() const;
    /// False when the entry could not be written or removed.
    bool set(bool on) const;

private:
    QString m_file;
    QString m_program;
};

/// A path as the Exec key of a desktop entry wants it.
[[nodiscard]] QString quotedForExec(const QString &path);

} // namespace kestrune
