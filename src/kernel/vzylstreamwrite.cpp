#include "geometry/gvector.h"
#include "geometry/zylgeneralpath.h"
#include "geometry/zylhmatrix.h"
#include "geometry/zylquaternion.h"
#include "geometry/zylvector.h"
#include "kernel/vformatio.h"
#include "kernel/vzylstream.h"
#include "kernel/vzylrows.h"
#include "kernel/vzylwriter_p.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <vector>

using geometry::Matrix4f;
using geometry::Quaternion;
using geometry::Vector3f;

namespace
{
constexpr double degrees = 57.29577951308232;

void putColor(VZylWriter& writer, VColor color)
{
    char text[zyltext::longestNumber];
    const char* const end = zyltext::writeHexadecimal(text, color.pixel());
    writer.put("0x");
    writer.put(std::string_view(text, std::size_t(end - text)));
}

template <class T>
void putTuple(VZylWriter& writer, const T* values, std::size_t n)
{
    writer.put('{');
    writer.putNumbers(values, n);
    writer.put('}');
}

/// Lines in braces, one level deeper: `putRow` writes each without its comma.
template <class PutRow>
void putLines(VZylWriter& writer, std::size_t rows, PutRow putRow)
{
    writer.put("{");
    writer.raiseIndent(1);
    writer.putLine();
    for (std::size_t row = 0; row < rows; ++row) {
        if (row > 0) {
            writer.put(',');
            writer.putLine();
        }
        putRow(row);
    }
    writer.raiseIndent(-1);
    writer.putLine();
    writer.put('}');
}

template <class T>
void putRows(VZylWriter& writer, const T* values, unsigned columns, unsigned rows)
{
    putLines(writer, rows,
             [&](std::size_t row) { putTuple(writer, values + row * columns, columns); });
}

template <class T>
void writeTuple(VZylWriter& writer, const T* values, std::size_t n)
{
    const VZylWriter::Scope scope(writer);
    putTuple(writer, values, n);
}

template <class T>
void writeRows(VZylWriter& writer, const T* values, unsigned columns, unsigned rows)
{
    const VZylWriter::Scope scope(writer);
    putRows(writer, values, columns, rows);
}

template <class T>
void writeNumber(VZylWriter& writer, T value)
{
    const VZylWriter::Scope scope(writer);
    writer.putNumber(value);
}

void putElements(VZylWriter& writer, const VColor* colors, unsigned n)
{
    putLines(writer, n, [&](std::size_t i) { putColor(writer, colors[i]); });
}

template <class T>
std::enable_if_t<std::is_arithmetic_v<T>> putElements(VZylWriter& writer, const T* values,
                                                      unsigned n)
{
    putTuple(writer, values, n);
}

template <class V>
auto putElements(VZylWriter& writer, const V* vectors, unsigned n) -> std::void_t<decltype(V::x)>
{
    putRows(writer, n > 0 ? &vectors->x : nullptr, sizeof(V) / sizeof(vectors->x), n);
}

template <class T>
void putData(VZylWriter& writer, const geometry::GVectorArray& array)
{
    const T* const values = reinterpret_cast<const T*>(array.data());
    if (array.dimension() < 2)
        putTuple(writer, values, array.size());
    else
        putRows(writer, values, unsigned(array.dimension()), array.size());
}

/// What doesn't read back as it was written.
bool isLossy(std::string_view text)
{
    return text.find_first_of("\"\\{};") != text.npos || text.find("//") != text.npos ||
           text.find("/*") != text.npos;
}

// Decomposition of matrices

Vector3f row(const Matrix4f& m, int i)
{
    return Vector3f(m.m[i][0], m.m[i][1], m.m[i][2]);
}

void setRow(Matrix4f& m, int i, const Vector3f& v)
{
    m.m[i][0] = v.x;
    m.m[i][1] = v.y;
    m.m[i][2] = v.z;
}

/// A direction across the given one.
Vector3f across(const Vector3f& v)
{
    const Vector3f axis = std::fabs(v.x) < 0.5f ? Vector3f(1, 0, 0) : Vector3f(0, 1, 0);
    return normalize(cross(v, axis));
}

/// Splits a matrix whose rows are at right angles, though some of them may be tiny or zero.
bool splitOrthogonal(const Matrix4f& m, Quaternion& rotation, Vector3f& scale)
{
    Vector3f rows[3];
    int order[3] = {0, 1, 2};
    for (int i = 0; i < 3; ++i) {
        rows[i] = row(m, i);
        scale[i] = rows[i].normalize();
    }
    for (int i = 0; i < 3; ++i)
        if (std::fabs(dot(rows[i], rows[(i + 1) % 3])) > 1e-4f)
            return false;
    std::sort(order, order + 3, [&scale](int a, int b) { return scale[a] > scale[b]; });
    if (scale[order[0]] == 0)
        return true;
    if (scale[order[1]] == 0)
        rows[order[1]] = across(rows[order[0]]);
    const int last = order[2];
    const Vector3f right = cross(rows[(last + 1) % 3], rows[(last + 2) % 3]);
    if (dot(right, rows[last]) < 0)
        scale[last] = -scale[last];
    rows[last] = right;
    Matrix4f turn;
    for (int i = 0; i < 3; ++i)
        setRow(turn, i, rows[i]);
    rotation = turn.getRotation();
    return true;
}

/// A transformation as the statements that make it up again.
struct Parts {
    Vector3f translation;
    Quaternion rotation;
    Quaternion toAxes;   // turns the scale into its axes,
    Quaternion fromAxes; // and back
    Vector3f scale{1, 1, 1};

    explicit Parts(const Matrix4f& m)
    {
        Matrix4f axes, turn, projection;
        if (!m.factor(axes, scale, turn, translation, projection)) {
            scale = Vector3f(1, 1, 1);
            splitOrthogonal(m, rotation, scale);
            return;
        }
        rotation = turn.getRotation();
        const float largest =
            std::max({std::fabs(scale.x), std::fabs(scale.y), std::fabs(scale.z)});
        // Along the axes of space, and where all scales are equal, the axes don't matter.
        Matrix4f stretch = axes;
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) {
                stretch.m[i][j] = 0;
                for (int k = 0; k < 3; ++k)
                    stretch.m[i][j] += axes.m[i][k] * scale[k] * axes.m[j][k];
            }
        float skew = 0;
        for (int i = 0; i < 3; ++i)
            skew = std::max(skew, std::fabs(stretch.m[i][(i + 1) % 3]));
        if (skew <= 1e-6f * largest) {
            scale = Vector3f(stretch.m[0][0], stretch.m[1][1], stretch.m[2][2]);
            return;
        }
        if (axes.det3(0, 1, 2, 0, 1, 2) < 0)
            for (int i = 0; i < 3; ++i)
                axes.m[i][0] = -axes.m[i][0];
        fromAxes = axes.getRotation();
        toAxes = fromAxes.conjugate();
    }
};
} // namespace

void VZylStream::writeIndent()
{
    const VZylWriter::Scope scope(*m_writer);
    m_writer->putIndent();
}

void VZylStream::begin(const char* key)
{
    const VZylWriter::Scope scope(*m_writer);
    m_writer->putIndent();
    m_writer->put(key ? key : "");
    m_writer->put(' ');
}

void VZylStream::end()
{
    const VZylWriter::Scope scope(*m_writer);
    m_writer->put(";\n");
}

void VZylStream::beginBlock(const char* word)
{
    const VZylWriter::Scope scope(*m_writer);
    begin(word);
    m_writer->put("{\n");
    m_writer->raiseIndent(1);
}

void VZylStream::endBlock()
{
    const VZylWriter::Scope scope(*m_writer);
    m_writer->raiseIndent(-1);
    m_writer->putIndent();
    m_writer->put("}\n");
}

void VZylStream::writeRaw(const char* text)
{
    const VZylWriter::Scope scope(*m_writer);
    m_writer->put(text ? text : "");
}

void VZylStream::write(int value)
{
    writeNumber(*m_writer, value);
}

void VZylStream::write(unsigned value)
{
    writeNumber(*m_writer, value);
}

void VZylStream::write(float value)
{
    writeNumber(*m_writer, value);
}

void VZylStream::write(double value)
{
    writeNumber(*m_writer, value);
}

void VZylStream::write(VColor color)
{
    const VZylWriter::Scope scope(*m_writer);
    putColor(*m_writer, color);
}

void VZylStream::write(const char* values, unsigned n)
{
    writeTuple(*m_writer, values, n);
}

void VZylStream::write(const int* values, unsigned n)
{
    writeTuple(*m_writer, values, n);
}

void VZylStream::write(const unsigned* values, unsigned n)
{
    writeTuple(*m_writer, values, n);
}

void VZylStream::write(const float* values, unsigned n)
{
    writeTuple(*m_writer, values, n);
}

void VZylStream::write(const double* values, unsigned n)
{
    writeTuple(*m_writer, values, n);
}

void VZylStream::write(const char* values, unsigned columns, unsigned rows)
{
    writeRows(*m_writer, values, columns, rows);
}

void VZylStream::write(const int* values, unsigned columns, unsigned rows)
{
    writeRows(*m_writer, values, columns, rows);
}

void VZylStream::write(const float* values, unsigned columns, unsigned rows)
{
    writeRows(*m_writer, values, columns, rows);
}

void VZylStream::write(const double* values, unsigned columns, unsigned rows)
{
    writeRows(*m_writer, values, columns, rows);
}

template <class S>
void VZylStream::write(const geometry::Vector2<S>& v)
{
    write(&v.x, 2);
}

template <class S>
void VZylStream::write(const geometry::Vector3<S>& v)
{
    write(&v.x, 3);
}

template <class S>
void VZylStream::write(const geometry::Vector4<S>& v)
{
    write(&v.x, 4);
}

void VZylStream::write(const Quaternion& rotation)
{
    // Near 90 degrees about y the last bit of the length, in single precision, would turn the
    // angle by a fiftieth of a degree.
    geometry::DQuaternion q(rotation);
    const double length = std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w);
    if (length > 0)
        q = geometry::DQuaternion(q.x / length, q.y / length, q.z / length, q.w / length);
    double a, b, c;
    q.getValue(a, b, c);
    const float angles[] = {float(a * degrees), float(b * degrees), float(c * degrees)};
    write(angles, 3);
}

void VZylStream::write(const Matrix4f& matrix)
{
    const Parts parts(matrix);
    const VZylWriter::Scope scope(*m_writer);
    const auto statement = [this](const char* word, const auto& value) {
        begin(word);
        write(value);
        end();
    };
    const auto turn = [&statement](const Quaternion& rotation) {
        if (rotation != Quaternion())
            statement("rotate", rotation);
    };
    m_writer->put("{\n");
    m_writer->raiseIndent(1);
    statement("translate", parts.translation);
    turn(parts.rotation);
    turn(parts.toAxes);
    if (parts.scale != Vector3f(1, 1, 1))
        statement("scale", parts.scale);
    turn(parts.fromAxes);
    m_writer->raiseIndent(-1);
    m_writer->putIndent();
    m_writer->put('}');
}

void VZylStream::write(const char* text)
{
    const std::string_view view(text ? text : "");
    if (m_io && m_io->diagnostics() && isLossy(view))
        m_io->diagnostics()->report(VFormatDiagnostics::LossyText, QString::fromLocal8Bit(text),
                                    VFormatDiagnostics::Place());
    const VZylWriter::Scope scope(*m_writer);
    m_writer->put('"');
    m_writer->put(view);
    m_writer->put('"');
}

void VZylStream::write(const QString& text)
{
    write(text.toLocal8Bit().constData());
}

void VZylStream::write(const QStringList& list)
{
    QStrList texts;
    for (const QString& text : list)
        texts.append(text.toLocal8Bit().constData());
    write(texts);
}

void VZylStream::write(const QStrList& list)
{
    const VZylWriter::Scope scope(*m_writer);
    m_writer->put('{');
    unsigned left = list.count();
    for (QStrListIterator it(list); const char* text = it.current(); ++it) {
        m_writer->put(' ');
        write(text);
        m_writer->put(--left ? ',' : ' ');
    }
    m_writer->put('}');
}

template <class T>
void VZylStream::write(const VMemArray<T>& array)
{
    const VZylWriter::Scope scope(*m_writer);
    putElements(*m_writer, array.data(), array.size());
}

void VZylStream::write(const VZylRows& rows)
{
    const VZylWriter::Scope scope(*m_writer);
    putLines(*m_writer, rows.size(), [&](std::size_t row) {
        putTuple(*m_writer, rows.data(unsigned(row)), rows.length(unsigned(row)));
    });
}

void VZylStream::write(const geometry::GeneralPath& path)
{
    using geometry::GeneralPath;
    const VZylWriter::Scope scope(*m_writer);
    std::vector<int> types;
    for (const char type : path.types)
        types.push_back(GeneralPath::segmentType(static_cast<unsigned char>(type)));
    m_writer->put("{\n");
    m_writer->raiseIndent(1);
    begin("flags");
    putColor(*m_writer, VColor(path.vertices.flags()));
    end();
    begin("vertices");
    putData<float>(*m_writer, path.vertices);
    end();
    begin("types");
    write(types.data(), unsigned(types.size()));
    end();
    m_writer->raiseIndent(-1);
    m_writer->putIndent();
    m_writer->put('}');
}

void VZylStream::write(const geometry::GVectorArray& array)
{
    const VZylWriter::Scope scope(*m_writer);
    const bool isLong = array.flags() & ~geometry::GVector::typeMask;
    if (isLong) {
        m_writer->put('{');
        m_writer->raiseIndent(1);
        m_writer->putLine();
        m_writer->put("flags ");
        putColor(*m_writer, VColor(array.flags()));
        m_writer->put(';');
        m_writer->putLine();
        m_writer->put("data ");
    }
    switch (array.type()) {
    case geometry::GVector::Int:
        putData<int>(*m_writer, array);
        break;
    case geometry::GVector::Float:
        putData<float>(*m_writer, array);
        break;
    case geometry::GVector::Double:
        putData<double>(*m_writer, array);
        break;
    case geometry::GVector::Bytes:
        putData<char>(*m_writer, array);
        break;
    }
    if (isLong) {
        m_writer->put(';');
        m_writer->raiseIndent(-1);
        m_writer->putLine();
        m_writer->put('}');
    }
}

template ZYL_EXPORT void VZylStream::write(const geometry::Vector2i&);
template ZYL_EXPORT void VZylStream::write(const geometry::Vector2f&);
template ZYL_EXPORT void VZylStream::write(const geometry::Vector2d&);
template ZYL_EXPORT void VZylStream::write(const geometry::Vector3f&);
template ZYL_EXPORT void VZylStream::write(const geometry::Vector3d&);
template ZYL_EXPORT void VZylStream::write(const geometry::Vector4f&);
template ZYL_EXPORT void VZylStream::write(const geometry::Vector4d&);
template ZYL_EXPORT void VZylStream::write(const VMemArray<int>&);
template ZYL_EXPORT void VZylStream::write(const VMemArray<unsigned>&);
template ZYL_EXPORT void VZylStream::write(const VMemArray<float>&);
template ZYL_EXPORT void VZylStream::write(const VMemArray<double>&);
template ZYL_EXPORT void VZylStream::write(const VMemArray<VColor>&);
template ZYL_EXPORT void VZylStream::write(const VMemArray<geometry::Vector2i>&);
template ZYL_EXPORT void VZylStream::write(const VMemArray<geometry::Vector2f>&);
template ZYL_EXPORT void VZylStream::write(const VMemArray<geometry::Vector2d>&);
template ZYL_EXPORT void VZylStream::write(const VMemArray<geometry::Vector3f>&);
template ZYL_EXPORT void VZylStream::write(const VMemArray<geometry::Vector3d>&);
template ZYL_EXPORT void VZylStream::write(const VMemArray<geometry::Vector4f>&);
template ZYL_EXPORT void VZylStream::write(const VMemArray<geometry::Vector4d>&);
