#include "opengl/viewerprobe.h"

#include "opengl/glgroup.h"
#include "opengl/gllight.h"
#include "opengl/glmanipulator.h"
#include "support/warnings.h"

using geometry::Vector3f;

namespace
{
VMemArray<unsigned> words(std::initializer_list<unsigned> values)
{
    VMemArray<unsigned> array;
    array.duplicate(values.begin(), unsigned(values.size()));
    return array;
}

/// Covers nothing, and shows itself by marks at x = 0, 0.5 and 1 with names of their own.
class Marks : public GL_Object
{
public:
    void hit(GL_RenderEvent*) override
    {
        glPushName(0);
        for (unsigned i = 0; i < 3; ++i) {
            glLoadName(10 + i);
            glBegin(GL_POINTS);
            glVertex3f(0.5f * float(i), 0, 0);
            glEnd();
        }
        glPopName();
    }
};

/// One light (0), a plate (1), a group of two (2), and from 3 on the manipulator.
class HitRules : public testing::Test
{
protected:
    HitRules()
    {
        scene.lights().append(light);
        scene.objects().append(plate);
        group->children().append(first);
        group->children().append(second);
        scene.objects().append(group);
        group->init(&scene);
        viewer.setScene(&scene);
    }
    GL_Object* choose(std::initializer_list<unsigned> values, int hits)
    {
        return viewer.processHits(words(values), hits);
    }

    ViewerProbe viewer;
    GL_Scene scene;
    GL_Light* const light = new GL_Light;
    Plate* const plate = new Plate;
    GL_Group* const group = new GL_Group;
    Plate* const first = new Plate;
    Plate* const second = new Plate;
};

TEST_F(HitRules, TheNearestWins)
{
    EXPECT_EQ(choose({1, 30, 40, 0, 1, 20, 90, 1, 2, 25, 26, 2, 1}, 3), plate);
    EXPECT_EQ(choose({1, 0x90000000, 0x90000001, 1, 1, 0x80000000, 0x90000001, 0}, 2), light);
    EXPECT_EQ(choose({1, 20, 20, 0, 1, 10, 10, 1}, 1), light);
}

TEST_F(HitRules, OfEquallyNearTheLaterWinsUnlessItReachesFurther)
{
    EXPECT_EQ(choose({1, 20, 40, 0, 1, 20, 40, 1}, 2), plate);
    EXPECT_EQ(choose({1, 20, 40, 0, 1, 20, 39, 1}, 2), plate);
    EXPECT_EQ(choose({1, 20, 40, 0, 1, 20, 41, 1}, 2), light);
}

TEST_F(HitRules, AChildWinsOverItsParent)
{
    EXPECT_EQ(choose({1, 20, 40, 2, 2, 30, 40, 2, 1}, 2), second);
    EXPECT_EQ(choose({1, 20, 40, 1, 2, 30, 40, 2, 1}, 2), plate);
    EXPECT_EQ(choose({2, 20, 40, 2, 0, 2, 30, 40, 2, 1}, 2), first);
}

TEST_F(HitRules, AHandleWinsOverAllAndIsKept)
{
    auto* const handles = new GL_Manipulator;
    scene.setManipulator(handles);
    scene.setSelection(plate);
    scene.setCurrentPart(77);
    choose({1, 1, 2, 1, 2, 50, 60, 3, 8, 2, 40, 60, 3, 5, 2, 45, 50, 3, 6, 1, 2, 3, 0}, 5);
    EXPECT_EQ(handles->handle(), 5);
    EXPECT_EQ(scene.currentPart(), 77);
    choose({2, 50, 60, 3, 8, 1, 40, 60, 3}, 2);
    EXPECT_EQ(handles->handle(), -1);
}

TEST_F(HitRules, ALastNameIsAPartOnlyBeyondTheNodesPath)
{
    const struct {
        std::initializer_list<unsigned> record;
        int part;
    } cases[] = {{{1, 0, 0, 1}, -1},      {{2, 0, 0, 1, 9}, 9}, {{2, 0, 0, 2, 1}, -1},
                 {{3, 0, 0, 2, 1, 7}, 7}, {{1, 0, 0, 2}, -1},   {{2, 0, 0, 2, 99}, -1}};
    for (const auto& c : cases) {
        scene.setCurrentPart(50);
        choose(c.record, 1);
        EXPECT_EQ(scene.currentPart(), c.part);
    }
    scene.selectObject(plate, true);
    choose({2, 0, 0, 1, 9}, 1);
    EXPECT_EQ(scene.currentPart(), 9);
    scene.selectObject(first, true);
    choose({2, 0, 0, 1, 9}, 1);
    EXPECT_EQ(scene.currentPart(), -1);
}

TEST_F(HitRules, RecordsThatAreNotWholeAreLeftOut)
{
    EXPECT_EQ(choose({1, 20, 40, 0, 5, 10, 10, 1}, 2), light);
    EXPECT_EQ(choose({1, 20, 40, 0, 1, 10}, 100), light);
    EXPECT_EQ(choose({1, 20, 40, 0, 0xFFFFFFFF, 10, 10, 1}, 2), light);
    EXPECT_EQ(choose({0, 10, 10, 1, 20, 40, 0}, 2), light);
    EXPECT_EQ(choose({}, 3), nullptr);
    viewer.setScene(nullptr);
    EXPECT_EQ(choose({1, 20, 40, 0}, 1), nullptr);
}

class Picking : public testing::Test
{
protected:
    Picking()
    {
        viewer.setProjection(0);
        viewer.setScene(&scene);
    }
    template <class Node>
    Node* add(Node* node)
    {
        scene.objects().append(node);
        return node;
    }
    std::vector<GL_Object*> found(const GL_ObjectList& list)
    {
        return std::vector<GL_Object*>(list.begin(), list.end());
    }

    // 100 x 100 pixels of 0.02 around the origin.
    ViewerProbe viewer;
    GL_Scene scene;
};

TEST_F(Picking, FindsTheNearestWithinThreePixels)
{
    EXPECT_EQ(viewer.pick(50, 50), nullptr);
    Plate* const near = add(new Plate(-0.5f, -0.5f, 0, 0.5f, 0.2f));
    Plate* const far = add(new Plate(-0.5f, -0.5f, 0.5f, 0.5f, -0.2f));
    viewer.initialize();
    viewer.setZoom(viewer.diameter() / 2);
    for (const int projection : {0, 1}) {
        viewer.setProjection(projection);
        EXPECT_EQ(viewer.pick(40, 50), near);
        EXPECT_EQ(viewer.pick(60, 50), far);
    }
    viewer.setProjection(0);
    // The right edge stands at pixel 75: the region reaches from three before to three behind.
    EXPECT_EQ(viewer.pick(77, 50), far);
    EXPECT_EQ(viewer.pick(79, 50), nullptr);
    // The left edge stands at 25.
    EXPECT_EQ(viewer.pick(23, 50), near);
    EXPECT_EQ(viewer.pick(21, 50), nullptr);
    viewer.setHitBufferSize(0);
    EXPECT_EQ(viewer.pick(40, 50), nullptr);
    EXPECT_TRUE(viewer.select(0, 0, 100, 100).isEmpty());
}

TEST_F(Picking, FindsPartsAndCountsThemEach)
{
    Marks* const marks = add(new Marks);
    viewer.setZoom(1);
    EXPECT_EQ(viewer.pick(75, 50), marks);
    EXPECT_EQ(scene.currentPart(), 11);
    EXPECT_EQ(viewer.pick(50, 50), marks);
    EXPECT_EQ(scene.currentPart(), 10);
    EXPECT_EQ(found(viewer.select(40, 40, 40, 20)), (std::vector<GL_Object*>{marks, marks}));
}

TEST_F(Picking, ALassoTakesCornersInAnyOrder)
{
    Plate* const left = add(new Plate(-0.8f, -0.1f, -0.6f, 0.1f));
    Plate* const right = add(new Plate(0.6f, -0.1f, 0.8f, 0.1f));
    const std::vector<GL_Object*> both{left, right}, one{right}, none;
    EXPECT_EQ(found(viewer.lasso(90, 60, 10, 40)), both);
    EXPECT_EQ(found(viewer.lasso(95, 40, 70, 60)), one);
    EXPECT_EQ(found(viewer.lasso(85, 50, 85, 50)), one);
    EXPECT_EQ(found(viewer.lasso(50, 50, 50, 50)), none);
    EXPECT_EQ(found(viewer.select(80, 45, 0, 5)), none);
}

TEST_F(Picking, TheBufferGrowsUntilEverythingFits)
{
    constexpr int count = 100;
    for (int i = 0; i < count; ++i)
        add(new Plate);
    viewer.setHitBufferSize(1);
    WarningCatcher warnings;
    EXPECT_EQ(viewer.select(40, 40, 20, 20).count(), unsigned(count));
    EXPECT_NE(viewer.pick(50, 50), nullptr);
    EXPECT_EQ(viewer.hitBufferSize(), 1);
    VMemArray<unsigned> buffer;
    EXPECT_EQ(viewer.selectHits(buffer, 40, 40, 20, 20), count);
    EXPECT_GE(buffer.size(), 4u * count);
    EXPECT_TRUE(warnings.isEmpty());
}

TEST_F(Picking, FindsWhatLiesDeeperThanTheNamesOfGl)
{
    // GL has 64 names at least, and seldom more.
    GL_ObjectList* list = &scene.objects();
    for (int i = 0; i < 200; ++i) {
        list->append(new GL_Group);
        list->append(new GL_Group);
        list = &static_cast<GL_Group*>(list->last())->children();
    }
    Plate* const plate = new Plate;
    list->append(plate);
    viewer.initialize();
    EXPECT_EQ(viewer.pick(50, 50), plate);
    EXPECT_EQ(scene.currentPart(), -1);
    EXPECT_EQ(found(viewer.select(45, 45, 10, 10)), std::vector<GL_Object*>{plate});
    VMemArray<unsigned> buffer;
    ASSERT_EQ(viewer.selectHits(buffer, 45, 45, 10, 10), 1);
    EXPECT_EQ(buffer[0], 201u);
    EXPECT_EQ(buffer[3 + 199], 1u);
    EXPECT_EQ(buffer[3 + 200], 0u);
}

TEST_F(Picking, NoMemoryForTheBufferIsFatal)
{
    add(new Plate);
    viewer.setHitBufferSize(0x7fffffff);
    EXPECT_DEATH(viewer.pick(50, 50), "GL_Viewer::pick: unable to allocate hit buffer.");
    EXPECT_DEATH(viewer.select(0, 0, 9, 9), "GL_Viewer::select: unable to allocate hit buffer.");
}

TEST(GLViewerPick, ThePickMatrixSpreadsTheRegionOverTheView)
{
    ViewerProbe viewer;
    GL_Viewport window;
    window.x = 10;
    window.y = 20;
    window.width = 200;
    window.height = 100;
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    viewer.pickMatrix(60, 45, 50, 20, window);
    double m[16];
    glGetDoublev(GL_PROJECTION_MATRIX, m);
    glMatrixMode(GL_MODELVIEW);
    // The region's corners are at 50 and 100 of 200, and at 25 and 45 of 100.
    const auto atX = [&](double x) { return m[0] * x + m[12]; };
    const auto atY = [&](double y) { return m[5] * y + m[13]; };
    EXPECT_NEAR(atX(-0.5), -1, 1e-6);
    EXPECT_NEAR(atX(0), 1, 1e-6);
    EXPECT_NEAR(atY(-0.5), -1, 1e-6);
    EXPECT_NEAR(atY(-0.1), 1, 1e-6);
    EXPECT_EQ(m[10], 1);
}
} // namespace
