#pragma once

#include "geometry/gvector.h"
#include "geometry/zylbox.h"
#include "geometry/zylfloat_p.h"
#include "geometry/zylmesh.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <numeric>
#include <vector>

namespace geometry
{
/// The vertices of a mesh as points in space, whatever numbers they are kept as: missing
/// coordinates are 0, and homogeneous points are divided by their weight.
class MeshPoints
{
public:
    explicit MeshPoints(const GVectorArray& vertices);

    unsigned count() const { return m_count; }
    const Vector3f* data() const { return m_data; }
    const Vector3f& operator[](unsigned i) const { return m_data[i]; }
    bool contains(int index) const { return unsigned(index) < m_count; }

    void bounds(Box3f& box) const;

private:
    GVectorArray m_floats;
    std::vector<Vector3f> m_converted;
    const Vector3f* m_data = nullptr;
    unsigned m_count = 0;
};

/// The angle of a vector from the x axis, from 0 to pi for an `y` that isn't negative; right to
/// 1e-7.
inline float angleOf(float x, float y)
{
    const float ax = std::abs(x);
    const float greater = ax > y ? ax : y, less = ax > y ? y : ax;
    const float t = greater > 0 ? less / greater : 0, s = t * t;
    const float series =
        ((((((((0.0028662257f * s - 0.0161657367f) * s + 0.0429096138f) * s - 0.0752896400f) * s +
             0.1065626393f) *
                s -
            0.1420889944f) *
               s +
           0.1999355085f) *
              s -
          0.3333314528f) *
             s +
         1) *
        t;
    const float acute = ax > y ? series : 1.57079633f - series;
    return x < 0 ? 3.14159265f - acute : acute;
}

/// What a face gives to a vertex: its normal, as long as the angle at the corner.
struct CornerShare {
    Vector3f normal;
    unsigned corner;
};

/// A triangle's normal of length 1; false where it has none. `length` is twice the area.
inline bool triangleNormal(const Vector3f& a, const Vector3f& b, const Vector3f& c,
                           Vector3f& normal, float& length)
{
    normal = cross(b - a, c - a);
    const float square = dot(normal, normal);
    if (square > 1e-24f && square < 1e24f) {
        length = std::sqrt(square);
        normal *= 1 / length;
        return true;
    }
    // Beyond what single precision can square.
    Vector3d exact = cross(Vector3d(b) - Vector3d(a), Vector3d(c) - Vector3d(a));
    const double measured = exact.normalize();
    if (!(measured > 0) || !(measured < std::numeric_limits<double>::infinity()))
        return false;
    normal = Vector3f(exact);
    length = toFloat(measured);
    return true;
}

/// The three angles of a triangle.
inline void triangleAngles(const Vector3f& a, const Vector3f& b, const Vector3f& c, float length,
                           float (&angles)[3])
{
    const Vector3f ab = b - a, ac = c - a, bc = c - b;
    float atA = dot(ab, ac), atB = -dot(ab, bc);
    if (!(length > 1e-12f) || !(length < 1e12f)) {
        const Vector3d exactAB = Vector3d(b) - Vector3d(a);
        const double exactLength = cross(exactAB, Vector3d(c) - Vector3d(a)).length();
        atA = toFloat(dot(exactAB, Vector3d(c) - Vector3d(a)) / exactLength);
        atB = toFloat(-dot(exactAB, Vector3d(c) - Vector3d(b)) / exactLength);
        length = 1;
    }
    angles[0] = angleOf(atA, length);
    angles[1] = angleOf(atB, length);
    angles[2] = std::max(3.14159265f - angles[0] - angles[1], 0.0f);
}

/// How the faces at one vertex fall into parts that share a normal.
///
/// Everything is kept from vertex to vertex, so that no vertex allocates.
class FaceParts
{
public:
    void reset(unsigned count)
    {
        if (m_parent.size() < count)
            m_parent.resize(count);
        std::iota(m_parent.begin(), m_parent.begin() + count, 0u);
    }
    unsigned partOf(unsigned i)
    {
        while (m_parent[i] != i)
            i = m_parent[i] = m_parent[m_parent[i]];
        return i;
    }
    void join(unsigned a, unsigned b)
    {
        a = partOf(a);
        b = partOf(b);
        m_parent[std::max(a, b)] = std::min(a, b);
    }

private:
    std::vector<unsigned> m_parent;
};

/// Joins the faces at a vertex over edges at which they meet at less than an angle.
class CreaseRule
{
public:
    explicit CreaseRule(float degrees)
    {
        const double angle =
            std::clamp(double(degrees), 0.0, 180.0) * (3.14159265358979323846 / 180);
        m_cos = float(std::cos(angle));
        const double half = std::cos(angle / 2);
        m_halfSquare = float(half * half);
    }

    /// Whether all faces lie within half the angle of their sum.
    bool joinsAll(const CornerShare* shares, unsigned count, const Vector3f& sum) const
    {
        const float least = m_halfSquare * dot(sum, sum);
        bool all = true;
        for (unsigned i = 0; i < count; ++i) {
            const Vector3f& n = shares[i].normal;
            const float along = dot(n, sum);
            all &= along > 0 && along * along > least * dot(n, n);
        }
        return all;
    }

    template <class Topology>
    void join(const CornerShare* shares, unsigned count, const Topology& topology, FaceParts& parts)
    {
        constexpr unsigned few = 16;
        if (count > few) {
            joinSorted(shares, count, topology, parts);
            return;
        }
        // Comparing all with all takes less than sorting.
        int next[few], previous[few];
        for (unsigned i = 0; i < count; ++i) {
            next[i] = topology.next(shares[i].corner);
            previous[i] = topology.previous(shares[i].corner);
        }
        for (unsigned i = 0; i < count; ++i) {
            unsigned other = 0, leaving = 0, arriving = 0;
            for (unsigned k = 0; k < count; ++k) {
                leaving += next[k] == next[i];
                const bool isOther = previous[k] == next[i];
                arriving += isOther;
                other = isOther ? k : other;
            }
            if (leaving == 1 && arriving == 1 && meet(shares[i].normal, shares[other].normal))
                parts.join(i, other);
        }
    }

private:
    /// An edge from the vertex to another one, of a face.
    struct Side {
        int vertex;
        unsigned share;
        bool isNext;
    };

    bool meet(const Vector3f& a, const Vector3f& b) const
    {
        return dot(a, b) > m_cos * std::sqrt(dot(a, a) * dot(b, b));
    }

    template <class Topology>
    void joinSorted(const CornerShare* shares, unsigned count, const Topology& topology,
                    FaceParts& parts)
    {
        m_sides.clear();
        for (unsigned i = 0; i < count; ++i) {
            m_sides.push_back({topology.next(shares[i].corner), i, true});
            m_sides.push_back({topology.previous(shares[i].corner), i, false});
        }
        std::sort(m_sides.begin(), m_sides.end(),
                  [](const Side& a, const Side& b) { return a.vertex < b.vertex; });
        for (std::size_t i = 0; i < m_sides.size();) {
            const std::size_t first = i;
            while (++i < m_sides.size() && m_sides[i].vertex == m_sides[first].vertex) {
            }
            const Side &a = m_sides[first], &b = m_sides[first + (i - first > 1)];
            if (i - first == 2 && a.isNext != b.isNext &&
                meet(shares[a.share].normal, shares[b.share].normal))
                parts.join(a.share, b.share);
        }
    }

    float m_cos, m_halfSquare;
    std::vector<Side> m_sides;
};

/// Joins the faces at a vertex that have a smoothing group in common.
class GroupRule
{
public:
    bool joinsAll(const CornerShare*, unsigned, const Vector3f&) const { return false; }

    template <class Topology>
    void join(const CornerShare* shares, unsigned count, const Topology& topology, FaceParts& parts)
    {
        constexpr unsigned groupCount = 12, none = ~0u;
        unsigned firstOf[groupCount];
        std::fill_n(firstOf, groupCount, none);
        for (unsigned i = 0; i < count; ++i) {
            const unsigned groups = topology.groups(shares[i].corner);
            for (unsigned g = 0; g < groupCount; ++g) {
                if (!(groups >> g & 1))
                    continue;
                if (firstOf[g] == none)
                    firstOf[g] = i;
                else
                    parts.join(firstOf[g], i);
            }
        }
    }
};

/// Makes one normal for each corner that takes part. A topology has `eachVertex` and `eachShare`,
/// which tell of the vertex of each such corner, the second also of its share and of the corner.
template <class Topology, class Rule>
void shareNormals(const Topology& topology, unsigned pointCount, Rule rule,
                  std::vector<Vector3f>& normals)
{
    // The shares of one vertex stand after those of another. Faces without a direction have none,
    // so that some places stay free.
    std::vector<unsigned> starts(std::size_t(pointCount) + 1, 0);
    topology.eachVertex([&](int vertex) { ++starts[unsigned(vertex) + 1]; });
    for (std::size_t i = 1; i < starts.size(); ++i)
        starts[i] += starts[i - 1];
    std::vector<unsigned> ends(starts);
    // Unset at first: a vector would write all of it twice.
    const std::unique_ptr<char[]> memory(
        new char[std::size_t(starts.back()) * sizeof(CornerShare)]);
    CornerShare* const shares = reinterpret_cast<CornerShare*>(memory.get());
    topology.eachShare([&](int vertex, const Vector3f& normal, unsigned corner) {
        new (shares + ends[unsigned(vertex)]++) CornerShare{normal, corner};
    });

    const auto unit = [](Vector3f v, const Vector3f& other) {
        const float square = dot(v, v);
        if (!(square > 0)) // faces that face each other
            v = other;
        return v * (1 / std::sqrt(dot(v, v)));
    };
    FaceParts parts;
    std::vector<Vector3f> sums;
    for (unsigned vertex = 0; vertex < pointCount; ++vertex) {
        const CornerShare* const first = shares + starts[vertex];
        const unsigned count = ends[vertex] - starts[vertex];
        if (count == 0)
            continue;
        Vector3f sum = first->normal;
        for (unsigned i = 1; i < count; ++i)
            sum += first[i].normal;
        if (count == 1 || rule.joinsAll(first, count, sum)) {
            const Vector3f normal = unit(sum, first->normal);
            for (unsigned i = 0; i < count; ++i)
                normals[first[i].corner] = normal;
            continue;
        }
        parts.reset(count);
        rule.join(first, count, topology, parts);
        sums.assign(count, Vector3f());
        for (unsigned i = 0; i < count; ++i)
            sums[parts.partOf(i)] += first[i].normal;
        for (unsigned i = 0; i < count; ++i) {
            const unsigned part = parts.partOf(i);
            if (part == i)
                sums[i] = unit(sums[i], first[i].normal);
            normals[first[i].corner] = sums[part];
        }
    }
}

constexpr unsigned groupsOfWord(unsigned word)
{
    return (word & MeshFace::groupMask) >> MeshFace::groupShift;
}

/// A mesh of nothing but triangles; `WordOf` gives the word of a face.
template <class WordOf>
struct TriangleTopology {
    const MeshPoints& points;
    const int* corners;
    unsigned cornerCount;
    WordOf wordOf;

    int next(unsigned corner) const { return corners[corner % 3 == 2 ? corner - 2 : corner + 1]; }
    int previous(unsigned corner) const
    {
        return corners[corner % 3 == 0 ? corner + 2 : corner - 1];
    }
    unsigned groups(unsigned corner) const { return groupsOfWord(wordOf(corner / 3)); }

    bool triangle(unsigned first, Vector3f& normal, float& length) const
    {
        return triangleNormal(points[unsigned(corners[first])],
                              points[unsigned(corners[first + 1])],
                              points[unsigned(corners[first + 2])], normal, length);
    }
    bool isValid(unsigned first) const
    {
        return points.contains(corners[first]) && points.contains(corners[first + 1]) &&
               points.contains(corners[first + 2]);
    }

    template <class Use>
    void eachVertex(Use use) const
    {
        for (unsigned i = 0; i < cornerCount; i += 3)
            if (isValid(i))
                for (unsigned k = 0; k < 3; ++k)
                    use(corners[i + k]);
    }
    template <class Use>
    void eachShare(Use use) const
    {
        for (unsigned i = 0; i < cornerCount; i += 3) {
            Vector3f normal;
            float length, angles[3];
            if (!isValid(i) || !triangle(i, normal, length))
                continue;
            triangleAngles(points[unsigned(corners[i])], points[unsigned(corners[i + 1])],
                           points[unsigned(corners[i + 2])], length, angles);
            for (unsigned k = 0; k < 3; ++k)
                use(corners[i + k], normal * angles[k], i + k);
        }
    }
    void flat(std::vector<Vector3f>& normals) const
    {
        for (unsigned i = 0; i < cornerCount; i += 3) {
            Vector3f normal;
            float length;
            if (isValid(i) && triangle(i, normal, length))
                std::fill_n(normals.begin() + i, 3, normal);
        }
    }
};

/// The volume of closed triangles, by the divergence theorem.
template <class EachTriangle>
double enclosedVolume(const MeshPoints& points, EachTriangle eachTriangle)
{
    // From one of its corners on, so that places far out don't cost digits.
    Box3f box;
    points.bounds(box);
    if (box.isEmpty())
        return 0;
    const Vector3d origin(box.min);
    double sixfold = 0;
    const auto at = [&](int index) { return Vector3d(points[unsigned(index)]) - origin; };
    eachTriangle([&](int a, int b, int c) {
        if (!points.contains(a) || !points.contains(b) || !points.contains(c))
            return;
        const double pyramid = dot(at(a), cross(at(b), at(c)));
        if (std::isfinite(pyramid))
            sixfold += pyramid;
    });
    return sixfold / 6;
}
} // namespace geometry
