#pragma once

#include "geometry/zylpathiterator.h"
#include "geometry/zylvectorarray.h"
#include "geometry/zylvertexshape.h"

#include <memory>
#include <vector>

namespace geometry
{
/// Closed outlines in a plane, such as an outer one and the holes in it, in any order.
///
/// An outline joins each of its points to the next and the last to the first. What is inside is
/// told by the winding rule in the flags of the vertices, as in a path: odd at first, by which a
/// hole may run either way round.
class ZYL_EXPORT Contour : public VertexShape
{
public:
    /// Empty, with points of 2 or 3 coordinates.
    explicit Contour(int dimension = 2);

    int windingRule() const;
    void setWindingRule(int rule);

    /// Adds an outline by its points. Warns and returns false unless they have the dimension of the
    /// contour.
    bool add(const Vector2f* points, unsigned count);
    bool add(const Vector3f* points, unsigned count);
    void clear();

    unsigned outlineCount() const { return unsigned(m_ends.size()); }
    unsigned begin(unsigned outline) const { return outline == 0 ? 0 : m_ends[outline - 1]; }
    unsigned end(unsigned outline) const { return m_ends[outline]; }
    /// For each outline the number of points up to its end.
    const unsigned* ends() const { return m_ends.data(); }

    /// Twice the area as a vector that stands on the plane: outlines that run counterclockwise seen
    /// from its tip add to it, others take away.
    Vector3d areaVector() const;
    /// In the plane: the area of the outlines that run counterclockwise without that of the others.
    /// In space the sum along the direction of `areaVector`, never negative.
    double area() const;
    void bounds(Box3f& box) const;

private:
    bool addPoints(const float* points, unsigned count, int dimension);

    std::vector<unsigned> m_ends;
};

class ContourSweep;

/// Cuts contours into triangles or strips of them.
///
/// All points of the outlines are used, so that no gaps show beside other faces. Outlines may
/// cross, touch and run upon themselves and each other: what they enclose is told by the winding
/// rule. A crossing adds a vertex. Points closer together than 2^-29 of the contour's size are one,
/// the first of them. Takes O(n log n) for n points and crossings; keeps its memory from call to
/// call.
class ZYL_EXPORT ContourDecomposer
{
public:
    enum Output { Triangles, Strips };

    /// A vertex that outlines crossing each other made. Whatever else the vertices have, such as
    /// texture coordinates, it has as the mean of four, by weights whose sum is 1.
    struct Crossing {
        int source[4]; // each less than its own index
        float weight[4];
        Vector3f point;
    };

    ContourDecomposer();
    ~ContourDecomposer();

    /// Triangles run counterclockwise. In space seen from the tip of the contour's `areaVector`.
    ///
    /// False, with nothing decomposed, where a coordinate is no finite number, which is warned of,
    /// or where outlines cross more than a million times or cannot be untangled. A contour without
    /// an area is decomposed into nothing.
    bool decompose(const Contour& contour, Output output = Triangles);
    /// The same for outlines in the plane; `ends` has for each the number of points up to its end.
    bool decompose(const Vector2f* points, const unsigned* ends, unsigned outlineCount,
                   WindingRule rule, Output output = Triangles);
    /// Points in space at indices, seen from the tip of a normal. The results are places in the
    /// array of indices; indices must be within the points.
    bool decompose(const Vector3f* points, const int* indices, const unsigned* ends,
                   unsigned outlineCount, const Vector3f& normal, WindingRule rule,
                   Output output = Triangles);

    /// Places of the corners among the points given; from their number on, those of `crossings`.
    /// Three for each triangle, or strip after strip, as `GL_TRIANGLE_STRIP` has them.
    const int* corners() const { return m_corners.data(); }
    unsigned cornerCount() const { return unsigned(m_corners.size()); }
    /// For each strip the number of corners up to its end; none for triangles.
    const unsigned* stripEnds() const { return m_stripEnds.data(); }
    unsigned stripCount() const { return unsigned(m_stripEnds.size()); }
    const Crossing* crossings() const { return m_crossings.data(); }
    unsigned crossingCount() const { return unsigned(m_crossings.size()); }

private:
    template <class At>
    bool run(At at, const unsigned* ends, unsigned outlineCount, WindingRule rule, Output output);
    void makeStrips();

    std::unique_ptr<ContourSweep> m_sweep;
    std::vector<int> m_corners;
    std::vector<unsigned> m_stripEnds;
    std::vector<Crossing> m_crossings;
};
} // namespace geometry
