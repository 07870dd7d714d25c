#pragma once

#include "math/msbarray.h"
#include "tools/vmemarray.h"

class VGVector;

namespace asn
{
/// The compact coding of arrays of numbers: their count by the length rule of DER, then each number
/// as a length and the content octets of an INTEGER or REAL; a zero is the length 0 alone.
///
/// The templates stand for int, unsigned, float and double. Decoding never reads past the octets
/// nor writes past `size` elements. What isn't a number of the type, or is past its range, is 0.
class ZYL_EXPORT Array
{
public:
    static void encode_size(QDataStream& stream, unsigned size);
    static unsigned decode_size(QDataStream& stream);

    template <class T>
    static void encode(QDataStream& stream, const T* values, unsigned size);
    /// Returns how many elements were stored; those beyond `size` are skipped.
    template <class T>
    static unsigned decode(QDataStream& stream, T* values, unsigned size);

    /// Without memory the octets are empty.
    template <class T>
    static void encode(math::MSBArray& octets, const T* values, unsigned size);
    /// Returns how many elements were stored.
    template <class T>
    static unsigned decode(const math::MSBArray& octets, T* values, unsigned size);

    /// The count that stands in front of encoded elements, no more than the octets behind can hold.
    static unsigned count(const math::MSBArray& octets);

    /// The items in the form of the vector's own stream hooks, behind their count.
    static void encode(QDataStream& stream, const VGVector& vector);
    static void decode(QDataStream& stream, VGVector& vector);
};
} // namespace asn

/// An array of int, unsigned, float or double as the length and the octets of `asn::Array`.
template <class T>
ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, const VMemArray<T>& array);
/// Resizes the shared record to the count, which is held against the octets that are there.
template <class T>
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, VMemArray<T>& array);
