#pragma once

#include "geometry/zylforward.h"
#include "tools/vgarray.h"

#include <qglobal.h>

QT_BEGIN_NAMESPACE
class QDataStream;
QT_END_NAMESPACE

namespace geometry
{
/// A run of numbers whose type is known at run time. Copies share the numbers and the flags, as
/// `VGArray` does.
///
/// A flags word goes with the data: bits 0-1 the element type, bits 2-3 a path's winding rule, bit
/// 4 the mark of homogeneous vectors, bits 16-31 the dimension that `GVectorArray` reads.
class ZYL_EXPORT GVector : public VGArray
{
public:
    enum ElementType { Bytes = 0, Int = 1, Float = 2, Double = 3 };
    static constexpr unsigned typeMask = 3;
    static constexpr int windingShift = 2;
    static constexpr unsigned windingMask = 3u << windingShift;
    static constexpr unsigned homogeneous = 1u << 4;
    static constexpr int dimensionShift = 16;

    /// Empty, of type `Bytes`.
    GVector();
    /// `n` unset elements. Empty, but with the flags, if there is no memory for them.
    GVector(int n, unsigned flags);
    explicit GVector(const Vector2i& v);
    explicit GVector(const Vector2f& v);
    explicit GVector(const Vector3f& v);
    explicit GVector(const Vector4f& v);
    explicit GVector(const Vector2d& v);
    explicit GVector(const Vector3d& v);
    explicit GVector(const Vector4d& v);
    GVector(const int* numbers, int n);
    GVector(const float* numbers, int n);
    GVector(const double* numbers, int n);
    GVector(const GVector& other) = default;
    GVector& operator=(const GVector& other) = default;
    ~GVector() override;

    /// Bytes of one element of a type.
    static constexpr int itemSize(unsigned flags)
    {
        const unsigned type = flags & typeMask;
        return type == Bytes ? 1 : type == Double ? 8 : 4;
    }

    unsigned flags() const { return record().flags; }
    void setFlags(unsigned flags) { record().flags = flags; }
    ElementType type() const { return ElementType(flags() & typeMask); }
    int itemSize() const { return itemSize(flags()); }
    unsigned size() const { return VGArray::size() / unsigned(itemSize()); }

    /// Address of an element. Warns past the end and gives element 0, which is null in an empty
    /// vector.
    char* at(unsigned index) const { return item(index, unsigned(itemSize())); }
    bool resize(unsigned n) { return resizeTo(quint64(n) * unsigned(itemSize())); }

    GVector& assign(const GVector& other) { return *this = other; }
    /// Takes over a block from `malloc`.
    GVector& assign(const void* data, unsigned n, unsigned flags);
    GVector& duplicate(const GVector& other);
    GVector& duplicate(const void* data, unsigned n, unsigned flags);

    /// As many components as there are elements; the rest, and all for type `Bytes`, are 0.
    Vector2i toVector2i() const;
    Vector2f toVector2f() const;
    Vector3f toVector3f() const;
    Vector4f toVector4f() const;
    Vector2d toVector2d() const;
    Vector3d toVector3d() const;
    Vector4d toVector4d() const;

    /// Converts at most `n` elements and returns how many; none for type `Bytes`.
    int toInt(int* numbers, int n) const;
    int toFloat(float* numbers, int n) const;
    int toDouble(double* numbers, int n) const;

    /// Works on as many elements as both have, for all handles, and keeps the own type. Nothing
    /// happens if either type is `Bytes`. Sums of whole and real numbers are cut towards zero and
    /// stop at the limits of `int`.
    GVector& operator+=(const GVector& other);
    GVector& operator-=(const GVector& other);
    /// Whole numbers take the factor cut to `int`; dividing them by one that is 0 then changes
    /// nothing.
    GVector& operator*=(double factor);
    GVector& operator/=(double divisor);

protected:
    struct vector_data : array_data {
        quint32 flags = 0;
    };

    array_data* newData() override;
    void deleteData(array_data* data) override;

    vector_data& record() const { return static_cast<vector_data&>(*m_data); }
    char* item(unsigned index, unsigned bytes) const;

private:
    static array_data* makeRecord();
};

/// Empty unless flags and lengths are equal and the type isn't `Bytes`.
ZYL_EXPORT GVector operator+(const GVector& a, const GVector& b);
ZYL_EXPORT GVector operator-(const GVector& a, const GVector& b);

/// The stream form is an octet string that holds the flags as an integer, then the numbers as one
/// array, or the bytes. Reading changes the shared data; what isn't such a form leaves it as it
/// was.
ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, const GVector& vector);
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, GVector& vector);

/// The same data read as consecutive vectors of `dimension` numbers, such as the control points of
/// a curve. Of a rational curve the last number of each is the weight.
class ZYL_EXPORT GVectorArray : public GVector
{
public:
    GVectorArray() = default;
    /// Shares the numbers.
    explicit GVectorArray(const GVector& vector) : GVector(vector) {}
    /// `n` unset vectors; dimension 0 stands for plain numbers.
    GVectorArray(int n, int dimension, unsigned flags);
    GVectorArray(const int* numbers, int n, int dimension);
    GVectorArray(const float* numbers, int n, int dimension);
    GVectorArray(const double* numbers, int n, int dimension);

    /// At least 1.
    int dimension() const
    {
        const unsigned stored = flags() >> dimensionShift;
        return stored == 0 ? 1 : int(stored);
    }
    void setDimension(int n) { setFlags((flags() & 0xffff) | unsigned(n) << dimensionShift); }

    unsigned size() const { return GVector::size() / unsigned(dimension()); }
    bool resize(unsigned n) { return resizeTo(quint64(n) * vectorSize()); }
    char* at(unsigned index) const { return item(index, vectorSize()); }

    /// This array if it has the type, else a copy converted to it. Bytes have no numbers to
    /// convert.
    GVectorArray toIntArray() const;
    GVectorArray toFloatArray() const;
    GVectorArray toDoubleArray() const;

    /// Moves every vector of an array of this type by `n` numbers. Vectors of one number more end
    /// in a weight, which the offset is multiplied by, a zero weight counting as 1. Other
    /// dimensions stay as they are.
    void translate(const float* offset, int n);
    void translate(const double* offset, int n);

    /// Turns the order of the vectors round.
    void reverse();
    static void reverse(char* data, int itemBytes, int count);

private:
    unsigned vectorSize() const { return unsigned(itemSize()) * unsigned(dimension()); }
};
} // namespace geometry
