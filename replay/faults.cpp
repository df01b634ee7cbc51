// SPDX-License-Identifier: MIT
#include "replay/faults.h"

#include <QtEndian>

#include <algorithm>

#include <zlib.h>

namespace kestrune::replay {

namespace {

struct DeliveryName
{
    const char *name;
    Delivery delivery;
};

constexpr DeliveryName deliveryNames[] = {
    {"stall", Delivery::stall},
    {"stall-body", Delivery::stallBody},
    {"reset", Delivery::reset},
    {"reset-body", Delivery::resetBody},
    {"truncate", Delivery::truncate},
    {"wrong-length", Delivery::wrongLength},
    {"drip", Delivery::drip},
    {"flood", Delivery::flood},
    {"flood-chunk", Delivery::floodChunk},
    {"flood-extension", Delivery::floodExtension},
    {"flood-head", Delivery::floodHead},
};

bool setContent(Fault &fault, Fault::Content content)
{
    if (fault.content != Fault::Content::sound)
        return false;
    fault.content = content;
    return true;
}

bool setStatus(Fault &fault, const QByteArray &text)
{
    bool ok = false;
    fault.status = text.toInt(&ok);
    const bool bodiless = fault.status == 204 || fault.status == 205 || fault.status == 304;
    return ok && !bodiless && fault.status >= 200 && fault.status <= 599 &&
           setContent(fault, Fault::Content::status);
}

bool addKind(Fault &fault, const QByteArray &kind)
{
    if (kind == "empty")
        return setContent(fault, Fault::Content::empty);
    if (kind == "html")
        return setContent(fault, Fault::Content::html);
    if (kind == "gzip-bomb")
        return setContent(fault, Fault::Content::gzipBomb);
    if (kind.startsWith("status:"))
        return setStatus(fault, kind.sliced(7));
    for (const DeliveryName &each : deliveryNames) {
        if (kind == each.name && fault.delivery == Delivery::whole) {
            fault.delivery = each.delivery;
            return true;
        }
    }
    return false;
}

std::optional<Fault> parseKinds(const QByteArray &text)
{
    Fault fault;
    QByteArray rest = text;
    do {
        if (rest.startsWith("redirect:")) { // an address may hold commas, so it is the rest
            fault.location = rest.sliced(9);
            const bool printable = std::all_of(fault.location.cbegin(), fault.location.cend(),
                                               [](char letter) { return letter > ' ' && letter < 0x7f; });
            if (fault.location.isEmpty() || !printable || !setContent(fault, Fault::Content::redirect))
                return std::nullopt;
            return fault;
        }
        const qsizetype comma = rest.indexOf(',');
        if (!addKind(fault, comma < 0 ? rest : rest.left(comma)))
            return std::nullopt;
        rest = comma < 0 ? QByteArray() : rest.sliced(comma + 1);
        if (comma >= 0 && rest.isEmpty())
            return std::nullopt;
    } while (!rest.isEmpty());
    return fault;
}

/// An error in the words of the endpoint's source.
QByteArray errorBody(Endpoint endpoint)
{
    switch (endpoint) {
    case Endpoint::gateCandles:
    case Endpoint::gateList:
    case Endpoint::gateTicker:
        return R"({"label":"SERVER_ERROR","message":"Internal server error"})";
    case Endpoint::binanceCandles:
    case Endpoint::binanceList:
    case Endpoint::binanceTicker:
        return R"({"code":-1001,"msg":"Internal error; unable to process your request. Please try again."})";
    case Endpoint::okxCandles:
        return R"({"code":"50001","msg":"Service temporarily unavailable. Please try again later.","data":[]})";
    case Endpoint::tencentQuotes:
        return "v_pv_none_match=\"1\";\n";
    case Endpoint::tencentCandles:
        return R"({"code":1,"msg":"internal error"})";
    case Endpoint::tencentSearch:
        return "v_hint=";
    }
    return {};
}

/// A well-formed gzip file of some 60 KiB that unpacks to 64 MiB.
const QByteArray &gzipBomb()
{
    static const QByteArray bomb = [] {
        const QByteArray zeros(qsizetype{64} * 1024 * 1024, '\0');
        const auto size = static_cast<uInt>(zeros.size());
        const quint32 trailer[] = {qToLittleEndian(static_cast<quint32>(
                                       crc32(0, reinterpret_cast<const Bytef *>(zeros.constData()), size))),
                                   qToLittleEndian<quint32>(size)};
        // Qt's form is a length (4 bytes), a zlib head (2), the compressed data and a checksum (4).
        const QByteArray packed = qCompress(zeros, 9);
        return QByteArray("\x1f\x8b\x08\0\0\0\0\0\x02\xff", 10) + packed.sliced(6, packed.size() - 10) +
               QByteArray(reinterpret_cast<const char *>(trailer), sizeof trailer);
    }();
    return bomb;
}

} // namespace

bool addFault(Faults &faults, const QByteArray &text)
{
    const qsizetype equals = text.indexOf('=');
    if (equals < 1)
        return false;
    const QByteArray name = text.left(equals);
    const auto endpoint = endpointFromName(name);
    const auto fault = parseKinds(text.sliced(equals + 1));
    if (!fault || (!endpoint && name != "all"))
        return false;
    if (endpoint)
        faults[static_cast<std::size_t>(*endpoint)] = *fault;
    else
        faults.fill(*fault);
    return true;
}

void applyFault(const Fault &fault, Endpoint endpoint, HttpReply &reply)
{
    reply.delivery = fault.delivery;
    switch (fault.content) {
    case Fault::Content::sound:
        break;
    case Fault::Content::status:
        reply.status = fault.status;
        reply.body = errorBody(endpoint);
        break;
    case Fault::Content::empty:
        reply.body.clear();
        break;
    case Fault::Content::html:
        reply.contentType = "text/html";
        reply.body = "<!DOCTYPE html><html><head><title>Access check</title></head>"
                     "<body><h1>Please wait while your request is verified</h1></body></html>\n";
        break;
    case Fault::Content::redirect:
        reply.status = 302;
        reply.moreHeaders += "Location: " + fault.location + "\r\n";
        reply.body.clear();
        break;
    case Fault::Content::gzipBomb:
        reply.moreHeaders += "Content-Encoding: gzip\r\n";
        reply.body = gzipBomb();
        break;
    }
}

} // namespace kestrune::replay
