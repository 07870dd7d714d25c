#include "geometry/zylplane.h"
#include "geometry/zylray.h"
#include "geometryprinters.h"
#include "support/warnings.h"

#include <optional>

using namespace geometry;

namespace
{
const Box3d cube(-1, -1, -1, 1, 1, 1);
const Vector3d unwritten(77, 77, 77);

/// Where a line enters and leaves a box, by slabs.
std::optional<std::pair<Vector3d, Vector3d>> slabs(const Ray3d& ray, const Box3d& box)
{
    double first = -1e300, last = 1e300;
    for (int i = 0; i < 3; ++i) {
        const double a = (box.min[i] - ray.origin[i]) / ray.direction[i];
        const double b = (box.max[i] - ray.origin[i]) / ray.direction[i];
        first = std::max(first, std::min(a, b));
        last = std::min(last, std::max(a, b));
    }
    if (first > last)
        return std::nullopt;
    return std::pair(ray.origin + ray.direction * first, ray.origin + ray.direction * last);
}
} // namespace

TEST(Ray, FromTwoPointsHasUnitDirection)
{
    EXPECT_CLOSE(Ray3d(Vector3d(1, 1, 1), Vector3d(1, 4, 5)).direction, Vector3d(0, 0.6, 0.8),
                 1e-15);
    EXPECT_EQ(Ray2f(Vector2f(1, 1), Vector2f(1, -4)).direction, Vector2f(0, -1));
}

TEST(Ray, ClosestPointsAreSquareToBothLines)
{
    Numbers random;
    for (int round = 0; round < 100; ++round) {
        const Ray3d a(random.vector3<double>(), random.vector3<double>());
        const Ray3d b(random.vector3<double>(), random.vector3<double>());
        Vector3d p1, p2;
        ASSERT_TRUE(a.closestPoints(b, p1, p2));
        EXPECT_CLOSE(a.closestPoint(p2), p1, 1e-9);
        EXPECT_CLOSE(b.closestPoint(p1), p2, 1e-9);
        EXPECT_CLOSE(a.closestPoint(p1), p1, 1e-12) << "on the first line";
    }
    Vector3d p1 = unwritten, p2 = unwritten;
    const Ray3d along(Vector3d(0, 0, 0), Vector3d(0, 0, 5)),
        beside(Vector3d(1, 0, 9), Vector3d(1, 0, 7));
    EXPECT_FALSE(along.closestPoints(beside, p1, p2));
    EXPECT_EQ(p1, unwritten);
    EXPECT_EQ(p2, unwritten);
}

TEST(Ray, BoxIsMetWhereItsSlabsAre)
{
    Numbers random;
    int hits = 0;
    for (int round = 0; round < 2000; ++round) {
        const Ray3d ray(random.vector3<double>(-4, 4), random.vector3<double>(-2, 2));
        const auto expected = slabs(ray, cube);
        Vector3d enter = unwritten, exit = unwritten;
        ASSERT_EQ(ray.intersect(cube, enter, exit), expected.has_value()) << "round " << round;
        if (!expected)
            continue;
        ++hits;
        ASSERT_CLOSE(enter, expected->first, 1e-8);
        ASSERT_CLOSE(exit, expected->second, 1e-8);
    }
    EXPECT_GT(hits, 300);
}

TEST(Ray, BoxIsMetBehindTheOriginToo)
{
    Vector3f enter, exit;
    const Ray3f inside(Vector3f(0, 0.25f, 0.5f), Vector3f(5, 0.25f, 0.5f));
    EXPECT_TRUE(inside.intersect(Box3f(-1, -1, -1, 1, 1, 1), enter, exit));
    EXPECT_EQ(enter, Vector3f(-1, 0.25f, 0.5f));
    EXPECT_EQ(exit, Vector3f(1, 0.25f, 0.5f));
    EXPECT_FALSE(inside.intersect(Box3f(), enter, exit));
}

TEST(Ray, TriangleGivesPointWeightsAndSide)
{
    const Vector3d v0(0, 0, 0), v1(4, 0, 0), v2(0, 4, 0);
    // (v2 - v1) x (v1 - v0) points down, so that a ray going up meets the front.
    for (const double side : {1.0, -1.0}) {
        const Ray3d ray(Vector3d(1, 2, -5 * side), Vector3d(1, 2, 5 * side));
        Vector3d point, weights;
        bool front = side < 0;
        ASSERT_FALSE(ray.intersect(v0, v1, v1, point, weights, front)) << "no area";
        ASSERT_TRUE(ray.intersect(v0, v1, v2, point, weights, front));
        EXPECT_EQ(point, Vector3d(1, 2, 0));
        EXPECT_EQ(weights, Vector3d(0.25, 0.25, 0.5));
        EXPECT_EQ(front, side > 0);
    }
    Vector3d point = unwritten, weights = unwritten;
    bool front;
    for (const Vector3d aside : {Vector3d(-0.1, 1, 0), Vector3d(1, -0.1, 0), Vector3d(2.1, 2, 0)})
        EXPECT_FALSE(
            Ray3d(aside - Vector3d(0, 0, 1), aside).intersect(v0, v1, v2, point, weights, front));
    EXPECT_FALSE(
        Ray3d(Vector3d(-1, 1, 0), Vector3d(5, 1, 0)).intersect(v0, v1, v2, point, weights, front))
        << "in its plane";
    EXPECT_EQ(point, unwritten);
    EXPECT_TRUE(
        Ray3d(Vector3d(2, 2, 1), Vector3d(2, 2, 2)).intersect(v0, v1, v2, point, weights, front))
        << "the border belongs to it, and so does what lies behind";
}

TEST(Ray, WeightsRebuildThePointInEveryPosition)
{
    Numbers random;
    int hits = 0;
    for (int round = 0; round < 3000; ++round) {
        Vector3d v[] = {random.vector3<double>(), random.vector3<double>(),
                        random.vector3<double>()};
        // Edges along an axis take the other formula of the weights.
        if (round % 3 == 0)
            v[1][round / 3 % 3] = v[0][round / 3 % 3];
        const Ray3d ray(random.vector3<double>(-3, 3), random.vector3<double>());
        Vector3d point, weights;
        bool front;
        if (!ray.intersect(v[0], v[1], v[2], point, weights, front))
            continue;
        ++hits;
        ASSERT_CLOSE(v[0] * weights.x + v[1] * weights.y + v[2] * weights.z, point, 1e-9);
        ASSERT_CLOSE(ray.closestPoint(point), point, 1e-9);
    }
    EXPECT_GT(hits, 100);
}

TEST(Ray, ConeComparesTheRatioWithTheAngleItself)
{
    const Ray3d ray(Vector3d(0, 0, 0), Vector3d(0, 0, 1));
    const double angle = 0.5; // tan(0.5) is 0.546
    EXPECT_TRUE(ray.intersect(angle, Vector3d(0.98, 0, 2)));
    EXPECT_FALSE(ray.intersect(angle, Vector3d(1.02, 0, 2)));
    EXPECT_FALSE(ray.intersect(angle, Vector3d(0, 0, -2))) << "behind";
    EXPECT_FALSE(ray.intersect(-0.3, Vector3d(0, 0, 0))) << "the origin";
    EXPECT_TRUE(ray.intersect(-0.3, Vector3d(0.2, 0.2, 9)));
    EXPECT_FALSE(ray.intersect(-0.3, Vector3d(0.3, 0, 9)));
    // (1, 1, 1) on the axis: rounding takes |d|^2 - t^2 below 0 for some multiples.
    const Ray3f diagonal(Vector3f(0, 0, 0), Vector3f(1, 1, 1));
    for (int i = 1; i < 50; ++i)
        EXPECT_TRUE(diagonal.intersect(0.01f, Vector3f(1, 1, 1) * (0.1f * i))) << i;
    EXPECT_FALSE(ray.intersect(-1.0, Vector3d(std::nan(""), 0, 1)));
}

TEST(Ray, ConeAgainstSegmentStopsAtItsEnds)
{
    const Ray3d ray(Vector3d(0, 0, 0), Vector3d(0, 0, 1));
    Vector3d out;
    EXPECT_TRUE(ray.intersect(0.1, Vector3d(-1, 0.1, 5), Vector3d(1, 0.1, 5), out));
    EXPECT_CLOSE(out, Vector3d(0, 0.1, 5), 1e-15);
    EXPECT_FALSE(ray.intersect(0.1, Vector3d(1, 0.1, 5), Vector3d(3, 0.1, 5), out));
    EXPECT_EQ(out, Vector3d(1, 0.1, 5));
    EXPECT_FALSE(ray.intersect(-0.5, Vector3d(-3, 0, 5), Vector3d(-1, 0, 5), out));
    EXPECT_EQ(out, Vector3d(-1, 0, 5));
    EXPECT_TRUE(ray.intersect(-1.5, Vector3d(-3, 0, 5), Vector3d(-1, 0, 5), out));
    out = unwritten;
    EXPECT_FALSE(ray.intersect(9.0, Vector3d(0, 0, 1), Vector3d(0, 0, 2), out)) << "parallel";
    EXPECT_EQ(out, unwritten);
}

TEST(Ray, ConeAgainstBoxGrowsTheBox)
{
    // The farthest corner is 3 away: (1, 2, 2).
    const Box3d box(1, 1, 2, 1, 2, 2);
    const Ray3d ray(Vector3d(0, 0, 0), Vector3d(0, 0, 1));
    EXPECT_FALSE(ray.intersect(std::atan(0.99 / 3), box));
    EXPECT_TRUE(ray.intersect(std::atan(1.01 / 3), box));
    EXPECT_FALSE(ray.intersect(-0.99, box));
    EXPECT_TRUE(ray.intersect(-1.01, box));
    EXPECT_FALSE(ray.intersect(1.0, Box3d()));
}

TEST(Plane, ThreePointsTurnTheNormalTowardsTheViewer)
{
    const DPlane plane(Vector3d(0, 0, 2), Vector3d(5, 0, 2), Vector3d(0, 9, 2));
    EXPECT_EQ(plane, DPlane(Vector3d(0, 0, 7), 2.0));
    EXPECT_EQ(plane, DPlane(Vector3d(0, 0, 7), Vector3d(3, 4, 2)));
    EXPECT_TRUE(plane.isInHalfSpace(Vector3d(0, 0, 2)));
    EXPECT_FALSE(plane.isInHalfSpace(Vector3d(0, 0, 1.999)));
}

TEST(Plane, MeetsTheWholeLine)
{
    const Plane plane(Vector3f(0, 0, 1), 2.0f);
    Vector3f out(9, 9, 9);
    EXPECT_TRUE(plane.intersect(Ray3f(Vector3f(1, 1, 5), Vector3f(1, 1, 6)), out));
    EXPECT_EQ(out, Vector3f(1, 1, 2));
    EXPECT_FALSE(plane.intersect(Ray3f(Vector3f(0, 0, 2), Vector3f(1, 0, 2)), out));
    EXPECT_EQ(out, Vector3f(1, 1, 2));
}

TEST(Plane, AngleBetweenVectors)
{
    float angle = 7;
    EXPECT_TRUE(Plane::intersect(Vector3f(2, 0, 0), Vector3f(0, 0, -3), angle));
    EXPECT_NEAR(angle, 1.5707963f, 2e-7f);
    EXPECT_TRUE(Plane::intersect(Vector3f(2, 0, 0), Vector3f(-4, 0, 0), angle));
    EXPECT_NEAR(angle, 3.1415927f, 3e-7f);
    EXPECT_FALSE(Plane::intersect(Vector3f(), Vector3f(1, 0, 0), angle));
    EXPECT_FALSE(Plane::intersect(Vector3f(NAN, 0, 0), Vector3f(1, 0, 0), angle));
    EXPECT_NEAR(angle, 3.1415927f, 3e-7f) << "unwritten";
    EXPECT_FALSE(Plane::intersect(Vector3f(2, 0, 0), Vector3f(4, 0, 0), angle));
    EXPECT_EQ(angle, 0);
}

TEST(Plane, MovesWithThePointsOnIt)
{
    const Vector3d points[] = {{1, 0, 0}, {0, 2, 0}, {0, 0, 3}};
    DPlane plane(points[0], points[1], points[2]);
    Matrix4d m;
    m.rotate(Vector3d(1, 2, 3), 0.8);
    m.scale(1, 2, 0.5);
    WarningCatcher catcher;
    plane.transform(m);
    EXPECT_TRUE(catcher.isEmpty());
    for (const Vector3d& p : points)
        EXPECT_NEAR(dot(plane.normal, p * m), plane.d, 1e-14);
    EXPECT_NEAR(plane.normal.length(), 1, 1e-15);

    Matrix4d moved;
    moved.translate(0, 0, 5);
    DPlane level(Vector3d(0, 0, 1), 2.0);
    level.transform(moved);
    EXPECT_TRUE(catcher.text().startsWith(
        QLatin1String("ASSERT: \"m.m[0][3]==0.0 && m.m[1][3]==0.0 && m.m[2][3]==0.0 && "
                      "m.m[3][3]==1.0\" in geometry/zyldhmatrix (")));
    EXPECT_EQ(level.d, 7);
}

TEST(Plane, ProjectionsLandOnThePlaneAlongTheirRays)
{
    Numbers random;
    for (int round = 0; round < 50; ++round) {
        const DPlane plane(random.vector3<double>(), random(0.5, 1));
        const Vector3d from = random.vector3<double>(2, 3), p = random.vector3<double>();
        Vector3d expected;
        ASSERT_TRUE(plane.intersect(Ray3d(from, p), expected));
        EXPECT_CLOSE(plane.centerProjection(from).multVecMatrix(p), expected, 1e-9);
        ASSERT_TRUE(plane.intersect(Ray3d(p, p + from), expected));
        EXPECT_CLOSE(plane.parallelProjection(from).multVecMatrix(p), expected, 1e-9);
    }
}
