// SPDX-License-Identifier: MIT
#include "faults/certificates.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QProcess>

namespace kestrune::test {

using namespace Qt::StringLiterals;

std::optional<Certificate> Certificates::untrusted()
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QString form = u"yyyyMMddHHmmss'Z'"_s;
    return make(u"untrusted"_s, now.addDays(-1).toString(form), now.addDays(30).toString(form));
}

std::optional<Certificate> Certificates::expired()
{
    return make(u"expired"_s, u"20200101000000Z"_s, u"20200201000000Z"_s);
}

// Only "openssl ca" takes both dates in every version, and it wants its small register of certificates.
std::optional<Certificate> Certificates::make(const QString &name, const QString &from, const QString &to)
{
    const QString base = m_folder.filePath(name);
    QDir().mkpath(base);
    QFile settings(base + u"/ca.cnf"_s);
    QFile index(base + u"/index"_s);
    if (!settings.open(QIODevice::WriteOnly) || !index.open(QIODevice::WriteOnly))
        return std::nullopt;
    settings.write("[ca]\ndefault_ca=own\n[own]\ndatabase=" + QFile::encodeName(base) +
                   "/index\nnew_certs_dir=" + QFile::encodeName(base) +
                   "\nrand_serial=yes\ndefault_md=sha256\npolicy=any\n"
                   "[any]\ncommonName=supplied\n");
    settings.close();
    index.close();
    const Certificate files{base + u"/certificate.pem"_s, base + u"/key.pem"_s};
    const QString request = base + u"/request.pem"_s;
    const bool made =
        openssl({u"req"_s, u"-newkey"_s, u"ec"_s, u"-pkeyopt"_s, u"ec_paramgen_curve:prime256v1"_s,
                 u"-nodes"_s, u"-keyout"_s, files.key, u"-out"_s, request, u"-subj"_s, u"/CN=127.0.0.1"_s}) &&
        openssl({u"ca"_s, u"-batch"_s, u"-config"_s, settings.fileName(), u"-selfsign"_s, u"-keyfile"_s,
                 files.key, u"-in"_s, request, u"-out"_s, files.certificate, u"-startdate"_s, from,
                 u"-enddate"_s, to, u"-notext"_s});
    return made ? std::optional(files) : std::nullopt;
}

bool Certificates::openssl(const QStringList &arguments) const
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(u"openssl"_s, arguments);
    return process.waitForFinished() && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

} // namespace kestrune::test
