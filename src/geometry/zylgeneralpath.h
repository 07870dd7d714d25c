#pragma once

#include "geometry/zylpathiterator.h"
#include "geometry/zylshape.h"
#include "geometry/zylvertexshape.h"
#include "tools/vmemarray.h"

#include <initializer_list>

namespace geometry
{
/// A path of any segments: an array of segment types and the float points that they take in order.
///
/// A point has the `dimension` of the vertices, at most 4. Winding rule and homogeneous mark stand
/// in the vertices' flags. A path is read as far as its points reach; functions that change it
/// first take arrays of their own if a copy shares them.
class ZYL_EXPORT GeneralPath : public VertexShape
{
public:
    static constexpr int maxDimension = 4;
    static constexpr int maxDegree = 254;

    /// An empty path of the even-odd rule.
    explicit GeneralPath(int dimension)
        : VertexShape(GVectorArray(0, dimension, unsigned(GVector::Float)))
    {
    }

    /// The type that a byte stands for.
    static constexpr int segmentType(unsigned char byte)
    {
        return byte == 255 ? int(CloseSegment) : byte;
    }
    /// How many points a segment has.
    static constexpr int pointCount(int type)
    {
        return type == MoveSegment ? 1 : type == CloseSegment ? 0 : type;
    }

    int dimension() const { return vertices.dimension(); }
    int windingRule() const;
    void setWindingRule(int rule);

    // Each takes the coordinates of its points, which may lie in this path.
    /// A move after a move replaces it.
    void moveTo(const float* p);
    /// A line after a line to the same point is dropped.
    void lineTo(const float* p);
    void quadTo(const float* c, const float* p);
    void cubicTo(const float* c1, const float* c2, const float* p);
    /// A curve of degree `n`, given by its points after the first. Warns and adds nothing unless
    /// `n` is 1 to 254.
    void curveTo(const float* points, int n);
    /// Does nothing after a close.
    void closePath();

    /// Appends what is left of an iterator. With `connect` a move at its start becomes a line, or
    /// nothing where the path already ends there; on an empty or a closed path it stays a move.
    void append(PathIterator& iterator, bool connect);
    /// Coordinates that the shape doesn't have are 0.
    void append(const Shape2f& shape, bool connect);
    void append(const Shape3f& shape, bool connect);

    void reverse();
    /// Makes both arrays longer by that many entries, which are zeros, with nothing to spare.
    void needRoom(int typeCount, int vertexCount);

    /// The box of all points; points of other dimensions than 2 to 4 have none. Homogeneous points
    /// are divided by their weight.
    void bounds(Box2f& box) const;
    /// Points of the plane stand at z = 0.
    void bounds(Box3f& box) const;

    VMemArray<char> types;

private:
    bool detach();
    bool grow(unsigned typeCount, unsigned vertexCount);
    void add(int type, std::initializer_list<const float*> runs, unsigned pointsInRun = 1);
    int lastType() const;
    bool endsAt(const float* p) const;
    void append(PathIterator& iterator, bool connect, unsigned coordinates);
    template <class Shape>
    void appendShape(const Shape& shape, bool connect, unsigned coordinates);
};

/// The path's vertices and types. Reading leaves the path as it was, with the stream's status at
/// `ReadCorruptData`, unless the form holds a path of 2 to 4 coordinates with enough points for its
/// types. Whole numbers and doubles become floats.
ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, const GeneralPath& path);
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, GeneralPath& path);

/// A path in the plane, with an inside by its winding rule. Open subpaths count as closed.
class ZYL_EXPORT GeneralPath2f : public GeneralPath, public Shape2f
{
public:
    GeneralPath2f() : GeneralPath(2) {}
    /// Copies a shape and its winding rule.
    explicit GeneralPath2f(const Shape2f& shape);

    using GeneralPath::bounds;
    Box2f bounds() const override;
    /// False for a path with a coordinate that is no finite number.
    bool contains(const Vector2f& p) const override;
    bool contains(const Box2f& box) const override;
    bool intersects(const Box2f& box) const override;
    PathIterator* getPathIterator() const override;
};

/// A path in space, which has no inside.
class ZYL_EXPORT GeneralPath3f : public GeneralPath, public Shape3f
{
public:
    GeneralPath3f() : GeneralPath(3) {}
    explicit GeneralPath3f(const Shape3f& shape);

    using GeneralPath::bounds;
    Box3f bounds() const override;
    bool contains(const Vector3f& p) const override;
    bool contains(const Box3f& box) const override;
    bool intersects(const Box3f& box) const override;
    PathIterator* getPathIterator() const override;
};

/// Reads a path live: it must not change meanwhile.
class ZYL_EXPORT GeneralPathIterator : public PathIterator
{
public:
    explicit GeneralPathIterator(const GeneralPath& path) : m_path(&path) {}

    int windingRule() const override { return m_path->windingRule(); }
    bool isDone() const override { return m_segment >= m_path->types.size(); }
    void next() override;
    int currentType() const override;
    /// Warns and returns -1 where the path has too few points.
    int currentSegment(float* coords, unsigned int dimension) const override;

private:
    const GeneralPath* m_path;
    unsigned m_segment = 0;
    quint64 m_vertex = 0;
};
} // namespace geometry
