#include "opengl/glnurbssurface.h"

#include "opengl/shapestage.h"

using geometry::Box3f;

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
