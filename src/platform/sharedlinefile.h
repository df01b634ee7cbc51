// SPDX-License-Identifier: MIT
#pragma once

#include "platform/wholefile.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

namespace kestrune {

/// A file of lines that several running programs append to, and now and then write anew. Whatever is killed
/// in the middle, and however full the disk is, at most the line that was being written is lost.
class SharedLineFile
{
public:
    /// More than that is not read of a file: its last lines are.
    static constexpr qint64 largestTail = qint64(2) * 1024 * 1024;

    /// The folder need not exist; the first write creates it for its owner alone.
    explicit SharedLineFile(QString path);

    /// The lines at the end of the file, the last one perhaps cut short, when it is another than at the last
    /// call, reading or writing; none of what is missing or no file.
    [[nodiscard]] std::optional<std::vector<QByteArray>> changedLines();

    /// At the last call, or missing.
    [[nodiscard]] bool isEmpty() const;

    /// Keeps other programs from writing while it lives; absent when the folder cannot be had.
    [[nodiscard]] std::unique_ptr<FolderLock> lock() const;
    // Under the lock. False when nothing was written.
    [[nodiscard]] bool append(const QByteArray &lines);
    [[nodiscard]] bool replaceWith(const QByteArray &lines);
    /// Renames what holds nothing that can be read.
    void setAside();

private:
    [[nodiscard]] FileStamp stamp() const;

    QString m_path;
    FileStamp m_seen{};
};

} // namespace kestrune
