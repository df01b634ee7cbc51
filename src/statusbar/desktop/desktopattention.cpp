// SPDX-License-Identifier: MIT
#include "statusbar/desktop/desktopattention.h"

#include <QApplication>
#include <QFile>
#include <QMessageBox>

namespace kestrune {

using namespace Qt::StringLiterals;

namespace {

AlertSound *loadFrom(const QStringList &folders)
{
    for (const QString &folder : folders) {
        const QString file = folder + u"/kestrune-sound.so"_s;
        if (!QFile::exists(file))
            continue;
        if (AlertSound *sound = Chime::loadModule(file))
            return sound;
    }
    return nullptr;
}

} // namespace

DesktopAttention::DesktopAttention(const QStringList &moduleFolders)
    : m_chime([moduleFolders] { return loadFrom(moduleFolders); }, [] { QApplication::beep(); })
{}

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

} // namespace kestrune
