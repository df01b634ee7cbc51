// SPDX-License-Identifier: MIT
#include "line/clickinput.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <array>
#include <cerrno>

#include <unistd.h>

namespace kestrune {

namespace {

constexpr qsizetype longestClick = 65536;

} // namespace

std::optional<BarClick> readClick(QByteArray line)
{
    line = line.trimmed();
    while (line.startsWith('[') || line.startsWith(','))
        line = line.mid(1).trimmed();
    const QJsonObject event = QJsonDocument::fromJson(line).object();
    const int button = event[u"button"].toInt();
    if (button <= 0)
        return std::nullopt;
    return BarClick{button, {event[u"x"].toInt(), event[u"y"].toInt()}};
}

ClickInput::ClickInput(int fd) : m_notifier(fd, QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &ClickInput::readSome);
}

void ClickInput::readSome()
{
    std::array<char, 4096> bytes{};
    const auto count = ::read(static_cast<int>(m_notifier.socket()), bytes.data(), bytes.size());
    if (count <= 0) {
        m_notifier.setEnabled(count < 0 && (errno == EINTR || errno == EAGAIN));
        return;
    }
    m_begun.append(bytes.data(), count);
    for (qsizetype end = m_begun.indexOf('\n'); end >= 0; end = m_begun.indexOf('\n')) {
        const auto click = readClick(m_begun.left(end));
        m_begun.remove(0, end + 1);
        if (click)
            Q_EMIT clicked(*click);
    }
    if (m_begun.size() > longestClick)
        m_begun.clear();
}

} // namespace kestrune
