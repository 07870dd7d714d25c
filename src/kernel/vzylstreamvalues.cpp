#include "geometry/gvector.h"
#include "geometry/zylgeneralpath.h"
#include "geometry/zylhmatrix.h"
#include "geometry/zylquaternion.h"
#include "geometry/zylvector.h"
#include "kernel/vzylreader_p.h"
#include "kernel/vzylrows.h"
#include "kernel/vzylstream.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace
{
constexpr int largestDimension = 64;
constexpr double radians = 0.017453292519943295;

// One number or character of a tuple or array; false where none stands.

bool readElement(VZylReader& reader, char& value)
{
    const int c = reader.next();
    value = char(c);
    return c >= 0;
}

bool readElement(VZylReader& reader, unsigned& value)
{
    quint64 number;
    const bool found = reader.readNumber(number);
    value = unsigned(number);
    return found;
}

bool readElement(VZylReader& reader, int& value)
{
    unsigned number;
    const bool found = readElement(reader, number);
    value = int(number);
    return found;
}

bool readElement(VZylReader& reader, double& value)
{
    return reader.readNumber(value);
}

bool readElement(VZylReader& reader, float& value)
{
    double number;
    const bool found = reader.readNumber(number);
    value = float(number);
    return found;
}

template <class T>
int readTuple(VZylReader& reader, T* values, unsigned n)
{
    if (!reader.take('{'))
        return -1;
    unsigned count = 0;
    while (count < n) {
        if (!readElement(reader, values[count]))
            return -1;
        ++count;
        if (!reader.take(','))
            break;
    }
    return reader.take('}') ? int(count) : -1;
}

/// A vector, its components standing side by side.
template <class V>
bool readVector(VZylReader& reader, V& v)
{
    using S = std::remove_reference_t<decltype(v.x)>;
    constexpr unsigned n = sizeof(V) / sizeof(S);
    S values[n] = {};
    if (readTuple(reader, values, n) != int(n))
        return false;
    std::memcpy(&v.x, values, sizeof values);
    return true;
}

template <class S>
bool readElement(VZylReader& reader, geometry::Vector2<S>& v)
{
    return readVector(reader, v);
}

template <class S>
bool readElement(VZylReader& reader, geometry::Vector3<S>& v)
{
    return readVector(reader, v);
}

template <class S>
bool readElement(VZylReader& reader, geometry::Vector4<S>& v)
{
    return readVector(reader, v);
}

int channel(float value)
{
    return int(std::clamp(value, 0.0f, 255.0f));
}

bool readElement(VZylReader& reader, VColor& color)
{
    while (reader.skipComments() > 0)
        continue;
    if (!reader.take('{')) {
        quint64 pixel;
        const bool found = reader.readNumber(pixel);
        if (found)
            color = VColor(quint32(pixel));
        return found;
    }
    float values[4] = {0, 0, 0, 1};
    int count = 0;
    bool wide = false;
    do {
        float& value = values[count];
        if (!readElement(reader, value))
            return false;
        wide |= value > 1;
        ++count;
        if (reader.take('}'))
            break;
        if (!reader.take(','))
            return false;
    } while (count < 4);
    if (wide && count < 4)
        values[3] = 255;
    int channels[4];
    for (int i = 0; i < 4; ++i)
        channels[i] = wide ? channel(std::round(values[i])) : channel(values[i] * 255);
    color = VColor(channels[0], channels[1], channels[2], channels[3]);
    return true;
}

// Reads many elements at a time, where that can be done; `capacity` is what is left of the array.

template <class T>
std::enable_if_t<std::is_arithmetic_v<T> && sizeof(T) >= 4, std::size_t>
readRun(VZylReader& reader, T* elements, std::size_t capacity)
{
    if constexpr (std::is_same_v<T, unsigned>)
        return reader.readRun(reinterpret_cast<int*>(elements), capacity, 0);
    else
        return reader.readRun(elements, capacity, 0);
}

template <class V>
auto readRun(VZylReader& reader, V* elements, std::size_t capacity)
    -> std::enable_if_t<sizeof(V::x) >= 4, std::size_t>
{
    constexpr unsigned width = sizeof(V) / sizeof(V::x);
    return reader.readRun(&elements->x, capacity, width);
}

std::size_t readRun(VZylReader&, VColor*, std::size_t)
{
    return 0;
}

/// Reads up to the closing brace, growing `array` as `VMemArray` or `GVectorArray` does. `readMany`
/// takes elements with the commas behind them from an index on, `readOne` one without.
template <class Array, class ReadMany, class ReadOne>
int readElements(VZylReader& reader, Array& array, ReadMany readMany, ReadOne readOne)
{
    unsigned count = 0;
    int separator = ',';
    while (separator == ',') {
        const unsigned capacity = array.size();
        if (count >= capacity && !array.resize(2 * count + 1))
            break;
        count += unsigned(readMany(count, array.size() - count));
        if (count >= array.size())
            continue;
        if (!readOne(count))
            break;
        ++count;
        separator = reader.next();
    }
    if (array.size() != count)
        array.resize(count);
    return separator == '}' ? int(count) : -1;
}

template <class T>
int readNumbers(VZylReader& reader, geometry::GVectorArray& array)
{
    const unsigned dimension = unsigned(array.dimension());
    const std::size_t size = dimension * sizeof(T);
    const auto readMany = [&](unsigned index, unsigned n) -> std::size_t {
        if constexpr (sizeof(T) == 1)
            return 0;
        else
            return reader.readRun(reinterpret_cast<T*>(array.data() + index * size), n,
                                  dimension == 1 ? 0 : dimension);
    };
    return readElements(reader, array, readMany, [&](unsigned index) {
        T values[largestDimension] = {};
        if (dimension == 1 ? !readElement(reader, values[0])
                           : readTuple(reader, values, dimension) < 0)
            return false;
        std::memcpy(array.data() + index * size, values, size);
        return true;
    });
}
/// Reads rows of one length in bulk, as far as they follow one another.
void readEqualRows(VZylReader& reader, VZylRows& rows, unsigned length)
{
    constexpr std::size_t mostNumbers = 0x10000; // at a time
    std::size_t wanted = 8;
    while (length > 0 && wanted * length <= mostNumbers) {
        const std::size_t begin = rows.numbers.size();
        rows.numbers.resize(begin + wanted * length);
        const std::size_t found = reader.readRun(rows.numbers.data() + begin, wanted, length);
        rows.numbers.resize(begin + found * length);
        for (std::size_t i = 1; i <= found; ++i)
            rows.ends.push_back(unsigned(begin + i * length));
        if (found < wanted)
            break;
        wanted *= 2;
    }
}
} // namespace

int VZylStream::read(int& value)
{
    m_reader->prepare();
    readElement(*m_reader, value);
    return 1;
}

int VZylStream::read(unsigned& value)
{
    m_reader->prepare();
    readElement(*m_reader, value);
    return 1;
}

int VZylStream::read(float& value)
{
    m_reader->prepare();
    readElement(*m_reader, value);
    return 1;
}

int VZylStream::read(double& value)
{
    m_reader->prepare();
    readElement(*m_reader, value);
    return 1;
}

int VZylStream::read(char* values, unsigned n)
{
    m_reader->prepare();
    return readTuple(*m_reader, values, n);
}

int VZylStream::read(int* values, unsigned n)
{
    m_reader->prepare();
    return readTuple(*m_reader, values, n);
}

int VZylStream::read(float* values, unsigned n)
{
    m_reader->prepare();
    return readTuple(*m_reader, values, n);
}

int VZylStream::read(double* values, unsigned n)
{
    m_reader->prepare();
    return readTuple(*m_reader, values, n);
}

int VZylStream::read(VColor& color)
{
    m_reader->prepare();
    return readElement(*m_reader, color) ? 1 : -1;
}

template <class S>
int VZylStream::read(geometry::Vector2<S>& v)
{
    m_reader->prepare();
    return readVector(*m_reader, v) ? 2 : -1;
}

template <class S>
int VZylStream::read(geometry::Vector3<S>& v)
{
    m_reader->prepare();
    return readVector(*m_reader, v) ? 3 : -1;
}

template <class S>
int VZylStream::read(geometry::Vector4<S>& v)
{
    m_reader->prepare();
    return readVector(*m_reader, v) ? 4 : -1;
}

int VZylStream::read(geometry::Quaternion& rotation)
{
    float values[4];
    const int count = read(values, 4);
    if (count < 3)
        return -1;
    if (count == 4)
        rotation = geometry::Quaternion(values[0], values[1], values[2], values[3]);
    else
        rotation.setValue(float(values[0] * radians), float(values[1] * radians),
                          float(values[2] * radians));
    return count;
}

int VZylStream::read(geometry::Matrix4f& matrix)
{
    m_reader->prepare();
    if (!m_reader->take('{'))
        return -1;
    geometry::Matrix4f result;
    QCString word;
    while (read_identifier(word) > 0) {
        int found = 1;
        geometry::Vector3f v;
        geometry::Quaternion q;
        if (word == "translate" || word == "scale") {
            found = read(v);
            if (found > 0 && word == "translate")
                result.translate(v);
            else if (found > 0)
                result.scale(v);
        } else if (word == "rotate") {
            found = read(q);
            if (found > 0)
                result.rotate(q);
        } else {
            report(VFormatDiagnostics::SkippedKey, QString::fromLatin1(word.data()));
        }
        if (found < 0)
            return found;
        m_reader->skipThrough(';');
    }
    if (!m_reader->take('}'))
        return -1;
    matrix = result;
    return 1;
}

template <class T>
int VZylStream::read(VMemArray<T>& array)
{
    m_reader->prepare();
    if (!m_reader->take('{'))
        return -1;
    array.duplicate(nullptr, 0);
    return readElements(
        *m_reader, array,
        [this, &array](unsigned index, unsigned n) {
            return readRun(*m_reader, array.data() + index, n);
        },
        [this, &array](unsigned index) { return readElement(*m_reader, array.data()[index]); });
}

int VZylStream::read(geometry::GVectorArray& array)
{
    m_reader->prepare();
    if (!m_reader->take('{'))
        return -1;
    array.duplicate(nullptr, 0, array.flags());
    QCString word;
    if (read_identifier(word) < 1)
        return read(array, false);
    int result = 0;
    do {
        if (word == "flags") {
            unsigned flags;
            read(flags);
            array.setFlags(flags);
        } else if (word == "data") {
            result = read(array, true);
            if (result < 0)
                return result;
        } else {
            report(VFormatDiagnostics::SkippedKey, QString::fromLatin1(word.data()));
        }
        m_reader->skipThrough(';');
    } while (read_identifier(word) > 0);
    return m_reader->take('}') ? result : -1;
}

int VZylStream::read(geometry::GVectorArray& array, bool brace)
{
    m_reader->prepare();
    if (brace && !m_reader->take('{'))
        return -1;
    array.duplicate(nullptr, 0, array.flags());
    if (array.dimension() > largestDimension)
        return -1;
    switch (array.type()) {
    case geometry::GVector::Int:
        return readNumbers<int>(*m_reader, array);
    case geometry::GVector::Float:
        return readNumbers<float>(*m_reader, array);
    case geometry::GVector::Double:
        return readNumbers<double>(*m_reader, array);
    case geometry::GVector::Bytes:
        break;
    }
    return readNumbers<char>(*m_reader, array);
}

int VZylStream::read(VZylRows& rows)
{
    rows.clear();
    m_reader->prepare();
    if (!m_reader->take('{'))
        return -1;
    if (m_reader->take('}'))
        return 0;
    int separator;
    do {
        const std::size_t begin = rows.numbers.size();
        if (!m_reader->take('{'))
            return -1;
        if (!m_reader->take('}')) {
            do {
                int number;
                if (!readElement(*m_reader, number)) {
                    rows.numbers.resize(begin);
                    return -1;
                }
                rows.numbers.push_back(number);
            } while (m_reader->take(','));
            if (!m_reader->take('}')) {
                rows.numbers.resize(begin);
                return -1;
            }
        }
        rows.endRow();
        separator = m_reader->next();
        if (separator == ',')
            readEqualRows(*m_reader, rows, unsigned(rows.numbers.size() - begin));
    } while (separator == ',');
    return separator == '}' ? int(rows.size()) : -1;
}

int VZylStream::read(geometry::GeneralPath& path)
{
    m_reader->prepare();
    if (!m_reader->take('{'))
        return -1;
    geometry::GeneralPath fresh(path.dimension());
    VMemArray<int> types;
    QCString word;
    while (read_identifier(word) > 0) {
        int found = 1;
        if (word == "flags") {
            unsigned flags = 0;
            read(flags);
            fresh.vertices.setFlags(flags);
        } else if (word == "vertices") {
            found = read(fresh.vertices, true);
        } else if (word == "types") {
            found = read(types);
        } else {
            report(VFormatDiagnostics::SkippedKey, QString::fromLatin1(word.data()));
        }
        if (found < 0)
            return found;
        m_reader->skipThrough(';');
    }
    const int dimension = fresh.dimension();
    if (!m_reader->take('}') || dimension < 2 || dimension > geometry::GeneralPath::maxDimension)
        return -1;
    const unsigned flags = fresh.vertices.flags() | unsigned(geometry::GVector::Float);
    fresh.vertices = fresh.vertices.toFloatArray();
    fresh.vertices.setFlags((flags & ~geometry::GVector::typeMask) |
                            unsigned(geometry::GVector::Float));
    if (!fresh.types.resize(types.size()))
        return -1;
    for (unsigned i = 0; i < types.size(); ++i)
        fresh.types.data()[i] = char(types.data()[i]);
    path.vertices = fresh.vertices;
    path.types = fresh.types;
    return int(types.size());
}

template ZYL_EXPORT int VZylStream::read(geometry::Vector2i&);
template ZYL_EXPORT int VZylStream::read(geometry::Vector2f&);
template ZYL_EXPORT int VZylStream::read(geometry::Vector2d&);
template ZYL_EXPORT int VZylStream::read(geometry::Vector3f&);
template ZYL_EXPORT int VZylStream::read(geometry::Vector3d&);
template ZYL_EXPORT int VZylStream::read(geometry::Vector4f&);
template ZYL_EXPORT int VZylStream::read(geometry::Vector4d&);
template ZYL_EXPORT int VZylStream::read(VMemArray<int>&);
template ZYL_EXPORT int VZylStream::read(VMemArray<unsigned>&);
template ZYL_EXPORT int VZylStream::read(VMemArray<float>&);
template ZYL_EXPORT int VZylStream::read(VMemArray<double>&);
template ZYL_EXPORT int VZylStream::read(VMemArray<VColor>&);
template ZYL_EXPORT int VZylStream::read(VMemArray<geometry::Vector2i>&);
template ZYL_EXPORT int VZylStream::read(VMemArray<geometry::Vector2f>&);
template ZYL_EXPORT int VZylStream::read(VMemArray<geometry::Vector2d>&);
template ZYL_EXPORT int VZylStream::read(VMemArray<geometry::Vector3f>&);
template ZYL_EXPORT int VZylStream::read(VMemArray<geometry::Vector3d>&);
template ZYL_EXPORT int VZylStream::read(VMemArray<geometry::Vector4f>&);
template ZYL_EXPORT int VZylStream::read(VMemArray<geometry::Vector4d>&);
