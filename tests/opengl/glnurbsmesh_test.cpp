#include "opengl/glnurbsmesh.h"

#include "kernel/vevent.h"
#include "opengl/glscene.h"
#include "opengl/glviewer.h"
#include "opengl/shapestage.h"
#include "support/warnings.h"

#include <cmath>

using geometry::Box3f;
using geometry::Vector3f;

namespace
{
const char* const corners = "vertices { { -0.5, -0.5, 0 }, { 0.5, -0.5, 0 }, { -0.5, 0.5, 0 }, "
                            "{ 0.5, 0.5, 0 } }; ";

std::unique_ptr<GL_NurbsMesh> makeMesh(const std::string& values)
{
    return makeNode<GL_NurbsMesh>("GL_NurbsMesh", "flags 0x70; " + values);
}

/// Seen straight from above, in squares of one unit each way.
double area(GL_NurbsMesh& mesh)
{
    ShapeStage stage;
    glLoadIdentity();
    mesh.setColor(VColor(0xFFFFFFFF));
    return covered(stage.picture([&] { mesh.draw(&stage.event); })) / 1024.0;
}

struct MeshCase {
    const char* values;
    double area;
};
} // namespace

TEST(NurbsMeshForms, HoldEveryValueBothWays)
{
    const std::string text =
        "flags 0x74; shadingModel 1; vertices { flags 0x30002; data { { 1, 2, 3 }, { 4, 5, 6 } }; "
        "}; textureCoords { { 0.5, 0 } }; faces { { indices { 1, 0, 1, 0 }; orderU 2; orderV 2; "
        "knotsU { 0, 0, 1, 1 }; knotsV { 2, 2, 3, 3 }; }, { vertices { flags 0x30002; data { { 7, "
        "8, 9 } }; }; orderU 1; orderV 1; } }; faceUVs { { 0, 1, 2, 3 }, { 4 }, { 5, 6 } };";
    const auto mesh = makeNode<GL_NurbsMesh>("GL_NurbsMesh", text);
    ASSERT_EQ(mesh->faces().size(), 2u);
    EXPECT_EQ(writtenText(*mesh), text);
    const QByteArray binary = writtenBinary(*mesh);
    const auto copy = makeNode<GL_NurbsMesh>("GL_NurbsMesh", "");
    EXPECT_EQ(readBinary(*copy, binary), QDataStream::Ok);
    EXPECT_EQ(writtenText(*copy), text);
    for (int size = binary.size() - 1; size > 0; --size)
        readBinary(*makeNode<GL_NurbsMesh>("GL_NurbsMesh", ""), binary.left(size));
}

TEST(NurbsMeshForms, APatchThatDoesNotFitLeavesItsPlaceToAnEmptyOne)
{
    for (const char* face : {
             "indices { 0, 1, 2 }; orderU 2; orderV 2; knotsU { 0, 0, 1, 1 }; knotsV { 0, 0, 1, 1 "
             "};",
             "indices { 0, 1, 2, 3 }; orderU 2; orderV 2; knotsU { 0, 0, 1, 1 };",
             "indices { 0, 1, 2, 3 }; orderU 2147483647; orderV -7; knotsU { 0 }; knotsV { 0 };",
         }) {
        const auto mesh = makeMesh(std::string(corners) + "faces { { " + face +
                                   " }, { indices { 0, 1, 2, 3 }; orderU 2; orderV 2; } };");
        ASSERT_EQ(mesh->faces().size(), 2u) << face;
        EXPECT_NEAR(area(*mesh), 1, 0.04) << face; // the second one alone
        const auto copy = makeMesh("");
        EXPECT_EQ(readBinary(*copy, writtenBinary(*mesh)), QDataStream::Ok) << face;
        EXPECT_EQ(copy->faces().size(), 2u) << face;
    }
    for (const char* list : {"faces { { orderU 2; }, 7 };", "faces 3;"})
        EXPECT_EQ(makeMesh(list)->faces().size(), 0u) << list;
}

TEST(NurbsMeshPictures, CoverWhatTheirPatchesSay)
{
    const MeshCase cases[] = {
        {"faces { { indices { 0, 1, 2, 3 }; orderU 2; orderV 2; } };", 1},
        {"faces { { indices { 0, 1, 2, 3 }; orderU 2; orderV 2; knotsU { 1, 1, 5, 5 }; "
         "knotsV { 0, 0, 1, 1 }; } };",
         1},
        {"faces { { vertices { { 0, 0, 0 }, { 0.5, 0, 0 }, { 0, 0.5, 0 }, { 0.5, 0.5, 0 } }; "
         "orderU 2; orderV 2; } };",
         0.25},
        // In the plane, in doubles, and with weights.
        {"faces { { vertices { flags 0x20002; data { { 0, 0 }, { 0.5, 0 }, { 0, 0.5 }, { 0.5, 0.5 "
         "} }; }; orderU 2; orderV 2; } };",
         0.25},
        {"faces { { vertices { flags 0x30003; data { { 0, 0, 0 }, { 0.5, 0, 0 }, { 0, 0.5, 0 }, { "
         "0.5, 0.5, 0 } }; }; orderU 2; orderV 2; knotsU { 0, 0, 1, 1 }; knotsV { 0, 0, 1, 1 }; } "
         "};",
         0.25},
        {"faces { { vertices { flags 0x40012; data { { 0, 0, 0, 2 }, { 1, 0, 0, 2 }, { 0, 1, 0, 2 "
         "}, { 1, 1, 0, 2 } }; }; orderU 2; orderV 2; } };",
         0.25},
        {"", 0},
        {"faces { { } };", 0},
        {"faces { { indices { 0, 1, 2, 3 }; orderU 3; orderV 2; } };", 0},
        {"faces { { indices { 0, 1, 2, 3 }; orderU 4; orderV 1; } };", 0},
        {"faces { { indices { 0, 1, 2, 3 }; orderU 2; orderV 2; knotsU { 3, 2, 1, 0 }; knotsV { 0, "
         "0, 1, 1 }; } };",
         0},
        {"cullFace; faces { { indices { 0, 1, 2, 3 }; orderU 2; orderV 2; } };", 1},
        {"cullFace; faces { { indices { 1, 0, 3, 2 }; orderU 2; orderV 2; } };", 0},
    };
    for (const MeshCase& c : cases) {
        const auto mesh = makeMesh(std::string(corners) + c.values);
        EXPECT_NEAR(area(*mesh), c.area, 0.04) << c.values;
    }
}

TEST(NurbsMeshPictures, IndicesBeyondTheVerticesAreToldAndPassedOver)
{
    for (const char* index : {"4", "-1", "2147483647"}) {
        WarningCatcher warnings;
        const auto mesh = makeMesh(std::string(corners) + "faces { { indices { 0, 1, 2, " + index +
                                   " }; orderU 2; orderV 2; } };");
        EXPECT_EQ(area(*mesh), 0) << index;
        EXPECT_EQ(warnings.take().size(), 1) << index;
    }
}

TEST(NurbsMeshPictures, ManyPatchesFarBeyondTheViewComeToAnEnd)
{
    std::string faces;
    for (int i = 0; i < 300; ++i)
        faces += std::string(i ? ", " : "") + "{ indices { 0, 1, 2, 3 }; orderU 2; orderV 2; }";
    const auto mesh = makeMesh("vertices { { -1e6, -1e6, 0 }, { 1e6, -1e6, 0 }, { -1e6, 1e6, 0 }, "
                               "{ 1e6, 1e6, 0 } }; faces { " +
                               faces + " };");
    EXPECT_GT(area(*mesh), 3.9); // all of the picture
}

/// The eighth of a ball, of degree 2 both ways: both its outline from above, a quarter of a circle,
/// and its light, which is that of a true ball, are known.
TEST(NurbsMeshPictures, AnEighthOfABallIsRound)
{
    const double h = std::sqrt(0.5);
    const double arc[3][3] = {{1, 0, 1}, {1, 1, h}, {0, 1, 1}};
    std::string vertices;
    for (const auto& up : arc) {
        for (const auto& round : arc) {
            const double w = up[2] * round[2];
            vertices += (vertices.empty() ? "{ " : ", { ");
            for (const double x : {round[0] * up[0] * w, round[1] * up[0] * w, up[1] * w})
                vertices += std::to_string(x) + ", ";
            vertices += std::to_string(w) + " }";
        }
    }
    ShapeStage stage;
    glLoadIdentity();
    const GLfloat above[4] = {0, 0, 1, 0}, white[4] = {1, 1, 1, 1}, black[4] = {0, 0, 0, 1};
    glLightfv(GL_LIGHT0, GL_POSITION, above);
    glLightModelfv(GL_LIGHT_MODEL_AMBIENT, black);
    GL_Material matt;
    matt.setDiffuse(geometry::Vector4f(1, 1, 1, 1));
    matt.setAmbient(geometry::Vector4f(0, 0, 0, 1));
    glLightfv(GL_LIGHT0, GL_DIFFUSE, white);
    const auto ball =
        makeNode<GL_NurbsMesh>("GL_NurbsMesh", "flags 0x74; shadingModel 1; faces { { vertices { "
                                               "flags 0x40012; data { " +
                                                   vertices + " }; }; orderU 3; orderV 3; } };");
    ball->setMaterial(&matt);
    // Of a picture with a ball of 512 pixels, the surroundings of a few points.
    for (const double angle : {0.1, 0.8, 1.5, -0.1, 1.7}) {
        for (const double radius : {0.2, 0.5, 0.8, 0.95, 1.02}) {
            const double x = radius * std::cos(angle), y = radius * std::sin(angle);
            glViewport(32 - int(512 * (1 + x)), 32 - int(512 * (1 + y)), 1024, 1024);
            const auto picture = stage.picture([&] { ball->draw(&stage.event); });
            const bool isSeen = x > 0 && y > 0 && radius < 1;
            const double light = isSeen ? 255 * std::sqrt(1 - radius * radius) : 0;
            EXPECT_NEAR(picture[(32 * 64 + 32) * 4], light, 4) << x << ' ' << y;
        }
    }
}

TEST(NurbsMeshPictures, FollowAMaterialForEachPatch)
{
    ShapeStage stage;
    glLoadIdentity();
    GL_Material red, glass;
    red.setEmission(geometry::Vector4f(1, 0, 0, 1));
    glass.setEmission(geometry::Vector4f(0, 0, 1, 1));
    glass.setFlags(glass.flags() | GL_Material::Transparent);
    for (GL_Material* material : {&red, &glass}) {
        material->setAmbient(geometry::Vector4f(0, 0, 0, 1));
        material->setDiffuse(geometry::Vector4f(0, 0, 0, 1));
    }
    const auto mesh = makeNode<GL_NurbsMesh>(
        "GL_NurbsMesh",
        "vertices { { -0.9, -0.5, 0 }, { -0.4, -0.5, 0 }, { -0.9, 0.5, 0 }, { -0.4, 0.5, 0 }, { "
        "0, -0.5, 0 }, { 0, 0.5, 0 }, { 0.5, -0.5, 0 }, { 0.5, 0.5, 0 } }; faces { { indices { 0, "
        "1, 2, 3 }; orderU 2; orderV 2; }, { indices { 1, 4, 3, 5 }; orderU 2; orderV 2; }, { "
        "indices { 4, 6, 5, 7 }; orderU 2; orderV 2; } };");
    ASSERT_TRUE(mesh->materials().resize(2));
    mesh->materials().insert(0, &red);
    mesh->materials().insert(1, &glass);
    mesh->init(nullptr);
    const auto colors = [&](int pass) {
        stage.event.pass = pass;
        const auto pixels = stage.picture([&] {
            if (mesh->shouldRender(&stage.event))
                mesh->draw(&stage.event);
        });
        std::string text;
        for (const int x : {11, 25, 40}) {
            const unsigned char* const p = &pixels[std::size_t(32 * 64 + x) * 4];
            text += p[0] > 200 ? 'r' : p[2] > 200 ? 'b' : '-';
        }
        return text;
    };
    EXPECT_EQ(colors(-1), "rbb"); // the last material serves the third
    EXPECT_EQ(colors(0), "r--");
    EXPECT_EQ(colors(1), "-bb");
}

TEST(NurbsMeshPoints, CountTogetherSharedOnesFirst)
{
    ShapeStage stage;
    glLoadIdentity();
    const auto mesh = makeMesh("vertices { { -0.5, 0, 0 }, { 0, 0, 0 } }; faces { { vertices { { "
                               "0.5, 0.5, 0 }, { 0, 2, 0 } }; }, { indices { 0, 1 }; } };");
    Box3f box;
    mesh->bounds(box);
    EXPECT_TRUE(box == Box3f(-0.5f, 0, 0, 0.5f, 2, 0));
    mesh->setFlags(GL_Object::Selected, true);
    EXPECT_EQ(stage.hits([&] { mesh->hit(&stage.event); }), "[7 0][7 1][7 2]"); // 3 is outside

    geometry::Matrix4f matrix;
    matrix.translate(0, 0, 3);
    for (const int index : {1, 3}) {
        VActionEvent move(VActionEvent::TransformAfter, &matrix, index);
        EXPECT_TRUE(mesh->event(&move)) << index;
    }
    mesh->bounds(box);
    EXPECT_TRUE(box == Box3f(-0.5f, 0, 0, 0.5f, 2, 3));
    EXPECT_EQ(reinterpret_cast<const float*>(mesh->vertices.at(1))[2], 3);
    EXPECT_EQ(reinterpret_cast<const float*>(mesh->faces()[0]->vertices.at(1))[2], 3);
}
