#include "geometry/zylnurbs.h"

#include "geometry/zylbspline.h"
#include "geometry/zylnurbsstream_p.h"
#include "security/asnarray.h"

#include <qlogging.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <numeric>

namespace geometry
{
bool KnotVector::resize(unsigned bytes)
{
    if (nrefs() > 1) {
        KnotVector own;
        if (!own.VGArray::resize(bytes)) {
            *this = own;
            return false;
        }
        std::copy_n(VGArray::data(), std::min(bytes, size()), own.VGArray::data());
        *this = own;
        return true;
    }
    return VGArray::resize(bytes);
}

bool KnotVector::duplicate(const void* knots, unsigned bytes)
{
    if (!knots || bytes == 0)
        return true;
    VGArray::duplicate(static_cast<const char*>(knots), bytes);
    return size() == bytes;
}

math::MSBArray KnotVector::encode_knots(unsigned type, const void* knots, unsigned count)
{
    math::MSBArray bytes;
    if (itemSize(type) == sizeof(double))
        asn::Array::encode(bytes, static_cast<const double*>(knots), count);
    else
        asn::Array::encode(bytes, static_cast<const float*>(knots), count);
    return bytes;
}

unsigned KnotVector::decode_knots(const math::MSBArray& bytes, unsigned type, void* knots,
                                  unsigned count)
{
    return itemSize(type) == sizeof(double)
               ? asn::Array::decode(bytes, static_cast<double*>(knots), count)
               : asn::Array::decode(bytes, static_cast<float*>(knots), count);
}

NurbsCurve::NurbsCurve(int curveOrder, const GVectorArray& points, const void* curveKnots)
    : VertexShape(points), order(curveOrder)
{
    const qint64 bytes = (qint64(points.size()) + order) * KnotVector::itemSize(points.flags());
    if (bytes > 0 && bytes <= std::numeric_limits<unsigned>::max())
        knots.duplicate(curveKnots, unsigned(bytes));
}

NurbsCurve::~NurbsCurve() = default;

namespace
{
template <class S>
void elevateCurve(NurbsCurve& curve, int times)
{
    const int order = std::max(curve.order, 2), dim = curve.vertices.dimension();
    const int count = int(curve.vertices.size());
    const qint64 newCount = count + qint64(count - order + 1) * times;
    const qint64 newKnots = newCount + order + times;
    if (count < order || newKnots * qint64(sizeof(S)) > std::numeric_limits<unsigned>::max())
        return;
    if (curve.vertices.nrefs() > 1) {
        GVectorArray own;
        own.duplicate(curve.vertices);
        curve.vertices = own;
        KnotVector ownKnots(curve.knots.data(), curve.knots.size());
        curve.knots = ownKnots;
    }
    const unsigned oldBytes = unsigned(count + order) * unsigned(sizeof(S));
    if (curve.knots.size() < oldBytes) {
        if (!curve.knots.resize(oldBytes))
            return;
        BSpline::initKnot(order, count, false, curve.knots.as<S>());
    }
    if (!curve.vertices.resize(unsigned(newCount)))
        return;
    if (!curve.knots.resize(unsigned(newKnots) * unsigned(sizeof(S)))) {
        curve.vertices.resize(0);
        return;
    }
    S* const knots = curve.knots.as<S>();
    S* const points = reinterpret_cast<S*>(curve.vertices.data());
    const int made = BSpline::elevate(order, count, knots, dim, points, times, knots, points);
    curve.order = made > 0 ? order + times : curve.order;
    curve.vertices.resize(unsigned(made > 0 ? made : count));
    curve.knots.resize(made > 0 ? unsigned(made + curve.order) * unsigned(sizeof(S)) : oldBytes);
}
} // namespace

void NurbsCurve::elevate(int times)
{
    if (times <= 0 || vertices.isEmpty() ||
        vertices.size() > unsigned(std::numeric_limits<int>::max()))
        return;
    if (vertices.type() == GVector::Float)
        elevateCurve<float>(*this, times);
    else if (vertices.type() == GVector::Double)
        elevateCurve<double>(*this, times);
}

void writeOrder(QDataStream& stream, int order)
{
    asn::DerValue value;
    value.tag = asn::DerValue::Integer;
    value.data.setInteger(order);
    value.encode(stream);
}

bool readOrder(QDataStream& stream, int& order)
{
    asn::DerValue value;
    value.decode(stream);
    bool fits = false;
    const int number = value.data.toInt(&fits);
    if (stream.status() != QDataStream::Ok)
        return false;
    if (value.tag != asn::DerValue::Integer || !fits || number < 0) {
        stream.setStatus(QDataStream::ReadCorruptData);
        return false;
    }
    order = number;
    return true;
}

void writeKnots(QDataStream& stream, unsigned type, const KnotVector& knots, quint64 count)
{
    asn::DerValue value;
    value.tag = asn::DerValue::OctetString;
    if (count > 0 && knotCount(type, knots) >= count)
        value.data = KnotVector::encode_knots(type, knots.data(), unsigned(count));
    value.encode(stream);
}

bool readKnots(QDataStream& stream, unsigned type, KnotVector& knots)
{
    asn::DerValue value;
    value.decode(stream);
    if (stream.status() != QDataStream::Ok)
        return false;
    // The count is no more than the octets behind it, so that memory is that of the stream.
    const unsigned count = asn::Array::count(value.data);
    KnotVector read;
    if (value.tag == asn::DerValue::OctetString &&
        quint64(count) * KnotVector::itemSize(type) <= std::numeric_limits<unsigned>::max() &&
        read.resize(count * KnotVector::itemSize(type)) &&
        KnotVector::decode_knots(value.data, type, read.data(), count) == count) {
        knots = read;
        return true;
    }
    stream.setStatus(QDataStream::ReadCorruptData);
    return false;
}

QDataStream& operator<<(QDataStream& stream, const NurbsCurve& curve)
{
    stream << static_cast<const GVector&>(curve.vertices);
    writeOrder(stream, std::max(curve.order, 0));
    const quint64 count = quint64(curve.vertices.size()) + unsigned(std::max(curve.order, 0));
    writeKnots(stream, curve.vertices.flags(), curve.knots, count);
    return stream;
}

QDataStream& operator>>(QDataStream& stream, NurbsCurve& curve)
{
    GVectorArray vertices;
    int order;
    KnotVector knots;
    stream >> static_cast<GVector&>(vertices);
    if (stream.status() != QDataStream::Ok || !readOrder(stream, order) ||
        !readKnots(stream, vertices.flags(), knots))
        return stream;
    const quint64 count = knotCount(vertices.flags(), knots);
    if (count > 0 && count != quint64(vertices.size()) + unsigned(order)) {
        stream.setStatus(QDataStream::ReadCorruptData);
        return stream;
    }
    curve.vertices = vertices;
    curve.order = order;
    curve.knots = knots;
    return stream;
}

template <class S>
typename BasicNurbsCurveInfo<S>::Block BasicNurbsCurveInfo<S>::allocate(qint64 bytes)
{
    if (bytes > std::numeric_limits<int>::max())
        return nullptr;
    return Block(static_cast<S*>(std::malloc(std::size_t(bytes))));
}

template <class S>
bool BasicNurbsCurveInfo<S>::makePeriodic(int order, int bytesPerPoint)
{
    const qint64 newCount = qint64(count) + order - 1;
    const qint64 newKnotCount = std::max(qint64(knotCount), qint64(count) + order) + order - 1;
    Block newPoints = allocate(newCount * bytesPerPoint);
    Block newKnots = allocate(newKnotCount * qint64(sizeof(S)));
    if (!newPoints || !newKnots)
        return false;
    char* const to = reinterpret_cast<char*>(newPoints.get());
    const char* const from = reinterpret_cast<const char*>(points);
    for (qint64 i = 0; i < newCount; i += count)
        std::memcpy(to + i * bytesPerPoint, from,
                    std::size_t(std::min<qint64>(count, newCount - i) * bytesPerPoint));
    std::iota(newKnots.get(), newKnots.get() + newKnotCount, S(0));
    m_points = std::move(newPoints);
    m_knots = std::move(newKnots);
    points = m_points.get();
    knots = m_knots.get();
    count = int(newCount);
    knotCount = int(newKnotCount);
    return true;
}

template <class S>
bool BasicNurbsCurveInfo<S>::check(int order, int bytesPerPoint, unsigned flags)
{
    if (order < 1 || bytesPerPoint < 1)
        return false;
    const bool isPeriodic = (flags & 3) == 3;
    if (isPeriodic ? count < 1 || !points : count < order) {
        qWarning("NurbsCurve::check: no enough control points");
        return false;
    }
    if (isPeriodic)
        return makePeriodic(order, bytesPerPoint);
    const qint64 needed = qint64(count) + order;
    if (knots && knotCount != 0)
        return knotCount >= needed;
    Block made = allocate(needed * qint64(sizeof(S)));
    if (!made)
        return false;
    BSpline::initKnot(order, count, flags & 1, made.get());
    m_knots = std::move(made);
    knots = m_knots.get();
    knotCount = int(needed);
    return true;
}

template struct BasicNurbsCurveInfo<float>;
template struct BasicNurbsCurveInfo<double>;
template class NurbsVector<NurbsCurve>;
} // namespace geometry
