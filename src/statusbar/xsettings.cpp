// SPDX-License-Identifier: MIT
#include "statusbar/xsettings.h"

#include <QtEndian>

#include <algorithm>
#include <cctype>

namespace kestrune {

namespace {

/// Reads numbers and texts one after the other; past the end all are zero and empty.
class SettingsBlock
{
public:
    explicit SettingsBlock(const QByteArray &bytes) : m_bytes(bytes), m_bigEndian(bytes.startsWith('\1')) {}

    [[nodiscard]] bool good() const { return m_at <= m_bytes.size(); }
    void skip(qsizetype count) { m_at += std::min(count, m_bytes.size() + 1 - m_at); }

    template <typename T>
    T number()
    {
        const qsizetype from = m_at;
        skip(sizeof(T));
        if (!good())
            return 0;
        const char *data = m_bytes.constData() + from;
        return m_bigEndian ? qFromBigEndian<T>(data) : qFromLittleEndian<T>(data);
    }

    /// With the padding that follows it.
    QByteArray text(qsizetype length)
    {
        const qsizetype from = m_at;
        skip(length);
        QByteArray text = good() ? m_bytes.mid(from, length) : QByteArray();
        skip((4 - length % 4) % 4);
        return text;
    }

private:
    const QByteArray &m_bytes;
    bool m_bigEndian;
    qsizetype m_at = 0;
};

enum class SettingKind : quint8 { number, text, color };

} // namespace

std::optional<QByteArray> settingsText(const QByteArray &block, const QByteArray &name)
{
    SettingsBlock rest(block);
    rest.skip(8); // byte order and serial number
    const auto count = rest.number<quint32>();
    for (quint32 i = 0; i < count && rest.good(); ++i) {
        const auto kind = static_cast<SettingKind>(rest.number<quint8>());
        rest.skip(1);
        const bool wanted = rest.text(rest.number<quint16>()) == name;
        rest.skip(4); // when it changed last
        if (kind == SettingKind::text) {
            const QByteArray value = rest.text(rest.number<quint32>());
            if (wanted)
                return rest.good() ? std::optional(value) : std::nullopt;
        } else if (kind == SettingKind::number || kind == SettingKind::color) {
            rest.skip(kind == SettingKind::number ? 4 : 8);
        } else {
            break; // of unknown length
        }
    }
    return std::nullopt;
}

bool isDarkTheme(const QByteArray &name)
{
    QByteArray words = name.toLower();
    std::replace_if(
        words.begin(), words.end(), [](char letter) { return std::isalnum(static_cast<uchar>(letter)) == 0; },
        '-');
    // "Darker" themes have dark frames round light windows.
    const QList<QByteArray> parts = words.split('-');
    return parts.contains("dark") || parts.contains("highcontrastinverse");
}

} // namespace kestrune
