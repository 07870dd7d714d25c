#include "opengl/glscene.h"

#include "kernel/vconnect.h"
#include "kernel/vvariant.h"
#include "opengl/glgroup.h"
#include "opengl/gllight.h"
#include "opengl/glmanipulator.h"
#include "opengl/glreference.h"
#include "opengl/glrenderevent.h"
#include "opengl/glviewer.h"
#include "opengl/scenefixture.h"
#include "support/glrecorder.h"
#include "support/warnings.h"
#include "window/offscreencontext.h"

#include <GL/gl.h>

using namespace scenetest;
using geometry::Box3f;
using geometry::Vector3f;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
/// "group" with "a" and "b" below it, then "c".
struct Tree {
    Tree()
    {
        group->setName("group");
        add(group->children(), a);
        add(group->children(), b);
        add(scene.objects(), group);
        add(scene.objects(), c);
    }
    GL_Group* group = new GL_Group;
    Probe* a = new Probe("a");
    Probe* b = new Probe("b");
    Probe* c = new Probe("c");
    GL_Scene scene; // ends first, with all of them
};

std::vector<GL_Object*> items(const GL_ObjectList& list)
{
    return std::vector<GL_Object*>(list.begin(), list.end());
}

struct Drawing : testing::Test {
    void SetUp() override
    {
        ASSERT_TRUE(context.isValid()) << context.error();
        takeLog();
    }
    OffscreenContext context{16, 16};
    GL_Viewer viewer;
};
} // namespace

// Content

TEST(GLScene, OwnsItsNodesAndEmptiesAll)
{
    const int before = Probe::alive;
    {
        Tree t;
        add(t.scene.library(), new Probe);
        add(t.scene.lights(), new GL_Light);
        addAction(t.scene, "act");
        t.scene.setTimeLength(3);
        t.scene.setFlags(GL_Scene::AutoPlay);
        t.scene.setSelection(t.a);
        t.scene.clear();
        EXPECT_EQ(Probe::alive, before);
        EXPECT_TRUE(t.scene.actions().isEmpty());
        EXPECT_EQ(t.scene.currentObject(), nullptr);
        EXPECT_THAT(items(t.scene.selection()), IsEmpty());
        EXPECT_EQ(t.scene.timeLength(), 3);
        EXPECT_EQ(t.scene.flags(), GL_Scene::AutoPlay | GL_Scene::Changed);
        add(t.scene.objects(), new Probe);
        add(t.scene.library(), new Probe);
    }
    EXPECT_EQ(Probe::alive, before);
}

TEST(GLScene, HasItsPropertiesAndSignal)
{
    GL_Scene scene;
    EXPECT_EQ(scene.ambient(), VColor(0xFF333333u)); // 0.2 of 255 is 51
    EXPECT_TRUE(scene.setProperty("background", VVariant(VColor(0xFF102030u))));
    EXPECT_TRUE(scene.setProperty("autoPlay", VVariant(true, 0)));
    EXPECT_TRUE(scene.setProperty("loopPlay", VVariant(true, 0)));
    EXPECT_TRUE(scene.setProperty("autoPlay", VVariant(false, 0)));
    EXPECT_EQ(scene.background(), VColor(0xFF102030u));
    EXPECT_EQ(scene.flags(), unsigned(GL_Scene::LoopPlay));
    EXPECT_FALSE(scene.property("timeLength").isValid());
    double got = 0;
    const VScopedConnection link(&scene, &GL_Scene::valueChanged,
                                 [&got](int key, double value) { got = key * 100 + value; });
    scene.valueChanged(2, 0.5);
    scene.blockSignals(true);
    scene.valueChanged(3, 0.5);
    EXPECT_EQ(got, 200.5);
}

TEST(GLScene, MergesWhatItDoesNotHoldYet)
{
    GL_Scene scene;
    auto* const first = add(scene.objects(), new Probe("x"));
    auto* const twin = new Probe("x");
    GL_ObjectList more;
    for (GL_Object* object : {static_cast<GL_Object*>(twin), static_cast<GL_Object*>(first),
                              static_cast<GL_Object*>(twin)})
        more.append(object);
    scene.mergeObjects(more);
    EXPECT_THAT(items(scene.objects()), ElementsAre(first, twin));
    scene.mergeObjects(scene.objects());
    EXPECT_EQ(scene.objects().count(), 2u);
    auto* const red = add(scene.materials(), new GL_Material);
    scene.removeMaterial(red);
    EXPECT_EQ(scene.materials().count(), 1u);
}

// Selection

TEST(GLScene, KeepsBitsCurrentAndSelectionTogether)
{
    Tree t;
    auto* const handles = new GL_Manipulator;
    t.scene.setManipulator(handles);
    t.scene.setSelection(t.a);
    EXPECT_TRUE(t.a->isSelected());
    t.scene.selectObject(t.b, true);
    t.scene.selectObject(t.b, true);
    EXPECT_THAT(items(t.scene.selection()), ElementsAre(t.a, t.b));
    EXPECT_EQ(t.scene.currentObject(), t.a);
    EXPECT_EQ(handles->target(), t.a);
    t.scene.selectObject(t.a, false);
    EXPECT_FALSE(t.a->isSelected());
    EXPECT_EQ(t.scene.currentObject(), t.b);
    EXPECT_EQ(handles->target(), t.b);
    t.scene.selectObject(t.b, false);
    EXPECT_EQ(t.scene.currentObject(), nullptr);
    GL_ObjectList list;
    list.append(t.c);
    list.append(t.a);
    t.scene.setSelections(list);
    EXPECT_EQ(t.scene.currentObject(), t.c);
    t.scene.setSelections(t.scene.selection());
    EXPECT_THAT(items(t.scene.selection()), ElementsAre(t.c, t.a));
    EXPECT_TRUE(t.c->isSelected());
    t.scene.setSelections(GL_ObjectList());
    EXPECT_EQ(t.scene.currentObject(), nullptr);
    EXPECT_FALSE(t.c->isSelected());
    t.scene.setSelection(nullptr);
    t.scene.setCurrentObject(handles);
    EXPECT_EQ(handles->target(), nullptr); // never its own
    t.scene.setManipulator(nullptr);
    EXPECT_EQ(t.scene.currentObject(), nullptr);
}

// Removal

TEST(GLScene, LeavesNothingThatPointsAtRemovedNodes)
{
    Tree t;
    TestAction* const act = addAction(t.scene, "act");
    act->connect(0, t.a, 1);
    act->connect(0, t.c, 2);
    act->connect(1, t.group, -1);
    t.scene.setManipulator(new GL_Manipulator);
    t.scene.setSelection(t.c);
    t.scene.selectObject(t.b, true);
    t.scene.setCurrentObject(t.b);
    const int before = Probe::alive;
    t.scene.removeModel(t.group);
    EXPECT_EQ(Probe::alive, before - 2);
    EXPECT_THAT(items(t.scene.objects()), ElementsAre(t.c));
    EXPECT_THAT(items(t.scene.selection()), ElementsAre(t.c));
    EXPECT_EQ(t.scene.currentObject(), nullptr);
    EXPECT_EQ(t.scene.manipulator()->target(), nullptr);
    act->evaluate(0, 1);
    act->evaluate(1, 1);
    EXPECT_THAT(t.c->details, ElementsAre(2));
}

TEST(GLScene, RemovesANodeFromItsGroup)
{
    Tree t;
    t.scene.removeModel(t.a);
    EXPECT_THAT(items(t.group->children()), ElementsAre(t.b));
    t.scene.removeModel(nullptr);
    Probe stranger;
    t.scene.removeModel(&stranger);
    t.scene.removeLibObj(t.c);
    EXPECT_EQ(t.scene.objects().count(), 2u);
    auto* const light = add(t.scene.lights(), new GL_Light);
    t.scene.setSelection(light);
    t.scene.removeLight(light);
    EXPECT_TRUE(t.scene.lights().isEmpty());
    EXPECT_TRUE(t.scene.selection().isEmpty());
}

TEST(GLScene, FreesReferencesToARemovedLibraryObject)
{
    Tree t;
    auto* const part = add(t.scene.library(), new Probe("part"));
    auto* const reference = add(t.group->children(), new GL_Reference);
    reference->setObject(part);
    t.scene.removeLibObj(part);
    EXPECT_TRUE(t.scene.library().isEmpty());
    EXPECT_EQ(reference->object(), nullptr);
}

TEST(GLScene, DeletesSelectedNodesOnce)
{
    Tree t;
    auto* const light = add(t.scene.lights(), new GL_Light);
    GL_ObjectList list;
    for (GL_Object* object : {static_cast<GL_Object*>(t.a), static_cast<GL_Object*>(t.group),
                              static_cast<GL_Object*>(light), static_cast<GL_Object*>(t.a)})
        list.append(object);
    const int before = Probe::alive;
    t.scene.setSelections(list);
    t.scene.deleteObjects();
    EXPECT_EQ(Probe::alive, before - 2);
    EXPECT_THAT(items(t.scene.objects()), ElementsAre(t.c));
    EXPECT_TRUE(t.scene.lights().isEmpty());
    EXPECT_TRUE(t.scene.selection().isEmpty());
    EXPECT_EQ(t.scene.currentObject(), nullptr);
}

// Names

TEST(GLScene, FindsByPathAndTellsPathsThatLeadBack)
{
    Tree t;
    auto* const red = add(t.scene.materials(), new GL_Material);
    red->setName("dark/red");
    auto* const board = add(t.scene.textures(), new GL_Checker);
    board->setName("board");
    auto* const lamp = add(t.scene.lights(), new GL_Light);
    lamp->setName("lamp");
    auto* const part = add(t.scene.library(), new Probe("part"));
    auto* const odd = add(t.scene.objects(), new Probe("lights"));
    auto* const shadowed = add(t.scene.objects(), new Probe("c"));
    auto* const slashed = add(t.scene.objects(), new Probe("x/y"));
    auto* const unnamed = add(t.scene.objects(), new Probe);
    Probe stranger("c");
    const struct {
        const ZYLObject* object;
        const char* path;
        const char* full;
    } rows[] = {
        {t.a, "group/a", "objects/group/a"},
        {t.c, "c", "objects/c"},
        {red, "materials/dark/red", "materials/dark/red"},
        {board, "textures/board", "textures/board"},
        {lamp, "lights/lamp", "lights/lamp"},
        {part, "library/part", "library/part"},
        {odd, "objects/lights", "objects/lights"},
        {shadowed, nullptr, nullptr},
        {slashed, nullptr, nullptr},
        {unnamed, nullptr, nullptr},
        {&stranger, nullptr, nullptr},
        {nullptr, nullptr, nullptr},
    };
    for (const auto& row : rows) {
        EXPECT_STREQ(t.scene.pathOf(row.object), row.path);
        EXPECT_STREQ(t.scene.pathOf(row.object, true), row.full);
        if (!row.path)
            continue;
        EXPECT_EQ(t.scene.findObject(row.path), row.object) << row.path;
        EXPECT_EQ(t.scene.findObject((std::string("/") + row.full).c_str()), row.object);
    }
    EXPECT_EQ(t.scene.findObject("//group//b"), t.b);
    for (const char* nowhere : {"", "/", "group/", "c/a", "lights", "materials/", "nobody", "a"})
        EXPECT_EQ(t.scene.findObject(nowhere), nullptr) << nowhere;
    EXPECT_EQ(t.scene.findObject(nullptr), nullptr);
}

TEST(GLScene, LooksUpWhatIsAddedMeanwhile)
{
    GL_Scene scene;
    const GL_Scene::Lookup lookup(scene);
    for (int i = 0; i < 40; ++i) {
        const std::string name = "n" + std::to_string(i);
        EXPECT_EQ(scene.findObject(name.c_str()), nullptr);
        auto* const made = add(scene.objects(), new Probe(name.c_str()));
        add(scene.objects(), new Probe(name.c_str()));
        EXPECT_EQ(scene.findObject(name.c_str()), made);
    }
}

// Drawing

TEST(GLScene, HasBoundsOfObjectsAndLightsAlone)
{
    GL_Scene scene;
    add(scene.library(), new Probe)->extent.include(Vector3f(9, 9, 9));
    Box3f box;
    box.include(Vector3f(5, 5, 5));
    scene.bounds(box);
    EXPECT_EQ(box.min, Vector3f());
    EXPECT_EQ(box.max, Vector3f());
    auto* const light = add(scene.lights(), new GL_Light);
    light->setPosition(Vector3f(1, 2, 3));
    Box3f lightBox;
    light->bounds(lightBox);
    scene.bounds(box);
    EXPECT_EQ(box, lightBox);
    add(scene.objects(), new Probe); // empty
    auto* const probe = add(scene.objects(), new Probe);
    probe->extent.include(Vector3f(-7, 0, 0));
    scene.bounds(box);
    EXPECT_EQ(box.min.x, -7);
    EXPECT_EQ(box.max, lightBox.max);
}

TEST(GLScene, IdentifiesByNamesOfLightsThenObjects)
{
    Tree t;
    auto* const light = add(t.scene.lights(), new GL_Light);
    const auto at = [&t](std::vector<unsigned> path) {
        return t.scene.identify(path.data(), unsigned(path.size()));
    };
    EXPECT_EQ(at({0}), light);
    EXPECT_EQ(at({1}), t.group);
    EXPECT_EQ(at({1, 1}), t.b);
    EXPECT_EQ(at({2}), t.c);
    EXPECT_EQ(at({3}), nullptr);
    t.scene.setManipulator(new GL_Manipulator);
    EXPECT_EQ(at({3}), nullptr);
    t.scene.setCurrentObject(t.c);
    EXPECT_EQ(at({3}), t.scene.manipulator()->identify(nullptr, 0));
    EXPECT_EQ(at({4}), nullptr);
    WarningCatcher warnings;
    unsigned name = 0;
    EXPECT_EQ(t.scene.identify(nullptr, 1), nullptr);
    EXPECT_EQ(t.scene.identify(&name, 0), nullptr);
    EXPECT_EQ(warnings.take(),
              QStringList(2, QStringLiteral("GL_Scene::identify: Null path are not permitted")));
}

TEST_F(Drawing, SetsTheStateThatDrawingTakesForGranted)
{
    GL_Scene scene;
    scene.setBackground(VColor(0x80FF0000u));
    scene.setAmbient(VColor(0xFF0000FFu));
    GLRecorder recorder;
    scene.initialize();
    const std::vector<std::string> calls = recorder.take();
    ASSERT_FALSE(calls.empty());
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
    EXPECT_FALSE(glIsEnabled(GL_LIGHTING));
    EXPECT_FALSE(glIsEnabled(GL_NORMALIZE));
    float color[4] = {};
    glGetFloatv(GL_COLOR_CLEAR_VALUE, color);
    EXPECT_THAT(color, ElementsAre(1, 0, 0, testing::FloatNear(128 / 255.f, 1e-6f)));
    glGetFloatv(GL_LIGHT_MODEL_AMBIENT, color);
    EXPECT_THAT(color, ElementsAre(0, 0, 1, 1));
    const struct {
        GLenum what;
        int value;
    } rows[] = {
        {GL_LIGHT_MODEL_TWO_SIDE, 1},
        {GL_SHADE_MODEL, GL_FLAT},
        {GL_BLEND_SRC, GL_SRC_ALPHA},
        {GL_BLEND_DST, GL_ONE_MINUS_SRC_ALPHA},
        {GL_UNPACK_ALIGNMENT, 1},
        {GL_POLYGON_OFFSET_FACTOR, -1},
        {GL_POLYGON_OFFSET_UNITS, -1},
        {GL_POLYGON_SMOOTH_HINT, GL_FASTEST},
        {GL_PERSPECTIVE_CORRECTION_HINT, GL_FASTEST},
        {GL_FOG_HINT, GL_FASTEST},
        {GL_LINE_SMOOTH_HINT, GL_FASTEST},
        {GL_POINT_SMOOTH_HINT, GL_FASTEST},
    };
    for (const auto& row : rows) {
        int value = 0;
        glGetIntegerv(row.what, &value);
        EXPECT_EQ(value, row.value) << std::hex << row.what;
    }
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST_F(Drawing, InitialisesInOrderAndNumbersLights)
{
    GL_Scene scene;
    add(scene.objects(), new Probe("object"));
    add(scene.library(), new Probe("part"));
    add(scene.lights(), new GL_Light);
    auto* const second = add(scene.lights(), new GL_Light);
    scene.raisePasses(2);
    scene.init();
    EXPECT_THAT(takeLog(), ElementsAre("init part", "init object"));
    EXPECT_EQ(second->number(), 1u);
    EXPECT_EQ(scene.passes(), 1);
}

TEST_F(Drawing, DrawsOnceOrInTwoPasses)
{
    GL_Scene scene;
    auto* const probe = add(scene.objects(), new Probe("x"));
    add(scene.objects(), new Probe("hidden"))->isShown = false;
    add(scene.library(), new Probe("part"));
    scene.draw(&viewer);
    EXPECT_THAT(takeLog(), ElementsAre("x -1"));
    scene.raisePasses(2);
    scene.raisePasses(1);
    glEnable(GL_ALPHA_TEST);
    std::vector<int> state;
    probe->onDraw = [&state](GL_RenderEvent*) {
        GLboolean mask = 0;
        glGetBooleanv(GL_DEPTH_WRITEMASK, &mask);
        for (const int value :
             {int(glIsEnabled(GL_BLEND)), int(glIsEnabled(GL_ALPHA_TEST)), int(mask)})
            state.push_back(value);
    };
    scene.draw(&viewer);
    EXPECT_THAT(takeLog(), ElementsAre("x 0", "x 1"));
    EXPECT_THAT(state, ElementsAre(0, 1, 1, 1, 0, 0));
    GLboolean mask = 0;
    glGetBooleanv(GL_DEPTH_WRITEMASK, &mask);
    EXPECT_TRUE(mask);
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
}

TEST_F(Drawing, DrawsGlyphsOfLightsWithoutATrace)
{
    GL_Scene scene;
    add(scene.lights(), new GL_Light);
    glColor4f(0.25f, 0.5f, 0.75f, 1);
    glPointSize(3);
    GLRecorder recorder;
    scene.draw(&viewer);
    EXPECT_GT(recorder.count("glBegin") + recorder.count("glVertex3fv"), 0);
    float color[4] = {}, size = 0;
    glGetFloatv(GL_CURRENT_COLOR, color);
    glGetFloatv(GL_POINT_SIZE, &size);
    EXPECT_THAT(color, ElementsAre(0.25f, 0.5f, 0.75f, 1));
    EXPECT_EQ(size, 3);
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST_F(Drawing, HitsUnderOneRunningName)
{
    GL_Scene scene;
    add(scene.lights(), new GL_Light);
    add(scene.objects(), new Probe("x"))->isShown = false; // can be hit all the same
    add(scene.objects(), new Probe("y"));
    scene.setManipulator(new GL_Manipulator);
    scene.setCurrentObject(scene.objects().getFirst());
    unsigned hits[64];
    glSelectBuffer(64, hits);
    glRenderMode(GL_SELECT);
    glInitNames();
    glPushName(0);
    GLRecorder recorder;
    scene.hit(&viewer);
    const std::vector<std::string> names = recorder.take({"glLoadName"});
    glRenderMode(GL_RENDER);
    EXPECT_THAT(takeLog(), ElementsAre("hit x", "hit y"));
    for (const char* name : {"glLoadName(0)", "glLoadName(1)", "glLoadName(2)", "glLoadName(3)"})
        EXPECT_THAT(names, testing::Contains(name));
}

TEST_F(Drawing, LightsASceneThatHasNone)
{
    GL_Scene scene;
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    scene.setEnvLights(true);
    float value[4] = {};
    glGetLightfv(GL_LIGHT0, GL_POSITION, value);
    EXPECT_THAT(value, ElementsAre(-2, 2, 3, 0));
    glGetLightfv(GL_LIGHT1, GL_POSITION, value);
    EXPECT_THAT(value, ElementsAre(3, -3, -0.5f, 0));
    glGetLightfv(GL_LIGHT1, GL_DIFFUSE, value);
    EXPECT_THAT(value, ElementsAre(0.6f, 0.6f, 0.6f, 1));
    EXPECT_TRUE(glIsEnabled(GL_LIGHT0));
    scene.setEnvLights(false);
    EXPECT_TRUE(glIsEnabled(GL_LIGHT0));
    EXPECT_FALSE(glIsEnabled(GL_LIGHT1));
}

// Animation

TEST(GLScene, EvaluatesTheActionsThatAreConnected)
{
    GL_Scene scene;
    EXPECT_FALSE(scene.evaluate(1, 2));
    TestAction* const first = addAction(scene, "first");
    TestAction* const second = addAction(scene, "second");
    struct Plain : VObject {
    } plain;
    int functionCalls = 0;
    const VScopedConnection link(&scene, &GL_Scene::valueChanged, &plain,
                                 [&functionCalls](int) { ++functionCalls; });
    drive(scene, *first);
    drive(scene, *first);
    // Whatever slot is named.
    VObject::connect(&scene, "2valueChanged(int,double)", second, "2told(int,double)");
    scene.blockSignals(true); // it isn't sent
    EXPECT_FALSE(scene.evaluate(1, 2.5));
    EXPECT_EQ(first->calls, 2);
    EXPECT_EQ(second->calls, 1);
    EXPECT_EQ(second->last, 2.5);
    EXPECT_EQ(functionCalls, 0);
    first->accepts = true;
    EXPECT_TRUE(scene.evaluate(1, 3));
    EXPECT_EQ(second->calls, 2); // not left out
    first->accepts = false;
    EXPECT_TRUE(scene.evaluate(1, 3)); // until somebody clears it
    scene.setChanged(false);
    EXPECT_FALSE(scene.evaluate(1, 3));
}

TEST(GLScene, EvaluatesOnWhileReceiversComeAndGo)
{
    GL_Scene scene;
    TestAction* const first = addAction(scene, "first");
    TestAction* const second = addAction(scene, "second");
    TestAction* const third = addAction(scene, "third");
    TestAction* const late = addAction(scene, "late");
    for (const TestAction* action : {first, second, third})
        drive(scene, *action);
    first->during = [&] {
        scene.actions().remove("second");
        drive(scene, *late);
    };
    scene.evaluate(1, 2);
    EXPECT_EQ(third->calls, 1);
    EXPECT_EQ(late->calls, 0);
    scene.evaluate(1, 2);
    EXPECT_EQ(third->calls, 2);
    EXPECT_EQ(late->calls, 1);
}
