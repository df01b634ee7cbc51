// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QStringList>
#include <QTcpServer>

class QTcpSocket;

namespace kestrune::test {

/// A market server on a free loopback port that answers every instrument of every endpoint at once and
/// keeps what it was asked.
class RecordingMarket : public QTcpServer
{
    Q_OBJECT
public:
    /// Serves below `prefix` ("/x") only; everything else is not found.
    explicit RecordingMarket(QString prefix = {});

    [[nodiscard]] QString address() const;                                 ///< with the prefix
    [[nodiscard]] const QStringList &lines() const { return m_lines; }     ///< targets, prefix included
    [[nodiscard]] const QStringList &unknown() const { return m_unknown; } ///< targets that have no answer
    [[nodiscard]] const QByteArrayList &heads() const { return m_heads; }  ///< whole request heads

private:
    void serve(QTcpSocket *socket);
    [[nodiscard]] QByteArray answer(const QString &target);

    QString m_prefix;
    QStringList m_lines, m_unknown;
    QByteArrayList m_heads;
};

} // namespace kestrune::test
