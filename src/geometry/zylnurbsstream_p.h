#pragma once

#include "geometry/zylnurbs.h"

#include "security/asnvalue.h"

#include <qdatastream.h>

namespace geometry
{
/// Writes an order as an integer value.
void writeOrder(QDataStream& stream, int order);
/// Sets the stream's status, and returns false, for what is no order.
bool readOrder(QDataStream& stream, int& order);

/// Writes so many knots as one value, or none if there are fewer.
void writeKnots(QDataStream& stream, unsigned type, const KnotVector& knots, quint64 count);
/// Reads any number of knots. Sets the stream's status, and returns false, for what are none.
bool readKnots(QDataStream& stream, unsigned type, KnotVector& knots);

/// The knots of a type that there are.
inline quint64 knotCount(unsigned type, const KnotVector& knots)
{
    return knots.size() / KnotVector::itemSize(type);
}

template <class T>
QDataStream& NurbsVector<T>::read(QDataStream& stream, Item& item)
{
    auto made = std::make_unique<T>();
    stream >> *made;
    item = stream.status() == QDataStream::Ok ? made.release() : nullptr;
    return stream;
}

template <class T>
QDataStream& NurbsVector<T>::write(QDataStream& stream, Item item) const
{
    return stream << *static_cast<const T*>(item);
}
} // namespace geometry
