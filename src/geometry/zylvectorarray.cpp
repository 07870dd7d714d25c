#include "geometry/zylvectorarray.h"

#include "geometry/gvector.h"
#include "geometry/numberstream_p.h"
#include "geometry/zylbox.h"
#include "geometry/zylhmatrix.h"
#include "tools/saturate.h"

#include <algorithm>
#include <utility>

namespace geometry
{
namespace
{
template <class S, class M>
Vector2<S> projected(const Vector2<S>& v, const M& m)
{
    if constexpr (std::is_integral_v<S>) {
        const Vector2d point = Vector2d(v) * m;
        return Vector2<S>(roundedInt(point.x), roundedInt(point.y));
    } else {
        return v * m;
    }
}

template <class V, class M>
V projected(const V& v, const M& m)
{
    return v * m;
}

template <class V>
using Component = std::remove_reference_t<decltype(std::declval<V>().x)>;
template <class V>
constexpr unsigned components = sizeof(V) / sizeof(Component<V>);

template <class V>
constexpr bool isSpatial = false;
template <class S>
constexpr bool isSpatial<Vector3<S>> = true;

/// The point itself, or that of a homogeneous form whose weight is neither 0 nor 1.
template <class S>
Vector2<S> pointOf(const Vector2<S>& v)
{
    return v;
}

template <class S>
Vector3<S> pointOf(const Vector3<S>& v)
{
    return v;
}

template <class S>
Vector3<S> pointOf(const Vector4<S>& v)
{
    const Vector3<S> point(v.x, v.y, v.z);
    return v.w == 0 || v.w == 1 ? point : point / v.w;
}

template <class S>
Vector2<S> flatPointOf(const Vector3<S>& v)
{
    const Vector2<S> point(v.x, v.y);
    return v.z == 0 || v.z == 1 ? point : point / v.z;
}
} // namespace

template <class V>
void VectorArray<V>::translate(const V& offset)
{
    const V by = offset; // may be one of the elements
    for (V& v : *this)
        v += by;
}

template <class V>
void VectorArray<V>::project(const Matrix& m)
{
    const Matrix by = m;
    if constexpr (isSpatial<V>) {
        // One test spares each element its own.
        if (by.isAffine()) {
            for (V& v : *this)
                v = by.map(v);
            return;
        }
    }
    for (V& v : *this)
        v = projected(v, by);
}

template <class V>
void VectorArray<V>::reverse(V* data, int n)
{
    if (n > 1)
        std::reverse(data, data + n);
}

template <class V>
void VectorArray<V>::boundingBox(Box& box, const V* data, int n)
{
    box.makeEmpty();
    for (int i = 0; i < n; ++i)
        box.include(pointOf(data[i]));
}

template <class V>
QDataStream& operator<<(QDataStream& stream, const VectorArray<V>& array)
{
    const auto* numbers = reinterpret_cast<const Component<V>*>(array.data());
    return writeNumbers(stream, numbers, array.size() * components<V>);
}

template <class V>
QDataStream& operator>>(QDataStream& stream, VectorArray<V>& array)
{
    math::MSBArray octets;
    asn::DerValue::decode(stream, octets);
    if (array.resize(asn::Array::count(octets) / components<V>)) {
        auto* numbers = reinterpret_cast<Component<V>*>(array.data());
        const unsigned count = array.size() * components<V>;
        array.resize(asn::Array::decode(octets, numbers, count) / components<V>);
    }
    return stream;
}

template <class S>
VectorArray3<S>::VectorArray3(const VectorArray<Vector2<S>>& flat)
{
    if (!this->resize(flat.size()))
        return;
    std::transform(flat.begin(), flat.end(), this->begin(),
                   [](const Vector2<S>& v) { return Vector3<S>(v); });
}

template <class S>
void VectorArray3<S>::boundingBox(Box2<S>& box, const Vector3<S>* data, int n)
{
    box.makeEmpty();
    for (int i = 0; i < n; ++i)
        box.include(flatPointOf(data[i]));
}

VectorBuffer::VectorBuffer(int size, int dimension, unsigned flags)
    : m_flags(quint16(flags)), m_dimension(quint16(dimension))
{
    if (size > 0)
        resize(unsigned(size));
}

int VectorBuffer::itemSize() const
{
    const int element = GVector::itemSize(m_flags);
    return m_dimension == 0 ? element : element * m_dimension;
}

template class VectorArray<Vector2i>;
template class VectorArray<Vector2f>;
template class VectorArray<Vector2d>;
template class VectorArray<Vector3f>;
template class VectorArray<Vector3d>;
template class VectorArray<Vector4f>;
template class VectorArray<Vector4d>;
template class VectorArray3<float>;
template class VectorArray3<double>;
template QDataStream& operator<<(QDataStream&, const VectorArray<Vector2i>&);
template QDataStream& operator>>(QDataStream&, VectorArray<Vector2i>&);
template QDataStream& operator<<(QDataStream&, const VectorArray<Vector2f>&);
template QDataStream& operator>>(QDataStream&, VectorArray<Vector2f>&);
template QDataStream& operator<<(QDataStream&, const VectorArray<Vector2d>&);
template QDataStream& operator>>(QDataStream&, VectorArray<Vector2d>&);
template QDataStream& operator<<(QDataStream&, const VectorArray<Vector3f>&);
template QDataStream& operator>>(QDataStream&, VectorArray<Vector3f>&);
template QDataStream& operator<<(QDataStream&, const VectorArray<Vector3d>&);
template QDataStream& operator>>(QDataStream&, VectorArray<Vector3d>&);
template QDataStream& operator<<(QDataStream&, const VectorArray<Vector4f>&);
template QDataStream& operator>>(QDataStream&, VectorArray<Vector4f>&);
template QDataStream& operator<<(QDataStream&, const VectorArray<Vector4d>&);
template QDataStream& operator>>(QDataStream&, VectorArray<Vector4d>&);
} // namespace geometry
