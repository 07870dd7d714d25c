#pragma once

#include <qglobal.h>

namespace asn
{
/// The length octets of DER in memory.
namespace derlength
{
constexpr unsigned maxSize = 5;

/// How many octets stand for a length.
inline unsigned size(quint32 length)
{
    return length < 0x80 ? 1 : 1 + unsigned(39 - __builtin_clz(length)) / 8;
}

/// Writes them and returns the place behind.
inline uchar* write(uchar* out, quint32 length)
{
    const unsigned octets = size(length) - 1;
    *out++ = uchar(octets ? 0x80 | octets : length);
    for (unsigned i = octets; i-- > 0;)
        *out++ = uchar(length >> 8 * i);
    return out;
}

/// Reads a length and moves `in` behind it; more than four octets of length count as length 0 and
/// are left where they are. False, with nothing to rely on, when the octets end before.
inline bool read(const uchar*& in, const uchar* end, quint32& length)
{
    if (in == end)
        return false;
    const unsigned first = *in++;
    length = first;
    if (first < 0x80)
        return true;
    length = 0;
    const unsigned octets = first & 0x7f;
    if (octets > 4)
        return true;
    if (octets > end - in)
        return false;
    for (unsigned i = 0; i < octets; ++i)
        length = length << 8 | *in++;
    return true;
}
} // namespace derlength
} // namespace asn
