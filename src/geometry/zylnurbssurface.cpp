#include "geometry/zylnurbssurface.h"

#include "geometry/zylnurbsstream_p.h"

#include <algorithm>

namespace geometry
{
namespace
{
/// How many control points the knots of one direction make; 0 for none or too few.
quint64 pointCount(unsigned type, const KnotVector& knots, int order)
{
    const quint64 count = knotCount(type, knots);
    return count > unsigned(order) ? count - unsigned(order) : 0;
}
} // namespace

NurbsSurface::~NurbsSurface() = default;
NurbsMesh::~NurbsMesh() = default;

QDataStream& operator<<(QDataStream& stream, const NurbsFace& face)
{
    const unsigned type = face.vertices.flags();
    stream << static_cast<const GVector&>(face.vertices);
    writeOrder(stream, std::max(face.orderU, 0));
    writeOrder(stream, std::max(face.orderV, 0));
    writeKnots(stream, type, face.knotsU, knotCount(type, face.knotsU));
    writeKnots(stream, type, face.knotsV, knotCount(type, face.knotsV));
    return stream;
}

QDataStream& operator>>(QDataStream& stream, NurbsFace& face)
{
    NurbsFace read;
    stream >> static_cast<GVector&>(read.vertices);
    const unsigned type = read.vertices.flags();
    if (stream.status() != QDataStream::Ok || !readOrder(stream, read.orderU) ||
        !readOrder(stream, read.orderV) || !readKnots(stream, type, read.knotsU) ||
        !readKnots(stream, type, read.knotsV))
        return stream;
    const bool isBare = read.knotsU.isEmpty() && read.knotsV.isEmpty();
    const quint64 u = pointCount(type, read.knotsU, read.orderU);
    const quint64 v = pointCount(type, read.knotsV, read.orderV);
    if (!isBare && u * v != read.vertices.size()) {
        stream.setStatus(QDataStream::ReadCorruptData);
        return stream;
    }
    face = read;
    return stream;
}

template class NurbsVector<NurbsFace>;
} // namespace geometry
