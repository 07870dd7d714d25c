#include "opengl/glcurve.h"

#include "kernel/vevent.h"
#include "opengl/glarc.h"
#include "opengl/glpoint.h"
#include "opengl/glscene.h"
#include "opengl/glviewer.h"
#include "opengl/shapestage.h"

#include <memory>

using geometry::Box3f;
using geometry::Vector3f;

namespace
{
void expectNear(const Vector3f& a, const Vector3f& b)
{
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(a[i], b[i], 1e-5f);
}

/// A viewer of a hundred pixels that looks down at the origin.
struct Desk {
    Desk()
    {
        viewer.setScene(&scene);
        viewer.reshape(100, 100);
    }
    void pick(GL_Object& object, int part)
    {
        scene.setCurrentObject(&object);
        scene.setCurrentPart(part);
    }

    OffscreenContext context{100, 100};
    GL_Scene scene;
    GL_Viewer viewer;
    const geometry::Vector2i from{50, 50}, to{60, 70};
};
} // namespace

struct CurveForm {
    const char* className;
    const char* text;
    std::vector<std::pair<int, Vector3f>> vectors; // tags and what they carry, behind `numbers`
    const char* numbers;                           // tags and values before them
    const char* tail = "";
};

class CurveForms : public testing::TestWithParam<CurveForm>
{
};

TEST_P(CurveForms, HoldEveryValueBothWays)
{
    const CurveForm& form = GetParam();
    const auto object = makeNode(form.className, form.text);
    QByteArray binary = QByteArray::fromHex("030200") + QByteArray::fromHex(form.numbers);
    for (const auto& [tag, vector] : form.vectors) {
        QByteArray value;
        QDataStream stream(&value, QIODevice::WriteOnly);
        stream << vector;
        binary += char(tag) + value;
    }
    binary += QByteArray::fromHex(form.tail);
    EXPECT_EQ(writtenText(*object), form.text);
    EXPECT_EQ(writtenBinary(*object).toHex(' '), binary.toHex(' '));

    const auto copy = makeNode(form.className, "");
    EXPECT_EQ(readBinary(*copy, binary), QDataStream::Ok);
    EXPECT_EQ(writtenText(*copy), form.text);
}

INSTANTIATE_TEST_SUITE_P(
    All, CurveForms,
    testing::Values(
        CurveForm{"GL_Line",
                  "from { 1, 2, 3 }; to { -1, 0.5, 0 };",
                  {{0x80, Vector3f(1, 2, 3)}, {0x81, Vector3f(-1, 0.5f, 0)}},
                  ""},
        CurveForm{"GL_Point", "position { 1, 2, 3 };", {{0x80, Vector3f(1, 2, 3)}}, ""},
        CurveForm{"GL_Arc",
                  "position { 0, 0, 0 }; direction { 0, 0, 1 };",
                  {{0x83, Vector3f()}, {0x84, Vector3f(0, 0, 1)}},
                  ""},
        CurveForm{"GL_Arc",
                  "radius 2; startAngle -3; sweepAngle 0.5; position { 1, 2, 3 }; direction { 0, "
                  "1, 0 }; slices 7;",
                  {{0x83, Vector3f(1, 2, 3)}, {0x84, Vector3f(0, 1, 0)}},
                  "80 0903 800101 81 0903 c00003 82 0903 80ff01",
                  "85 020107"}));

// Bounds

TEST(ArcBounds, ReachTheExtremesThatTheArcPasses)
{
    const float r = float(std::sqrt(0.5));
    const struct {
        const char* text;
        Box3f box;
    } cases[] = {
        {"radius 1;", Box3f(-1, -1, 0, 1, 1, 0)},
        {"radius 1; startAngle 45; sweepAngle 90;", Box3f(-r, r, 0, r, 1, 0)},
        {"radius 1; startAngle 135; sweepAngle -90;", Box3f(-r, r, 0, r, 1, 0)},
        {"radius 1; startAngle -45; sweepAngle 270;", Box3f(-1, -r, 0, 1, 1, 0)},
        {"radius 1; startAngle 765; sweepAngle 30;", // from 45 on
         Box3f(float(std::cos(1.3089969)), r, 0, r, float(std::sin(1.3089969)), 0)},
        {"radius 1; startAngle 60; sweepAngle 240;", Box3f(-1, -1, 0, 0.5f, 1, 0)},
        {"radius 1; startAngle 30; sweepAngle 1000;", Box3f(-1, -1, 0, 1, 1, 0)},
        {"radius 1; position { 1, 2, 3 };", Box3f(0, 1, 3, 2, 3, 3)},
        // Turned about y, x goes down and z comes out along x.
        {"radius 1; direction { 5, 0, 0 }; sweepAngle 90;", Box3f(0, 0, -1, 0, 1, 0)},
        {"radius 1; direction { 0, 0, 0 };", Box3f(-1, -1, 0, 1, 1, 0)},
    };
    for (const auto& arc : cases) {
        SCOPED_TRACE(arc.text);
        Box3f box;
        makeNode("GL_Arc", arc.text)->bounds(box);
        expectNear(box.min, arc.box.min);
        expectNear(box.max, arc.box.max);
    }
}

TEST(CurveBounds, FollowEveryChange)
{
    GL_Line line;
    line.p2 = Vector3f(-1, 2, 3);
    Box3f box;
    line.bounds(box);
    EXPECT_TRUE(box == Box3f(-1, 0, 0, 0, 2, 3));
    GL_Point point;
    point.setPosition(Vector3f(1, 2, 3));
    point.bounds(box);
    EXPECT_TRUE(box == Box3f(1, 2, 3, 1, 2, 3));
}

// Drawing

TEST(CurvePictures, ShowTheirColorWithoutTheLastMaterial)
{
    ShapeStage stage;
    glLoadIdentity();
    const auto arc = makeNode("GL_Arc", "radius 0.8; color 0xffff8040; slices 100;");
    const auto line =
        makeNode("GL_Line", "from { -0.9, 0, 0 }; to { 0.9, 0, 0 }; color 0xff00ff00;");
    const auto point = makeNode("GL_Point", "position { 0, 0.5, 0 }; color 0xff0000ff;");
    const auto picture = stage.picture([&] {
        glEnable(GL_BLEND);
        glBlendFunc(GL_ZERO, GL_ONE);
        glEnable(GL_ALPHA_TEST);
        glAlphaFunc(GL_NEVER, 0);
        glEnable(GL_TEXTURE_2D);
        GL_Material* const material = &stage.event.defaultMaterial;
        stage.event.material = material;
        for (GL_Object* object : {arc.get(), line.get(), point.get()})
            object->draw(&stage.event);
        EXPECT_EQ(stage.event.material, nullptr); // or a shape wouldn't get its blending back
    });
    int counts[3] = {};
    for (std::size_t i = 0; i < picture.size(); i += 4) {
        const unsigned char* const p = &picture[i];
        counts[0] += p[0] == 255 && p[1] == 128 && p[2] == 64;
        counts[1] += p[0] == 0 && p[1] == 255 && p[2] == 0;
        counts[2] += p[0] == 0 && p[1] == 0 && p[2] == 255;
    }
    EXPECT_NEAR(counts[0], 145, 12); // eight octants of 0.8 * 32 * sin 45 pixels
    EXPECT_NEAR(counts[1], 57, 2);
    EXPECT_EQ(counts[2], 16);
}

TEST(CurvePictures, AClosedArcIsJoined)
{
    ShapeStage stage;
    glLoadIdentity();
    const auto arc = makeNode("GL_Arc", "radius 0.8; sweepAngle 180; slices 50;");
    const int open = covered(stage.picture([&] { arc->draw(&stage.event); }));
    arc->setFlags(GL_Curve::Closed, true);
    EXPECT_NEAR(covered(stage.picture([&] { arc->draw(&stage.event); })) - open, 50, 3);
}

TEST(CurvePictures, ASelectedOneIsDottedAndShowsItsEnds)
{
    ShapeStage stage;
    glLoadIdentity();
    GL_Scene scene;
    stage.event.scene = &scene;
    const auto line =
        makeNode("GL_Line", "from { -0.5, 0, 0 }; to { 0.5, 0, 0 }; color 0xff00ff00;");
    line->setFlags(GL_Object::Selected, true);
    EXPECT_NEAR(covered(stage.picture([&] { line->draw(&stage.event); })), 16, 2);
    scene.setCurrentObject(line.get());
    const auto picture = stage.picture([&] { line->draw(&stage.event); });
    EXPECT_NEAR(covered(picture), 16 + 2 * 16 - 2, 4);
    EXPECT_FALSE(glIsEnabled(GL_LINE_STIPPLE));
}

TEST(CurveHits, NameTheEndsOfALine)
{
    ShapeStage stage;
    glLoadIdentity();
    const auto hits = [&stage](const std::string& text) {
        return stage.hits([&] { makeNode("GL_Line", text)->hit(&stage.event); });
    };
    EXPECT_EQ(hits("from { -0.5, 0, 0 }; to { 0.5, 0, 0 };"), "[7][7 0][7 1]");
    EXPECT_EQ(hits("from { -0.5, 0, 0 }; to { 5, 0, 0 };"), "[7][7 0]");
    EXPECT_EQ(hits("from { -5, 0, 0 }; to { 5, 0, 0 };"), "[7]"); // only the middle
    EXPECT_EQ(hits("from { 2, 0, 0 }; to { 5, 0, 0 };"), "");
    EXPECT_EQ(stage.hits([&] { makeNode("GL_Point", "")->hit(&stage.event); }), "[7]");
    EXPECT_EQ(stage.hits([&] { makeNode("GL_Arc", "")->hit(&stage.event); }), "[7]");
}

// Editing

TEST(CurveEvents, MovePointsByMatricesOfEitherKind)
{
    geometry::Matrix4f matrix;
    matrix.translate(1, 0, 0);
    matrix.zrotate(1.5707964f); // acts first: x goes to y
    for (const int code : {VActionEvent::TransformBefore, VActionEvent::TransformAfter}) {
        GL_Line line;
        GL_Arc arc;
        GL_Point point;
        arc.setPosition(Vector3f(2, 0, 0));
        point.setPosition(Vector3f(2, 0, 0));
        for (GL_Object* object : std::initializer_list<GL_Object*>{&line, &arc, &point}) {
            VActionEvent event(code, &matrix);
            EXPECT_TRUE(object->event(&event));
            EXPECT_TRUE(event.isAccepted());
        }
        expectNear(line.p1, Vector3f(1, 0, 0));
        expectNear(line.p2, Vector3f(1, 1, 0));
        expectNear(arc.position(), Vector3f(1, 2, 0));
        expectNear(point.position(), Vector3f(1, 2, 0));
    }
    VActionEvent set(VActionEvent::SetTransform, &matrix);
    EXPECT_FALSE(GL_Line().event(&set));
    VColor color(0xFF123456);
    VActionEvent paint(VActionEvent::SetColor, &color);
    GL_Line line;
    EXPECT_TRUE(line.event(&paint));
    EXPECT_EQ(line.color(), color);
}

TEST(CurveDrag, MovesThePickedEndOrAll)
{
    Desk desk;
    const Vector3f start(-0.2f, 0, 0), end(0.2f, 0, 0);
    for (const int part : {-1, 0, 1}) {
        GL_Line line;
        line.p1 = start;
        line.p2 = end;
        desk.pick(line, part);
        const Vector3f offset = desk.viewer.localVector(&line, desk.from, desk.to, Vector3f());
        EXPECT_GT(offset.length(), 0);
        EXPECT_TRUE(line.drag(&desk.viewer, desk.from, desk.to));
        expectNear(line.p1, part == 1 ? start : start + offset);
        expectNear(line.p2, part == 0 ? end : end + offset);
    }
    // The part is the current object's: another line moves as a whole.
    GL_Line current, other;
    desk.pick(current, 0);
    other.drag(&desk.viewer, desk.from, desk.to);
    EXPECT_NE(other.p1, Vector3f(0, 0, 0));
    EXPECT_NE(other.p2, Vector3f(1, 0, 0));

    GL_Arc arc;
    GL_Point point;
    EXPECT_TRUE(arc.drag(&desk.viewer, desk.from, desk.to));
    EXPECT_TRUE(point.drag(&desk.viewer, desk.from, desk.to));
    EXPECT_GT(arc.position().length(), 0);
    expectNear(arc.position(), point.position());
}
