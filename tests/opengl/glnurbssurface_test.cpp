#include "opengl/glnurbssurface.h"

#include "opengl/glmaterial.h"
#include "opengl/shapestage.h"

#include <GL/glu.h>

#include <chrono>
#include <cmath>

using geometry::Box3f;
using geometry::Vector3f;

namespace
{
const char* const plate = "vertices { { -0.5, -0.5, 0 }, { 0.5, -0.5, 0 }, { -0.5, 0.5, 0 }, "
                          "{ 0.5, 0.5, 0 } }; countU 2; orderU 2; orderV 2; ";

double area(const std::string& text)
{
    ShapeStage stage;
    glLoadIdentity();
    const auto surface = makeNode<GL_NurbsSurface>("GL_NurbsSurface", "flags 0x70; " + text);
    surface->setColor(VColor(0xFFFFFFFF));
    return covered(stage.picture([&] { surface->draw(&stage.event); })) / 1024.0;
}

constexpr int sheetSide = 6;

/// Control points of a sheet with waves in it.
std::vector<float> sheetPoints(float height)
{
    std::vector<float> points;
    for (int v = 0; v < sheetSide; ++v)
        for (int u = 0; u < sheetSide; ++u)
            for (const float x : {float(u) * 0.3f - 0.75f, float(v) * 0.3f - 0.75f,
                                  height * float(std::sin(u * 1.7 + v))})
                points.push_back(x);
    return points;
}

std::unique_ptr<GL_NurbsSurface> makeSheet(float height)
{
    auto sheet = makeNode<GL_NurbsSurface>("GL_NurbsSurface", "flags 0x74; shadingModel 1; ");
    sheet->vertices = geometry::GVectorArray(sheetPoints(height).data(), sheetSide * sheetSide, 3);
    sheet->countU = sheet->countV = sheetSide;
    sheet->setColor(VColor(0xFFC0A060));
    sheet->init(nullptr);
    return sheet;
}
} // namespace

TEST(SurfaceForms, HoldEveryValueBothWays)
{
    const std::string text =
        "flags 0x74; shadingModel 1; vertices { flags 0x30002; data { { 1, 2, 3 }, { 4, 5, 6 } "
        "}; }; countU 2; orderU 3; orderV 5; knotsU { 0, 1 }; knotsV { 2, 3 }; trims { { vertices "
        "{ flags 0x20002; data { { 0, 0 }, { 1, 0 } }; }; order 3; knots { 0, 1, 2, 3, 4 }; }, { "
        "vertices { flags 0x20002; data { { 5, 0 } }; }; order 2; } }; stepU 7; stepV 8;";
    const auto surface = makeNode<GL_NurbsSurface>("GL_NurbsSurface", text);
    EXPECT_EQ(surface->trims.size(), 2u);
    EXPECT_EQ(writtenText(*surface), text);
    const QByteArray binary = writtenBinary(*surface);
    const auto copy = makeNode<GL_NurbsSurface>("GL_NurbsSurface", "");
    EXPECT_EQ(readBinary(*copy, binary), QDataStream::Ok);
    EXPECT_EQ(writtenText(*copy), text);
    for (int size = binary.size() - 1; size > 0; --size)
        readBinary(*makeNode<GL_NurbsSurface>("GL_NurbsSurface", ""), binary.left(size));
}

TEST(SurfacePictures, CoverThePatchWithoutItsHoles)
{
    EXPECT_NEAR(area(plate), 1, 0.04);
    const std::string outside = "trims { { vertices { { 0, 0 }, { 1, 0 }, { 1, 1 }, { 0, 1 }, "
                                "{ 0, 0 } }; order 2; }";
    EXPECT_NEAR(area(plate + outside + " };"), 1, 0.04);
    EXPECT_NEAR(area(plate + outside +
                     ", { vertices { { 0.25, 0.25 }, { 0.25, 0.75 }, { 0.75, 0.75 }, "
                     "{ 0.75, 0.25 }, { 0.25, 0.25 } }; order 2; } };"),
                0.75, 0.04);
}

TEST(SurfacePictures, WhatIsNoSurfaceDrawsNothing)
{
    for (const char* text :
         {"", "vertices { { 0, 0, 0 } }; countU 1; orderU 2; orderV 2;",
          "vertices { { 0, 0, 0 }, { 1, 0, 0 }, { 1, 1, 0 }, { 0, 1, 0 } }; countU 2; orderU 3; "
          "orderV 2;",
          "vertices { { 0, 0, 0 }, { 1, 0, 0 }, { 1, 1, 0 }, { 0, 1, 0 } }; countU 2; orderU 2; "
          "orderV 2; knotsU { 3, 2, 1, 0 };",
          "vertices { { 0, 0, 0 }, { 1, 0, 0 }, { 1, 1, 0 }, { 0, 1, 0 } }; countU 2; orderU 2; "
          "orderV 2; knotsU { 0, 0, 0, 0 };",
          "vertices { { 0, 0, 0 }, { 1, 0, 0 }, { 1, 1, 0 }, { 0, 1, 0 } }; countU -2; orderU "
          "2147483647; orderV -1;"})
        EXPECT_EQ(area(text), 0) << text;
}

TEST(SurfaceBounds, AreThoseOfTheControlPoints)
{
    Box3f box;
    makeNode<GL_NurbsSurface>("GL_NurbsSurface", plate)->bounds(box);
    EXPECT_TRUE(box == Box3f(-0.5f, -0.5f, 0, 0.5f, 0.5f, 0));
}

// What is drawn once more

using Picture = std::vector<unsigned char>;

TEST(SurfaceRedraws, AreWhatEvaluatorsDraw)
{
    ShapeStage stage;
    const auto sheet = makeSheet(0.2f);
    const Picture drawn = stage.picture([&] { sheet->draw(&stage.event); });
    EXPECT_GT(covered(drawn), 800);
    const Picture evaluated = stage.picture([&] {
        // The look still stands.
        std::vector<float> points = sheetPoints(0.2f);
        GLfloat knots[] = {0, 0, 0, 0, 1, 2, 3, 3, 3, 3};
        glEnable(GL_AUTO_NORMAL);
        glEnable(GL_LIGHTING);
        GLUnurbs* const renderer = gluNewNurbsRenderer();
        gluBeginSurface(renderer);
        gluNurbsSurface(renderer, 10, knots, 10, knots, 3, 3 * sheetSide, points.data(), 4, 4,
                        GL_MAP2_VERTEX_3);
        gluEndSurface(renderer);
        gluDeleteNurbsRenderer(renderer);
    });
    EXPECT_LT(differing(drawn, evaluated, 6), 8);
}

TEST(SurfaceRedraws, FollowWhatChangesInBetween)
{
    ShapeStage stage;
    const auto sheet = makeSheet(0.2f);
    GL_Material shiny;
    shiny.setEmission(geometry::Vector4f(0.5f, 0, 0.2f, 1));
    const auto fresh = [&] {
        const auto other = makeSheet(0.2f);
        other->vertices = sheet->vertices;
        other->setFlags(~0u, false);
        other->setFlags(sheet->flags(), true);
        other->setColor(sheet->color());
        other->setMaterial(sheet->material());
        other->setTransform(sheet->transform());
        ShapeStage stageOfItsOwn; // knows no state
        glViewport(0, 0, stage.size, stage.size);
        return stageOfItsOwn.picture([&] { other->draw(&stageOfItsOwn.event); });
    };
    Picture last;
    const auto expectFresh = [&](const char* what) {
        const Picture wanted = fresh();
        stage.context.makeCurrent();
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(differing(stage.picture([&] { sheet->draw(&stage.event); }), wanted, 1), 0)
                << what;
        EXPECT_NE(last, wanted) << what << " makes no difference";
        last = wanted;
    };
    expectFresh("at first");
    sheet->setColor(VColor(0xFF3060F0));
    expectFresh("colour");
    sheet->setMaterial(&shiny);
    expectFresh("material");
    sheet->setMaterial(nullptr);
    stage.event.material = nullptr;
    geometry::Matrix4f turned;
    turned.rotate(Vector3f(0, 1, 0), 0.5f);
    sheet->setTransform(turned);
    expectFresh("matrix");
    sheet->setShadingModel(0);
    expectFresh("shading");
    sheet->setStyle(GL_Shape::Lines);
    expectFresh("lines");
    sheet->setStyle(GL_Shape::Filled);
    const std::vector<float> flat = sheetPoints(0);
    sheet->vertices = geometry::GVectorArray(flat.data(), sheetSide * sheetSide, 3);
    sheet->init(nullptr);
    expectFresh("points");
}

TEST(SurfaceRedraws, TakeAFractionOfTheFirst)
{
    // Much more than a fifth would mean that it is cut up again; the clock is a coarse one.
    ShapeStage stage;
    constexpr int side = 40;
    std::vector<float> points;
    for (int i = 0; i < side * side; ++i)
        for (const float x : {float(i % side) / side - 0.5f, float(i) / (side * side) - 0.5f,
                              float(i * 7 % 11) * 0.01f})
            points.push_back(x);
    GL_NurbsSurface surface;
    surface.vertices = geometry::GVectorArray(points.data(), side * side, 3);
    surface.countU = surface.countV = side;
    surface.init(nullptr);
    const auto seconds = [&] {
        const auto start = std::chrono::steady_clock::now();
        stage.picture([&] { surface.draw(&stage.event); });
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    const double first = seconds();
    const double again = std::min({seconds(), seconds(), seconds()});
    EXPECT_LT(again, 0.5 * first);
}

TEST(SurfaceRedraws, SurfacesOfAnySizeComeToAnEnd)
{
    ShapeStage stage;
    const std::string grow[] = {"1e3", "1e6", "1e12", "1e25"};
    for (const std::string& size : grow) {
        std::string vertices;
        for (int i = 0; i < 16; ++i)
            vertices += (i ? ", { " : "{ ") + std::string(i & 1 ? "-" : "") + size + ", " +
                        (i & 4 ? "-" : "") + size + ", " + std::to_string(i % 5) + " }";
        const auto surface = makeNode<GL_NurbsSurface>(
            "GL_NurbsSurface", "flags 0x70; vertices { " + vertices + " }; countU 4;");
        stage.picture([&] { surface->draw(&stage.event); });
    }
    // Through the plane of the eye, and with weights of both signs.
    glMatrixMode(GL_PROJECTION);
    glFrustum(-1, 1, -1, 1, 0.1, 10);
    glMatrixMode(GL_MODELVIEW);
    std::string vertices;
    for (int i = 0; i < 400; ++i)
        vertices += (i ? ", { " : "{ ") + std::to_string(i % 20 - 10) + ", " +
                    std::to_string(i / 20 - 10) + ", " + std::to_string(i % 7 - 3) + ", " +
                    (i % 3 ? "1" : "-1") + " }";
    const auto surface = makeNode<GL_NurbsSurface>(
        "GL_NurbsSurface", "flags 0x70; vertices { flags 0x40012; data { " + vertices +
                               " }; }; countU 20; stepU 2147483647; stepV 1000;");
    stage.picture([&] { surface->draw(&stage.event); });
}
