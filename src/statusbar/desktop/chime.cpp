// SPDX-License-Identifier: MIT
#include "statusbar/desktop/chime.h"

#include <QPluginLoader>

#include <cstdio>
#include <utility>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

QString yesNo(bool value)
{
    return value ? u"true"_s : u"false"_s;
}

} // namespace

Chime::Chime(Loader loader, std::function<void()> beep, std::function<void(const QString &)> log)
    : m_loader(std::move(loader)), m_beep(std::move(beep)), m_log(std::move(log))
{}

void Chime::ring()
{
    if (!m_sound)
        m_sound = m_loader();
    if (!m_sound) {
        report({});
        return;
    }
    m_sound->play([this](AlertSound::Outcome outcome) { report(outcome); });
}

void Chime::report(AlertSound::Outcome outcome)
{
    if (!outcome.played)
        m_beep();
    m_log(u"[Kestrune] playAlertSound: dingLoaded="_s + yesNo(outcome.loaded) + u" played="_s +
          yesNo(outcome.played));
}

AlertSound *Chime::loadModule(const QString &file)
{
    QPluginLoader loader(file);
    return qobject_cast<AlertSound *>(loader.instance());
}

void Chime::writeLine(const QString &line)
{
    std::fprintf(stderr, "%s\n", line.toUtf8().constData());
}

} // namespace kestrune
