#include "opengl/glmanipulator.h"

#include "geometry/geometryprinters.h"
#include "opengl/gllight.h"
#include "opengl/nodestage.h"
#include "opengl/viewerprobe.h"
#include "support/glrecorder.h"

#include <cmath>
#include <memory>

using geometry::Box3f;
using geometry::Matrix4f;
using geometry::Vector2i;
using geometry::Vector3f;

namespace
{
constexpr int reach = 60; // pixels from the origin to the tip of a handle

class GLManipulator : public testing::Test
{
protected:
    static constexpr int size = 201; // the origin is in the middle of a pixel
    static constexpr int middle = 100;

    // A context takes longer to make than a test to run.
    static void SetUpTestSuite() { shared = new ViewerProbe(size, size); }
    static void TearDownTestSuite()
    {
        delete shared;
        shared = nullptr;
    }
    GLManipulator()
    {
        viewer.makeCurrent();
        viewer.setFlags(~0u, false);
        viewer.top();
        viewer.setZoom(1);
        scene.objects().append(box);
        scene.setManipulator(manipulator);
        viewer.setScene(&scene);
        viewer.setProjection(0);
        viewer.setBounds(Box3f(-1, -1, -1, 1, 1, 1));
        pixel = float(viewer.pixelSize());
        scene.setSelection(box);
    }

    /// Presses on a handle of the kind and moves it; the points count from the middle.
    void dragHandle(GL_Manipulator::Kind kind, Vector2i from, Vector2i to)
    {
        manipulator->setKind(kind);
        const Vector2i center(middle, middle);
        EXPECT_EQ(viewer.pick(middle + from.x, middle + from.y), scene.currentObject());
        manipulator->drag(&viewer, center + from, center + to);
    }
    Matrix4f world(const GL_Object* object)
    {
        Matrix4f matrix;
        object->hasTransform(matrix);
        return matrix;
    }
    void expectPlace(const Vector3f& point, float x, float y, float z)
    {
        EXPECT_LT((point - Vector3f(x, y, z)).length(), 0.6f * pixel)
            << point.x << ' ' << point.y << ' ' << point.z;
    }
    std::array<int, 4> colorAt(int x, int y) { return viewer.pixel(middle + x, middle + y); }

    static ViewerProbe* shared;
    ViewerProbe& viewer = *shared;
    GL_Scene scene;
    TestBox* box = new TestBox(0.02f);
    GL_Manipulator* manipulator = new GL_Manipulator;
    float pixel;
};

ViewerProbe* GLManipulator::shared = nullptr;

TEST_F(GLManipulator, WithoutATargetNothingIsDrawnOrHit)
{
    manipulator->setTarget(nullptr);
    GL_RenderEvent event(&viewer, &scene);
    GLRecorder recorder;
    manipulator->draw(&event);
    manipulator->hit(&event);
    EXPECT_THAT(recorder.take(), testing::IsEmpty());
    EXPECT_EQ(manipulator->identify(nullptr, 0), nullptr);
    manipulator->setHandle(GL_Manipulator::X);
    EXPECT_TRUE(manipulator->drag(&viewer, Vector2i(0, 0), Vector2i(7, 0)));
    expectPlace(world(box).map(Vector3f()), 7 * pixel, 0, 0);
    scene.clearSelection();
    EXPECT_FALSE(manipulator->drag(&viewer, Vector2i(0, 0), Vector2i(7, 0)));
    viewer.setScene(nullptr);
    EXPECT_FALSE(manipulator->drag(&viewer, Vector2i(0, 0), Vector2i(7, 0)));
}

TEST_F(GLManipulator, ANewTargetAsksForRebuilding)
{
    manipulator->setFlags(GL_Object::Rebuild, false);
    manipulator->setTarget(box);
    EXPECT_TRUE(manipulator->testFlags(GL_Object::Rebuild));
    viewer.render();
    EXPECT_FALSE(manipulator->testFlags(GL_Object::Rebuild));
    manipulator->setTarget(manipulator);
    EXPECT_EQ(manipulator->target(), nullptr) << "it can't move itself";
}

TEST_F(GLManipulator, HandlesArePickedByNumber)
{
    struct Place {
        GL_Manipulator::Kind kind;
        int x;
        int y;
        int handle;
    };
    const int ring = int(reach / std::sqrt(2.0));
    for (const Place& place :
         {Place{GL_Manipulator::Translate, 40, 0, 0}, Place{GL_Manipulator::Translate, 0, 40, 1},
          Place{GL_Manipulator::Translate, 0, 0, 3}, Place{GL_Manipulator::Scale, 56, 0, 0},
          Place{GL_Manipulator::Scale, 0, 56, 1}, Place{GL_Manipulator::Scale, 0, 0, 3},
          Place{GL_Manipulator::Rotate, ring, ring, 2}, Place{GL_Manipulator::Rotate, 0, 72, 3},
          Place{GL_Manipulator::Rotate, 30, 0, 1}, Place{GL_Manipulator::Rotate, 0, 30, 0}}) {
        manipulator->setKind(place.kind);
        manipulator->setHandle(GL_Manipulator::None);
        EXPECT_EQ(viewer.pick(middle + place.x, middle + place.y), box);
        EXPECT_EQ(manipulator->handle(), place.handle) << place.kind << ' ' << place.x;
    }
    EXPECT_EQ(viewer.pick(middle + 30, middle + 30), nullptr);

    auto* const other = new TestBox(0.02f);
    other->place(0.8f, 0.8f, 0);
    scene.objects().append(other);
    manipulator->setHandle(GL_Manipulator::X);
    EXPECT_EQ(viewer.pick(middle + int(0.8f / pixel), middle + int(0.8f / pixel)), other);
    EXPECT_EQ(manipulator->handle(), GL_Manipulator::None) << "a node is no handle";
}

TEST_F(GLManipulator, IsOfOneSizeInEveryView)
{
    const auto tips = [this] {
        viewer.render();
        return std::array{colorAt(reach - 4, 0), colorAt(reach + 3, 0), colorAt(0, reach - 4),
                          colorAt(0, reach + 3)};
    };
    const auto first = tips();
    EXPECT_GT(first[0][0], 200) << "x is red";
    EXPECT_LT(first[0][1], 100);
    EXPECT_GT(first[2][1], 200) << "y is green";
    EXPECT_LT(first[2][0], 100);
    EXPECT_EQ(first[1][0], 0) << "nothing beyond the tips";
    EXPECT_EQ(first[3][1], 0);
    viewer.setZoom(7);
    EXPECT_EQ(tips(), first);
    viewer.setProjection(1);
    EXPECT_EQ(tips(), first);
    viewer.setBounds(Box3f(-50, -50, -50, 50, 50, 50));
    EXPECT_EQ(tips(), first);
    viewer.setProjection(0);
    EXPECT_EQ(tips(), first);
}

TEST_F(GLManipulator, ShowsOverWhatLiesInFront)
{
    auto* const front = new TestBox(0.5f);
    front->place(0, 0, 0.7f);
    front->setFlags(0x30); // filled, without light
    front->setColor(VColor(0xFF0000FFu));
    scene.objects().append(front);
    viewer.render();
    EXPECT_GT(colorAt(40, 0)[0], 200);
    EXPECT_GT(colorAt(40, 10)[2], 200);
    EXPECT_EQ(viewer.pick(middle + 40, middle), box) << "and is picked before it";
}

TEST_F(GLManipulator, LeavesTheStateAsItWas)
{
    viewer.render();
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    glColor4f(0.25f, 0.5f, 0.75f, 1);
    Matrix4f before, after;
    glGetFloatv(GL_MODELVIEW_MATRIX, &before.m[0][0]);
    GL_RenderEvent event(&viewer, &scene);
    manipulator->draw(&event);
    GL_Manipulator::drawAxis(&viewer);
    glGetFloatv(GL_MODELVIEW_MATRIX, &after.m[0][0]);
    EXPECT_EQ(after, before);
    EXPECT_TRUE(glIsEnabled(GL_LIGHTING));
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
    GLint values[4] = {};
    glGetIntegerv(GL_POLYGON_MODE, values);
    EXPECT_EQ(values[0], GL_LINE);
    glGetIntegerv(GL_VIEWPORT, values);
    EXPECT_EQ(values[2], size);
    float color[4] = {};
    glGetFloatv(GL_CURRENT_COLOR, color);
    EXPECT_EQ(color[1], 0.5f);
    for (const auto& [stack, depth] : {std::pair(GL_MODELVIEW_STACK_DEPTH, 1),
                                       {GL_PROJECTION_STACK_DEPTH, 1},
                                       {GL_ATTRIB_STACK_DEPTH, 0}}) {
        glGetIntegerv(stack, values);
        EXPECT_EQ(values[0], depth);
    }
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

// Drags

TEST_F(GLManipulator, TranslatesAlongOneAxis)
{
    dragHandle(GL_Manipulator::Translate, {40, 0}, {50, 8});
    expectPlace(world(box).map(Vector3f()), 10 * pixel, 0, 0);
    EXPECT_EQ(box->transform().flags(), 1) << "no more than a translation";
}

TEST_F(GLManipulator, TranslatesFreely)
{
    dragHandle(GL_Manipulator::Translate, {0, 0}, {13, -9});
    expectPlace(world(box).map(Vector3f()), 13 * pixel, -9 * pixel, 0);
}

TEST_F(GLManipulator, TheHandleStaysUnderThePointerInPerspective)
{
    viewer.setProjection(1);
    viewer.front();
    const Vector2i from(40, 0), to(55, 0);
    dragHandle(GL_Manipulator::Translate, from, to);
    int x = 0, y = 0;
    const Vector3f grabbed(40 * float(viewer.pixelSize()), 0, 0);
    viewer.eyeToScreen(x, y, viewer.worldToEye(world(box).map(grabbed)));
    EXPECT_NEAR(x, middle + to.x, 1);
    EXPECT_NEAR(y, middle + to.y, 1);
}

TEST_F(GLManipulator, AnAxisSeenFromItsEndCannotBeDragged)
{
    manipulator->setHandle(GL_Manipulator::Z);
    EXPECT_FALSE(manipulator->drag(&viewer, Vector2i(100, 100), Vector2i(120, 120)));
    EXPECT_EQ(box->transform(), Matrix4f());
}

TEST_F(GLManipulator, RotatesInThePlaneOfTheCircle)
{
    const int r = int(std::lround(reach / std::sqrt(2.0)));
    dragHandle(GL_Manipulator::Rotate, {r, r}, {-r, r}); // a quarter, counterclockwise
    // The pointer is on pixels, half of one off the middle.
    EXPECT_LT((world(box).map(Vector3f(1, 0, 0)) - Vector3f(0, 1, 0)).length(), 0.8f / reach);
    expectPlace(world(box).map(Vector3f(0, 0, 1)), 0, 0, 1);
}

TEST_F(GLManipulator, RotatesACircleSeenFromItsEdge)
{
    // The circle around y; its near side goes to the right, as far as the pointer.
    dragHandle(GL_Manipulator::Rotate, {30, 0}, {36, 0});
    const Vector3f nearSide = world(box).map(Vector3f(0, 0, 1));
    EXPECT_NEAR(std::atan2(nearSide.x, nearSide.z), 6.0 / reach, 1e-3);
    EXPECT_NEAR(nearSide.y, 0, 1e-5);
}

TEST_F(GLManipulator, RotatesFreelyWithThePointer)
{
    for (const bool front : {false, true}) {
        if (front)
            viewer.front();
        box->setTransform(Matrix4f());
        manipulator->setKind(GL_Manipulator::Rotate);
        manipulator->setHandle(GL_Manipulator::Free);
        const Vector3f nearest = viewer.eyeVector(); // towards the eye
        EXPECT_TRUE(manipulator->drag(&viewer, Vector2i(middle, middle),
                                      Vector2i(middle + 10, middle + 5)));
        const Vector3f turned =
            viewer.worldToEye(world(box).map(nearest)) - viewer.worldToEye(Vector3f());
        EXPECT_NEAR(turned.x, 0.1f, 0.02f) << "of the trackball's radius of 100 pixels";
        EXPECT_NEAR(turned.y, 0.05f, 0.02f);
    }
}

TEST_F(GLManipulator, ScalesAlongOneAxisByTheRatioOfDistances)
{
    dragHandle(GL_Manipulator::Scale, {50, 0}, {75, 30});
    expectPlace(world(box).map(Vector3f(1, 1, 1)), 1.5f, 1, 1);
    manipulator->setHandle(GL_Manipulator::X);
    EXPECT_FALSE(manipulator->drag(&viewer, Vector2i(150, 100), Vector2i(90, 100)))
        << "not through the origin";
    EXPECT_FALSE(manipulator->drag(&viewer, Vector2i(100, 100), Vector2i(150, 100)));
}

TEST_F(GLManipulator, ScalesFreelyAroundTheOrigin)
{
    box->place(10 * pixel, 0, 0);
    dragHandle(GL_Manipulator::Scale, {10, 0}, {50, 100}); // 100 pixels up double it
    expectPlace(world(box).map(Vector3f()), 10 * pixel, 0, 0);
    expectPlace(world(box).map(Vector3f(1, 1, 1)), 10 * pixel + 2, 2, 2);
    dragHandle(GL_Manipulator::Scale, {10, 0}, {0, -100});
    expectPlace(world(box).map(Vector3f(1, 1, 1)), 10 * pixel + 1, 1, 1);
}

TEST_F(GLManipulator, FollowsTheNodesOwnAxesUnderItsParents)
{
    auto* const joint = new GL_Joint;
    Matrix4f matrix;
    matrix.translate(0.1f, 0, 0);
    matrix.zrotate(float(M_PI / 2)); // x goes to y
    matrix.scale(2, 2, -2);          // and mirrors
    joint->setTransform(matrix);
    auto* const child = new TestBox(0.02f);
    joint->children().append(child);
    scene.objects().append(joint);
    joint->init(&scene);
    scene.setSelection(child);

    const int origin = int(std::lround(0.1f / pixel));
    dragHandle(GL_Manipulator::Translate, {origin, 40}, {origin + 9, 50});
    EXPECT_EQ(manipulator->handle(), GL_Manipulator::X);
    expectPlace(world(child).map(Vector3f()), 0.1f, 10 * pixel, 0);
    EXPECT_EQ(child->transform().flags(), 1);
    dragHandle(GL_Manipulator::Scale, {origin, 10 + 50}, {origin, 10 + 75});
    expectPlace(child->transform().map(Vector3f(1, 1, 1)), 5 * pixel + 1.5f, 1, 1);

    Matrix4f flat(0.0f);
    flat.m[3][3] = 1;
    joint->setTransform(flat);
    EXPECT_FALSE(manipulator->drag(&viewer, Vector2i(100, 100), Vector2i(110, 120)));
    viewer.render();
    EXPECT_EQ(colorAt(origin, 40)[0], 0) << "no space, no handles";
}

TEST_F(GLManipulator, AGroupMovesWithItsChildrenAroundItsMiddle)
{
    auto* const group = new GL_Group;
    TestBox* const children[] = {new TestBox(0.02f), new TestBox(0.02f)};
    children[0]->place(-0.2f, 0.3f, 0);
    children[1]->place(0.4f, 0.3f, 0);
    for (TestBox* child : children)
        group->children().append(child);
    scene.objects().append(group);
    group->init(&scene);
    scene.setSelection(group);

    const int x = int(std::lround(0.1f / pixel)), y = int(std::lround(0.3f / pixel));
    dragHandle(GL_Manipulator::Translate, {x + 40, y}, {x + 50, y});
    expectPlace(world(children[0]).map(Vector3f()), -0.2f + 10 * pixel, 0.3f, 0);
    expectPlace(world(children[1]).map(Vector3f()), 0.4f + 10 * pixel, 0.3f, 0);
    dragHandle(GL_Manipulator::Scale, {x + 10, y}, {x + 10, y + 100});
    expectPlace(world(children[0]).map(Vector3f()), -0.5f + 10 * pixel, 0.3f, 0);
    expectPlace(world(children[1]).map(Vector3f()), 0.7f + 10 * pixel, 0.3f, 0);
}

TEST_F(GLManipulator, MovesALight)
{
    auto* const light = new GL_Light;
    scene.lights().append(light);
    scene.setSelection(light);
    light->setPosition(Vector3f(0, 0, 0));
    dragHandle(GL_Manipulator::Translate, {0, 0}, {20, 10});
    expectPlace(light->position(), 20 * pixel, 10 * pixel, 0);
    EXPECT_LT((light->direction() - Vector3f(0, 0, -1)).length(), 1e-5);
}

// The overlay of axes

TEST_F(GLManipulator, AxesOfTheWorldShowInTheCorner)
{
    scene.clear();
    const auto count = [this](int x0, int y0, int x1, int y1, int channel) {
        int found = 0;
        for (int y = y0; y < y1; ++y)
            for (int x = x0; x < x1; ++x) {
                const std::array<int, 4> color = viewer.pixel(x, y);
                found += color[std::size_t(channel)] > 200 &&
                         color[std::size_t((channel + 1) % 3)] < 140;
            }
        return found;
    };
    viewer.render();
    EXPECT_EQ(count(0, 0, size, size, 0), 0);
    viewer.setFlags(GL_Viewer::ShowAxis, true);
    viewer.render();
    EXPECT_GT(count(41, 30, 80, 50, 0), 20) << "x goes to the right";
    EXPECT_EQ(count(0, 0, 35, 80, 0), 0);
    EXPECT_GT(count(30, 41, 50, 80, 1), 20) << "y goes up";
    EXPECT_EQ(count(0, 0, 80, 35, 1), 0);
    EXPECT_EQ(count(80, 0, size, size, 0) + count(0, 80, size, size, 1), 0) << "only the corner";
    viewer.front(); // z goes up there
    viewer.render();
    EXPECT_GT(count(30, 41, 50, 80, 2), 20);
    EXPECT_GT(count(41, 30, 80, 50, 0), 20);
}

TEST_F(GLManipulator, AxesNeedRoom)
{
    ViewerProbe narrow(1, 1);
    GL_Manipulator::drawAxis(&narrow);
    narrow.reshape(0, 0);
    GLRecorder recorder;
    GL_Manipulator::drawAxis(&narrow);
    EXPECT_THAT(recorder.take(), testing::IsEmpty());
}
} // namespace
