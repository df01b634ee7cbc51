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

// A relative one would be another folder with each folder that the program is started from.
QString chosenFolder(const char *variable, const QString &usual)
{
    const QString chosen = QFile::decodeName(qgetenv(variable));
    return chosen.startsWith(u'/') ? chosen : homeFolder() + usual;
}

} // namespace

QString configFolder()
{
    return chosenFolder("XDG_CONFIG_HOME", QStringLiteral("/.config"));
}

QString stateFolder()
{
    return chosenFolder("XDG_STATE_HOME", QStringLiteral("/.local/state"));
}

} // namespace kestrune
