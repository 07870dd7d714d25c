#include "geometry/zylgeneralpath.h"

#include "geometry/zylbox.h"
#include "geometry/zylcrossings_p.h"
#include "geometry/zylcurve.h"
#include "geometry/zylpathwalk_p.h"
#include "geometry/zylvectorarray.h"
#include "security/asnvalue.h"
#include "tools/vexception.h"

#include <qdatastream.h>
#include <qlogging.h>

#include <algorithm>
#include <functional>
#include <memory>

namespace geometry
{
namespace
{
constexpr quint8 verticesTag = 0x70;
constexpr quint8 typesTag = 0x04;

const float* floats(const GeneralPath& path)
{
    return reinterpret_cast<const float*>(path.vertices.data());
}

template <class V>
const V* pointsOf(const GVectorArray& vertices)
{
    return reinterpret_cast<const V*>(vertices.data());
}

/// Whether a path's types find their points.
bool hasPoints(const VMemArray<char>& types, unsigned points)
{
    quint64 needed = 0;
    for (const char byte : types)
        needed += unsigned(GeneralPath::pointCount(GeneralPath::segmentType(uchar(byte))));
    return needed <= points;
}

bool areFinite(const GVectorArray& vertices)
{
    // The numbers whose exponent is all ones, by their bits: a loop without branches.
    constexpr quint32 exponent = 0x7f800000;
    const unsigned count = vertices.VGArray::size() / 4;
    quint32 isAny = 0;
    for (unsigned i = 0; i < count; ++i) {
        quint32 bits;
        std::memcpy(&bits, vertices.data() + std::size_t(i) * 4, 4);
        isAny |= quint32((bits & exponent) == exponent);
    }
    return isAny == 0;
}

/// Whether all points lie on one side of a box, where there is nothing to cross. Most boxes are
/// known not to be beside after a few points.
bool isBeside(const PathView& path, const Box2f& box, bool leftToo)
{
    if (path.segments == 0 || path.types[0] != MoveSegment)
        return false; // such a path starts at zero as well
    int left = leftToo, right = 1, above = 1, below = 1;
    const float* p = path.coords;
    for (unsigned i = 0; i < path.points && (left | right | above | below) != 0;) {
        // In runs, since asking after each point takes longer than looking at it.
        const unsigned end = i + std::min(path.points - i, i < 8 ? 4u : 64u);
        for (; i < end; ++i, p += path.stride) {
            left &= int(p[0] < box.min.x);
            right &= int(p[0] > box.max.x);
            above &= int(p[1] < box.min.y);
            below &= int(p[1] > box.max.y);
        }
    }
    return path.points > 0 && (left | right | above | below) != 0;
}

template <class C>
WalkEnd collect(const GeneralPath& path, const Box2f& box, C& crossings)
{
    // Edges on the left cancel out by the even-odd rule; the non-zero rule keeps what it records.
    const PathView view(path);
    if (isBeside(view, box, std::is_same_v<C, EvenOdd>))
        return WalkEnd::Done;
    CrossingsVisitor visitor(crossings, box);
    try {
        return walkPath(view, visitor);
    } catch (const QString&) {
        return WalkEnd::Stopped; // a curve that isn't made of numbers
    } catch (const VException&) {
        return WalkEnd::Stopped;
    }
}

/// Calls `use` with a path's crossings of a box and how the search for them ended.
template <class Use>
bool withCrossings(const GeneralPath& path, const Box2f& box, Use use)
{
    if (path.windingRule() == EvenOddRule) {
        EvenOdd crossings(box);
        return use(collect(path, box, crossings), crossings);
    }
    NonZero crossings(box);
    return use(collect(path, box, crossings), crossings);
}
} // namespace

int GeneralPath::windingRule() const
{
    return int((vertices.flags() & GVector::windingMask) >> GVector::windingShift);
}

void GeneralPath::setWindingRule(int rule)
{
    detach();
    vertices.setFlags((vertices.flags() & ~GVector::windingMask) |
                      ((unsigned(rule) << GVector::windingShift) & GVector::windingMask));
}

/// Gives the path arrays of its own.
bool GeneralPath::detach()
{
    if (vertices.nrefs() > 1)
        vertices.duplicate(vertices);
    if (types.nrefs() > 1)
        types.detach();
    return vertices.type() == GVector::Float && dimension() <= maxDimension;
}

/// False if there is no memory, which leaves the path empty.
bool GeneralPath::grow(unsigned typeCount, unsigned vertexCount)
{
    constexpr quint64 most = std::numeric_limits<quint32>::max();
    const quint64 typesNow = quint64(types.size()) + typeCount;
    const quint64 verticesNow = quint64(vertices.size()) + vertexCount;
    if (typesNow <= most && verticesNow <= most && types.resize(unsigned(typesNow)) &&
        vertices.resize(unsigned(verticesNow)))
        return true;
    types.resize(0);
    vertices.resize(0);
    return false;
}

/// Adds a segment by runs of points.
void GeneralPath::add(int type, std::initializer_list<const float*> runs, unsigned pointsInRun)
{
    const float* const before = floats(*this);
    const float* const beforeEnd = before + vertices.GVector::size();
    const unsigned first = vertices.size();
    if (!detach() || !grow(1, unsigned(runs.size()) * pointsInRun))
        return;
    types.data()[types.size() - 1] = char(type);
    const std::size_t count = std::size_t(pointsInRun) * unsigned(dimension());
    float* const now = reinterpret_cast<float*>(vertices.data());
    float* to = now + std::size_t(first) * unsigned(dimension());
    for (const float* from : runs) {
        // Points of this path have moved with it.
        if (before && !std::less<>()(from, before) && std::less<>()(from, beforeEnd))
            from = now + (from - before);
        std::memmove(to, from, count * sizeof(float));
        to += count;
    }
}

/// -2 for none.
int GeneralPath::lastType() const
{
    return types.isEmpty() ? -2 : segmentType(uchar(types.data()[types.size() - 1]));
}

/// Whether the path's last point has these very bytes.
bool GeneralPath::endsAt(const float* p) const
{
    const unsigned count = vertices.size(), d = unsigned(dimension());
    return count > 0 && vertices.type() == GVector::Float &&
           std::memcmp(floats(*this) + std::size_t(count - 1) * d, p, d * sizeof(float)) == 0;
}

void GeneralPath::moveTo(const float* p)
{
    if (lastType() != MoveSegment || vertices.isEmpty()) {
        add(MoveSegment, {p});
    } else if (!endsAt(p) && detach()) {
        const std::size_t d = unsigned(dimension());
        float* const end = reinterpret_cast<float*>(vertices.data()) + vertices.GVector::size();
        std::memmove(end - d, p, d * sizeof(float));
    }
}

void GeneralPath::lineTo(const float* p)
{
    if (lastType() != LineSegment || !endsAt(p))
        add(LineSegment, {p});
}

void GeneralPath::quadTo(const float* c, const float* p)
{
    add(QuadSegment, {c, p});
}

void GeneralPath::cubicTo(const float* c1, const float* c2, const float* p)
{
    add(CubicSegment, {c1, c2, p});
}

void GeneralPath::curveTo(const float* points, int n)
{
    if (n < 1 || n > maxDegree) {
        qWarning("GeneralPath::curveTo: Degree %d out of range", n);
        return;
    }
    add(n, {points}, unsigned(n));
}

void GeneralPath::closePath()
{
    if (lastType() != CloseSegment)
        add(CloseSegment, {});
}

void GeneralPath::append(PathIterator& iterator, bool connect)
{
    append(iterator, connect, unsigned(dimension()));
}

/// Asks the iterator for a number of coordinates and takes the others for 0.
void GeneralPath::append(PathIterator& iterator, bool connect, unsigned coordinates)
{
    const auto d = unsigned(dimension());
    if (d > maxDimension)
        return;
    coordinates = std::min(coordinates, d);
    // A line's iterator writes all coordinates of its point, however few are asked for.
    float points[(maxDegree + 1) * maxDimension];
    for (bool isFirst = true; !iterator.isDone(); iterator.next(), isFirst = false) {
        const int type = iterator.currentType();
        const int count = pointCount(type);
        if (count < 0 || count > maxDegree)
            return;
        std::fill(points, points + std::size_t(unsigned(count)) * d, 0.0f);
        if (iterator.currentSegment(points, coordinates) != type)
            return;
        for (int i = count - 1; i >= 0 && coordinates < d; --i) {
            float* const to = points + std::size_t(unsigned(i)) * d;
            std::memmove(to, points + std::size_t(unsigned(i)) * coordinates,
                         coordinates * sizeof(float));
            std::fill(to + coordinates, to + d, 0.0f);
        }
        if (type == CloseSegment)
            closePath();
        else if (type == LineSegment)
            lineTo(points);
        else if (type != MoveSegment)
            add(type, {points}, unsigned(count));
        else if (!isFirst || !connect || types.isEmpty() || lastType() == CloseSegment)
            moveTo(points);
        else if (!endsAt(points))
            lineTo(points);
    }
}

template <class Shape>
void GeneralPath::appendShape(const Shape& shape, bool connect, unsigned coordinates)
{
    // Appended to itself a path would never end; the copy keeps the arrays as they are.
    if (const auto* path = dynamic_cast<const GeneralPath*>(&shape); path == this) {
        const GeneralPath copy(*this);
        GeneralPathIterator iterator(copy);
        append(iterator, connect, coordinates);
        return;
    }
    const std::unique_ptr<PathIterator> iterator(shape.getPathIterator());
    if (iterator)
        append(*iterator, connect, coordinates);
}

void GeneralPath::append(const Shape2f& shape, bool connect)
{
    appendShape(shape, connect, 2);
}

void GeneralPath::append(const Shape3f& shape, bool connect)
{
    appendShape(shape, connect, 3);
}

void GeneralPath::reverse()
{
    detach();
    vertices.reverse();
    char* const bytes = types.data();
    std::reverse(bytes, bytes + types.size());
    // Each subpath has its move at its end now, and a close at its start.
    bool isClosed = false;
    for (unsigned i = 0, start = 0; i < types.size(); ++i) {
        const int type = segmentType(uchar(bytes[i]));
        if (type == CloseSegment)
            isClosed = true;
        if (type != MoveSegment)
            continue;
        if (isClosed)
            bytes[i] = char(CloseSegment);
        else
            std::memmove(bytes + start + 1, bytes + start, i - start);
        isClosed = false;
        bytes[start] = char(MoveSegment);
        start = i + 1;
    }
}

void GeneralPath::needRoom(int typeCount, int vertexCount)
{
    const unsigned oldTypes = types.size(), oldBytes = vertices.VGArray::size();
    detach();
    if (typeCount < 0 || vertexCount < 0 || !grow(unsigned(typeCount), unsigned(vertexCount)))
        return;
    std::fill(types.begin() + oldTypes, types.end(), 0);
    std::fill(vertices.data() + oldBytes, vertices.data() + vertices.VGArray::size(), 0);
}

void GeneralPath::bounds(Box2f& box) const
{
    const int d = dimension(), n = int(vertices.size());
    box.makeEmpty();
    if (vertices.type() != GVector::Float)
        return;
    if (d == 2) {
        Vector2fArray::boundingBox(box, pointsOf<Vector2f>(vertices), n);
    } else if (d == 3 && (vertices.flags() & GVector::homogeneous)) {
        Vector3fArray::boundingBox(box, pointsOf<Vector3f>(vertices), n);
    } else {
        Box3f solid;
        bounds(solid);
        box = Box2f(solid.min.x, solid.min.y, solid.max.x, solid.max.y);
    }
}

void GeneralPath::bounds(Box3f& box) const
{
    const int d = dimension(), n = int(vertices.size());
    box.makeEmpty();
    if (vertices.type() != GVector::Float)
        return;
    if (d == 2 || (d == 3 && (vertices.flags() & GVector::homogeneous))) {
        Box2f flat;
        bounds(flat);
        if (!flat.isEmpty())
            box = Box3f(flat.min.x, flat.min.y, 0, flat.max.x, flat.max.y, 0);
    } else if (d == 3) {
        Vector3fArray::boundingBox(box, pointsOf<Vector3f>(vertices), n);
    } else if (d == 4) {
        Vector4fArray::boundingBox(box, pointsOf<Vector4f>(vertices), n);
    }
}

GeneralPath2f::GeneralPath2f(const Shape2f& shape) : GeneralPath2f()
{
    const std::unique_ptr<PathIterator> iterator(shape.getPathIterator());
    if (!iterator)
        return;
    setWindingRule(iterator->windingRule());
    append(*iterator, false);
}

Box2f GeneralPath2f::bounds() const
{
    Box2f box;
    bounds(box);
    return box;
}

bool GeneralPath2f::contains(const Vector2f& p) const
{
    if (types.size() < 2)
        return false;
    const int crossings = Curve::crossingsForPath(*this, p);
    if (windingRule() == EvenOddRule ? (crossings & 1) == 0 : crossings == 0)
        return false;
    // A point beside all of a path is crossed as often in one way as in the other. So the bounds
    // are asked last, and can only say no to weighted points and those that are no numbers.
    return areFinite(vertices) && (dimension() == 2 || bounds().contains(p));
}

bool GeneralPath2f::contains(const Box2f& box) const
{
    return withCrossings(*this, box, [&](WalkEnd end, const Crossings& crossings) {
        return end == WalkEnd::Done && crossings.covers(box.min.y, box.max.y) &&
               areFinite(vertices);
    });
}

bool GeneralPath2f::intersects(const Box2f& box) const
{
    return withCrossings(*this, box, [](WalkEnd end, const Crossings& crossings) {
        return end == WalkEnd::Stopped || (end == WalkEnd::Done && !crossings.isEmpty());
    });
}

PathIterator* GeneralPath2f::getPathIterator() const
{
    return new GeneralPathIterator(*this);
}

GeneralPath3f::GeneralPath3f(const Shape3f& shape) : GeneralPath3f()
{
    const std::unique_ptr<PathIterator> iterator(shape.getPathIterator());
    if (!iterator)
        return;
    setWindingRule(iterator->windingRule());
    append(*iterator, false);
}

Box3f GeneralPath3f::bounds() const
{
    Box3f box;
    bounds(box);
    return box;
}

bool GeneralPath3f::contains(const Vector3f&) const
{
    return false;
}

bool GeneralPath3f::contains(const Box3f&) const
{
    return false;
}

bool GeneralPath3f::intersects(const Box3f&) const
{
    return false;
}

PathIterator* GeneralPath3f::getPathIterator() const
{
    return new GeneralPathIterator(*this);
}

void GeneralPathIterator::next()
{
    if (isDone())
        return;
    m_vertex += unsigned(GeneralPath::pointCount(currentType()));
    ++m_segment;
}

int GeneralPathIterator::currentType() const
{
    return isDone() ? CloseSegment
                    : GeneralPath::segmentType(uchar(m_path->types.data()[m_segment]));
}

int GeneralPathIterator::currentSegment(float* coords, unsigned int dimension) const
{
    const int type = currentType();
    const auto count = unsigned(GeneralPath::pointCount(type));
    const GVectorArray& vertices = m_path->vertices;
    const auto stored = unsigned(m_path->dimension());
    if (vertices.type() != GVector::Float || m_vertex + count > vertices.size()) {
        if (count > 0)
            VGArray::msg_index(unsigned(m_vertex + count - 1));
        return CloseSegment;
    }
    const float* from = floats(*m_path) + std::size_t(m_vertex) * stored;
    if (dimension == stored) {
        std::copy(from, from + std::size_t(count) * stored, coords);
        return type;
    }
    const unsigned copied = std::min(dimension, stored);
    for (unsigned i = 0; i < count; ++i, from += stored, coords += dimension)
        std::copy(from, from + copied, coords);
    return type;
}

QDataStream& operator<<(QDataStream& stream, const GeneralPath& path)
{
    stream << verticesTag << static_cast<const GVector&>(path.vertices) << typesTag;
    asn::DerValue::encode(stream, math::MSBArray(path.types.data(), path.types.size()));
    return stream;
}

QDataStream& operator>>(QDataStream& stream, GeneralPath& path)
{
    quint8 tag = 0;
    GVector vertices;
    math::MSBArray types;
    stream >> tag;
    if (tag == verticesTag) {
        stream >> vertices >> tag;
        if (tag == typesTag)
            asn::DerValue::decode(stream, types);
    }
    if (stream.status() != QDataStream::Ok)
        return stream;
    const GVectorArray points = GVectorArray(vertices).toFloatArray();
    VMemArray<char> bytes;
    bytes.duplicate(types.data(), types.size());
    if (tag != typesTag || points.dimension() < 2 ||
        points.dimension() > GeneralPath::maxDimension || !hasPoints(bytes, points.size())) {
        stream.setStatus(QDataStream::ReadCorruptData);
        return stream;
    }
    path.vertices = points;
    path.types = bytes;
    return stream;
}
} // namespace geometry
