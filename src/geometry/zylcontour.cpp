#include "geometry/zylcontour.h"

#include "geometry/zylbox.h"
#include "geometry/zylcontoursweep_p.h"

#include <qlogging.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace geometry
{
namespace
{
constexpr unsigned mostPoints = unsigned(std::numeric_limits<int>::max()) / 8;

template <class V>
const V* pointsOf(const Contour& contour)
{
    return reinterpret_cast<const V*>(contour.vertices.data());
}

/// Which coordinates a plane is seen by, so that its outlines keep their direction.
struct Projection {
    int x, y;

    explicit Projection(const Vector3d& normal)
    {
        const double ax = std::abs(normal.x), ay = std::abs(normal.y), az = std::abs(normal.z);
        const int axis = az >= ax && az >= ay ? 2 : ax >= ay ? 0 : 1;
        x = (axis + 1) % 3;
        y = (axis + 2) % 3;
        if (normal[axis] < 0)
            std::swap(x, y);
    }
};
} // namespace

Contour::Contour(int dimension)
    : VertexShape(GVectorArray(0, dimension == 3 ? 3 : 2, unsigned(GVector::Float)))
{
}

int Contour::windingRule() const
{
    return int((vertices.flags() & GVector::windingMask) >> GVector::windingShift);
}

void Contour::setWindingRule(int rule)
{
    if (vertices.nrefs() > 1)
        vertices.duplicate(vertices);
    vertices.setFlags((vertices.flags() & ~GVector::windingMask) |
                      ((unsigned(rule) << GVector::windingShift) & GVector::windingMask));
}

bool Contour::add(const Vector2f* points, unsigned count)
{
    return addPoints(reinterpret_cast<const float*>(points), count, 2);
}

bool Contour::add(const Vector3f* points, unsigned count)
{
    return addPoints(reinterpret_cast<const float*>(points), count, 3);
}

bool Contour::addPoints(const float* points, unsigned count, int dimension)
{
    if (vertices.dimension() != dimension || vertices.type() != GVector::Float) {
        qWarning("Contour::add: Points of %d coordinates in a contour of %d", dimension,
                 vertices.dimension());
        return false;
    }
    const unsigned before = m_ends.empty() ? 0 : m_ends.back();
    if (count > mostPoints || before > mostPoints - count)
        return false;
    if (vertices.nrefs() > 1)
        vertices.duplicate(vertices);
    if (!vertices.resize(before + count)) {
        m_ends.clear();
        return false;
    }
    const std::size_t bytes = unsigned(dimension) * sizeof(float);
    if (count > 0)
        std::memcpy(vertices.data() + before * bytes, points, count * bytes);
    m_ends.push_back(before + count);
    return true;
}

void Contour::clear()
{
    vertices = GVectorArray(0, vertices.dimension(), vertices.flags() & 0xffff);
    m_ends.clear();
}

Vector3d Contour::areaVector() const
{
    Vector3d sum;
    const bool isFlat = vertices.dimension() == 2;
    const auto point = [&](unsigned i) {
        return isFlat ? Vector3d(Vector2d(pointsOf<Vector2f>(*this)[i]))
                      : Vector3d(pointsOf<Vector3f>(*this)[i]);
    };
    for (unsigned i = 0; i < outlineCount(); ++i) {
        if (end(i) - begin(i) < 3)
            continue;
        // From the first point on, so that places far out don't cost digits.
        const Vector3d origin = point(begin(i));
        Vector3d last = point(begin(i) + 1) - origin;
        for (unsigned k = begin(i) + 2; k < end(i); ++k) {
            const Vector3d next = point(k) - origin;
            sum += cross(last, next);
            last = next;
        }
    }
    return sum;
}

double Contour::area() const
{
    const Vector3d twice = areaVector();
    return (vertices.dimension() == 2 ? twice.z : twice.length()) / 2;
}

void Contour::bounds(Box3f& box) const
{
    box.makeEmpty();
    if (vertices.dimension() == 3) {
        Vector3fArray::boundingBox(box, pointsOf<Vector3f>(*this), int(vertices.size()));
        return;
    }
    Box2f flat;
    Vector2fArray::boundingBox(flat, pointsOf<Vector2f>(*this), int(vertices.size()));
    if (!flat.isEmpty())
        box = Box3f(flat.min.x, flat.min.y, 0, flat.max.x, flat.max.y, 0);
}

ContourDecomposer::ContourDecomposer() : m_sweep(new ContourSweep) {}
ContourDecomposer::~ContourDecomposer() = default;

bool ContourDecomposer::decompose(const Contour& contour, Output output)
{
    const WindingRule rule =
        WindingRule(contour.windingRule() == EvenOddRule ? EvenOddRule : NonZeroRule);
    if (contour.vertices.dimension() == 2)
        return decompose(pointsOf<Vector2f>(contour), contour.ends(), contour.outlineCount(), rule,
                         output);
    Vector3d normal = contour.areaVector();
    normal.normalize();
    return decompose(pointsOf<Vector3f>(contour), nullptr, contour.ends(), contour.outlineCount(),
                     Vector3f(normal), rule, output);
}

bool ContourDecomposer::decompose(const Vector2f* points, const unsigned* ends,
                                  unsigned outlineCount, WindingRule rule, Output output)
{
    const bool isDone =
        run([points](unsigned i) { return Vector2d(points[i]); }, ends, outlineCount, rule, output);
    for (Crossing& crossing : m_crossings)
        crossing.point.z = 0;
    return isDone;
}

bool ContourDecomposer::decompose(const Vector3f* points, const int* indices, const unsigned* ends,
                                  unsigned outlineCount, const Vector3f& normal, WindingRule rule,
                                  Output output)
{
    const Projection plane{Vector3d(normal)};
    const auto at = [&](unsigned i) -> const Vector3f& {
        return points[indices ? unsigned(indices[i]) : i];
    };
    const bool isDone = run([&](unsigned i) { return Vector2d(at(i)[plane.x], at(i)[plane.y]); },
                            ends, outlineCount, rule, output);
    // The plane may be none quite: a crossing lies between the four points that it comes from.
    const unsigned count = outlineCount > 0 ? ends[outlineCount - 1] : 0;
    for (Crossing& crossing : m_crossings) {
        Vector3f sum;
        for (int k = 0; k < 4; ++k) {
            const unsigned source = unsigned(crossing.source[k]);
            sum += crossing.weight[k] *
                   (source < count ? at(source) : m_crossings[source - count].point);
        }
        crossing.point = sum;
    }
    return isDone;
}

template <class At>
bool ContourDecomposer::run(At at, const unsigned* ends, unsigned outlineCount, WindingRule rule,
                            Output output)
{
    m_corners.clear();
    m_stripEnds.clear();
    m_crossings.clear();
    const unsigned count = outlineCount > 0 ? ends[outlineCount - 1] : 0;
    if (count > mostPoints)
        return false;
    if (count == 0)
        return true;

    Box2d box;
    double sum = 0;
    for (unsigned i = 0; i < count; ++i) {
        const Vector2d p = at(i);
        box.include(p);
        sum += p.x * 0 + p.y * 0; // NaN as soon as one is not finite
    }
    if (!(sum == 0)) {
        qWarning("ContourDecomposer::decompose: A coordinate is not finite");
        return false;
    }
    // The step is a power of two: coordinates that fit on the grid are on it exactly.
    const double size = std::max(box.max.x - box.min.x, box.max.y - box.min.y);
    if (size == 0)
        return true;
    int exponent;
    std::frexp(size, &exponent);
    const double toGrid = std::ldexp(1, ContourSweep::gridBits - exponent);
    const double toPlane = std::ldexp(1, exponent - ContourSweep::gridBits);

    m_sweep->clear();
    for (unsigned i = 0; i < count; ++i) {
        const Vector2d p = (at(i) - box.min) * toGrid;
        m_sweep->addPoint(qint64(p.x + 0.5), qint64(p.y + 0.5));
    }
    unsigned begin = 0;
    for (unsigned i = 0; i < outlineCount; ++i) {
        if (ends[i] < begin || ends[i] > count)
            return false;
        for (unsigned k = begin; k < ends[i]; ++k)
            m_sweep->addEdge(int(k), int(k + 1 < ends[i] ? k + 1 : begin));
        begin = ends[i];
    }
    if (!m_sweep->run(rule == EvenOddRule))
        return false;

    m_corners.swap(m_sweep->triangles());
    const std::vector<ContourCrossing>& crossings = m_sweep->crossings();
    m_crossings.resize(crossings.size());
    for (std::size_t i = 0; i < crossings.size(); ++i) {
        std::copy_n(crossings[i].source, 4, m_crossings[i].source);
        std::copy_n(crossings[i].weight, 4, m_crossings[i].weight);
        const auto [x, y] = m_sweep->crossingPoints()[i];
        m_crossings[i].point =
            Vector3f(float(x * toPlane + box.min.x), float(y * toPlane + box.min.y), 0);
    }
    if (output == Strips)
        makeStrips();
    return true;
}

/// Joins the triangles to strips, each from a triangle on over one neighbour after another.
void ContourDecomposer::makeStrips()
{
    const std::vector<int> triangles = std::move(m_corners);
    m_corners = {};
    const std::size_t count = triangles.size() / 3;

    // The side from `from` to `to` of the triangle that lies left of it.
    struct Side {
        int from, to;
        unsigned triangle;

        bool operator<(const Side& other) const
        {
            return from != other.from ? from < other.from : to < other.to;
        }
    };
    std::vector<Side> sides;
    sides.reserve(triangles.size());
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t k = 0; k < 3; ++k)
            sides.push_back({triangles[3 * i + k], triangles[3 * i + (k + 1) % 3], unsigned(i)});
    std::sort(sides.begin(), sides.end());

    std::vector<char> isUsed(count, 0);
    /// Takes the triangle left of a side and gives its third corner, or -1.
    const auto take = [&](int from, int to) {
        const Side side = {from, to, 0};
        const auto [first, end] = std::equal_range(sides.begin(), sides.end(), side);
        for (auto i = first; i != end; ++i) {
            if (isUsed[i->triangle])
                continue;
            isUsed[i->triangle] = 1;
            const int* t = triangles.data() + std::size_t(i->triangle) * 3;
            return t[0] != from && t[0] != to ? t[0] : t[1] != from && t[1] != to ? t[1] : t[2];
        }
        return -1;
    };
    for (std::size_t i = 0; i < count; ++i) {
        if (isUsed[i])
            continue;
        isUsed[i] = 1;
        int a = triangles[3 * i], b = triangles[3 * i + 1], c = triangles[3 * i + 2];
        // The corner to leave out first is the one whose opposite side leads on.
        int next = take(c, b);
        for (int turns = 0; next < 0 && turns < 2; ++turns) {
            const int first = a;
            a = b;
            b = c;
            c = first;
            next = take(c, b);
        }
        m_corners.insert(m_corners.end(), {a, b, c});
        // Every second triangle of a strip is drawn the other way round.
        for (bool isOdd = true; next >= 0; isOdd = !isOdd) {
            m_corners.push_back(next);
            b = c;
            c = next;
            next = isOdd ? take(b, c) : take(c, b);
        }
        m_stripEnds.push_back(unsigned(m_corners.size()));
    }
}
} // namespace geometry
