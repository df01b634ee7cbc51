// SPDX-License-Identifier: MIT
#include "platform/textdecoding.h"

#include <QStringDecoder>

#include <optional>

namespace kestrune {

namespace {

// Stateless: otherwise a character cut off at the end waits for bytes that never come, and is no error.
std::optional<QString> decodeStrictly(QStringDecoder decoder, const QByteArray &bytes)
{
    if (!decoder.isValid())
        return std::nullopt;
    QString text = decoder(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

} // namespace

QString decodeGb18030(const QByteArray &bytes)
{
    using Flag = QStringConverter::Flag;
    // Newer tables also read the byte 0x80 alone as a euro sign, which much UTF-8 holds.
    auto text = decodeStrictly(QStringDecoder("GB18030", Flag::Stateless), bytes);
    if (text && text->count(u'€') <= bytes.count("\xA2\xE3"))
        return *std::move(text);
    return decodeStrictly(QStringDecoder(QStringConverter::Utf8, Flag::Stateless), bytes).value_or(QString());
}

} // namespace kestrune
