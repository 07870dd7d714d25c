#include "opengl/viewerprobe.h"

#include "opengl/glcamera.h"
#include "support/warnings.h"

using geometry::Box3f;
using geometry::Quaternion;
using geometry::Vector2i;
using geometry::Vector3f;

namespace
{
constexpr float root = 0.70710678f;

void expectVolume(const GL_Viewer& viewer, double right, double top)
{
    const GL_Viewport& v = viewer.viewport();
    EXPECT_NEAR(v.left, -right, 1e-9);
    EXPECT_NEAR(v.right, right, 1e-9);
    EXPECT_NEAR(v.bottom, -top, 1e-9);
    EXPECT_NEAR(v.top, top, 1e-9);
}

/// The axes of the window in the world: to the right, upward, and toward the beholder.
struct ViewCase {
    const char* name;
    void (GL_Viewer::*look)();
    bool (GL_Viewer::*isThere)() const;
    Vector3f right, up, toward;
};
const ViewCase views[] = {
    {"top", &GL_Viewer::top, &GL_Viewer::isTop, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}},
    {"bottom", &GL_Viewer::bottom, &GL_Viewer::isBottom, {-1, 0, 0}, {0, 1, 0}, {0, 0, -1}},
    {"front", &GL_Viewer::front, &GL_Viewer::isFront, {1, 0, 0}, {0, 0, 1}, {0, -1, 0}},
    {"back", &GL_Viewer::back, &GL_Viewer::isBack, {-1, 0, 0}, {0, 0, 1}, {0, 1, 0}},
    {"left", &GL_Viewer::left, &GL_Viewer::isLeft, {0, -1, 0}, {0, 0, 1}, {-1, 0, 0}},
    {"right", &GL_Viewer::right, &GL_Viewer::isRight, {0, 1, 0}, {0, 0, 1}, {1, 0, 0}},
};

TEST(GLViewer, EachViewTurnsTheWorldAndIsKnownAgain)
{
    ViewerProbe viewer;
    viewer.setCenter(Vector3f(10, 20, 30));
    viewer.setDistance(5);
    int updates = viewer.updates;
    for (const ViewCase& view : views) {
        SCOPED_TRACE(view.name);
        (viewer.*view.look)();
        (viewer.*view.look)();
        EXPECT_EQ(viewer.updates, updates += 2);
        const Vector3f center(10, 20, 30);
        EXPECT_TRUE(isNear(viewer.worldToEye(center), Vector3f(0, 0, -5), 1e-5f));
        EXPECT_TRUE(isNear(viewer.worldToEye(center + view.right), Vector3f(1, 0, -5), 1e-5f));
        EXPECT_TRUE(isNear(viewer.worldToEye(center + view.up), Vector3f(0, 1, -5), 1e-5f));
        EXPECT_TRUE(isNear(viewer.eyeVector(), view.toward, 1e-5f));
        EXPECT_TRUE(isNear(viewer.eyePosition(), center + view.toward * 5, 1e-5f));
        for (const ViewCase& other : views)
            EXPECT_EQ((viewer.*other.isThere)(), &other == &view) << other.name;
    }
    viewer.setOrientation(Quaternion(0, 0, 0.0009f, 1));
    EXPECT_TRUE(viewer.isTop());
    viewer.setOrientation(Quaternion(0, 0, 0.0011f, 1));
    EXPECT_FALSE(viewer.isTop());
}

struct WindowCase {
    int width, height;
    double zoom;
    double right, top; // of the plane of the centre, one unit before the eye
    double pixelSize;
};

TEST(GLViewer, TheSmallerSideOfTheWindowShowsTheDiameter)
{
    const WindowCase cases[] = {{200, 100, 1, 2, 1, 0.02},
                                {100, 200, 1, 1, 2, 0.02},
                                {50, 50, 1, 1, 1, 0.04},
                                {200, 100, 4, 0.5, 0.25, 0.005},
                                {100, 400, 0.5, 2, 8, 0.04}};
    ViewerProbe viewer;
    for (const WindowCase& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << " x " << c.height << " zoom " << c.zoom);
        viewer.setProjection(0);
        viewer.setZoom(c.zoom);
        viewer.reshape(c.width, c.height);
        expectVolume(viewer, c.right, c.top);
        EXPECT_NEAR(viewer.pixelSize(), c.pixelSize, 1e-12);
        EXPECT_NEAR(viewer.pixelDepth(), c.pixelSize * 2, 1e-12);
        EXPECT_TRUE(isNear(viewer.screenToTarget(0, 0), Vector3f(float(-c.right), float(-c.top), 1),
                           1e-6f));
        // In the near plane, a tenth of the way, all is a tenth as large; a pixel stays one of the
        // plane of the centre.
        const int updates = viewer.updates;
        viewer.setProjection(3);
        EXPECT_EQ(viewer.updates, updates);
        expectVolume(viewer, c.right / 10, c.top / 10);
        EXPECT_NEAR(viewer.pixelSize(), c.pixelSize, 1e-12);
    }
}

TEST(GLViewer, AWindowWithoutAreaKeepsTheVolume)
{
    ViewerProbe viewer(200, 100);
    viewer.setProjection(0);
    viewer.reshape(0, 50);
    viewer.setZoom(4);
    viewer.reshape(50, 0);
    expectVolume(viewer, 2, 1);
    EXPECT_EQ(viewer.viewport().width, 50);
    viewer.reshape(100, 100);
    expectVolume(viewer, 0.25, 0.25);
    WarningCatcher warnings;
    viewer.reshape(0, 100);
    EXPECT_EQ(viewer.spherePoint(Vector2i(3, 4)), Vector3f(0, 0, 1));
    EXPECT_TRUE(warnings.text().startsWith(
        QLatin1String("ASSERT: \"screenmin > 0.0\" in opengl/glviewer (")));
}

TEST(GLViewer, SettersClampAndTellOnlyOfChanges)
{
    ViewerProbe viewer;
    const auto updatesOf = [&](auto&& change) {
        const int before = viewer.updates;
        change();
        return viewer.updates - before;
    };
    EXPECT_EQ(updatesOf([&] { viewer.setFieldOfView(90); }), 1);
    EXPECT_NEAR(viewer.diameter(), 2, 1e-12);
    EXPECT_EQ(updatesOf([&] { viewer.setFieldOfView(1000); }), 1);
    EXPECT_EQ(viewer.fieldOfView(), 175);
    EXPECT_EQ(updatesOf([&] { viewer.setFieldOfView(176); }), 0);
    viewer.setFieldOfView(-1);
    EXPECT_EQ(viewer.fieldOfView(), 2);
    viewer.setFieldOfView(90);

    EXPECT_EQ(updatesOf([&] { viewer.setDistance(1000); }), 1);
    EXPECT_NEAR(viewer.distance(), 228, 1e-9);
    EXPECT_NEAR(viewer.viewport().far, 230, 1e-9);
    EXPECT_NEAR(viewer.viewport().near, 23, 1e-9);
    EXPECT_EQ(updatesOf([&] { viewer.setDistance(2000); }), 0);
    viewer.setDistance(-3);
    EXPECT_EQ(viewer.distance(), 1e-30);
    viewer.setDistance(8);

    EXPECT_EQ(updatesOf([&] { viewer.setZoom(-1); }), 1);
    EXPECT_EQ(updatesOf([&] { viewer.setZoom(0); }), 0);
    EXPECT_EQ(viewer.zoom(), 1e-30);
    viewer.setZoom(1);

    EXPECT_EQ(updatesOf([&] { viewer.setScale(Vector3f(2, -1, 0)); }), 1);
    EXPECT_EQ(viewer.scale(), Vector3f(2, 0.000001f, 0.000001f));
    EXPECT_EQ(updatesOf([&] { viewer.setScale(Vector3f(2, 0, 0)); }), 0);
    EXPECT_FLOAT_EQ(viewer.worldToEye(Vector3f(3, 0, 0)).x, 6);

    EXPECT_EQ(updatesOf([&] { viewer.setOrientation(Quaternion(0, 0, 3, 3)); }), 1);
    EXPECT_TRUE(isNear(viewer.orientation(), Quaternion(0, 0, root, root), 1e-6f));
    EXPECT_EQ(updatesOf([&] { viewer.setOrientation(Quaternion(0, 0, 5, 5)); }), 0);
    EXPECT_EQ(updatesOf([&] { viewer.setOrientation(Quaternion(0, 0, 0, 0)); }), 0);

    EXPECT_EQ(updatesOf([&] { viewer.translate(Vector3f(1, 2, 3)); }), 1);
    EXPECT_EQ(updatesOf([&] { viewer.setCenter(Vector3f(1, 2, 3)); }), 0);
    EXPECT_EQ(updatesOf([&] { viewer.translate(Vector3f()); }), 0);

    EXPECT_EQ(updatesOf([&] { viewer.setBackColor(VColor(1, 2, 3)); }), 1);
    EXPECT_EQ(updatesOf([&] { viewer.setAmbientColor(VColor(1, 2, 3)); }), 1);
    viewer.setFlags(GL_Viewer::Quiet, true);
    EXPECT_EQ(updatesOf([&] { viewer.setBackColor(VColor(3, 2, 1)); }), 0);
    EXPECT_EQ(updatesOf([&] { viewer.setAmbientColor(VColor(3, 2, 1)); }), 0);
    EXPECT_EQ(viewer.ambientColor(), VColor(3, 2, 1));
}

TEST(GLViewer, LooksAtABoxFromWhereItFillsTheField)
{
    ViewerProbe viewer;
    viewer.setScale(Vector3f(2, 2, 2));
    const int updates = viewer.updates;
    viewer.setBounds(Box3f(0, 0, 0, 4, 2, 2));
    EXPECT_EQ(viewer.updates, updates + 1);
    EXPECT_EQ(viewer.center(), Vector3f(2, 1, 1));
    EXPECT_EQ(viewer.scale(), Vector3f(1, 1, 1));
    EXPECT_EQ(viewer.diameter(), 4);
    EXPECT_NEAR(viewer.distance(), 4.82842712, 1e-6); // 2 / tan 22.5 degrees
    EXPECT_NEAR(viewer.viewport().far, 8.82842712, 1e-6);
    EXPECT_NEAR(viewer.viewport().near, 0.882842712, 1e-7);
    expectVolume(viewer, 0.365685425, 0.365685425); // 2 in the plane of the centre
    // Of the same size elsewhere: the distance stays, the rest follows.
    viewer.setBounds(Box3f(10, 10, 10, 12, 14, 12));
    EXPECT_EQ(viewer.updates, updates + 2);
    EXPECT_TRUE(
        isNear(viewer.worldToEye(Vector3f(11, 12, 11)), Vector3f(0, 0, -4.8284271f), 1e-5f));
}

TEST(GLViewer, ABoxThatHasNoSizeCountsAsTwoUnits)
{
    const float huge = 3e38f;
    for (const Box3f& box :
         {Box3f(), Box3f(1, 1, 1, 1, 1, 1), Box3f(-huge, -huge, -huge, huge, huge, huge)}) {
        ViewerProbe viewer;
        viewer.setBounds(box);
        EXPECT_EQ(viewer.diameter(), 2);
        EXPECT_NEAR(viewer.distance(), 2.41421356, 1e-6);
        EXPECT_TRUE(std::isfinite(viewer.worldToEye(Vector3f()).z));
    }
}

TEST(GLViewer, FitsABoxAsItIsTurned)
{
    ViewerProbe viewer;
    viewer.setOrientation(Quaternion(0, 0, std::sin(0.3926991f), std::cos(0.3926991f)));
    viewer.fitToBounds(Box3f(-1, -1, 0, 1, 1, 0));
    EXPECT_NEAR(viewer.diameter(), 2 * std::sqrt(2), 1e-5);
    // Turned from (x, y, z) to (y, z, x) and then by 45 degrees about z: the sides 4 and 6 lie
    // askew. The other way round it would be 2 and 4, and 6 the longest.
    viewer.right();
    viewer.setOrientation(Quaternion(0, 0, std::sin(0.3926991f), std::cos(0.3926991f)) *
                          viewer.orientation());
    viewer.fitToBounds(Box3f(0, 0, 0, 2, 4, 6));
    EXPECT_NEAR(viewer.diameter(), 10 / std::sqrt(2), 1e-5);
    EXPECT_TRUE(isNear(viewer.center(), Vector3f(1, 2, 3), 1e-5f));
}

TEST(GLViewer, FitsAndResetsToTheScene)
{
    GL_Scene scene;
    scene.objects().append(new Plate(-3, 0, 5, 2));
    ViewerProbe viewer;
    const auto spoil = [&] {
        viewer.right();
        viewer.setZoom(7);
        viewer.setFieldOfView(80);
        viewer.setCenter(Vector3f(9, 9, 9));
    };
    spoil();
    viewer.fitView();
    EXPECT_TRUE(viewer.isRight());
    EXPECT_EQ(viewer.zoom(), 1);
    EXPECT_EQ(viewer.fieldOfView(), 80);
    EXPECT_EQ(viewer.center(), Vector3f());
    EXPECT_EQ(viewer.diameter(), 2);
    viewer.setScene(&scene);
    spoil();
    viewer.resetView();
    EXPECT_TRUE(viewer.isTop());
    EXPECT_EQ(viewer.zoom(), 1);
    EXPECT_EQ(viewer.fieldOfView(), 45);
    EXPECT_EQ(viewer.center(), Vector3f(1, 1, 0));
    EXPECT_EQ(viewer.diameter(), 8);
    spoil();
    viewer.setFlags(GL_Viewer::KeepView, true);
    viewer.initialize();
    EXPECT_EQ(viewer.center(), Vector3f(9, 9, 9));
    viewer.setFlags(GL_Viewer::KeepView, false);
    viewer.initialize();
    EXPECT_EQ(viewer.center(), Vector3f(1, 1, 0));
    EXPECT_EQ(viewer.zoom(), 7);
}

TEST(GLViewer, LooksThroughACamera)
{
    GL_Camera camera;
    camera.setPosition(Vector3f(10, 0, 0));
    // Its own axes turned as the beholder's of the view from the right.
    camera.setOrientation(Quaternion(0.5f, 0.5f, 0.5f, 0.5f));
    camera.setFocalDistance(4);
    camera.setFov(90);
    camera.setNearDistance(0.5f);
    camera.setFarDistance(50);
    ViewerProbe viewer;
    viewer.setZoom(3);
    const int updates = viewer.updates;
    viewer.setCamera(nullptr);
    EXPECT_EQ(viewer.updates, updates);
    VActionEvent event(VActionEvent::SetCamera, static_cast<ZYLObject*>(&camera));
    EXPECT_TRUE(viewer.event(&event));
    EXPECT_TRUE(event.isAccepted());
    EXPECT_EQ(viewer.updates, updates + 1);
    EXPECT_EQ(viewer.zoom(), 1);
    EXPECT_NEAR(viewer.fieldOfView(), 90, 1e-5);
    EXPECT_NEAR(viewer.diameter(), 8, 1e-5);
    EXPECT_NEAR(viewer.viewport().near, 0.5, 1e-6);
    EXPECT_NEAR(viewer.viewport().far, 50, 1e-5);
    EXPECT_TRUE(isNear(viewer.eyePosition(), Vector3f(10, 0, 0), 1e-4f));
    EXPECT_TRUE(isNear(viewer.eyeVector(), Vector3f(1, 0, 0), 1e-5f));
    EXPECT_TRUE(isNear(viewer.center(), Vector3f(6, 0, 0), 1e-4f));

    // What a broken file holds still gives a view.
    camera.setOrientation(Quaternion(0, 0, 0, 0));
    camera.setNearDistance(0);
    camera.setFov(0);
    viewer.setCamera(&camera);
    EXPECT_TRUE(viewer.isTop());
    EXPECT_EQ(viewer.fieldOfView(), 2);
    EXPECT_GT(viewer.viewport().near, 0);
}

TEST(GLViewer, TakesOnlyEventsThatAreWhatTheirTypeSays)
{
    ViewerProbe viewer;
    VEvent press(VEvent::MouseButtonPress);
    EXPECT_FALSE(viewer.event(&press));
    VEvent camera(VActionEvent::SetCamera);
    EXPECT_FALSE(viewer.event(&camera));
    VContextMenuEvent menu(VContextMenuEvent::Mouse, Vector2i(1, 1), 0);
    EXPECT_FALSE(viewer.event(&menu));
    for (const VEvent::Type type :
         {VEvent::TabletMove, VEvent::TabletPress, VEvent::TabletRelease}) {
        VTabletEvent tablet(type, Vector2i(), Vector2i(), 0, 0, 0, 0);
        EXPECT_FALSE(viewer.event(&tablet));
        EXPECT_FALSE(tablet.isAccepted());
    }
    WarningCatcher warnings;
    EXPECT_FALSE(viewer.event(nullptr));
    EXPECT_EQ(warnings.text(), QLatin1String("ZYLObject::event: Null events are not permitted"));
}
} // namespace
