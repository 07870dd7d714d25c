#include "geometry/zylparticles.h"
#include "geometry/zylphysics.h"
#include "geometry/zylskin.h"
#include "geometryprinters.h"

#include <cmath>
#include <limits>

using namespace geometry;
using namespace physics;

namespace
{
void expectNear(const Vector3f& v, const Vector3f& expected)
{
    EXPECT_LT((v - expected).length(), 1e-5f) << v.x << ' ' << v.y << ' ' << v.z;
}

TEST(Camera, LooksAlongItsTurnWhateverTheQuaternionsLength)
{
    Camera camera;
    camera.setPosition(Vector3f(1, 2, 3));
    camera.setFocalDistance(4);
    expectNear(camera.target(), Vector3f(1, 2, -1));
    const float half = std::sqrt(0.5f);
    for (const float length : {1.0f, 0.1f, 30.0f}) {
        // A quarter turn about y brings -z to -x.
        camera.setOrientation(Quaternion(0, half * length, 0, half * length));
        expectNear(camera.target(), Vector3f(-3, 2, 3));
    }
    camera.setOrientation(Quaternion(0, 0, 0, 0));
    expectNear(camera.target(), Vector3f(1, 2, -1));
}

Raining shower()
{
    Raining rain;
    rain.min = Vector3f(2, 0, 8); // z the wrong way round
    rain.max = Vector3f(5, 1, -2);
    rain.number = 2000;
    return rain;
}

TEST(Raining, FallsFreelyFromItsTopAtAllTimes)
{
    Raining rain = shower();
    const Box3f box(2, 0, -2, 5, 1, 8);
    for (const float step : {0.0f, 0.013f, 1.0f, 100.3f, 3.7f}) {
        rain.update(step);
        ASSERT_EQ(rain.particles().size(), 2000u);
        double phases = 0, x = 0;
        for (const RainParticle& drop : rain.particles()) {
            ASSERT_TRUE(box.contains(drop.position)) << drop.position.z;
            const float depth = 8 - drop.position.z;
            // v squared is 2 g h.
            ASSERT_NEAR(drop.velocity.z * drop.velocity.z, 2 * 9.8f * depth, 0.02);
            ASSERT_LE(drop.velocity.z, 0);
            phases += std::sqrt(depth / 10);
            x += drop.position.x;
        }
        // Even in time: half the way in time on the average, to a few deviations of 0.29 / sqrt(n).
        EXPECT_NEAR(phases / 2000, 0.5, 0.03) << "after " << step;
        EXPECT_NEAR(x / 2000, 3.5, 0.1);
    }
}

TEST(Raining, MovesAlikeInOneStepOrInMany)
{
    Raining once = shower(), often = shower();
    once.update(0);
    often.update(0);
    once.update(0.25f);
    for (int i = 0; i < 16; ++i)
        often.update(0.25f / 16);
    for (unsigned i = 0; i < 2000; ++i) {
        const RainParticle &a = once.particles()[i], &b = often.particles()[i];
        if (a.age > 0.25f && b.age > 0.25f) { // neither came in anew
            ASSERT_LT((a.position - b.position).length(), 1e-3f) << i;
        }
    }
}

TEST(Raining, StaysInItsVolumeInAnyWind)
{
    const float inf = std::numeric_limits<float>::infinity();
    for (const Vector3f& wind :
         {Vector3f(-3, 2, -9.8f), Vector3f(0, 30, 1), Vector3f(0, 0, 2), Vector3f(0, 0, 0),
          Vector3f(1e-20f, 0, 0), Vector3f(1e30f, 3, 3)}) {
        Raining rain = shower();
        rain.acceleration = wind;
        for (const float step : {0.0f, 0.1f, 0.5f, 1e6f, inf, -1.0f, 0.3f}) {
            rain.update(step);
            for (const RainParticle& drop : rain.particles())
                ASSERT_TRUE(Box3f(2, 0, -2.0001f, 5, 1, 8.0001f).contains(drop.position))
                    << wind.x << ' ' << step << ": " << drop.position.x << ' ' << drop.position.y
                    << ' ' << drop.position.z;
        }
    }
}

TEST(Raining, FollowsItsNumberWithinReason)
{
    Raining rain = shower();
    rain.update(0.1f);
    rain.number = 3;
    rain.update(0.1f);
    EXPECT_EQ(rain.particles().size(), 3u);
    const Raining copy = rain;
    rain.number = -5;
    rain.update(0.1f);
    EXPECT_TRUE(rain.particles().empty());
    EXPECT_EQ(copy.particles().size(), 3u);
    rain.max = rain.min; // no room at all
    rain.number = std::numeric_limits<int>::max();
    rain.update(0.1f);
    EXPECT_EQ(rain.particles().size(), std::size_t(Raining::mostParticles));
    EXPECT_EQ(rain.particles()[7].position, rain.min);
}

TEST(Raining, DrawsStreaksBehindTheDrops)
{
    Raining rain = shower();
    rain.length = 0.5f;
    RainParticle drop;
    drop.position = Vector3f(3, 0, 0);
    drop.velocity = Vector3f(0, 3, -4);
    expectNear(rain.tail(drop), Vector3f(3, -0.3f, 0.4f));
    drop.velocity = Vector3f();
    expectNear(rain.tail(drop), Vector3f(3, 0, 0.5f));
}

/// Two joints at x = 0 and x = 2, and a vertex on each and between them.
struct Arm {
    Skin skin;
    Matrix4f joints[2];

    Arm()
    {
        const Vector3f points[] = {{0, 1, 0}, {2, 0, 0}, {3, 0, 0}, {9, 9, 9}};
        const Vector3f normals[] = {{0, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 0}};
        skin.setRest(points, normals, 4);
        skin.binding().clear(4);
        skin.binding().add(0, 0, 5);
        skin.binding().add(1, 1, 1);
        skin.binding().add(1, 0, 3);
        skin.binding().add(2, 1, 0.5f);
        skin.binding().add(2, 1, 0.5f);
        skin.binding().build();
        joints[1].translate(2, 0, 0);
        EXPECT_TRUE(skin.bind(joints, 2));
    }
};

TEST(Skin, FollowsItsJointsByTheirWeights)
{
    Arm arm;
    Vector3f points[4], normals[4];
    ASSERT_TRUE(arm.skin.deform(arm.joints, 2, points, normals));
    expectNear(points[2], Vector3f(3, 0, 0)); // where it was bound

    arm.joints[1].zrotate(float(M_PI / 2)); // the elbow bends, x to y
    arm.joints[0] = Matrix4f();
    arm.joints[0].translate(0, 0, 8);
    ASSERT_TRUE(arm.skin.deform(arm.joints, 2, points, normals));
    expectNear(points[0], Vector3f(0, 1, 8));
    expectNear(points[1], Vector3f(2, 0, 6)); // a quarter stays
    expectNear(points[2], Vector3f(2, 1, 0));
    expectNear(points[3], Vector3f(9, 9, 9));
    // Three quarters (0, 1, 0), one quarter turned to (-1, 0, 0).
    expectNear(normals[1], normalize(Vector3f(-1, 3, 0)));
    expectNear(normals[3], Vector3f(1, 0, 0));
}

TEST(Skin, KeepsNormalsUprightOnStretchedAndMirroredSurfaces)
{
    const Vector3f point(0, 0, 0), normal = normalize(Vector3f(1, 1, 0));
    Skin skin;
    skin.setRest(&point, &normal, 1);
    skin.binding().clear(1);
    skin.binding().add(0, 0, 1);
    skin.binding().build();
    Matrix4f joint;
    ASSERT_TRUE(skin.bind(&joint, 1));
    Vector3f p, n;
    joint.scale(2, 1, 1); // the plane x + y = 0 becomes x / 2 + y = 0
    ASSERT_TRUE(skin.deform(&joint, 1, &p, &n));
    expectNear(n, normalize(Vector3f(1, 2, 0)));
    joint.scale(-1, 1, 1);
    ASSERT_TRUE(skin.deform(&joint, 1, &p, &n));
    expectNear(n, normalize(Vector3f(-1, 2, 0)));
}

TEST(Skin, RefusesWhatDoesNotFit)
{
    Arm arm;
    Vector3f points[4];
    EXPECT_FALSE(arm.skin.deform(arm.joints, 1, points));
    Matrix4f three[3];
    EXPECT_FALSE(arm.skin.deform(three, 3, points));
    arm.skin.binding().add(0, 7, 1); // a joint that isn't bound
    arm.skin.binding().build();
    EXPECT_FALSE(arm.skin.deform(arm.joints, 2, points));
    three[1].scale(1, 0, 1);
    EXPECT_FALSE(arm.skin.bind(three, 3));
    EXPECT_EQ(arm.skin.jointCount(), 0u);
}

TEST(WeightBinding, KeepsTheStrongestAndBringsThemToOne)
{
    WeightBinding binding;
    binding.clear(2);
    for (const Influence& influence : {Influence{4, 1}, {2, 3}, {9, 2}, {4, 4}, {1, 1}})
        EXPECT_TRUE(binding.add(1, influence.joint, influence.weight));
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_FALSE(binding.add(2, 0, 1) || binding.add(0, -1, 1) || binding.add(0, 0, 0) ||
                 binding.add(0, 0, nan) || binding.add(0, 0, -1));
    binding.build(3);
    EXPECT_EQ(binding.begin(0), binding.end(0));
    ASSERT_EQ(binding.end(1) - binding.begin(1), 3);
    const Influence expected[] = {{4, 0.5f}, {2, 0.3f}, {9, 0.2f}};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(binding.begin(1)[i].joint, expected[i].joint);
        EXPECT_FLOAT_EQ(binding.begin(1)[i].weight, expected[i].weight);
    }
    EXPECT_EQ(binding.jointCount(), 10u);
}
} // namespace
