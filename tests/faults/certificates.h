// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QTemporaryDir>

#include <optional>

namespace kestrune::test {

/// A certificate for 127.0.0.1 and its key, as PEM files.
struct Certificate
{
    QString certificate;
    QString key;
};

/// Makes certificates that no client should take, with the openssl program, in a folder of its own.
class Certificates
{
public:
    /// Valid today but signed by nobody that anyone trusts; absent when openssl fails.
    [[nodiscard]] std::optional<Certificate> untrusted();
    /// The same, and out of date for years.
    [[nodiscard]] std::optional<Certificate> expired();

private:
    [[nodiscard]] std::optional<Certificate> make(const QString &name, const QString &from,
                                                  const QString &to);
    [[nodiscard]] bool openssl(const QStringList &arguments) const;

    QTemporaryDir m_folder;
};

} // namespace kestrune::test
