// The inside tests of paths against slow counts that know nothing of equations: exact signs for
// lines, and halving until the hull decides for curves.

#include "geometry/zylbox.h"
#include "geometry/zylcurve.h"
#include "geometry/zylgeneralpath.h"
#include "geometryprinters.h"

#include <cmath>
#include <cstdlib>
#include <optional>
#include <vector>

using namespace geometry;

namespace
{
__extension__ typedef __float128 Wide; // holds the products of float differences

struct Point {
    Wide x, y;
};

Wide absolute(Wide v)
{
    return v < 0 ? -v : v;
}

struct Edge {
    std::vector<Vector2f> points; // with the first
    bool isClosing = false;
};

/// The edges of a path with all subpaths closed.
std::vector<Edge> edgesOf(const GeneralPath2f& path)
{
    std::vector<Edge> edges;
    Vector2f first, current;
    const std::unique_ptr<PathIterator> i(path.getPathIterator());
    const auto close = [&] {
        edges.push_back({{current, first}, true});
        current = first;
    };
    for (; !i->isDone(); i->next()) {
        std::vector<Vector2f> points(256);
        const int type = i->currentSegment(&points[0].x, 2);
        if (type <= 0)
            close();
        if (type == 0)
            first = current = points[0];
        if (type <= 0)
            continue;
        points.resize(std::size_t(type));
        points.insert(points.begin(), current);
        current = points.back();
        edges.push_back({points});
    }
    close();
    return edges;
}

/// The signed crossing of the positive x axis; none where rounding would decide.
std::optional<int> slowCrossing(const std::vector<Point>& points, int depth)
{
    bool isBelow = true, isAbove = true, isLeft = true, isRight = true;
    for (const Point& p : points) {
        isBelow = isBelow && p.y < 0;
        isAbove = isAbove && !(p.y < 0);
        isLeft = isLeft && p.x <= 0;
        isRight = isRight && p.x > 0;
    }
    const Point &a = points.front(), &b = points.back();
    // A point on a curve is in or out by rounding.
    if (points.size() > 2 && ((a.x == 0 && a.y == 0) || (b.x == 0 && b.y == 0)))
        return std::nullopt;
    if (isBelow || isAbove || isLeft)
        return 0;
    if (isRight)
        return (a.y < 0) == (b.y < 0) ? 0 : a.y < 0 ? 1 : -1;
    if (points.size() == 2) {
        if ((a.y < 0) == (b.y < 0))
            return 0;
        const Wide one = a.x * b.y, other = b.x * a.y, side = one - other;
        if (side != 0 && absolute(side) <= 1e-15 * (absolute(one) + absolute(other)))
            return std::nullopt;
        return a.y < b.y ? side > 0 : -int(side < 0);
    }
    if (depth == 0)
        return std::nullopt;
    std::vector<Point> left(points.size()), right = points;
    for (std::size_t i = 0; i < points.size(); ++i) {
        left[i] = right[0];
        for (std::size_t k = 0; k + i + 1 < points.size(); ++k)
            right[k] = {(right[k].x + right[k + 1].x) / 2, (right[k].y + right[k + 1].y) / 2};
    }
    const auto first = slowCrossing(left, depth - 1), second = slowCrossing(right, depth - 1);
    return first && second ? std::optional<int>(*first + *second) : std::nullopt;
}

/// Whether a cubic curve passes the ray level. Such a pass counts for nothing, and the slow count
/// has to leave it out.
bool passesLevel(const std::vector<Point>& p)
{
    if (p.size() != 4)
        return p.size() > 4;
    const double a = double(p[3].y - 3 * p[2].y + 3 * p[1].y - p[0].y);
    const double b = double(2 * (p[2].y - 2 * p[1].y + p[0].y)), c = double(p[1].y - p[0].y);
    return std::abs(b * b - 4 * a * c) <= 1e-9 * (b * b + std::abs(4 * a * c));
}

std::optional<int> slowCrossings(const std::vector<Edge>& edges, const Vector2f& p)
{
    int sum = 0;
    for (const Edge& edge : edges) {
        std::vector<Point> points;
        for (const Vector2f& v : edge.points)
            points.push_back({Wide(v.x) - p.x, Wide(v.y) - p.y});
        const int depth = points.size() > 4 ? 20 : 40;
        const auto crossing = slowCrossing(points, depth);
        if (!crossing || (points.size() > 3 && *crossing != 0 && passesLevel(points)))
            return std::nullopt;
        sum += *crossing;
    }
    return sum;
}

/// Paths that are hard on an inside test, by kind.
class PathMaker
{
public:
    PathMaker(int kind, unsigned start) : m_kind(kind), m_numbers(start) {}

    int below(int n) { return int(m_numbers(0, n)); }
    float coordinate()
    {
        switch (m_kind) {
        case 0: // a small grid: points on points, edges on edges, flat curves
            return float(below(7));
        case 1: // sizes that swallow each other
            return float(m_numbers() * std::pow(10.0, below(60) - 30));
        default:
            return float(m_numbers(0, 7));
        }
    }
    Vector2f point()
    {
        const float x = coordinate();
        return Vector2f(x, coordinate());
    }

    GeneralPath2f path()
    {
        GeneralPath2f result;
        result.setWindingRule(below(2));
        const int segments = 3 + below(20);
        for (int i = 0; i < segments; ++i) {
            const Vector2f p[] = {point(), point(), point(), point(), point()};
            switch (below(m_kind == 1 ? 6 : m_kind == 3 ? 13 : 12)) {
            case 0:
                result.moveTo(&p[0].x);
                break;
            case 1:
                result.closePath();
                break;
            case 6:
            case 7:
                result.quadTo(&p[0].x, &p[1].x);
                break;
            case 8:
            case 9:
                result.cubicTo(&p[0].x, &p[1].x, &p[2].x);
                break;
            case 10: // handles of no length
                result.cubicTo(&p[0].x, &p[1].x, &p[1].x);
                break;
            case 12:
                result.curveTo(&p[0].x, 4 + below(2));
                break;
            default:
                result.lineTo(&p[0].x);
            }
        }
        return result;
    }

    Vector2f testPoint(const GeneralPath2f& path)
    {
        const unsigned count = path.vertices.size();
        const auto vertex = [&] {
            return *reinterpret_cast<const Vector2f*>(
                path.vertices.at(unsigned(below(int(count)))));
        };
        switch (count ? below(4) : 0) {
        case 1: // level with a point
            return Vector2f(coordinate(), vertex().y);
        case 2:
            return vertex();
        case 3:
            return (vertex() + vertex()) * 0.5f;
        default:
            return point() + Vector2f(m_kind == 0 ? 0.25f : 0, 0);
        }
    }

private:
    int m_kind;
    Numbers m_numbers;
};

int pointsToTest()
{
    // A million takes the sanitizers a while.
    const char* const text = std::getenv("ZYL_INSIDE_POINTS");
    return text ? std::atoi(text) : 80000;
}
} // namespace

class PathInside : public testing::TestWithParam<int>
{
};
TEST_P(PathInside, AgreesWithSlowCounts)
{
    constexpr int perPath = 50;
    const int paths = pointsToTest() / 4 / perPath;
    int decided = 0;
    for (int n = 0; n < paths; ++n) {
        PathMaker maker(GetParam(), unsigned(n));
        const GeneralPath2f path = maker.path();
        const std::vector<Edge> edges = edgesOf(path);
        for (int i = 0; i < perPath; ++i) {
            const Vector2f p = maker.testPoint(path);
            const auto expected = slowCrossings(edges, p);
            if (!expected)
                continue;
            ++decided;
            const bool isInside =
                path.windingRule() == EvenOddRule ? *expected % 2 != 0 : *expected != 0;
            ASSERT_EQ(Curve::crossingsForPath(path, p), *expected)
                << "path " << n << " point " << i << testing::PrintToString(p);
            ASSERT_EQ(path.contains(p), isInside) << "path " << n << " point " << i;
        }
    }
    EXPECT_GT(decided, paths * perPath * 2 / 3);
}
INSTANTIATE_TEST_SUITE_P(GridSizesAndCurves, PathInside, testing::Values(0, 1, 2, 3));

/// Whether an edge comes into the open box, by where it stands at many places; none where one comes
/// so close that a place more or less would decide.
std::optional<bool> slowMeets(const std::vector<Edge>& edges, const Box2f& box)
{
    constexpr int steps = 700;
    constexpr float margin = 0.02f;
    bool isNear = false;
    for (const Edge& edge : edges)
        for (int i = 0; i <= steps; ++i) {
            std::vector<Vector2f> row = edge.points;
            for (std::size_t n = row.size(); n > 1; --n)
                for (std::size_t k = 0; k + 1 < n; ++k)
                    row[k] = row[k] + (row[k + 1] - row[k]) * (float(i) / steps);
            const Vector2f p = row[0];
            const float inside =
                std::min({p.x - box.min.x, box.max.x - p.x, p.y - box.min.y, box.max.y - p.y});
            if (inside > margin)
                return true;
            isNear = isNear || inside > -margin;
        }
    return isNear ? std::nullopt : std::optional<bool>(false);
}

TEST(PathBoxes, AgreeWithSlowWalks)
{
    const int paths = 60;
    int decided = 0, covered = 0, missed = 0;
    for (int n = 0; n < paths; ++n) {
        PathMaker maker(2, unsigned(n) + 1000);
        const GeneralPath2f path = maker.path();
        const std::vector<Edge> edges = edgesOf(path);
        for (int i = 0; i < 8; ++i) {
            const Vector2f corner = maker.point();
            const Vector2f size(0.1f + float(maker.below(8)) * 0.1f, 0.1f + float(i % 4) * 0.2f);
            const Box2f box(corner, corner + size);
            const auto meets = slowMeets(edges, box);
            const auto crossings = slowCrossings(edges, box.center());
            if (!meets || (!*meets && !crossings))
                continue;
            ++decided;
            const bool isInside =
                !*meets &&
                (path.windingRule() == EvenOddRule ? *crossings % 2 != 0 : *crossings != 0);
            ASSERT_EQ(path.intersects(box), *meets || isInside) << "path " << n << " box " << i;
            ASSERT_EQ(path.contains(box), isInside) << "path " << n << " box " << i;
            covered += isInside;
            missed += !*meets && !isInside;
        }
    }
    EXPECT_GT(decided, 200);
    EXPECT_GT(covered, 20);
    EXPECT_GT(missed, 20);
}
