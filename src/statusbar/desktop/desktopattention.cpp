// SPDX-License-Identifier: MIT
#include "statusbar/desktop/desktopattention.h"

#include <QApplication>
#include <QFile>
#include <QMessageBox>
#include <QPluginLoader>

#include <cstdio>

namespace kestrune {

using namespace Qt::StringLiterals;

DesktopAttention::DesktopAttention(const QStringList &moduleFolders)
    : DesktopAttention(
          {.loadSound = [moduleFolders] { return loadAlertSound(moduleFolders); },
           .beep = [] { QApplication::beep(); },
           .writeLine = [](const QString &line) { std::fprintf(stderr, "%s\n", line.toUtf8().constData()); }})
{}

void DesktopAttention::playAlertSound()
{
    if (!m_sound)
        m_sound = m_ringing.loadSound();
    if (m_sound)
        m_sound->play([this](AlertSound::Outcome outcome) { report(outcome); });
    else
        report({});
}

void DesktopAttention::report(AlertSound::Outcome outcome)
{
    if (!outcome.played)
        m_ringing.beep();
    const auto word = [](bool value) { return value ? u"true"_s : u"false"_s; };
    m_ringing.writeLine(u"[Kestrune] playAlertSound: dingLoaded=%1 played=%2"_s.arg(word(outcome.loaded),
                                                                                    word(outcome.played)));
}

void DesktopAttention::inform(const QString &title, const QString &text, const QString &button)
{
    auto *box = new QMessageBox(QMessageBox::Information, title, title);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setTextFormat(Qt::PlainText);
    box->setInformativeText(text);
    box->addButton(button, QMessageBox::AcceptRole);
    box->setModal(false);
    box->show();
}

void DesktopAttention::notify(const Notice &notice)
{
    if (!m_notices) {
        m_notices =
            std::make_unique<DesktopNotices>(QDBusConnection::sessionBus(), DesktopNotices::usualWay());
        QObject::connect(m_notices.get(), &DesktopNotices::chosen, m_notices.get(),
                         [this](const QString &id, NoticeChoice choice) { answerNotice(id, choice); });
    }
    m_notices->show(notice);
}

void DesktopAttention::withdraw(const QString &id)
{
    if (m_notices)
        m_notices->withdraw(id);
}

AlertSound *loadAlertSound(const QStringList &folders)
{
    for (const QString &folder : folders) {
        const QString file = folder + u"/kestrune-sound.so"_s;
        if (!QFile::exists(file))
            continue;
        QPluginLoader loader(file);
        if (auto *sound = qobject_cast<AlertSound *>(loader.instance()))
            return sound;
    }
    return nullptr;
}

} // namespace kestrune
