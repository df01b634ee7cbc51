// SPDX-License-Identifier: MIT
#include "platform/decompression.h"

#include <algorithm>
#include <limits>

#include <zlib.h>

namespace kestrune {

std::optional<QByteArray> unpackGzip(const QByteArray &packed, qsizetype largest)
{
    constexpr int gzipOrZlib = 15 + 32; // the largest window, the format told by its first bytes
    z_stream stream = {};
    if (packed.size() > std::numeric_limits<int>::max() || inflateInit2(&stream, gzipOrZlib) != Z_OK)
        return std::nullopt;
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(packed.constData())); // zlib only reads it
    stream.avail_in = static_cast<uInt>(packed.size());

    QByteArray content;
    int state = Z_OK;
    while (state == Z_OK) {
        // One byte beyond the limit shows that there is more.
        const qsizetype done = content.size();
        const qsizetype room = std::clamp(4 * packed.size(), qsizetype(16) * 1024, qsizetype(256) * 1024);
        const qsizetype size = std::min(done + room, largest + 1);
        if (size == done)
            break;
        content.resize(size);
        stream.next_out = reinterpret_cast<Bytef *>(content.data() + done);
        stream.avail_out = static_cast<uInt>(size - done);
        state = inflate(&stream, Z_NO_FLUSH);
        content.truncate(size - static_cast<qsizetype>(stream.avail_out));
        if (content.size() == done && state == Z_OK)
            break; // cut off
    }
    inflateEnd(&stream);
    if (state != Z_STREAM_END || content.size() > largest)
        return std::nullopt;
    return content;
}

} // namespace kestrune
