// SPDX-License-Identifier: MIT
#include "platform/configfolder.h"

#include <QFile>

#include <pwd.h>
#include <unistd.h>

namespace kestrune {

namespace {

QString homeFolder()
{
    if (const QByteArray home = qgetenv("HOME"); !home.isEmpty())
        return QFile::decodeName(home);
    const passwd *entry = ::getpwuid(::getuid());
    return entry ? QFile::decodeName(entry->pw_dir) : QString();
}

} // namespace

QString configFolder()
{
    // A relative one would be another folder with each folder that the program is started from.
    const QString chosen = QFile::decodeName(qgetenv("XDG_CONFIG_HOME"));
    return chosen.startsWith(u'/') ? chosen : homeFolder() + QStringLiteral("/.config");
}

} // namespace kestrune
