#include "opengl/glsweep.h"

#include "opengl/glnurbscurve.h"
#include "opengl/glrain.h"
#include "opengl/shapestage.h"

#include "kernel/vevent.h"

using geometry::Box3f;
using geometry::Vector3f;

namespace
{
const char* const square = "shape { flags 0x20002; vertices { { -0.5, -0.5 }, { 0.5, -0.5 }, { "
                           "0.5, 0.5 }, { -0.5, 0.5 } "
                           "}; types { 0, 1, 1, 1, -1 }; };";

/// A circle of radius 0.5 about (0.5, 0), by four curves, the other way round.
const char* const ring =
    "shape { flags 0x20002; vertices { { 1, 0 }, { 1, -0.276142 }, { 0.776142, -0.5 }, "
    "{ 0.5, -0.5 }, { 0.223858, -0.5 }, { 0, -0.276142 }, { 0, 0 }, { 0, 0.276142 }, "
    "{ 0.223858, 0.5 }, { 0.5, 0.5 }, { 0.776142, 0.5 }, { 1, 0.276142 }, { 1, 0 } }; "
    "types { 0, 3, 3, 3, 3, -1 }; };";

struct SweepStage : ShapeStage {
    /// What shows from a direction with back faces left out, and the mean brightness of that.
    std::pair<double, double> view(GL_Object& object, float angle, float x, float y, float z)
    {
        glEnable(GL_CULL_FACE);
        glPushMatrix();
        glLoadIdentity();
        const GLfloat ahead[4] = {0, 0, 1, 0};
        glLightfv(GL_LIGHT0, GL_POSITION, ahead);
        glRotatef(angle, x, y, z);
        const auto pixels = picture([&] { static_cast<GL_Shape&>(object).drawShape(&event); });
        glPopMatrix();
        double bright = 0;
        for (std::size_t i = 0; i < pixels.size(); i += 4)
            bright += pixels[i];
        const int count = covered(pixels);
        return {count / 1024.0, count ? bright / count : 0};
    }
};
} // namespace

TEST(SweepForms, HoldEveryValueBothWays)
{
    const struct {
        const char* className;
        std::string text;
    } cases[] = {
        {"GL_Extrude", std::string(square) + " vector { 0, 0, 2 }; slices 7;"},
        {"GL_PathExtrude",
         std::string(square) +
             " path { flags 0x30002; vertices { { 0, 0, 0 }, { 0, 0, 1 } }; types { 0, 1 }; }; "
             "slices 6; stacks 7;"},
        {"GL_Lathe", std::string(square) + " axis { 0, 1, 0 }; startAngle 5; sweepAngle 90; "
                                           "slices 6; stacks 7;"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.className);
        const auto shape = makeNode<GL_Shape>(c.className, c.text);
        EXPECT_EQ(writtenText(*shape), "flags 0x74; shadingModel 1; " + c.text);
        const QByteArray binary = writtenBinary(*shape);
        const auto copy = makeNode<GL_Shape>(c.className, "");
        EXPECT_EQ(readBinary(*copy, binary), QDataStream::Ok);
        EXPECT_EQ(writtenText(*copy), "flags 0x74; shadingModel 1; " + c.text);
        for (int size = binary.size() - 1; size > 0; --size)
            readBinary(*makeNode<GL_Shape>(c.className, ""), binary.left(size));
    }
}

TEST(SweepPictures, AnExtrusionIsClosedAndFacesOut)
{
    SweepStage stage;
    const std::string back = "shape { flags 0x20002; vertices { { -0.5, 0.5 }, { 0.5, 0.5 }, "
                             "{ 0.5, -0.5 }, { -0.5, -0.5 } }; types { 0, 1, 1, 1, -1 }; };";
    for (const std::string& shape : {std::string(square), back}) {
        for (const char* vector : {"vector { 0, 0, 0.8 };", "vector { 0, 0, -0.8 };"}) {
            SCOPED_TRACE(shape + vector);
            const auto solid = makeNode<GL_Extrude>("GL_Extrude", shape + vector);
            // Each side in full, and looking at the light.
            const struct {
                float angle, x, y;
                double area;
            } sides[] = {{0, 1, 0, 1},     {180, 1, 0, 1},  {90, 1, 0, 0.8},
                         {-90, 1, 0, 0.8}, {90, 0, 1, 0.8}, {-90, 0, 1, 0.8}};
            for (const auto& side : sides) {
                const auto [area, bright] = stage.view(*solid, side.angle, side.x, side.y, 0);
                EXPECT_NEAR(area, side.area, 0.05) << side.angle << side.x;
                EXPECT_GT(bright, 200) << side.angle << side.x;
            }
        }
    }
    EXPECT_EQ(stage.view(*makeNode<GL_Extrude>("GL_Extrude", ""), 0, 1, 0, 0).first, 0);
}

TEST(SweepPictures, CurvesAreRoundAndHolesStayOpen)
{
    SweepStage stage;
    const auto disk = makeNode<GL_Extrude>("GL_Extrude", std::string(ring) + "slices 20;");
    EXPECT_NEAR(stage.view(*disk, 0, 1, 0, 0).first, 0.785, 0.03);
    const auto frame = makeNode<GL_Extrude>(
        "GL_Extrude",
        "shape { flags 0x20002; vertices { { -0.5, -0.5 }, { 0.5, -0.5 }, { 0.5, 0.5 }, "
        "{ -0.5, 0.5 }, { -0.25, -0.25 }, { 0.25, -0.25 }, { 0.25, 0.25 }, "
        "{ -0.25, 0.25 } }; types { 0, 1, 1, 1, -1, 0, 1, 1, 1, -1 }; };");
    EXPECT_NEAR(stage.view(*frame, 0, 1, 0, 0).first, 0.75, 0.03);
}

TEST(SweepPictures, ALatheTurnsItsProfileAndFacesOut)
{
    SweepStage stage;
    // The side of a cylinder of radius 0.5, by lines up and down.
    for (const char* profile : {"{ 0.5, -0.4 }, { 0.5, 0.4 }", "{ 0.5, 0.4 }, { 0.5, -0.4 }"}) {
        for (const char* sweep : {"sweepAngle 360;", "sweepAngle -360;"}) {
            SCOPED_TRACE(std::string(profile) + sweep);
            const auto lathe = makeNode<GL_Lathe>(
                "GL_Lathe", std::string("shape { flags 0x20002; vertices { ") + profile +
                                " }; types { 0, 1 }; }; slices 40;" + sweep);
            const auto [area, bright] = stage.view(*lathe, -90, 1, 0, 0);
            EXPECT_NEAR(area, 0.8, 0.04);
            EXPECT_GT(bright, 120);
            Box3f box;
            lathe->bounds(box);
            EXPECT_NEAR(box.max.z, 0.4f, 1e-5f);
            EXPECT_NEAR(box.min.x, -0.5f, 1e-5f);
        }
    }
    const auto quarter = makeNode<GL_Lathe>(
        "GL_Lathe",
        "shape { flags 0x20002; vertices { { 0.2, 0 }, { 0.8, 0 } }; types { 0, 1 }; }; "
        "slices 40; sweepAngle 90;");
    stage.event.flags = 0;
    glDisable(GL_CULL_FACE);
    glLoadIdentity();
    const double seen = covered(stage.picture([&] { quarter->drawShape(&stage.event); })) / 1024.0;
    EXPECT_NEAR(seen, 3.1416 * (0.64 - 0.04) / 4, 0.04);
}

TEST(SweepPictures, AShapeFollowsItsWay)
{
    SweepStage stage;
    const auto tube = makeNode<GL_PathExtrude>(
        "GL_PathExtrude", std::string(square) + " path { flags 0x30002; vertices { { 0, 0, -0.4 }, "
                                                "{ 0, 0, 0.4 } }; types { 0, 1 }; };");
    const auto [area, bright] = stage.view(*tube, 90, 1, 0, 0);
    EXPECT_NEAR(area, 0.8, 0.04);
    EXPECT_GT(bright, 200);
}

// Curves

TEST(NurbsForms, HoldEveryValueBothWays)
{
    const struct {
        const char* className;
        const char* text;
    } cases[] = {
        {"GL_NurbsCurve", "flags 0x30000; vertices { flags 0x30002; data { { 1, 2, 3 }, { 4, 5, "
                          "6 } }; }; order 3; "
                          "knots { 0, 0, 1, 1, 2 }; step 7;"},
        {"GL_Polyline", "vertices { flags 0x30002; data { { 1, 2, 3 } }; }; order 2; step 10; "
                        "width { 1, 0.5 };"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.className);
        const auto curve = makeNode<GL_NurbsCurve>(c.className, c.text);
        EXPECT_EQ(writtenText(*curve), c.text);
        const auto copy = makeNode<GL_NurbsCurve>(c.className, "");
        EXPECT_EQ(readBinary(*copy, writtenBinary(*curve)), QDataStream::Ok);
        EXPECT_EQ(writtenText(*copy), c.text);
    }
}

TEST(NurbsPictures, RunWhereTheCurveDoes)
{
    // A parabola: y = 0.8 - 0.8 x * x for x from -1 to 1 at half the size.
    ShapeStage stage;
    glLoadIdentity();
    const auto curve = makeNode<GL_NurbsCurve>(
        "GL_NurbsCurve", "vertices { { -0.5, 0, 0 }, { 0, 1.6, 0 }, { 0.5, 0, 0 } }; order 3;"
                         "step 50; color 0xffffffff;");
    const auto pixels = stage.picture([&] { curve->draw(&stage.event); });
    for (const float x : {-0.4f, -0.2f, 0.0f, 0.3f}) {
        const int column = int((x + 1) * 32), row = int((0.8f - 3.2f * x * x + 1) * 32);
        bool found = false;
        for (int y = row - 3; y <= row + 3; ++y)
            found = found || pixels[std::size_t(y * 64 + column) * 4] > 0;
        EXPECT_TRUE(found) << x;
    }
}

TEST(NurbsPictures, WhatIsNoCurveDrawsNothing)
{
    ShapeStage stage;
    for (const char* text :
         {"", "order 3; vertices { { 0, 0, 0 }, { 1, 0, 0 } };", "order -5; ",
          "order 2147483647; vertices { { 0, 0, 0 }, { 1, 0, 0 } };",
          "order 3; vertices { { 0, 0, 0 }, { 1, 0, 0 }, { 1, 1, 0 } }; knots { 0, 1 };"}) {
        const auto curve = makeNode<GL_NurbsCurve>("GL_NurbsCurve", text);
        curve->setColor(VColor(0xFFFFFFFF));
        EXPECT_EQ(covered(stage.picture([&] { curve->draw(&stage.event); })), 0) << text;
    }
}

TEST(NurbsHits, NameTheControlPoints)
{
    ShapeStage stage;
    glLoadIdentity();
    const auto curve = makeNode<GL_NurbsCurve>(
        "GL_Polyline", "vertices { { -0.5, 0, 0 }, { 5, 0, 0 }, { 0.5, 0, 0 } };");
    EXPECT_EQ(stage.hits([&] { curve->hit(&stage.event); }), "[7][7 0][7 2]");
}

TEST(NurbsEvents, MoveEveryPoint)
{
    geometry::Matrix4f up;
    up.translate(0, 0, 2);
    const auto curve = makeNode<GL_NurbsCurve>(
        "GL_NurbsCurve", "vertices { flags 0x40012; data { { 1, 0, 0, 1 }, { 0, 4, 0, 2 } }; };");
    VActionEvent event(VActionEvent::TransformAfter, &up);
    EXPECT_TRUE(curve->event(&event));
    Box3f box;
    curve->bounds(box);
    EXPECT_TRUE(box == Box3f(0, 0, 2, 1, 2, 2));
}

// Rain

TEST(Rain, FallsThroughItsVolume)
{
    ShapeStage stage;
    glLoadIdentity();
    const std::string text = "min { -0.5, -0.5, -0.5 }; max { 0.5, 0.5, 0.5 }; length 0.25; "
                             "number 50; acceleration { 0, -1, 0 };";
    const auto rain = makeNode<GL_Rain>("GL_Rain", text);
    EXPECT_EQ(writtenText(*rain), text);
    const auto copy = makeNode<GL_Rain>("GL_Rain", "");
    EXPECT_EQ(readBinary(*copy, writtenBinary(*rain)), QDataStream::Ok);
    EXPECT_EQ(writtenText(*copy), text);

    glEnable(GL_TEXTURE_2D);
    const auto before = stage.picture([&] { rain->draw(&stage.event); });
    EXPECT_GT(covered(before), 50);
    EXPECT_EQ(rain->particles().size(), 50u);
    EXPECT_TRUE(glIsEnabled(GL_LIGHTING) && glIsEnabled(GL_TEXTURE_2D) && !glIsEnabled(GL_BLEND));
    double seconds = 0.1;
    VActionEvent event(VActionEvent::Elapsed, &seconds);
    EXPECT_TRUE(rain->event(&event));
    EXPECT_GT(differing(stage.picture([&] { rain->draw(&stage.event); }), before, 0), 20);
}
