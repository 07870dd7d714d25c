#include "security/asnarray.h"

#include "security/asnvalue.h"
#include "security/derlength_p.h"
#include "tools/vgvector.h"

#include <qdatastream.h>
#include <qendian.h>
#include <qiodevice.h>

#include <algorithm>
#include <limits>

namespace asn
{
namespace
{
/// The octets of an encoded array. Counting first is cheaper than making room for the longest
/// numbers.
template <class T>
quint64 encodedSize(const T* values, unsigned size)
{
    quint64 total = derlength::size(size);
    for (unsigned i = 0; i < size; ++i)
        total += 1 + math::MSBArray::encodedLength(values[i]);
    return total;
}

template <class T>
uchar* writeNumber(uchar* out, T value)
{
    const unsigned length = math::MSBArray::encode(value, out + 1);
    *out = uchar(length);
    return out + 1 + length;
}

template <class T>
void readContent(const uchar* in, unsigned length, const uchar* end, T& value)
{
    if constexpr (std::numeric_limits<T>::is_integer) {
        // One load instead of a loop, where that stays inside the octets.
        if (length - 1 < sizeof(T) + 1 && end - in >= 8) {
            const qint64 wide = qFromBigEndian<qint64>(in) >> (64 - 8 * length);
            value = T(wide) == wide ? T(wide) : 0;
            return;
        }
    }
    math::MSBArray::decode(in, length, value);
}

/// Returns the place behind the number, or null when the octets end before.
template <class T>
const uchar* readNumber(const uchar* in, const uchar* end, T& value)
{
    quint32 length = 0;
    if (!derlength::read(in, end, length) || length > quint64(end - in))
        return nullptr;
    readContent(in, length, end, value);
    return in + length;
}

/// Reads the count in front; it can't be more than the octets that follow.
unsigned readCount(const uchar*& in, const uchar* end)
{
    quint32 count = 0;
    if (!derlength::read(in, end, count))
        in = end;
    return unsigned(std::min<quint64>(count, quint64(end - in)));
}
} // namespace

void Array::encode_size(QDataStream& stream, unsigned size)
{
    uchar octets[derlength::maxSize];
    stream.writeRawData(reinterpret_cast<const char*>(octets),
                        int(derlength::write(octets, size) - octets));
}

unsigned Array::decode_size(QDataStream& stream)
{
    quint8 octets[derlength::maxSize] = {};
    stream >> octets[0];
    const unsigned more = octets[0] & 0x80 ? octets[0] & 0x7f : 0;
    for (unsigned i = 1; i <= more && more < derlength::maxSize; ++i)
        stream >> octets[i];
    const uchar* in = octets;
    quint32 size = 0;
    derlength::read(in, octets + derlength::maxSize, size);
    return stream.status() == QDataStream::Ok ? size : 0;
}

template <class T>
void Array::encode(QDataStream& stream, const T* values, unsigned size)
{
    encode_size(stream, size);
    uchar buffer[4096];
    uchar* const full = buffer + sizeof buffer - 1 - math::MSBArray::MaxEncoded;
    uchar* out = buffer;
    const auto flush = [&] {
        stream.writeRawData(reinterpret_cast<const char*>(buffer), int(out - buffer));
        out = buffer;
    };
    for (unsigned i = 0; i < size; ++i) {
        if (out > full)
            flush();
        out = writeNumber(out, values[i]);
    }
    flush();
}

template <class T>
unsigned Array::decode(QDataStream& stream, T* values, unsigned size)
{
    const unsigned count = decode_size(stream);
    unsigned stored = 0;
    char buffer[4096];
    for (unsigned i = 0; i < count;) {
        // A look ahead spares the device a call for each octet, and takes nothing that isn't a
        // number of ours.
        const qint64 seen = stream.device() ? stream.device()->peek(buffer, sizeof buffer) : 0;
        const auto* const begin = reinterpret_cast<const uchar*>(buffer);
        const uchar* const end = begin + std::max<qint64>(seen, 0);
        const uchar* in = begin;
        T value;
        for (const uchar* next; i < count && (next = readNumber(in, end, value)); ++i, in = next)
            if (i < size)
                values[stored++] = value;
        if (in > begin) {
            stream.skipRawData(int(in - begin));
            continue;
        }
        // A number longer than the buffer, or the end of the stream.
        math::MSBArray octets;
        DerValue::decode(stream, octets);
        if (stream.status() != QDataStream::Ok)
            break;
        math::MSBArray::decode(octets.octets(), octets.size(), value);
        if (i++ < size)
            values[stored++] = value;
    }
    return stored;
}

template <class T>
void Array::encode(math::MSBArray& octets, const T* values, unsigned size)
{
    math::MSBArray result;
    const quint64 length = encodedSize(values, size);
    const quint64 room = length + math::MSBArray::MaxEncoded;
    if (room <= std::numeric_limits<unsigned>::max() && result.resize(unsigned(room))) {
        uchar* out = derlength::write(reinterpret_cast<uchar*>(result.data()), size);
        for (unsigned i = 0; i < size; ++i)
            out = writeNumber(out, values[i]);
        result.resize(unsigned(length));
    }
    octets = result;
}

template <class T>
unsigned Array::decode(const math::MSBArray& octets, T* values, unsigned size)
{
    const uchar* in = octets.octets();
    const uchar* const end = in + octets.size();
    const unsigned count = std::min(readCount(in, end), size);
    unsigned stored = 0;
    while (stored < count && (in = readNumber(in, end, values[stored])))
        ++stored;
    return stored;
}

unsigned Array::count(const math::MSBArray& octets)
{
    const uchar* in = octets.octets();
    return readCount(in, in + octets.size());
}

void Array::encode(QDataStream& stream, const VGVector& vector)
{
    encode_size(stream, vector.count());
    vector.writeItems(stream);
}

void Array::decode(QDataStream& stream, VGVector& vector)
{
    unsigned count = decode_size(stream);
    const QIODevice* device = stream.device();
    if (device && !device->isSequential())
        count = unsigned(std::min<qint64>(count, device->bytesAvailable()));
    vector.readItems(stream, count);
}

#define INSTANTIATE(T)                                                                             \
    template void Array::encode(QDataStream& stream, const T* values, unsigned size);              \
    template unsigned Array::decode(QDataStream& stream, T* values, unsigned size);                \
    template void Array::encode(math::MSBArray& octets, const T* values, unsigned size);           \
    template unsigned Array::decode(const math::MSBArray& octets, T* values, unsigned size);
INSTANTIATE(int)
INSTANTIATE(unsigned)
INSTANTIATE(float)
INSTANTIATE(double)
#undef INSTANTIATE
} // namespace asn

template <class T>
QDataStream& operator<<(QDataStream& stream, const VMemArray<T>& array)
{
    // What octets that hold the elements would be, without a need for such octets.
    const quint64 length = asn::encodedSize(array.data(), array.size());
    asn::Array::encode_size(stream, unsigned(length));
    asn::Array::encode(stream, array.data(), array.size());
    return stream;
}

template <class T>
QDataStream& operator>>(QDataStream& stream, VMemArray<T>& array)
{
    math::MSBArray octets;
    asn::DerValue::decode(stream, octets);
    if (array.resize(asn::Array::count(octets)))
        array.resize(asn::Array::decode(octets, array.data(), array.size()));
    return stream;
}

#define INSTANTIATE(T)                                                                             \
    template QDataStream& operator<<(QDataStream& stream, const VMemArray<T>& array);              \
    template QDataStream& operator>>(QDataStream& stream, VMemArray<T>& array);
INSTANTIATE(int)
INSTANTIATE(unsigned)
INSTANTIATE(float)
INSTANTIATE(double)
#undef INSTANTIATE
