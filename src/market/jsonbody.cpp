// SPDX-License-Identifier: MIT
#include "market/jsonbody.h"

#include <simdjson.h>

namespace kestrune {

namespace {

constexpr qsizetype maxBytes = qsizetype{4} * 1024 * 1024;

/// A parser keeps some 17 bytes of buffers per byte of its largest body. The ordinary answers, 20 to 70 KiB,
/// share one parser; for a larger one a parser is made that goes with it.
constexpr qsizetype maxSharedBytes = qsizetype{128} * 1024;

simdjson::dom::parser &sharedParser()
{
    thread_local simdjson::dom::parser parser;
    return parser;
}

} // namespace

JsonBody::JsonBody(const QByteArray &bytes)
    : m_own(bytes.size() > maxSharedBytes ? std::make_unique<simdjson::dom::parser>() : nullptr)
    , m_parser(m_own ? m_own.get() : &sharedParser())
{
    if (bytes.size() > maxBytes)
        return;
    const auto result = m_parser->parse(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    m_valid = result.error() == simdjson::SUCCESS;
}

JsonBody::~JsonBody() = default;

simdjson::dom::element JsonBody::root() const
{
    return m_parser->doc.root();
}

} // namespace kestrune
