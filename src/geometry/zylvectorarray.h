#pragma once

#include "geometry/zylvector.h"
#include "tools/vmemarray.h"
#include "tools/vmembuffer.h"

namespace geometry
{
/// Which matrix and box go with a vector.
template <class V>
struct VectorKind;
template <class S>
struct VectorKind<Vector2<S>> {
    using Matrix = Matrix3<S>;
    using Box = Box2<S>;
};
template <>
struct VectorKind<Vector2i> {
    using Matrix = Matrix3d;
    using Box = Box2i;
};
template <class S>
struct VectorKind<Vector3<S>> {
    using Matrix = Matrix4<S>;
    using Box = Box3<S>;
};
template <class S>
struct VectorKind<Vector4<S>> {
    using Matrix = Matrix4<S>;
    using Box = Box3<S>;
};

/// Shared array of vectors. What changes the elements changes them for all handles.
template <class V>
class ZYL_EXPORT VectorArray : public VMemArray<V>
{
public:
    using Matrix = typename VectorKind<V>::Matrix;
    using Box = typename VectorKind<V>::Box;

    VectorArray() = default;
    explicit VectorArray(int size) : VMemArray<V>(size) {}
    explicit VectorArray(const VMemArray<V>& other) : VMemArray<V>(other) {}
    VectorArray(const V* data, int size) { this->duplicate(data, size > 0 ? unsigned(size) : 0); }

    void translate(const V& offset);
    /// Maps each element as a row by the affine product of its type, which warns for each if the
    /// matrix isn't affine. Whole numbers are rounded, halves away from zero.
    void project(const Matrix& m);
    static void reverse(V* data, int n);

    /// The extent of the points; the empty box for none. Points of four numbers are homogeneous: x,
    /// y and z are divided by w unless it is exactly 0 or 1.
    Box boundingBox() const
    {
        Box box;
        boundingBox(box, this->data(), int(this->size()));
        return box;
    }
    static void boundingBox(Box& box, const V* data, int n);
};

/// The stream form is all components as one array of numbers. Reading changes the shared elements;
/// numbers that make no whole vector are dropped.
template <class V>
ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, const VectorArray<V>& array);
template <class V>
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, VectorArray<V>& array);

/// Points in space, which can also be read as homogeneous points of the plane.
template <class S>
class ZYL_EXPORT VectorArray3 : public VectorArray<Vector3<S>>
{
public:
    using VectorArray<Vector3<S>>::VectorArray;
    using VectorArray<Vector3<S>>::boundingBox;

    VectorArray3() = default;
    /// Widens each element by z = 0.
    explicit VectorArray3(const VectorArray<Vector2<S>>& flat);

    /// Divides x and y by z unless it is exactly 0 or 1.
    static void boundingBox(Box2<S>& box, const Vector3<S>* data, int n);
};

using Vector2iArray = VectorArray<Vector2i>;
using Vector2fArray = VectorArray<Vector2f>;
using Vector2dArray = VectorArray<Vector2d>;
using Vector3fArray = VectorArray3<float>;
using Vector3dArray = VectorArray3<double>;
using Vector4fArray = VectorArray<Vector4f>;
using Vector4dArray = VectorArray<Vector4d>;

using Vector2iBuffer = VMemBuffer<Vector2i>;
using Vector2fBuffer = VMemBuffer<Vector2f>;
using Vector3fBuffer = VMemBuffer<Vector3f>;

extern template class VectorArray<Vector2i>;
extern template class VectorArray<Vector2f>;
extern template class VectorArray<Vector2d>;
extern template class VectorArray<Vector3f>;
extern template class VectorArray<Vector3d>;
extern template class VectorArray<Vector4f>;
extern template class VectorArray<Vector4d>;
extern template class VectorArray3<float>;
extern template class VectorArray3<double>;

/// Append buffer of vectors whose type and dimension are known at run time. An item takes
/// `dimension` elements, or one if that is 0.
class ZYL_EXPORT VectorBuffer : public VGBuffer
{
public:
    VectorBuffer(int size, int dimension, unsigned flags);

    unsigned flags() const { return m_flags; }
    int dimension() const { return m_dimension; }
    int itemSize() const;

    /// See VGBuffer::resize.
    bool resize(unsigned n) { return VGBuffer::resize(n, itemSize()); }
    /// Appends an item, which must not lie in this buffer. False if a full buffer can't grow.
    bool append(const char* item) { return VGBuffer::append(item, itemSize()); }
    /// Address of an item, which isn't checked.
    char* at(unsigned index) const { return m_data + std::size_t(index) * unsigned(itemSize()); }

private:
    quint16 m_flags;
    quint16 m_dimension;
};
} // namespace geometry
