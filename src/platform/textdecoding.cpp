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
    // Newer tables take a single byte 0x80 for a control character; no text has it, and much UTF-8 the byte.
    auto text = decodeStrictly(QStringDecoder("GB18030", Flag::Stateless), bytes);
    if (text && !text->contains(QChar(0x80)))
        return *std::move(text);
    return decodeStrictly(QStringDecoder(QStringConverter::Utf8, Flag::Stateless), bytes).value_or(QString());
}

} // namespace kestrune
