#include "opengl/glshape.h"

#include "kernel/vevent.h"
#include "opengl/glmaterial.h"
#include "opengl/nodefiles.h"
#include "opengl/nodestage.h"

#include <random>

using geometry::Box3f;
using geometry::Matrix4f;
using geometry::Vector2i;
using geometry::Vector3f;
using geometry::Vector4f;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace
{
Matrix4f translation(float x, float y, float z)
{
    Matrix4f matrix;
    matrix.translate(x, y, z);
    return matrix;
}

/// Says which matrix and winding it is drawn with.
class Probe : public GL_Shape
{
public:
    Probe() { setShapeBounds(Box3f(-1, -2, -3, 1, 2, 3)); }
    void drawShape(GL_RenderEvent*) override
    {
        ++drawn;
        glGetIntegerv(GL_FRONT_FACE, &winding);
        glGetFloatv(GL_MODELVIEW_MATRIX, matrix.m[0]);
    }
    int drawn = 0;
    GLint winding = 0;
    Matrix4f matrix;
};
} // namespace

TEST(GL_Shape, StartsLitFilledAndSmoothWithinItsSize)
{
    EXPECT_EQ(GL_Shape().flags(), 0x74u);
    EXPECT_LE(sizeof(GL_Shape), 250u - sizeof("name"));
}

TEST(GL_Shape, WritesWordsBesideTheFlags)
{
    GL_Shape shape;
    EXPECT_EQ(textOf(shape), "flags 0x74;\nshadingModel 1;\n");
    EXPECT_EQ(bytesOf(shape), "03020174");
    shape.setTransform(translation(1, 2, 3));
    shape.setStyle(GL_Shape::Lines);
    shape.setShadingModel(0);
    for (const unsigned flag : {GL_Shape::SmoothAngle, GL_Shape::Clockwise, GL_Shape::CullFace})
        shape.setFlags(flag, true);
    const std::string text = textOf(shape);
    EXPECT_EQ(text.substr(0, text.find("transform")), "flags 0x714;\n");
    EXPECT_EQ(text.substr(text.find("style")),
              "style 1;\nsmoothAngle ;\nclockwise ;\ncullFace ;\n");
    throughFiles(shape, [&](const GL_Shape& copy) {
        EXPECT_EQ(copy.flags(), 0x714u);
        EXPECT_EQ(copy.transform(), shape.transform());
    });
}

TEST(GL_Shape, KeepsAWordOfNothingInBothForms)
{
    GL_Shape shape;
    shape.setFlags(0u);
    EXPECT_EQ(textOf(shape), "flags 0x0;\nstyle 0;\n");
    throughFiles(shape, [](const GL_Shape& copy) { EXPECT_EQ(copy.flags(), 0u); });
}

TEST(GL_Shape, LetsWordsWinOverTheFlags)
{
    const struct {
        const char* text;
        unsigned flags;
    } cases[] = {
        {"style 0; flags 0x74;", 0x44},
        {"flags 0; style 5; shadingModel 7;", 0xD0}, // two bits of each
        {"flags 0x74; shadingModel 0;", 0x34},
        {"cullFace 0; flags 0x74;", 0x474}, // the word counts, not what follows
        {"style;", 0x44},                   // where no number stands it is 0
    };
    for (const auto& c : cases) {
        GL_Shape shape;
        readText(shape, c.text);
        EXPECT_EQ(shape.flags(), c.flags) << c.text;
    }
}

TEST(GL_Shape, StoresTranslationsAloneInTheBinaryForm)
{
    GL_Shape shape;
    shape.setTransform(translation(1, -2, 3));
    const std::string moved = bytesOf(shape);
    EXPECT_EQ(moved.substr(0, 10), "03020174f9");
    EXPECT_LT(moved.size(), 60u);
    Matrix4f turned;
    turned.zrotate(1);
    shape.setTransform(turned);
    EXPECT_EQ(bytesOf(shape).substr(0, 10), "0302017479");
    throughFiles(shape, [&](const GL_Shape& copy) {
        for (int i = 0; i < 16; ++i)
            EXPECT_NEAR(copy.transform().m[i / 4][i % 4], turned.m[i / 4][i % 4], 1e-5);
    });
    // A last row that is no translation has to travel whole.
    Matrix4f scaled;
    scaled.m[3][3] = 2;
    shape.setTransform(scaled);
    GL_Shape copy;
    readBytes(copy, bytesOf(shape));
    EXPECT_EQ(copy.transform(), scaled);
}

TEST(GL_Shape, LooksItsMaterialUpByName)
{
    GL_Scene scene;
    auto* const steel = new GL_Material;
    steel->setName("steel");
    scene.materials().append(steel);
    GL_Shape shape;
    shape.setMaterial(steel);
    EXPECT_EQ(textOf(shape), "flags 0x74;\nmaterial \"steel\";\nshadingModel 1;\n");
    EXPECT_EQ(bytesOf(shape), "0302017413"
                              "1305737465656c");
    const auto isSteel = [&](const GL_Shape& copy) { EXPECT_EQ(copy.material(), steel); };
    throughFiles(shape, isSteel, &scene);
    const auto hasNone = [](const GL_Shape& copy) { EXPECT_EQ(copy.material(), nullptr); };
    throughFiles(shape, hasNone);
    steel->setName("iron");
    TextSource source("name \"s\";\nmaterial \"steel\";}");
    Reports reports;
    source.io.setDiagnostics(&reports);
    source.io.setContainer("scene", &scene);
    source.stream.readObject(shape);
    hasNone(shape);
    EXPECT_EQ(reports.text.substr(0, 8),
              std::to_string(VFormatDiagnostics::UnresolvedName) + " steel ");
}

TEST(GL_Shape, ChangesItsMatrixByEvents)
{
    Matrix4f turn;
    turn.m[0][0] = turn.m[1][1] = 0;
    turn.m[0][1] = 1; // x goes to y, y to -x
    turn.m[1][0] = -1;
    const Matrix4f move = translation(1, 0, 0);
    const auto mapped = [](int code, const Matrix4f& start, Matrix4f value) {
        GL_Shape shape;
        shape.setTransform(start);
        VActionEvent event(code, &value);
        EXPECT_TRUE(shape.event(&event));
        EXPECT_TRUE(event.isAccepted());
        return Vector3f(0, 0, 0) * shape.transform();
    };
    EXPECT_EQ(mapped(1001, turn, move), Vector3f(0, 1, 0)); // moved, then turned
    EXPECT_EQ(mapped(1002, turn, move), Vector3f(1, 0, 0));
    EXPECT_EQ(mapped(1004, turn, move), Vector3f(1, 0, 0));
    Matrix4f told;
    GL_Shape shape;
    shape.setTransform(turn);
    VActionEvent get(1003, &told);
    EXPECT_TRUE(shape.event(&get));
    EXPECT_EQ(told, turn);
    VColor color(0xFF010203u);
    VActionEvent paint(1013, &color);
    EXPECT_TRUE(shape.event(&paint)); // by its base
    EXPECT_EQ(shape.color(), color);
}

class GL_ShapeDrawing : public NodeStage
{
};

TEST_F(GL_ShapeDrawing, MultipliesItsMatrixAndPutsItBack)
{
    glLoadMatrixf(translation(0, 0, -1).m[0]);
    Probe probe;
    Matrix4f turned;
    turned.zrotate(0, 1);
    turned.translate(1, 0, 0);
    probe.setTransform(turned);
    pictureOf(probe);
    glPushMatrix();
    glMultMatrixf(turned.m[0]);
    Matrix4f expected;
    glGetFloatv(GL_MODELVIEW_MATRIX, expected.m[0]);
    glPopMatrix();
    EXPECT_EQ(probe.matrix, expected);
    Matrix4f after;
    glGetFloatv(GL_MODELVIEW_MATRIX, after.m[0]);
    EXPECT_EQ(after, translation(0, 0, -1));
}

TEST_F(GL_ShapeDrawing, TurnsTheWindingOverWithAMirrorOrTheFlag)
{
    for (const bool mirror : {false, true})
        for (const bool clockwise : {false, true}) {
            glLoadIdentity();
            glScalef(1, mirror ? -1 : 1, 1);
            Probe probe;
            probe.setFlags(GL_Shape::Clockwise, clockwise);
            const bool flip = mirror != clockwise;
            GLRecorder gl;
            pictureOf(probe);
            const auto calls = gl.take({"glFrontFace"});
            if (flip)
                EXPECT_THAT(calls, ElementsAre("glFrontFace(GL_CW)", "glFrontFace(GL_CCW)"));
            else
                EXPECT_THAT(calls, IsEmpty());
            EXPECT_EQ(probe.winding, flip ? GL_CW : GL_CCW) << mirror << clockwise;
            probe.setStyle(GL_Shape::Lines); // where it doesn't matter
            pictureOf(probe);
            EXPECT_THAT(gl.take({"glFrontFace"}), IsEmpty());
        }
}

TEST_F(GL_ShapeDrawing, SetsUpAStyleOnceForARunOfShapes)
{
    Probe first, second;
    GL_Material material;
    first.setMaterial(&material);
    second.setMaterial(&material);
    GLRecorder gl;
    picture([&](GL_RenderEvent& event) {
        first.draw(&event);
        EXPECT_EQ(event.material, &material);
        const auto calls = gl.take();
        EXPECT_THAT(calls, Contains("glEnable(GL_LIGHTING)"));
        EXPECT_THAT(calls, Contains("glEnable(GL_NORMALIZE)"));
        EXPECT_THAT(calls, Contains("glEnable(GL_AUTO_NORMAL)"));
        EXPECT_THAT(calls, Contains("glShadeModel(GL_SMOOTH)"));
        EXPECT_THAT(calls, Contains("glPolygonMode(GL_FRONT_AND_BACK, GL_FILL)"));
        second.draw(&event);
        const std::string identity = "{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}";
        EXPECT_THAT(gl.take(), ElementsAre("glLoadMatrixf(" + identity + ")", // then its drawing
                                           testing::StartsWith("glGetIntegerv"),
                                           testing::StartsWith("glGetFloatv"),
                                           "glLoadMatrixf(" + identity + ")"));
    });
}

TEST_F(GL_ShapeDrawing, DrawsPlainColourWhenUnlit)
{
    TestBox box;
    box.setColor(VColor(0xFF80FF00u));
    box.setFlags(GL_Shape::Lit, false);
    box.setShadingModel(0);
    glColor4f(0.5f, 0.5f, 0.5f, 1);
    GLRecorder gl;
    EXPECT_EQ(at(pictureOf(box), 32, 32), 0x80FF00u);
    EXPECT_THAT(gl.take(), Contains("glShadeModel(GL_FLAT)"));
    GLfloat color[4];
    glGetFloatv(GL_CURRENT_COLOR, color);
    EXPECT_EQ(color[0], 0.5f);
    EXPECT_FALSE(glIsEnabled(GL_LIGHTING));
}

TEST_F(GL_ShapeDrawing, ShowsEachShapeWithoutMaterialInItsOwnColour)
{
    GL_Group group;
    for (const unsigned color : {0xFFFF0000u, 0xFF0000FFu}) {
        auto* const box = new TestBox(0.25f);
        box->place(color & 0xFF ? 0.5f : -0.5f, 0, 0);
        box->setColor(VColor(color));
        group.children().append(box);
    }
    const Picture pixels = pictureOf(group);
    EXPECT_GT(at(pixels, 16, 32) >> 16, 150u);
    EXPECT_LT(at(pixels, 16, 32) & 0xFF, 60u);
    EXPECT_GT(at(pixels, 48, 32) & 0xFF, 150u);
    EXPECT_LT(at(pixels, 48, 32) >> 16, 60u);
}

TEST_F(GL_ShapeDrawing, DrawsStylesAsPointsLinesAndFaces)
{
    TestBox box(0.5f);
    box.setFlags(GL_Shape::Lit, false);
    const struct {
        GL_Shape::Style style;
        int least, most;
    } cases[] = {{GL_Shape::Points, 1, 4},
                 {GL_Shape::Lines, 100, 140},
                 {GL_Shape::Silhouette, 100, 140},
                 {GL_Shape::Filled, 32 * 32 - 64, 33 * 33}};
    for (const auto& c : cases) {
        box.setStyle(c.style);
        const int lit = litPixels(pictureOf(box));
        EXPECT_GE(lit, c.least) << c.style;
        EXPECT_LE(lit, c.most) << c.style;
    }
}

TEST_F(GL_ShapeDrawing, CullsBackFacesWhenAsked)
{
    TestBox box(0.5f, false);
    // A quarter is cut off in front, so that the inside shows.
    setProjection([] { glOrtho(-1, 1, -1, 1, -0.25, 2); });
    EXPECT_GT(litPixels(pictureOf(box)), 900);
    box.setFlags(GL_Shape::CullFace, true);
    EXPECT_EQ(litPixels(pictureOf(box)), 0);
    EXPECT_EQ(litPixels(picture([&](GL_RenderEvent& event) {
                  event.flags = GL_RenderEvent::KeepCulling;
                  glDisable(GL_CULL_FACE);
                  event.state.forget();
                  box.draw(&event);
              })) > 900,
              true);
    box.setFlags(GL_Shape::CullFace, false);
    EXPECT_EQ(litPixels(picture([&](GL_RenderEvent& event) {
                  event.flags = GL_RenderEvent::KeepCulling;
                  glEnable(GL_CULL_FACE);
                  event.state.forget();
                  box.draw(&event);
              })),
              0);
}

TEST_F(GL_ShapeDrawing, FillsAndSkipsTheLookWhenTold)
{
    TestBox box(0.5f);
    box.setStyle(GL_Shape::Lines);
    GLRecorder gl;
    const Picture pixels = picture([&](GL_RenderEvent& event) {
        event.flags = GL_RenderEvent::FillOnly;
        glColor4f(0, 1, 0, 1);
        box.draw(&event);
        EXPECT_EQ(event.material, nullptr);
    });
    EXPECT_EQ(at(pixels, 32, 32), 0x00FF00u);
    const auto calls = gl.take();
    EXPECT_THAT(calls, Not(Contains("glEnable(GL_LIGHTING)")));
    EXPECT_THAT(calls, Not(Contains("glShadeModel(GL_SMOOTH)")));
}

TEST_F(GL_ShapeDrawing, TakesPartInThePassesOfItsMaterial)
{
    GL_Material glass;
    glass.setDiffuse(Vector4f(1, 1, 1, 0.5f));
    glass.init(&scene);
    ASSERT_TRUE(glass.isTransparent());
    TestBox plain, clear;
    clear.setMaterial(&glass);
    GL_RenderEvent event(nullptr, &scene);
    const struct {
        int pass;
        bool plain, clear;
    } cases[] = {{-1, true, true}, {0, true, true}, {1, false, true}};
    for (const auto& c : cases) {
        event.pass = c.pass;
        EXPECT_EQ(plain.shouldRender(&event), c.plain) << c.pass;
        EXPECT_EQ(clear.shouldRender(&event), c.clear) << c.pass;
        plain.drawn = clear.drawn = 0;
        clear.draw(&event);
        EXPECT_EQ(clear.drawn, c.pass == 0 ? 0 : 1) << c.pass;
    }
}

TEST_F(GL_ShapeDrawing, FramesTheSelectedAndHandlesTheCurrent)
{
    Probe probe;
    probe.setFlags(GL_Object::Selected, true);
    const auto painted = [&](int pass) {
        GLRecorder gl;
        picture([&](GL_RenderEvent& event) {
            event.pass = pass;
            probe.draw(&event);
        });
        return gl.take({"glPointSize", "glColor4fv", "glBegin"});
    };
    const auto color = [](VColor c) {
        const Vector4f v(c);
        char text[100];
        std::snprintf(text, sizeof(text), "glColor4fv({%g, %g, %g, %g})", double(v.x), double(v.y),
                      double(v.z), double(v.w));
        return std::string(text);
    };
    const std::string bound = color(GL_Viewer::m_boundColor);
    EXPECT_THAT(painted(-1),
                ElementsAre(bound, "glBegin(GL_LINE_LOOP)", "glBegin(GL_LINES)", testing::_));
    scene.setCurrentObject(&probe);
    EXPECT_THAT(painted(0), ElementsAre("glPointSize(4)", color(GL_Viewer::m_handleColor),
                                        "glBegin(GL_POINTS)", color(GL_Viewer::m_selectColor),
                                        "glBegin(GL_LINE_LOOP)", "glBegin(GL_LINES)", testing::_));
    EXPECT_THAT(painted(1), SizeIs(1)); // the colour that is put back
    scene.setCurrentObject(nullptr);
    GLfloat pointSize = 0;
    glGetFloatv(GL_POINT_SIZE, &pointSize);
    EXPECT_EQ(pointSize, 1);
}

TEST_F(GL_ShapeDrawing, DrawsOnlyFramesForAViewerThatHidesShapes)
{
    GL_Viewer viewer;
    viewer.setFlags(GL_Viewer::HideShapes, true);
    TestBox box;
    GL_RenderEvent event(&viewer, &scene);
    GLRecorder gl;
    box.draw(&event);
    EXPECT_EQ(gl.count("glBegin"), 0);
    box.setFlags(GL_Object::Selected, true);
    box.draw(&event);
    EXPECT_EQ(box.drawn, 0);
    EXPECT_EQ(gl.count("glBegin"), 2);
}

TEST_F(GL_ShapeDrawing, GeneratesTextureCoordinatesOverItsBounds)
{
    struct Flat : GL_Shape {
        explicit Flat(const Box3f& box) { setShapeBounds(box); }
    };
    GLRecorder gl;
    Flat(Box3f(-1, 3, 0, 3, 5, 0)).autoTextureGen(true); // 4 by 2
    EXPECT_THAT(gl.take(), ElementsAre("glTexGeni(GL_S, GL_TEXTURE_GEN_MODE, GL_OBJECT_LINEAR)",
                                       "glTexGeni(GL_T, GL_TEXTURE_GEN_MODE, GL_OBJECT_LINEAR)",
                                       "glTexGenfv(GL_S, GL_OBJECT_PLANE, {0.25, 0, 0, -0.25})",
                                       "glTexGenfv(GL_T, GL_OBJECT_PLANE, {0, 0.5, 0, 1.5})",
                                       "glEnable(GL_TEXTURE_GEN_S)", "glEnable(GL_TEXTURE_GEN_T)"));
    Flat(Box3f(2, 2, 0, 2, 2, 0)).autoTextureGen(true);
    EXPECT_THAT(gl.take({"glTexGenfv"}),
                ElementsAre("glTexGenfv(GL_S, GL_OBJECT_PLANE, {1, 0, 0, 0})",
                            "glTexGenfv(GL_T, GL_OBJECT_PLANE, {0, 1, 0, 0})"));
    Flat(Box3f()).autoTextureGen(false);
    EXPECT_THAT(gl.take(),
                ElementsAre("glDisable(GL_TEXTURE_GEN_S)", "glDisable(GL_TEXTURE_GEN_T)"));
}

TEST_F(GL_ShapeDrawing, IsDraggedInItsOwnSpace)
{
    GL_Viewer viewer;
    viewer.setScene(&scene);
    viewer.setProjection(0);
    viewer.reshape(100, 100); // two units are 100 pixels
    TestBox box;
    Matrix4f matrix = translation(0, 0.5f, 0);
    matrix.scale(2);
    box.setTransform(matrix);
    EXPECT_TRUE(box.drag(&viewer, Vector2i(10, 10), Vector2i(60, 35)));
    const Vector3f at = Vector3f(0, 0, 0) * box.transform();
    EXPECT_NEAR(at.x, 1, 1e-4);
    EXPECT_NEAR(at.y, 1, 1e-4);
    EXPECT_NEAR(at.z, 0, 1e-4);
}

// Passing over back faces

namespace
{
/// How many pixels differ between two pictures by more than rounding.
int differing(const std::vector<unsigned>& a, const std::vector<unsigned>& b)
{
    int count = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        bool differs = false;
        for (int shift = 0; shift < 24; shift += 8)
            differs |= std::abs(int(a[i] >> shift & 255) - int(b[i] >> shift & 255)) > 2;
        count += differs;
    }
    return count;
}
} // namespace

TEST_F(GL_ShapeDrawing, HidesBackFacesOnlyWhereThatIsNoDifference)
{
    TestBox box(0.5f);
    GL_Material glass;
    glass.setDiffuse(Vector4f(1, 1, 1, 0.5f));
    glass.init(&scene);
    int pass = -1;
    const auto hides = [&] {
        GLRecorder gl;
        picture([&](GL_RenderEvent& event) {
            event.pass = pass;
            box.draw(&event);
        });
        const auto calls = gl.take({"glEnable"});
        return std::count(calls.begin(), calls.end(), "glEnable(GL_CULL_FACE)") > 0;
    };
    EXPECT_TRUE(hides());
    EXPECT_FALSE(glIsEnabled(GL_CULL_FACE)); // and puts culling back
    box.setFlags(GL_Shape::Clockwise, true);
    EXPECT_FALSE(hides());
    box.setFlags(GL_Shape::Clockwise, false);
    box.setStyle(GL_Shape::Lines);
    EXPECT_FALSE(hides());
    box.setStyle(GL_Shape::Filled);
    glEnable(GL_BLEND);
    box.setMaterial(&glass);
    pass = 1;
    EXPECT_FALSE(hides());
    box.setMaterial(nullptr);
    pass = -1;
    EXPECT_TRUE(hides());   // where the material turns blending off
    box.place(0, 0, 1.75f); // into the near plane
    EXPECT_FALSE(hides());
    box.place(0, 0, 0);
    box.resize(0.5f, false);
    EXPECT_FALSE(hides());
}

TEST_F(GL_ShapeDrawing, LooksTheSameWithoutBackFaces)
{
    // The eye may stand between, before or inside of the boxes.
    setProjection([] { glFrustum(-0.5, 0.5, -0.5, 0.5, 0.5, 6); });
    std::mt19937 random(20240607);
    std::uniform_real_distribution<float> unit(-1, 1);
    for (int round = 0; round < 30; ++round) {
        GL_Group group;
        std::vector<TestBox*> boxes;
        for (int i = 0; i < 12; ++i) {
            auto* const box = new TestBox(0.4f);
            Matrix4f matrix = translation(3 * unit(random), 3 * unit(random), 5 * unit(random));
            matrix.xrotate(3 * unit(random));
            matrix.zrotate(3 * unit(random));
            matrix.scale(unit(random) < 0 ? -1.0f : 1.0f, 1 + unit(random) / 2, 1.5f);
            box->setTransform(matrix);
            box->setColor(VColor(0xFF000000u | (random() & 0xFFFFFF)));
            boxes.push_back(box);
            group.children().append(box);
        }
        const Picture hidden = pictureOf(group);
        for (TestBox* box : boxes)
            box->resize(0.4f, false);
        const Picture whole = pictureOf(group);
        // Where a silhouette passes through the middle of a pixel, either side may win.
        EXPECT_LE(differing(hidden, whole), 3) << "round " << round;
    }
}
