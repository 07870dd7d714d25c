#include "geometry/zylsolids.h"
#include "geometry/zylsweep.h"
#include "geometryprinters.h"

#include <cmath>

using namespace geometry;

namespace
{
void expectBox(const Box3f& box, const Box3f& expected)
{
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(box.min[i], expected.min[i], 1e-5) << "axis " << i;
        EXPECT_NEAR(box.max[i], expected.max[i], 1e-5) << "axis " << i;
    }
}

template <class Solid>
Box3f boundsOf(const Solid& solid)
{
    Box3f box(7, 7, 7, 9, 9, 9); // what was there is gone
    solid.bounds(box);
    return box;
}

TEST(Solids, AreBoundedWhateverTheSignOfTheirSizes)
{
    EXPECT_EQ(boundsOf(Sphere{-2}), Box3f(-2, -2, -2, 2, 2, 2));
    EXPECT_EQ(boundsOf(Cone{1, -3, -4}), Box3f(-3, -3, -4, 3, 3, 0));
    EXPECT_EQ(boundsOf(Cylinder{2, 5}), Box3f(-2, -2, 0, 2, 2, 5));
    EXPECT_EQ(boundsOf(Disk{3, 1}), Box3f(-3, -3, 0, 3, 3, 0));
    PartialDisk part;
    part.sweepAngle = 10;
    EXPECT_EQ(boundsOf(part), Box3f(-0.5f, -0.5f, 0, 0.5f, 0.5f, 0));
    EXPECT_EQ(boundsOf(Torus{3, -1}), Box3f(-4, -4, -1, 4, 4, 1));
    EXPECT_EQ(boundsOf(Cube{2, -4, 6}), Box3f(-1, -2, -3, 1, 2, 3));
}

GeneralPath profile(std::initializer_list<Vector2f> points)
{
    GeneralPath path(2);
    bool isFirst = true;
    for (const Vector2f& point : points) {
        if (isFirst)
            path.moveTo(&point.x);
        else
            path.lineTo(&point.x);
        isFirst = false;
    }
    return path;
}

TEST(Extrude, CoversBothEnds)
{
    Extrude solid;
    EXPECT_TRUE(boundsOf(solid).isEmpty());
    solid.shape = profile({{0, 0}, {2, 0}, {2, 1}});
    solid.vector = Vector3f(-1, 0, 5);
    EXPECT_EQ(boundsOf(solid), Box3f(-1, 0, 0, 2, 1, 5));
}

struct Turn {
    Vector3f axis;
    float start, sweep;
    Box3f expected;
};

class LatheTurns : public testing::TestWithParam<Turn>
{
};

TEST_P(LatheTurns, AreBoundedByTheirArcs)
{
    Lathe solid;
    solid.shape = profile({{1, 0}, {2, 0}, {2, 3}});
    solid.axis = GetParam().axis;
    solid.startAngle = GetParam().start;
    solid.sweepAngle = GetParam().sweep;
    expectBox(boundsOf(solid), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Arcs, LatheTurns,
    testing::Values(Turn{{0, 0, 1}, 0, 360, {-2, -2, 0, 2, 2, 3}},
                    Turn{{0, 0, 5}, 77, -720, {-2, -2, 0, 2, 2, 3}},
                    Turn{{0, 0, 1}, 0, 90, {0, 0, 0, 2, 2, 3}},
                    Turn{{0, 0, 1}, 90, -90, {0, 0, 0, 2, 2, 3}},
                    Turn{{0, 0, 1}, 360, 0, {1, 0, 0, 2, 0, 3}},
                    // from 45 degrees to -45, and on over 180 to 225
                    Turn{{0, 0, 1}, -45, 90, {0.7071068f, -1.4142136f, 0, 2, 1.4142136f, 3}},
                    Turn{{0, 0, 1}, 135, 90, {-2, -1.4142136f, 0, -0.7071068f, 1.4142136f, 3}},
                    Turn{{1, 0, 0}, 0, 360, {0, -2, -2, 3, 2, 2}},
                    Turn{{0, 0, -1}, 0, 360, {-2, -2, -3, 2, 2, 0}},
                    Turn{{0, 0, 0}, 0, 360, {-2, -2, 0, 2, 2, 3}}));

TEST(Lathe, BoundsHoldAllTurnedPointsTightly)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<float> number(-2, 2);
    for (int round = 0; round < 50; ++round) {
        Lathe solid;
        solid.axis = Vector3f(number(random), number(random), number(random));
        solid.startAngle = number(random) * 300;
        solid.sweepAngle = number(random) * 200;
        GeneralPath path(3);
        std::vector<Vector3f> points;
        for (int i = 0; i < 3; ++i) {
            points.emplace_back(number(random), number(random), number(random));
            path.lineTo(&points.back().x);
        }
        solid.shape = path;
        const Box3f box = boundsOf(solid);
        Box3f sampled;
        // About the axis itself, by a quaternion.
        for (int step = 0; step <= 2000; ++step) {
            Quaternion turn;
            turn.setValue(solid.axis, float((solid.startAngle + solid.sweepAngle * step / 2000.0) *
                                            M_PI / 180));
            for (const Vector3f& point : points)
                sampled.include(turn.rotate(point));
        }
        for (int i = 0; i < 3; ++i) {
            EXPECT_NEAR(box.min[i], sampled.min[i], 2e-5) << "round " << round;
            EXPECT_NEAR(box.max[i], sampled.max[i], 2e-5) << "round " << round;
        }
    }
}

TEST(PathExtrude, ReachesAsFarAsTheLargestStepOfItsShape)
{
    PathExtrude solid;
    solid.shape = profile({{0, 0}, {3, 0}, {3, 4}});
    EXPECT_TRUE(boundsOf(solid).isEmpty());
    const Vector3f from(0, 0, 0), to(10, 0, 0);
    solid.path.moveTo(&from.x);
    solid.path.lineTo(&to.x);
    expectBox(boundsOf(solid), Box3f(-5, -5, -5, 15, 5, 5));

    Matrix4f steps[2];
    steps[1].scale(2);
    solid.transforms = GVectorArray(&steps[0].m[0][0], 2, 16);
    expectBox(boundsOf(solid), Box3f(-10, -10, -10, 20, 10, 10));
    EXPECT_EQ(solid.transform(9), steps[1]); // the last goes on
    EXPECT_EQ(solid.color(0), Vector4f(1, 1, 1, 1));
    const float reds[] = {1, 0, 0, 1};
    solid.colors = GVectorArray(reds, 1, 3); // three numbers are no colour here
    EXPECT_EQ(solid.color(0), Vector4f(1, 1, 1, 1));
}
} // namespace
