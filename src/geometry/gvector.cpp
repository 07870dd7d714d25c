#include "geometry/gvector.h"

#include "geometry/zylvector.h"
#include "math/biginteger.h"
#include "security/asnarray.h"
#include "security/asnvalue.h"
#include "toolkit/checkpointer.h"

#include <qbytearray.h>
#include <qdatastream.h>
#include <qiodevice.h>
#include <qlogging.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>

namespace geometry
{
namespace
{
template <class T>
constexpr GVector::ElementType typeOf = std::is_same_v<T, int>     ? GVector::Int
                                        : std::is_same_v<T, float> ? GVector::Float
                                                                   : GVector::Double;

/// Calls `use` with the numbers under their own type; not at all for bytes.
template <class F>
void withNumbers(const GVector& vector, F&& use)
{
    char* const data = vector.data();
    switch (vector.type()) {
    case GVector::Bytes:
        break;
    case GVector::Int:
        use(reinterpret_cast<int*>(data));
        break;
    case GVector::Float:
        use(reinterpret_cast<float*>(data));
        break;
    case GVector::Double:
        use(reinterpret_cast<double*>(data));
        break;
    }
}

/// Carries out an operation in the wider of two types; whole numbers wrap instead of overflowing.
template <class A, class B, class Operation>
A combine(A a, B b, Operation operation)
{
    using Wider = std::common_type_t<A, B>;
    if constexpr (std::is_integral_v<Wider>)
        return A(operation(unsigned(a), unsigned(b)));
    else
        return toNumber<A>(operation(Wider(a), Wider(b)));
}

template <class Operation>
void combine(GVector& a, const GVector& b, Operation operation)
{
    const unsigned count = std::min(a.size(), b.size());
    withNumbers(a, [&](auto* own) {
        withNumbers(b, [&](const auto* other) {
            for (unsigned i = 0; i < count; ++i)
                own[i] = combine(own[i], other[i], operation);
        });
    });
}

template <class T>
int convert(const GVector& from, T* to, int n)
{
    int count = 0;
    withNumbers(from, [&](const auto* numbers) {
        count = int(std::min(unsigned(std::max(n, 0)), from.size()));
        for (int i = 0; i < count; ++i)
            to[i] = toNumber<T>(numbers[i]);
    });
    return count;
}

template <class V>
V toVector(const GVector& from)
{
    V v;
    convert(from, &v.x, int(sizeof(V) / sizeof(v.x)));
    return v;
}

template <class T>
GVectorArray converted(const GVectorArray& from)
{
    if (from.type() == typeOf<T>)
        return from;
    const unsigned flags = (from.flags() & ~GVector::typeMask) | typeOf<T>;
    const unsigned count = from.type() == GVector::Bytes ? 0 : from.GVector::size();
    GVector result(int(count), flags);
    convert(from, reinterpret_cast<T*>(result.data()), int(result.size()));
    return GVectorArray(result);
}

template <class T>
void translateBy(GVectorArray& array, const T* offset, int n)
{
    const int dimension = array.dimension();
    if (array.type() != typeOf<T> || n < 0 || (dimension != n && dimension != n + 1))
        return;
    T* v = reinterpret_cast<T*>(array.data());
    for (unsigned count = array.size(); count > 0; --count, v += dimension) {
        const T weight = dimension == n || v[n] == 0 ? T(1) : v[n];
        for (int k = 0; k < n; ++k)
            v[k] += offset[k] * weight;
    }
}

/// The bytes of `n` elements, or 0 if no array can hold them.
unsigned byteCount(unsigned n, unsigned flags)
{
    const quint64 bytes = quint64(n) * unsigned(GVector::itemSize(flags));
    return bytes > 0xffffffffu ? 0 : unsigned(bytes);
}

constexpr auto plus = [](auto a, auto b) { return a + b; };
constexpr auto minus = [](auto a, auto b) { return a - b; };

template <class Operation>
GVector combined(const GVector& a, const GVector& b, Operation operation)
{
    if (a.flags() != b.flags() || a.VGArray::size() != b.VGArray::size() ||
        a.type() == GVector::Bytes)
        return GVector();
    GVector result;
    result.duplicate(a);
    combine(result, b, operation);
    return result;
}
} // namespace

GVector::GVector() : VGArray(makeRecord()) {}

GVector::GVector(int n, unsigned flags) : GVector()
{
    setFlags(flags);
    if (n < 0)
        qWarning("VGArray: Cannot allocate array with negative length");
    else
        resize(unsigned(n));
}

GVector::GVector(const int* numbers, int n) : GVector()
{
    duplicate(numbers, unsigned(std::max(n, 0)), Int);
}

GVector::GVector(const float* numbers, int n) : GVector()
{
    duplicate(numbers, unsigned(std::max(n, 0)), Float);
}

GVector::GVector(const double* numbers, int n) : GVector()
{
    duplicate(numbers, unsigned(std::max(n, 0)), Double);
}

GVector::GVector(const Vector2i& v) : GVector(&v.x, 2) {}
GVector::GVector(const Vector2f& v) : GVector(&v.x, 2) {}
GVector::GVector(const Vector3f& v) : GVector(&v.x, 3) {}
GVector::GVector(const Vector4f& v) : GVector(&v.x, 4) {}
GVector::GVector(const Vector2d& v) : GVector(&v.x, 2) {}
GVector::GVector(const Vector3d& v) : GVector(&v.x, 3) {}
GVector::GVector(const Vector4d& v) : GVector(&v.x, 4) {}

GVector::~GVector()
{
    release();
}

GVector& GVector::assign(const void* data, unsigned n, unsigned flags)
{
    VGArray::assign(static_cast<const char*>(data), byteCount(n, flags));
    setFlags(flags);
    return *this;
}

GVector& GVector::duplicate(const GVector& other)
{
    const unsigned flags = other.flags();
    VGArray::duplicate(other);
    setFlags(flags);
    return *this;
}

GVector& GVector::duplicate(const void* data, unsigned n, unsigned flags)
{
    VGArray::duplicate(static_cast<const char*>(data), byteCount(n, flags));
    setFlags(flags);
    return *this;
}

Vector2i GVector::toVector2i() const
{
    return toVector<Vector2i>(*this);
}

Vector2f GVector::toVector2f() const
{
    return toVector<Vector2f>(*this);
}

Vector3f GVector::toVector3f() const
{
    return toVector<Vector3f>(*this);
}

Vector4f GVector::toVector4f() const
{
    return toVector<Vector4f>(*this);
}

Vector2d GVector::toVector2d() const
{
    return toVector<Vector2d>(*this);
}

Vector3d GVector::toVector3d() const
{
    return toVector<Vector3d>(*this);
}

Vector4d GVector::toVector4d() const
{
    return toVector<Vector4d>(*this);
}

int GVector::toInt(int* numbers, int n) const
{
    return convert(*this, numbers, n);
}

int GVector::toFloat(float* numbers, int n) const
{
    return convert(*this, numbers, n);
}

int GVector::toDouble(double* numbers, int n) const
{
    return convert(*this, numbers, n);
}

GVector& GVector::operator+=(const GVector& other)
{
    combine(*this, other, plus);
    return *this;
}

GVector& GVector::operator-=(const GVector& other)
{
    combine(*this, other, minus);
    return *this;
}

GVector& GVector::operator*=(double factor)
{
    withNumbers(*this, [&](auto* numbers) {
        using T = std::remove_pointer_t<decltype(numbers)>;
        const T own = toNumber<T>(factor);
        std::transform(numbers, numbers + size(), numbers, [own](T number) {
            return combine(number, own, [](auto a, auto b) { return a * b; });
        });
    });
    return *this;
}

GVector& GVector::operator/=(double divisor)
{
    withNumbers(*this, [&](auto* numbers) {
        using T = std::remove_pointer_t<decltype(numbers)>;
        const T own = toNumber<T>(divisor);
        if constexpr (std::is_integral_v<T>) {
            if (own == 0)
                return;
            // In the wider type the least number has a negative.
            for (T *number = numbers, *end = numbers + size(); number != end; ++number)
                *number = T(unsigned(qint64(*number) / own));
        } else {
            for (T *number = numbers, *end = numbers + size(); number != end; ++number)
                *number /= own;
        }
    });
    return *this;
}

VGArray::array_data* GVector::newData()
{
    return makeRecord();
}

VGArray::array_data* GVector::makeRecord()
{
    void* memory = std::malloc(sizeof(vector_data));
    qt_check_pointer(!memory, "geometry/gvector", 36);
    return memory ? new (memory) vector_data : nullptr;
}

void GVector::deleteData(array_data* data)
{
    std::free(static_cast<vector_data*>(data));
}

/// Address of an item of that many bytes; the first, with a warning, past the end.
char* GVector::item(unsigned index, unsigned bytes) const
{
    const quint64 offset = quint64(index) * bytes;
    if (Q_LIKELY(offset + bytes <= VGArray::size()))
        return data() + offset;
    msg_index(unsigned(offset));
    return data();
}

GVector operator+(const GVector& a, const GVector& b)
{
    return combined(a, b, plus);
}

GVector operator-(const GVector& a, const GVector& b)
{
    return combined(a, b, minus);
}

QDataStream& operator<<(QDataStream& stream, const GVector& vector)
{
    asn::DerValue flags;
    flags.setInteger(math::BigInteger(vector.flags()));
    const QMemArray<char> head = flags.toByteArray();
    math::MSBArray content;
    if (vector.type() == GVector::Bytes)
        content = math::MSBArray(vector.data(), vector.size());
    withNumbers(vector,
                [&](const auto* numbers) { asn::Array::encode(content, numbers, vector.size()); });
    asn::DerValue outer;
    outer.tag = asn::DerValue::OctetString;
    if (outer.data.resize(head.size() + content.size())) {
        std::copy_n(head.data(), head.size(), outer.data.data());
        std::copy_n(content.data(), content.size(), outer.data.data() + head.size());
    }
    outer.encode(stream);
    return stream;
}

QDataStream& operator>>(QDataStream& stream, GVector& vector)
{
    asn::DerValue outer;
    outer.decode(stream);
    if (outer.tag != asn::DerValue::OctetString) {
        stream.setStatus(QDataStream::ReadCorruptData);
        return stream;
    }
    outer.data.makeShareable();
    QDataStream inner(QByteArray::fromRawData(outer.data.data(), qsizetype(outer.data.size())));
    asn::DerValue flags;
    flags.decode(inner);
    bool fits = false;
    const unsigned value = flags.data.toUInt(&fits);
    if (flags.tag != asn::DerValue::Integer || !fits || inner.status() != QDataStream::Ok) {
        stream.setStatus(QDataStream::ReadCorruptData);
        return stream;
    }
    const unsigned head = unsigned(inner.device()->pos());
    const math::MSBArray content = outer.data.part(head, outer.data.size() - head);
    vector.setFlags(value);
    if (vector.type() == GVector::Bytes) {
        if (vector.resize(content.size()))
            std::copy_n(content.data(), content.size(), vector.data());
    } else if (vector.resize(asn::Array::count(content))) {
        withNumbers(vector, [&](auto* numbers) {
            vector.resize(asn::Array::decode(content, numbers, vector.size()));
        });
    }
    return stream;
}

GVectorArray::GVectorArray(int n, int dimension, unsigned flags)
    : GVector(0, unsigned(dimension) << dimensionShift | flags)
{
    if (n < 0)
        qWarning("VGArray: Cannot allocate array with negative length");
    else
        resize(unsigned(n));
}

GVectorArray::GVectorArray(const int* numbers, int n, int dimension)
    : GVectorArray(n, dimension, Int)
{
    std::copy_n(reinterpret_cast<const char*>(numbers), VGArray::size(), data());
}

GVectorArray::GVectorArray(const float* numbers, int n, int dimension)
    : GVectorArray(n, dimension, Float)
{
    std::copy_n(reinterpret_cast<const char*>(numbers), VGArray::size(), data());
}

GVectorArray::GVectorArray(const double* numbers, int n, int dimension)
    : GVectorArray(n, dimension, Double)
{
    std::copy_n(reinterpret_cast<const char*>(numbers), VGArray::size(), data());
}

GVectorArray GVectorArray::toIntArray() const
{
    return converted<int>(*this);
}

GVectorArray GVectorArray::toFloatArray() const
{
    return converted<float>(*this);
}

GVectorArray GVectorArray::toDoubleArray() const
{
    return converted<double>(*this);
}

void GVectorArray::translate(const float* offset, int n)
{
    translateBy(*this, offset, n);
}

void GVectorArray::translate(const double* offset, int n)
{
    translateBy(*this, offset, n);
}

void GVectorArray::reverse()
{
    reverse(data(), int(vectorSize()), int(size()));
}

void GVectorArray::reverse(char* data, int itemBytes, int count)
{
    if (itemBytes <= 0 || count < 2)
        return;
    if (itemBytes == 1) {
        std::reverse(data, data + count);
        return;
    }
    char* last = data + std::ptrdiff_t(count - 1) * itemBytes;
    for (; data < last; data += itemBytes, last -= itemBytes)
        std::swap_ranges(data, data + itemBytes, last);
}
} // namespace geometry
