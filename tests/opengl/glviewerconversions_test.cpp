#include "opengl/viewerprobe.h"

#include "opengl/glgroup.h"
#include "support/warnings.h"

using geometry::Matrix4f;
using geometry::Quaternion;
using geometry::Vector2i;
using geometry::Vector3f;

namespace
{
struct ScreenCase {
    int projection;
    int x, y;
    Vector3f eye;
};

/// 200 x 100 pixels of 0.02 at the distance 1, so that pixel (0, 0) is (-2, -1) there.
const ScreenCase screenCases[] = {
    {0, 100, 50, {0, 0, -1}},   {0, 150, 75, {1, 0.5f, -1}},    {0, 150, 75, {1, 0.5f, -7}},
    {0, 0, 0, {-2, -1, 3}},     {1, 150, 75, {1, 0.5f, -1}},    {1, 150, 75, {3, 1.5f, -3}},
    {1, 150, 75, {3, 1.5f, 3}}, {1, 0, 100, {-1, 0.5f, -0.5f}}, {1, 350, -75, {10, -5, -2}},
};

TEST(GLViewerConversions, ScreenAndEyeAreEachOthersInverse)
{
    ViewerProbe viewer(200, 100);
    EXPECT_EQ(viewer.screenToTarget(150, 75), Vector3f(1, 0.5f, 1));
    for (const ScreenCase& c : screenCases) {
        viewer.setProjection(c.projection);
        EXPECT_TRUE(isNear(viewer.screenToEye(c.x, c.y, c.eye.z), c.eye, 1e-5f))
            << testing::PrintToString(c.eye);
        int x = -1, y = -1;
        viewer.eyeToScreen(x, y, c.eye);
        EXPECT_EQ(x, c.x);
        EXPECT_EQ(y, c.y);
    }
}

TEST(GLViewerConversions, OnlyPerspectiveHasNoPixelForTheEyesPlane)
{
    ViewerProbe viewer(200, 100);
    int x = 0, y = 0;
    viewer.setProjection(0);
    viewer.eyeToScreen(x, y, Vector3f(1, 0.5f, 0));
    EXPECT_EQ(x, 150);
    viewer.setProjection(1);
    // Far outside of what a pixel can count.
    viewer.eyeToScreen(x, y, Vector3f(1e30f, -1e30f, -1e-30f));
    EXPECT_GT(x, 1000000);
    EXPECT_LT(y, -1000000);
    EXPECT_DEATH(viewer.eyeToScreen(x, y, Vector3f(1, 1, 0)),
                 "eyeToScreen: cannot transform point.");
}

TEST(GLViewerConversions, WorldAndEyeDifferByTheView)
{
    ViewerProbe viewer;
    viewer.setCenter(Vector3f(10, 20, 30));
    viewer.setScale(Vector3f(2, 2, 2));
    viewer.front();
    viewer.setDistance(5);
    // Seen from the front: x to the right, z upward, y away.
    const Vector3f world(11, 22, 33), eye(2, 6, -9);
    EXPECT_TRUE(isNear(viewer.worldToEye(world), eye, 1e-4f));
    EXPECT_NEAR(viewer.worldToEyeZ(world), -9, 1e-4);
    EXPECT_TRUE(isNear(viewer.eyeToWorld(eye), world, 1e-4f));
    EXPECT_TRUE(isNear(viewer.eyePosition(), Vector3f(10, 17.5f, 30), 1e-4f));
    EXPECT_TRUE(isNear(viewer.eyeVector(), Vector3f(0, -0.5f, 0), 1e-5f));
}

TEST(GLViewerConversions, VectorsGrowWithTheDepthInPerspectiveOnly)
{
    ViewerProbe viewer(200, 100);
    viewer.setCenter(Vector3f(10, 20, 30));
    viewer.front();
    const Vector2i from(7, 3), to(17, 23);
    const Vector3f atCenter(0.2f, 0, 0.4f);
    const Vector3f behind(0, 22, 0); // at depth 3, thrice that of the centre
    for (const int projection : {0, 1}) {
        viewer.setProjection(projection);
        EXPECT_TRUE(isNear(viewer.worldVector(from, to), atCenter, 1e-5f));
        EXPECT_TRUE(isNear(viewer.worldVector(from, to, behind),
                           atCenter * (projection ? 3.0f : 1.0f), 1e-5f));
    }
}

TEST(GLViewerConversions, ALocalVectorMovesTheNodeByThePixels)
{
    GL_Joint arm;
    auto* const hand = new GL_Joint;
    arm.children().append(hand);
    Matrix4f matrix;
    matrix.translate(5, 0, 0);
    matrix.scale(2, 3, 4);
    arm.setTransform(matrix);
    matrix.makeIdentity();
    matrix.rotate(Vector3f(0, 0, 1), 1.5707963f);
    matrix.translate(1, 0, 0);
    hand->setTransform(matrix);
    arm.init(nullptr);

    ViewerProbe viewer(200, 100);
    const Vector2i from(0, 0), to(10, 20);
    // A whole turn of a quarter: local x is the parent's y, three units of the world.
    EXPECT_TRUE(isNear(viewer.localVector(hand, from, to, Vector3f()),
                       Vector3f(0.4f / 3, -0.2f / 2, 0), 1e-5f));
    // Local (0, 0, -0.5) lies 2 units deeper: at 3 instead of 1.
    EXPECT_TRUE(isNear(viewer.localVector(hand, from, to, Vector3f(0, 0, -0.5f)),
                       Vector3f(0.4f, -0.3f, 0), 1e-5f));
    EXPECT_TRUE(
        isNear(viewer.localVector(nullptr, from, to, Vector3f()), Vector3f(0.2f, 0.4f, 0), 1e-5f));
    WarningCatcher warnings;
    matrix.scale(1, 0, 1);
    hand->setTransform(matrix);
    EXPECT_EQ(viewer.localVector(hand, from, to, Vector3f()), Vector3f());
    EXPECT_TRUE(warnings.isEmpty());
}

TEST(GLViewerConversions, ARayStartsAtTheEyeOrTheNearPlane)
{
    ViewerProbe viewer(200, 100);
    viewer.setCenter(Vector3f(10, 20, 30));
    viewer.front();
    Vector3f origin, direction;
    viewer.boreVector(150, 75, origin, direction);
    EXPECT_TRUE(isNear(origin, Vector3f(10, 19, 30), 1e-5f));
    // Through (1, 0.5, -1) in the eye, of length 1.5.
    EXPECT_TRUE(isNear(direction, Vector3f(1 / 1.5f, 1 / 1.5f, 0.5f / 1.5f), 1e-5f));
    viewer.setProjection(0);
    viewer.boreVector(150, 75, origin, direction);
    EXPECT_TRUE(isNear(origin, Vector3f(11, 19.1f, 30.5f), 1e-5f));
    EXPECT_TRUE(isNear(direction, Vector3f(0, 1, 0), 1e-5f));
}

TEST(GLViewerConversions, TheTrackballIsABallWithASecondSheet)
{
    ViewerProbe viewer;
    // Evaluated by hand at half widths of 0, 0.6, 1, 1.5 and 4 from the middle.
    const struct {
        int x, y;
        Vector3f point;
    } cases[] = {{50, 50, {0, 0, 1}},
                 {80, 50, {0.6f, 0, 0.8f}},
                 {50, 20, {0, -0.6f, 0.8f}},
                 {100, 50, {0.952769f, 0, 0.303695f}},
                 {90, 80, {0.762215f, 0.571662f, 0.303695f}},
                 {125, 50, {0.999834f, 0, 0.0181945f}},
                 {250, 50, {1, 0, 0}},
                 {50, -150, {0, -1, 0}}};
    for (const auto& c : cases)
        EXPECT_TRUE(isNear(viewer.spherePoint(Vector2i(c.x, c.y)), c.point, 2e-6f))
            << c.x << ' ' << c.y;
    viewer.reshape(200, 100);
    EXPECT_TRUE(isNear(viewer.spherePoint(Vector2i(130, 50)), Vector3f(0.6f, 0, 0.8f), 2e-6f));

    const Quaternion turned = viewer.turn(Vector2i(100, 50), Vector2i(130, 50));
    EXPECT_TRUE(isNear(turned, Quaternion(0, 0.3f, 0, 0.953939f), 2e-6f));
}
} // namespace
