#include "geometryprinters.h"
#include "support/warnings.h"

#include <array>

using namespace geometry;

namespace
{
const Box3f cube(-1, -1, -1, 1, 1, 1);

std::array<Vector3d, 8> corners(const Box3f& box)
{
    std::array<Vector3d, 8> all;
    for (int i = 0; i < 8; ++i)
        all[i] = Vector3d(i & 1 ? box.max.x : box.min.x, i & 2 ? box.max.y : box.min.y,
                          i & 4 ? box.max.z : box.min.z);
    return all;
}
} // namespace

TEST(Box, EmptyIsNeutralToInclude)
{
    Box3f box;
    EXPECT_TRUE(box.isEmpty());
    EXPECT_EQ(box.min.x, 3.4028235e38f);
    EXPECT_EQ(box.max.z, -3.4028235e38f);
    box.include(cube);
    EXPECT_EQ(box, cube);
    box.include(Box3f());
    EXPECT_EQ(box, cube);
    Box2i point;
    EXPECT_EQ(point.min.x, 0x7fffffff);
    EXPECT_EQ(unsigned(point.max.y), 0x80000000u);
    point.include(3, -4);
    EXPECT_FALSE(point.isEmpty()) << "one point makes a flat box";
    EXPECT_EQ(point, Box2i(3, -4, 3, -4));
}

TEST(Box, FacesBelongToContainsButNotToIntersects)
{
    for (const Vector3f face : {Vector3f(1, 0, 0), Vector3f(0, -1, 0), Vector3f(0, 0, 1)}) {
        EXPECT_TRUE(cube.contains(face));
        EXPECT_FALSE(cube.intersects(face));
        EXPECT_TRUE(cube.intersects(face * 0.99f));
        EXPECT_FALSE(cube.contains(face * 1.01f));
    }
    EXPECT_FALSE(cube.intersects(Box3f(1, -1, -1, 2, 1, 1)));
    EXPECT_TRUE(cube.intersects(Box3f(0.99f, -5, -5, 2, 5, 5)));
    EXPECT_FALSE(cube.intersects(Box3f()));
    EXPECT_FALSE(cube.contains(std::nanf(""), 0, 0));
    EXPECT_TRUE(Box2i(0, 0, 4, 4).contains(4, 0));
    EXPECT_FALSE(Box2i(0, 0, 4, 4).intersects(Vector2i(4, 2)));
}

TEST(Box, ClippingApartLeavesNothing)
{
    Box2f box(0, 0, 4, 4);
    box.clipTo(Box2f(1, -1, 9, 2));
    EXPECT_EQ(box, Box2f(1, 0, 4, 2));
    box.clipTo(Box2f(5, 0, 6, 1));
    EXPECT_TRUE(box.isEmpty());
}

TEST(Box, EdgesAndDiagonal)
{
    const Box3d box(0, 0, 0, 3, 12, 4);
    EXPECT_EQ(box.longest(), 12);
    EXPECT_EQ(box.shortest(), 3);
    EXPECT_EQ(box.diagonal(), 13);
    EXPECT_EQ(box.center(), Vector3d(1.5, 6, 2));
}

TEST(Box3, TransformHoldsTheImagesOfTheCorners)
{
    Numbers random;
    for (int round = 0; round < 200; ++round) {
        Matrix4f m;
        m.translate(random.vector3());
        m.rotate(random.rotation());
        m.scale(random.vector3());
        Box3f box(random.vector3(-2, 0), random.vector3(0, 2)), moved = box;
        moved.transform(m);
        Box3d expected;
        for (const Vector3d& corner : corners(box))
            expected.include(corner * Matrix4d(m));
        EXPECT_CLOSE(moved.min, Vector3f(expected.min), 2e-6f);
        EXPECT_CLOSE(moved.max, Vector3f(expected.max), 2e-6f);
    }
    Box3f empty;
    empty.transform(Matrix4f(2));
    EXPECT_EQ(empty, Box3f());
}

TEST(Box3, TransformDividesByTheExtremesOfW)
{
    Matrix4f m; // w = 2 + x
    m.m[0][3] = 1;
    m.m[3][3] = 2;
    Box3f box = cube; // w from 1 to 3
    box.transform(m);
    EXPECT_EQ(box, Box3f(-1 / 3.f, -1 / 3.f, -1 / 3.f, 1, 1, 1));
    Matrix3d flat;
    flat.m[0][2] = 1;
    flat.m[2][2] = 2;
    flat.m[2][1] = 6;
    Box2d square(-1, -1, 1, 1);
    square.transform(flat);
    EXPECT_EQ(square, Box2d(-1 / 3.0, 5 / 3.0, 1, 7));
}

TEST(Box3, OutsideAgreesWithItsCorners)
{
    Numbers random;
    int hidden = 0, partly = 0, inside = 0;
    for (int round = 0; round < 3000; ++round) {
        Matrix4f m;
        if (round % 2)
            m.frustum(-1, 1, -1, 1, 1, 10);
        else
            m.ortho(-1, 1, -1, 1, 1, 10);
        m.translate(random.vector3(-5, 1));
        m.rotate(random.rotation());
        const Vector3f middle = random.vector3(), half = random.vector3(0, 1.5);
        const Box3f box(middle - half, middle + half);

        bool behind = true, expected = false;
        for (const Vector3d& corner : corners(box))
            behind &= (Vector4d(corner, 1) * Matrix4d(m)).w < 0;
        int bits = round % 8, cull = bits;
        for (int k = 0; k < 3 && !behind && !expected; ++k) {
            int low = 0, high = 0;
            for (const Vector3d& corner : corners(box)) {
                const Vector4d v = Vector4d(corner, 1) * Matrix4d(m);
                low += v[k] < -v.w;
                high += v[k] > v.w;
            }
            if (!(cull & 1 << k))
                continue;
            if (low == 0 && high == 0)
                bits &= ~(1 << k);
            expected = low == 8 || high == 8;
        }
        expected |= behind;
        ASSERT_EQ(box.outside(m, cull), expected) << "round " << round;
        ASSERT_EQ(cull, bits) << "round " << round;
        hidden += expected;
        inside += bits == 0 && round % 8 == 7;
        partly += !expected && bits != 0;
    }
    EXPECT_GT(hidden, 100);
    EXPECT_GT(partly, 100);
    EXPECT_GT(inside, 5);
}

TEST(Box3, NothingToTestIsOutsideOnlyBehindTheEye)
{
    Matrix4f m;
    m.frustum(-1, 1, -1, 1, 1, 10);
    int cull = 0;
    EXPECT_FALSE(Box3f(50, 50, -3, 51, 51, -2).outside(m, cull));
    EXPECT_TRUE(Box3f(50, 50, 2, 51, 51, 3).outside(m, cull));
    cull = 7;
    m.m[2][3] = std::nanf("");
    EXPECT_FALSE(cube.outside(m, cull));
}

struct Closest {
    Vector3f from, to;
    bool told;
};
class Box3Closest : public testing::TestWithParam<Closest>
{
};
TEST_P(Box3Closest, LiesOnTheSurface)
{
    // Half edges 1, 2 and 4.
    WarningCatcher catcher;
    EXPECT_EQ(Box3f(-1, -2, -4, 1, 2, 4).closestPoint(GetParam().from), GetParam().to);
    EXPECT_EQ(catcher.text(),
              GetParam().told
                  ? QStringLiteral("Box3f::closestPoint: Can't determine vector to point")
                  : QString());
}
INSTANTIATE_TEST_SUITE_P(
    Points, Box3Closest,
    testing::Values(Closest{{0, 0, 0}, {0, 0, 4}, false},    // the center goes to the top
                    Closest{{0.5f, 0, 0}, {1, 0, 0}, false}, // inside, towards the nearest share
                    Closest{{-0.5f, 0.5f, 1}, {-1, 0.5f, 1}, false},
                    Closest{{0.25f, -1.5f, 0}, {0.25f, -2, 0}, false},
                    Closest{{0, 0, -9}, {0, 0, -4}, false},
                    Closest{{3, 9, -20}, {1, 2, -4}, false},        // beyond a corner
                    Closest{{0.5f, 1, 2}, {1, 2, 4}, false},        // three shares tie
                    Closest{{-0.5f, 0, 2}, {-1, 0, 4}, false},      // x and z tie
                    Closest{{0.25f, 1, -2}, {0.25f, 2, -4}, false}, // y and z tie
                    Closest{{0.5f, -1, 0}, {0.5f, -2, 4}, true}, // x and y tie: no case of its own
                    Closest{{5, 10, 0}, {1, 2, 4}, true}));

TEST(Box3, ClosestPointOfFlatAndEmptyBoxes)
{
    EXPECT_EQ(Box3f().closestPoint(Vector3f(1, 2, 3)), Vector3f(1, 2, 3));
    EXPECT_EQ(Box3f(0, 0, 5, 2, 2, 5).closestPoint(Vector3f(1, 1, 9)), Vector3f(1, 1, 5));
}

TEST(Box2, ClosestPointLiesOnTheBorder)
{
    const Box2d box(-1, -2, 1, 2);
    const std::pair<Vector2d, Vector2d> cases[] = {
        {{0, 0}, {1, 0}},  {{0.5, 0}, {1, 0}},   {{0, 0.5}, {0, 2}},      {{-3, 1}, {-1, 1}},
        {{9, 30}, {1, 2}}, {{0.5, -1}, {1, -2}}, {{0.25, -9}, {0.25, -2}}};
    for (const auto& [from, to] : cases)
        EXPECT_EQ(box.closestPoint(from), to) << testing::PrintToString(from);
    EXPECT_EQ(Box2d().closestPoint(Vector2d(7, 8)), Vector2d(7, 8));
    EXPECT_EQ(Box2d(1, 0, 1, 4).closestPoint(Vector2d(5, 9)), Vector2d(1, 9));
    EXPECT_EQ(Box2d(0, 3, 4, 3).closestPoint(Vector2d(-5, 9)), Vector2d(-5, 3));
    EXPECT_EQ(Box2d(1, 0, 1, 4).closestPoint(Vector2d(1, 2)), Vector2d(1, 2)) << "the center";
}

TEST(Box3, LinesHitWhatTheyTouch)
{
    EXPECT_TRUE(cube.intersect(Vector3f(5, 5, 5), Vector3f(6, 6, 6))) << "behind both points";
    EXPECT_TRUE(cube.intersect(Vector3f(1, 5, 1), Vector3f(1, 6, 1))) << "along an edge";
    EXPECT_TRUE(cube.intersect(Vector3f(2, 0, 0), Vector3f(0, 2, 0))) << "through one edge only";
    EXPECT_FALSE(cube.intersect(Vector3f(2.001f, 0, 0), Vector3f(0, 2.001f, 0)));
    EXPECT_FALSE(cube.intersect(Vector3f(1.001f, 5, 1), Vector3f(1.001f, 6, 1)));
    EXPECT_TRUE(cube.intersect(Vector3f(), Vector3f())) << "a point as a line";
    EXPECT_FALSE(Box3f().intersect(Vector3f(-1, -1, -1), Vector3f(1, 1, 1)));
    EXPECT_TRUE(Box3d(-1e300, -1, -1, 1e300, 1, 1).intersect(Vector3d(0, 0, 0), Vector3d(1, 0, 0)));
}
