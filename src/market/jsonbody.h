// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>

#include <memory>

namespace simdjson::dom {
class element;
class parser;
} // namespace simdjson::dom

namespace kestrune {

/// A decoded JSON answer. Every byte is validated; deep nesting, numbers beyond 64 bits and bodies above
/// 4 MiB make it invalid. Only one may be in use per thread: they share that thread's buffers.
class JsonBody
{
public:
    explicit JsonBody(const QByteArray &bytes);
    JsonBody(const JsonBody &) = delete;
    JsonBody &operator=(const JsonBody &) = delete;
    ~JsonBody();

    [[nodiscard]] bool isValid() const { return m_valid; }
    /// To be asked of a valid body only; what it leads to lives as long as this object.
    [[nodiscard]] simdjson::dom::element root() const;

private:
    std::unique_ptr<simdjson::dom::parser> m_own;
    simdjson::dom::parser *m_parser;
    bool m_valid = false;
};

} // namespace kestrune
