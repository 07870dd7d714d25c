#pragma once

#include "security/asnarray.h"
#include "security/asnvalue.h"

namespace geometry
{
/// Writes numbers as one array.
template <class S>
QDataStream& writeNumbers(QDataStream& stream, const S* numbers, unsigned count)
{
    math::MSBArray octets;
    asn::Array::encode(octets, numbers, count);
    asn::DerValue::encode(stream, octets);
    return stream;
}

/// Reads at most `count` numbers. Those that the stream lacks stay as they were.
template <class S>
QDataStream& readNumbers(QDataStream& stream, S* numbers, unsigned count)
{
    math::MSBArray octets;
    asn::DerValue::decode(stream, octets);
    asn::Array::decode(octets, numbers, count);
    return stream;
}
} // namespace geometry
