// SPDX-License-Identifier: MIT
#include "statusbar/desktop/autostart.h"

#include "platform/configfolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>

namespace kestrune {

using namespace Qt::StringLiterals;

Autostart::Autostart(const QString &folder, const QString &program)
    : m_file(folder + u"/org.kestrune.bar.desktop"_s), m_program(program)
{}

QString Autostart::defaultFolder()
{
    return configFolder() + u"/autostart"_s;
}

bool Autostart::isOn() const
{
    QFile file(m_file);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    // Session settings switch an entry off by a key instead of removing it.
    const QList<QByteArray> lines = file.read(qint64{64} * 1024).split('\n');
    return std::none_of(lines.begin(), lines.end(), [](const QByteArray &line) {
        const QByteArray key = line.simplified().replace(" ", "").toLower();
        return key == "hidden=true" || key == "x-gnome-autostart-enabled=false";
    });
}

bool Autostart::set(bool on) const
{
    if (!on)
        return !QFile::exists(m_file) || QFile::remove(m_file);
    if (!QDir().mkpath(QFileInfo(m_file).path()))
        return false;
    QSaveFile file(m_file);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(u"[Desktop Entry]\nType=Application\nName=Kestrune Bar\nExec=%1\nIcon=org.kestrune.bar\n"
               "Terminal=false\nX-GNOME-Autostart-enabled=true\n"_s.arg(quotedForExec(m_program))
                   .toUtf8());
    return file.commit();
}

QString quotedForExec(const QString &path)
{
    // Escaped twice: for the argument's quotes and for the string that holds them. A percent sign begins a
    // code.
    QString quoted;
    for (const QChar c : path) {
        if (c == u'\\')
            quoted += u"\\\\\\\\"_s;
        else if (c == u'"' || c == u'`' || c == u'$')
            quoted += u"\\\\"_s + c;
        else if (c == u'%')
            quoted += u"%%"_s;
        else
            quoted += c;
    }
    return u'"' + quoted + u'"';
}

} // namespace kestrune
