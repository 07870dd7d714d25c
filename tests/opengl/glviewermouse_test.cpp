#include "opengl/viewerprobe.h"

#include "opengl/glcube.h"
#include "opengl/glgroup.h"
#include "opengl/glmanipulator.h"

using geometry::Matrix4f;
using geometry::Quaternion;
using geometry::Vector2i;
using geometry::Vector3f;

namespace
{
constexpr int shift = VEvent::ShiftButton;
constexpr int control = VEvent::ControlButton;
constexpr int alt = VEvent::AltButton;

/// A viewer whose picks are told beforehand.
class MouseProbe : public ViewerProbe
{
public:
    using ViewerProbe::ViewerProbe;

    GL_Object* pick(int, int) override { return picked; }
    GL_ObjectList select(int x, int y, int width, int height) override
    {
        region = {x, y, width, height};
        return caught;
    }

    GL_Object* picked = nullptr;
    GL_ObjectList caught;
    std::array<int, 4> region{};
};

class Movable : public GL_Object
{
public:
    explicit Movable(bool moves = true) : m_moves(moves) {}
    bool drag(GL_Viewer*, const Vector2i& from, const Vector2i& to) override
    {
        drags.push_back({to.x - from.x, to.y - from.y});
        return m_moves;
    }
    std::vector<std::array<int, 2>> drags;

private:
    bool m_moves;
};

class Handles : public GL_Manipulator
{
public:
    bool drag(GL_Viewer*, const Vector2i&, const Vector2i&) override
    {
        ++drags;
        return true;
    }
    int drags = 0;
};

/// What a press starts, for each of the sixteen sets of modifiers: shift is 1, control 2, alt 4
/// and meta 8. A dash is a press that isn't taken.
struct PressCase {
    int mode;
    int button;
    const char* free;
    const char* locked;
};
const PressCase pressCases[] = {
    {GL_Viewer::Select, VEvent::LeftButton, "1111211111111111", "1111111111111111"},
    {GL_Viewer::Select, VEvent::MidButton, "586-------------", "586-------------"},
    {GL_Viewer::Select, VEvent::RightButton, "----------------", "----------------"},
    {GL_Viewer::View, VEvent::LeftButton, "2542bb2222222222", "----------------"},
    {GL_Viewer::View, VEvent::MidButton, "----------------", "----------------"},
    {GL_Viewer::View, VEvent::RightButton, "----------------", "----------------"},
    {GL_Viewer::Fly, VEvent::LeftButton, "9689999999999999", "9689999999999999"},
    {GL_Viewer::Fly, VEvent::MidButton, "----------------", "----------------"},
    {GL_Viewer::Fly, VEvent::RightButton, "----------------", "----------------"},
    {3, VEvent::LeftButton, "----------------", "----------------"},
};

TEST(GLViewerMouse, APressStartsWhatModeButtonAndModifiersSay)
{
    MouseProbe viewer;
    for (const PressCase& c : pressCases) {
        viewer.setMouseMode(c.mode);
        for (const bool locked : {false, true}) {
            std::string started;
            for (int modifiers = 0; modifiers < 16; ++modifiers) {
                // A button that is held already says nothing.
                const bool taken =
                    viewer.press(5, 5, modifiers << 8 | VEvent::RightButton, c.button);
                const int action = viewer.mouseAction();
                EXPECT_EQ(taken, action != 0);
                started += taken ? "0123456789ab"[action] : '-';
                viewer.release(5, 5, 0, VEvent::LeftButton);
            }
            EXPECT_EQ(started, locked ? c.locked : c.free)
                << "mode " << c.mode << " button " << c.button << " locked " << locked;
            viewer.lockView();
        }
    }
}

TEST(GLViewerMouse, ASecondButtonDoesNotDisturbAGesture)
{
    MouseProbe viewer;
    viewer.setMouseMode(GL_Viewer::View);
    viewer.press(10, 10, control);
    EXPECT_TRUE(viewer.press(50, 50, 0, VEvent::MidButton));
    EXPECT_EQ(viewer.mouseAction(), GL_Viewer::Pan);
    EXPECT_TRUE(viewer.move(51, 50));
    EXPECT_TRUE(isNear(viewer.center(), Vector3f(-0.02f, 0, 0), 1e-6f));
    EXPECT_FALSE(viewer.release(52, 50, 0, VEvent::RightButton));
    EXPECT_EQ(viewer.mouseAction(), GL_Viewer::Pan);
    EXPECT_TRUE(viewer.release(52, 50, 0, VEvent::MidButton));
    EXPECT_EQ(viewer.mouseAction(), GL_Viewer::NoAction);
    EXPECT_FALSE(viewer.move(60, 60));
}

/// Moves from (50, 50) to (x, y) in a window of 100 x 100 pixels of 0.02.
void gesture(MouseProbe& viewer, int mode, int modifiers, int button, int x, int y)
{
    viewer.setMouseMode(mode);
    EXPECT_TRUE(viewer.press(50, 50, modifiers, button));
    EXPECT_TRUE(viewer.move(x, y));
    EXPECT_TRUE(viewer.release(x, y, modifiers, button));
}

TEST(GLViewerMouse, GesturesMoveTheView)
{
    const Quaternion turned(0, 0.3f, 0, 0.953939f); // by twice the arc sine of 0.3
    {
        MouseProbe viewer;
        viewer.setOrientation(Quaternion(1, 0, 0, 0));
        gesture(viewer, GL_Viewer::View, 0, VEvent::LeftButton, 80, 50);
        // After the half turn about x, not before it.
        EXPECT_TRUE(isNear(viewer.orientation(), Quaternion(0.953939f, 0, -0.3f, 0), 1e-5f));
        EXPECT_EQ(viewer.updates, 2);
    }
    {
        MouseProbe viewer;
        gesture(viewer, GL_Viewer::View, control, VEvent::LeftButton, 60, 45);
        EXPECT_TRUE(isNear(viewer.center(), Vector3f(-0.2f, 0.1f, 0), 1e-6f));
    }
    {
        MouseProbe viewer;
        gesture(viewer, GL_Viewer::View, shift, VEvent::LeftButton, 0, 250);
        EXPECT_NEAR(viewer.zoom(), 2, 1e-12);
        gesture(viewer, GL_Viewer::Select, 0, VEvent::MidButton, 90, -150);
        EXPECT_NEAR(viewer.zoom(), 1, 1e-12);
    }
    {
        MouseProbe viewer;
        gesture(viewer, GL_Viewer::Fly, shift, VEvent::LeftButton, 80, 60);
        EXPECT_NEAR(viewer.fieldOfView(), 54, 1e-12);
    }
    {
        MouseProbe viewer;
        viewer.front();
        viewer.setScale(Vector3f(5, 5, 5));
        gesture(viewer, GL_Viewer::Select, shift, VEvent::MidButton, 80, 60);
        // Toward the beholder, by the length of ten pixels whatever the scale.
        EXPECT_TRUE(isNear(viewer.center(), Vector3f(0, -0.2f, 0), 1e-6f));
    }
    {
        MouseProbe viewer;
        gesture(viewer, GL_Viewer::Fly, 0, VEvent::LeftButton, 80, 50);
        EXPECT_TRUE(isNear(viewer.orientation(), turned, 1e-5f));
        // (0, 0, 1) turned, less (0, 0, 1): sine and cosine of that angle.
        EXPECT_TRUE(isNear(viewer.center(), Vector3f(0.572364f, 0, -0.18f), 1e-5f));
    }
}

TEST(GLViewerMouse, TheWheelZoomsOrFlies)
{
    MouseProbe viewer;
    const auto wheel = [&](int delta) {
        VWheelEvent event(Vector2i(5, 5), delta, 0, Zyl::Vertical);
        return viewer.event(&event);
    };
    EXPECT_TRUE(wheel(1200));
    EXPECT_NEAR(viewer.zoom(), 2, 1e-12);
    viewer.lockView();
    EXPECT_TRUE(wheel(-1200));
    viewer.setMouseMode(GL_Viewer::View);
    EXPECT_FALSE(wheel(1200));
    EXPECT_NEAR(viewer.zoom(), 1, 1e-12);
    viewer.lockView();
    EXPECT_TRUE(wheel(-1200));
    EXPECT_NEAR(viewer.zoom(), 0.5, 1e-12);
    viewer.setZoom(1);
    viewer.setMouseMode(GL_Viewer::Fly);
    EXPECT_TRUE(wheel(-120));
    EXPECT_TRUE(isNear(viewer.center(), Vector3f(0, 0, -0.4f), 1e-6f));
    viewer.setMouseMode(3);
    EXPECT_FALSE(wheel(120));
}

TEST(GLViewerMouse, AZoomBandFillsTheWindowWithItsRectangle)
{
    MouseProbe viewer(200, 100);
    viewer.setMouseMode(GL_Viewer::View);
    // Sorted and cut to the window: from (120, 20) to (160, 40), around (140, 30).
    viewer.press(160, 20, alt);
    viewer.move(130, 30);
    viewer.move(120, 40);
    viewer.release(120, 40, alt);
    EXPECT_NEAR(viewer.zoom(), 5, 1e-9);
    EXPECT_TRUE(isNear(viewer.center(), Vector3f(0.8f, -0.4f, 0), 1e-5f));
    viewer.press(199, 50, alt | shift);
    viewer.move(500, 90);
    viewer.release(500, 90, alt | shift);
    EXPECT_NEAR(viewer.zoom(), 5, 1e-9);
}

class SceneMouse : public testing::Test
{
protected:
    SceneMouse()
    {
        for (GL_Object* node : {static_cast<GL_Object*>(a), static_cast<GL_Object*>(b)})
            scene.objects().append(node);
        viewer.setScene(&scene);
    }
    void pressOn(GL_Object* node, int modifiers = 0)
    {
        viewer.picked = node;
        viewer.release(0, 0);
        viewer.press(20, 20, modifiers);
    }
    void band(int modifiers)
    {
        viewer.release(0, 0);
        viewer.press(60, 10, alt | control); // which selects nothing by itself
        viewer.move(40, 30);
        EXPECT_EQ(viewer.mouseAction(), GL_Viewer::SelectBand);
        viewer.release(40, 30, modifiers);
    }
    std::string selected() const
    {
        std::string names;
        for (const GL_Object* node : scene.selection())
            names += node == a ? 'a' : node == b ? 'b' : '?';
        return names;
    }

    MouseProbe viewer;
    GL_Scene scene;
    Movable* const a = new Movable;
    Movable* const b = new Movable(false);
};

TEST_F(SceneMouse, APressSelects)
{
    pressOn(nullptr);
    EXPECT_EQ(viewer.selections, 0);
    EXPECT_EQ(viewer.mouseAction(), GL_Viewer::Pressed);

    pressOn(a);
    EXPECT_EQ(selected(), "a");
    EXPECT_EQ(scene.currentObject(), a);
    EXPECT_EQ(viewer.selections, 1);
    EXPECT_EQ(viewer.mouseAction(), GL_Viewer::Drag);

    pressOn(a);
    EXPECT_EQ(viewer.selections, 1);
    EXPECT_EQ(viewer.mouseAction(), GL_Viewer::Drag);

    pressOn(b, shift);
    pressOn(a, shift);
    EXPECT_EQ(selected(), "ab");
    EXPECT_TRUE(b->isSelected());
    EXPECT_EQ(viewer.mouseAction(), GL_Viewer::Pressed);
    pressOn(a, control);
    EXPECT_EQ(selected(), "b");
    EXPECT_EQ(scene.currentObject(), b);
    pressOn(a, control);
    EXPECT_EQ(selected(), "ba");
    for (const int other : {shift | control, control | alt, int(VEvent::MetaButton)})
        pressOn(a, other);
    EXPECT_EQ(selected(), "ba");

    pressOn(nullptr, shift);
    EXPECT_EQ(selected(), "ba");
    const int before = viewer.selections;
    pressOn(nullptr);
    EXPECT_EQ(selected(), "");
    EXPECT_EQ(viewer.selections, before + 1);
}

TEST_F(SceneMouse, AManipulatorTakesTheDrag)
{
    auto* const handles = new Handles;
    scene.setManipulator(handles);
    scene.setSelection(a);
    handles->setFlags(GL_Object::Rebuild, false);
    pressOn(a);
    EXPECT_EQ(selected(), "a");
    EXPECT_EQ(viewer.selections, 1);
    EXPECT_TRUE(handles->testFlags(GL_Object::Rebuild));
    EXPECT_EQ(viewer.mouseAction(), GL_Viewer::Drag);
    viewer.move(25, 20);
    EXPECT_EQ(handles->drags, 1);
    EXPECT_TRUE(a->drags.empty());
    EXPECT_EQ(viewer.updates, 1);
}

TEST_F(SceneMouse, ADragAsksEveryNode)
{
    using Drags = std::vector<std::array<int, 2>>;
    pressOn(a);
    scene.selectObject(b, true);
    viewer.move(25, 18);
    EXPECT_EQ(viewer.updates, 1);
    scene.selectObject(a, false);
    viewer.move(26, 18);
    EXPECT_EQ(viewer.updates, 1);
    EXPECT_EQ(a->drags, (Drags{{5, -2}}));
    EXPECT_EQ(b->drags, (Drags{{5, -2}, {1, 0}}));
    scene.clearSelection();
    EXPECT_TRUE(viewer.move(27, 18));
    viewer.setScene(nullptr);
    EXPECT_TRUE(viewer.move(28, 18));
    EXPECT_EQ(viewer.updates, 1);
}

TEST_F(SceneMouse, ABandIsRedrawnAsItGrowsAndLeavesNoTrace)
{
    viewer.makeCurrent();
    glClearColor(0.2f, 0.4f, 0.6f, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    const auto before = viewer.picture();
    for (const int button : {VEvent::LeftButton, VEvent::MidButton}) {
        viewer.press(10, 10);
        viewer.move(60, 50);
        const auto small = viewer.picture();
        EXPECT_NE(small, before);
        viewer.move(90, -30);
        EXPECT_NE(viewer.picture(), small);
        viewer.move(60, 50);
        EXPECT_EQ(viewer.picture(), small);
        // Elsewhere than the last move.
        viewer.release(20, 70, 0, button);
        EXPECT_EQ(viewer.picture(), before);
        EXPECT_EQ(viewer.mouseAction(), GL_Viewer::NoAction);
        // Only the left button selects by it.
        EXPECT_EQ(viewer.region[2], button == VEvent::LeftButton ? 11 : 0);
        viewer.region = {};
    }
}

TEST_F(SceneMouse, ABandSelectsWhatItCatches)
{
    // Twice, as by two of its parts.
    viewer.caught.append(b);
    viewer.caught.append(b);
    band(0);
    EXPECT_EQ(selected(), "b");
    EXPECT_EQ(viewer.region, (std::array<int, 4>{40, 10, 21, 21}));
    EXPECT_EQ(viewer.selections, 1);
    EXPECT_EQ(viewer.mouseAction(), GL_Viewer::NoAction);
    viewer.caught.append(a);
    band(control);
    EXPECT_EQ(selected(), "a");
    band(shift);
    EXPECT_EQ(selected(), "ab");
    EXPECT_EQ(viewer.selections, 3);
    band(shift | control);
    EXPECT_EQ(selected(), "ab");
    viewer.caught.clear();
    band(0);
    EXPECT_EQ(selected(), "");
    EXPECT_EQ(viewer.selections, 4);
    // Beyond the window it ends at the last pixel.
    viewer.press(60, 10);
    viewer.move(-20, 500);
    viewer.release(-20, 500);
    EXPECT_EQ(viewer.region, (std::array<int, 4>{0, 10, 61, 90}));
}

TEST(GLViewerMouse, ADraggedCubeStaysUnderThePointer)
{
    GL_Scene scene;
    auto* const joint = new GL_Joint;
    Matrix4f matrix;
    matrix.translate(0.5f, 0, -3);
    matrix.rotate(Vector3f(1, 2, 3), 0.7f);
    matrix.scale(2, 1, 0.5f);
    joint->setTransform(matrix);
    auto* const cube = new GL_Cube;
    matrix.makeIdentity();
    matrix.rotate(Vector3f(0, 1, 0), 0.4f);
    matrix.translate(0.1f, 0.2f, 0.3f);
    cube->setTransform(matrix);
    joint->children().append(cube);
    scene.objects().append(joint);

    for (const int projection : {0, 1}) {
        MouseProbe viewer(400, 300);
        viewer.setProjection(projection);
        viewer.setScene(&scene);
        viewer.initialize();
        viewer.setOrientation(Quaternion(0.2f, 0.3f, 0.1f, 0.9f));
        const auto pixelOfCube = [&] {
            Matrix4f toWorld;
            cube->hasTransform(toWorld);
            int x = 0, y = 0;
            viewer.eyeToScreen(x, y, viewer.worldToEye(toWorld.map(Vector3f())));
            return Vector2i(x, y);
        };
        const Vector2i from = pixelOfCube();
        viewer.picked = cube;
        viewer.press(from.x, from.y);
        viewer.move(from.x + 11, from.y + 3);
        viewer.move(from.x + 40, from.y - 25);
        viewer.release(from.x + 40, from.y - 25);
        const Vector2i to = pixelOfCube();
        EXPECT_NEAR(to.x, from.x + 40, 1);
        EXPECT_NEAR(to.y, from.y - 25, 1);
        scene.clearSelection();
    }
}
} // namespace
