#include "opengl/glmesh.h"

#include "kernel/vevent.h"
#include "opengl/glscene.h"
#include "opengl/glviewer.h"
#include "opengl/shapestage.h"
#include "support/warnings.h"

#include <cmath>
#include <limits>

using geometry::Box3f;
using geometry::Vector3f;

namespace
{
/// Looks straight down, at 32 pixels a unit, so that an area can be counted.
struct PlanStage : ShapeStage {
    PlanStage()
    {
        glLoadIdentity();
        glDisable(GL_LIGHTING);
    }
    /// In squares of one unit each way.
    double area(GL_Object& object)
    {
        return covered(picture([&] { object.draw(&event); })) / 1024.0;
    }
};

const char* const square = "vertices { { -0.5, -0.5, 0 }, { 0.5, -0.5, 0 }, { 0.5, 0.5, 0 }, "
                           "{ -0.5, 0.5, 0 }, { -0.25, -0.25, 0 }, { 0.25, -0.25, 0 }, "
                           "{ 0.25, 0.25, 0 }, { -0.25, 0.25, 0 } };";

std::unique_ptr<GL_VertexShape> makeMesh(const char* className, const std::string& values)
{
    return makeNode<GL_VertexShape>(className, "flags 0x70; " + (square + (' ' + values)));
}
} // namespace

// Files

TEST(MeshForms, HoldEveryValueBothWays)
{
    const struct {
        const char* className;
        const char* text;
        const char* rows; // from the tag of the rows on
    } cases[] = {
        {"GL_Mesh", "faces { { 0, 0, 1, 2 }, { 131073, 3, 4 } };",
         "82 0413 09 0104 00 00 0101 0102 0103 03020001 0103 0104"},
        {"GL_IndexedShape", "shapes { { 8, 4, 0, 1, 2 } };",
         "82 040c 06 0105 0108 0104 00 0101 0102"},
        {"GL_TriangleMesh", "faces { { 0, 0, 1, 2 } }; faceUVs { { 2, 1, 0 } };",
         "82 0409 05 0104 00 00 0101 0102 83 0408 04 0103 0102 0101 00"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.className);
        const std::string text =
            std::string("vertices { flags 0x30002; data { { 1, 2, 3 } }; }; "
                        "textureCoords { { 0.5, 0 } }; ") +
            c.text;
        const auto shape = makeNode<GL_VertexShape>(c.className, "flags 0x70; " + text);
        const std::string written = writtenText(*shape);
        const QByteArray binary = writtenBinary(*shape);
        EXPECT_TRUE(binary.endsWith(QByteArray::fromHex(c.rows))) << binary.toHex(' ').data();
        EXPECT_NE(written.find(c.text), written.npos) << written;
        EXPECT_NE(written.find("textureCoords { { 0.5, 0 } };"), written.npos);

        const auto copy = makeNode<GL_VertexShape>(c.className, "");
        EXPECT_EQ(readBinary(*copy, binary), QDataStream::Ok);
        EXPECT_EQ(writtenText(*copy), written);
        for (int size = binary.size() - 1; size > 0; --size) {
            const auto torn = makeNode<GL_VertexShape>(c.className, "");
            readBinary(*torn, binary.left(size)); // must only come to an end
        }
    }
}

TEST(MeshForms, BrokenRowsAreToldAndLeaveTheFaces)
{
    const char* const broken[] = {
        "82 0405 02 0105 0101", // a row of five numbers, of which there is one
        "82 0403 01 01ff",      // a negative length
        "82 040c 06 01",        // cut short
        "82 0900",              // no octet string
    };
    for (const char* hex : broken) {
        const auto mesh = makeMesh("GL_Mesh", "faces { { 0, 0, 1, 2 } };");
        const QByteArray bytes = QByteArray::fromHex("030170") + QByteArray::fromHex(hex);
        EXPECT_NE(readBinary(*mesh, bytes), QDataStream::Ok) << hex;
        EXPECT_EQ(dynamic_cast<GL_Mesh&>(*mesh).faceCount(), 1u) << hex;
    }
    const auto mesh = makeMesh("GL_Mesh", "faces { { 0, 0, 1, 2 }, 7 };");
    EXPECT_EQ(dynamic_cast<GL_Mesh&>(*mesh).faceCount(), 0u);
}

TEST(MeshForms, NameTheirMaterials)
{
    GL_Scene scene;
    for (const char* name : {"red", "glass"}) {
        auto* const material = new GL_Material;
        material->setName(name);
        scene.materials().append(material);
    }
    for (const char* className : {"GL_Mesh", "GL_TriangleMesh"}) {
        TextSource source(
            "vertices { { 0, 0, 0 } }; faces { { 0, 0, 0, 0 } }; materials { \"glass\", "
            "\"\", \"red\", \"unknown\" }; }");
        source.io.setContainer("scene", &scene);
        std::unique_ptr<GL_VertexShape> mesh(
            static_cast<GL_VertexShape*>(VMetaClass::metaClass(className)->makeInstance()));
        ASSERT_GE(source.stream.readObject(*mesh), 0);
        ASSERT_EQ(mesh->materials().size(), 4u);
        EXPECT_STREQ(mesh->materials()[0]->name(), "glass");
        EXPECT_EQ(mesh->materials()[1], nullptr);
        EXPECT_STREQ(mesh->materials()[2]->name(), "red");
        EXPECT_EQ(mesh->materials()[3], nullptr);
    }
}

// Pictures

struct MeshArea {
    const char* className;
    const char* values;
    double area;
};

TEST(MeshPictures, CoverWhatTheirFacesSay)
{
    const MeshArea cases[] = {
        {"GL_Mesh", "faces { { 0, 0, 1, 2 } };", 0.5},
        {"GL_Mesh", "faces { { 0, 0, 1, 2, 3 } };", 1},
        {"GL_Mesh", "faces { { 0, 0, 1, 2, 3 }, { 1, 4, 5, 6, 7 } };", 0.75},
        {"GL_Mesh", "faces { { 0, 0, 1, 2, 3 }, { 1, 7, 6, 5, 4 } };", 0.75},
        {"GL_Mesh", "faces { { 0, 0, 1, 5, 3 } };", 0.5},      // one corner pushed in
        {"GL_Mesh", "faces { { 0, 0, 1, 2, 7, 3 } };", 0.875}, // likewise, of five
        {"GL_Mesh", "faces { { 0, 0, 1, 3, 2 } };", 0.5},      // crosses itself: two halves
        {"GL_Mesh", "faces { { 8, 0, 1, 2, 3 } };", 0},        // hidden
        {"GL_Mesh", "faces { { 8, 0, 1, 2, 3 }, { 1, 4, 5, 6, 7 } };", 0},
        {"GL_Mesh", "faces { { 0, 0, 1, 2, 3 }, { 9, 4, 5, 6, 7 } };", 1},
        {"GL_Mesh", "faces { { 1, 4, 5, 6, 7 }, { 0, 0, 1, 2 } };", 0.5}, // a hole in nothing
        {"GL_Mesh", "faces { { 0 }, { 0, 1 }, { 0, 1, 2 }, { 0, 0, 1, 2 } };", 0.5},
        {"GL_Mesh", "", 0},
        {"GL_Mesh", "cullFace; faces { { 0, 0, 1, 2 } };", 0.5},
        {"GL_Mesh", "cullFace; faces { { 0, 2, 1, 0 } };", 0},
        {"GL_Mesh", "cullFace; faces { { 0, 3, 2, 1, 0 } };", 0},
        {"GL_Mesh", "cullFace; clockwise; faces { { 0, 2, 1, 0 } };", 0.5},
        {"GL_TriangleMesh", "faces { { 0, 0, 1, 2 }, { 0, 0, 2, 3 } };", 1},
        {"GL_TriangleMesh", "faces { { 0, 0, 1, 2 }, { 8, 0, 2, 3 } };", 0.5},
        {"GL_TriangleMesh", "faces { { 0, 0, 1, 2 }, { 0, 0, 2 }, { 0, 0, 1, 2, 3 } };", 0.5},
        {"GL_TriangleMesh", "cullFace; faces { { 0, 2, 1, 0 } };", 0},
        {"GL_IndexedShape", "shapes { { 0, 4, 0, 1, 2 } };", 0.5},
        {"GL_IndexedShape", "shapes { { 0, 5, 0, 1, 3, 2 } };", 1},
        {"GL_IndexedShape", "shapes { { 0, 6, 0, 1, 2, 3 } };", 1},
        {"GL_IndexedShape", "shapes { { 0, 7, 0, 1, 2, 3 } };", 1},
        {"GL_IndexedShape", "shapes { { 0, 8, 0, 1, 3, 2 } };", 1},
        {"GL_IndexedShape", "shapes { { 8, 9, 0, 1, 2, 3 }, { 0, 9, 4, 5, 6, 7 } };", 0.25},
        {"GL_IndexedShape", "shapes { { 0, 9, 0, 1, 2 }, { 4, 9, 0, 2, 3 } };", 1},
    };
    PlanStage stage;
    for (const MeshArea& c : cases) {
        const auto mesh = makeMesh(c.className, c.values);
        EXPECT_NEAR(stage.area(*mesh), c.area, 0.04) << c.className << ' ' << c.values;
        // Once more, from what is kept.
        EXPECT_NEAR(stage.area(*mesh), c.area, 0.04) << c.className << ' ' << c.values;
    }
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST(MeshPictures, IndicesBeyondTheVerticesAreToldAndPassedOver)
{
    PlanStage stage;
    for (const MeshArea& c :
         {MeshArea{"GL_Mesh", "faces { { 0, 0, 1, 99, 2 }, { 0, 0, -1, 2, 3 } };", 1},
          MeshArea{"GL_TriangleMesh", "faces { { 0, 0, 1, 99 }, { 0, 0, 2, 3 } };", 0.5},
          MeshArea{"GL_IndexedShape", "shapes { { 0, 4, 0, 1, 2147483647 }, { 0, 4, 0, 2, 3 } };",
                   0.5}}) {
        WarningCatcher warnings;
        EXPECT_NEAR(stage.area(*makeMesh(c.className, c.values)), c.area, 0.04) << c.className;
        EXPECT_EQ(warnings.take().size(), 1) << c.className;
    }
}

TEST(MeshPictures, VerticesOfAnyKindDraw)
{
    PlanStage stage;
    const char* const kinds[] = {
        "vertices { flags 0x20002; data { { -0.5, -0.5 }, { 0.5, -0.5 }, { 0.5, 0.5 } }; };",
        "vertices { flags 0x30003; data { { -0.5, -0.5, 0 }, { 0.5, -0.5, 0 }, { 0.5, 0.5, 0 } }; "
        "};",
        "vertices { flags 0x40012; data { { -1, -1, 0, 2 }, { 1, -1, 0, 2 }, { 2, 2, 0, 4 } }; };",
    };
    for (const char* vertices : kinds) {
        const auto mesh = makeNode<GL_Mesh>("GL_Mesh", std::string("flags 0x70; ") + vertices +
                                                           " faces { { 0, 0, 1, 2 } };");
        EXPECT_NEAR(stage.area(*mesh), 0.5, 0.04) << vertices;
        Box3f box;
        mesh->bounds(box);
        EXPECT_TRUE(box == Box3f(-0.5f, -0.5f, 0, 0.5f, 0.5f, 0)) << vertices;
    }
}

TEST(MeshPictures, APolygonThatCrossesItselfEverywhereIsGivenUp)
{
    PlanStage stage;
    GL_Mesh mesh;
    constexpr int count = 600;
    mesh.vertices = geometry::GVectorArray(count, 3, unsigned(geometry::GVector::Float));
    std::vector<int> corners;
    for (int i = 0; i < count; ++i) {
        // Every edge crosses nearly all others.
        const Vector3f point(i % 2 ? 0.9f : -0.9f, std::sin(float(i) * 12.9898f) * 0.9f, 0);
        std::memcpy(mesh.vertices.at(unsigned(i)), &point, sizeof point);
        corners.push_back(i);
    }
    mesh.addFace(0, corners.data(), count);
    mesh.addFace(0, corners.data(), 3);
    mesh.init(nullptr);
    EXPECT_GT(stage.area(mesh), 0); // and goes on with the next
}

TEST(MeshPictures, NumbersThatAreNoneDoNoHarm)
{
    PlanStage stage;
    GL_Mesh mesh;
    mesh.vertices = geometry::GVectorArray(5, 3, unsigned(geometry::GVector::Float));
    const float nan = std::nanf(""), infinity = std::numeric_limits<float>::infinity();
    const Vector3f points[] = {{0, 0, 0}, {nan, 0, 0}, {0, infinity, 0}, {1, 0, 0}, {0.5f, 1, 0}};
    std::memcpy(mesh.vertices.data(), points, sizeof points);
    const int corners[] = {0, 1, 2, 3, 4};
    mesh.addFace(0, corners, 5);
    mesh.init(nullptr);
    EXPECT_EQ(stage.area(mesh), 0);
    Box3f box;
    mesh.bounds(box);
    EXPECT_TRUE(box == Box3f(0, 0, 0, 1, 1, 0));
}

TEST(MeshPictures, FollowAMaterialForEachFace)
{
    // Red, see-through blue, and one that names no material: all shine by themselves.
    PlanStage stage;
    GL_Material red, glass;
    red.setEmission(geometry::Vector4f(1, 0, 0, 1));
    glass.setEmission(geometry::Vector4f(0, 0, 1, 1));
    glass.setFlags(glass.flags() | GL_Material::Transparent);
    for (GL_Material* material : {&red, &glass}) {
        material->setAmbient(geometry::Vector4f(0, 0, 0, 1));
        material->setDiffuse(geometry::Vector4f(0, 0, 0, 1));
    }
    glEnable(GL_LIGHTING);
    const auto mesh = makeMesh("GL_Mesh", "color 0xff000000; faces { { 65536, 4, 5, 6 }, "
                                          "{ 0, 0, 1, 2 }, { 196608, 0, 2, 3 } };");
    mesh->setFlags(GL_Object::Lit, true);
    mesh->materials().resize(2);
    mesh->materials().insert(0, &red);
    mesh->materials().insert(1, &glass);
    mesh->init(nullptr);
    EXPECT_TRUE(mesh->testFlags(GL_VertexShape::OpaqueFaces));
    EXPECT_TRUE(mesh->testFlags(GL_VertexShape::TransparentFaces));
    glDepthFunc(GL_LEQUAL); // what comes later shows
    const struct {
        int pass;
        double red, blue;
    } passes[] = {{0, 0.5, 0}, {1, 0, 0.125}, {-1, 0.375, 0.125}};
    for (const auto& expected : passes) {
        stage.event.pass = expected.pass;
        const auto picture = stage.picture([&] { mesh->drawShape(&stage.event); });
        double isRed = 0, isBlue = 0;
        for (std::size_t i = 0; i < picture.size(); i += 4) {
            isRed += picture[i] > 200 && picture[i + 2] < 100;
            isBlue += picture[i + 2] > 200 && picture[i] < 100;
        }
        EXPECT_NEAR(isRed / 1024, expected.red, 0.04) << expected.pass;
        EXPECT_NEAR(isBlue / 1024, expected.blue, 0.02) << expected.pass;
    }
}

TEST(MeshPasses, AreThoseOfItsMaterials)
{
    GL_Material opaque, glass;
    glass.setFlags(GL_Material::Transparent);
    const struct {
        bool hasOpaque, hasGlass, selected;
        bool drawn[3]; // in pass -1, 0 and 1
    } cases[] = {
        {false, false, false, {true, true, false}}, {true, false, false, {true, true, false}},
        {false, true, false, {true, false, true}},  {true, true, false, {true, true, true}},
        {false, true, true, {true, true, true}},
    };
    for (const auto& c : cases) {
        GL_Mesh mesh;
        mesh.materials().resize(c.hasOpaque || c.hasGlass ? 3 : 0);
        if (c.hasOpaque)
            mesh.materials().insert(0, &opaque);
        if (c.hasGlass)
            mesh.materials().insert(2, &glass);
        mesh.setFlags(GL_Object::Selected, c.selected);
        mesh.init(nullptr);
        GL_RenderEvent event(nullptr, nullptr);
        for (int pass = -1; pass < 2; ++pass) {
            event.pass = pass;
            EXPECT_EQ(mesh.shouldRender(&event), c.drawn[pass + 1]) << pass;
        }
    }
}

TEST(MeshPictures, NormalsAreMadeToDrawAndGivenUp)
{
    // Two faces of a roof, seen from above, lit from the left.
    ShapeStage stage;
    glLoadIdentity();
    const GLfloat left[4] = {-1, 0, 0.2f, 0};
    glLightfv(GL_LIGHT0, GL_POSITION, left);
    const auto shades = [&](const char* values) {
        const auto roof = makeNode<GL_Mesh>(
            "GL_Mesh",
            std::string("vertices { { -0.8, -0.8, 0 }, { 0, -0.8, 0.5 }, { 0, 0.8, 0.5 }, "
                        "{ -0.8, 0.8, 0 }, { 0.8, -0.8, 0 }, { 0.8, 0.8, 0 } };") +
                values);
        const auto picture = stage.picture([&] { roof->draw(&stage.event); });
        EXPECT_FALSE(roof->hasNormals());
        const auto at = [&picture](int x) { return int(picture[std::size_t(32 * 64 + x) * 4]); };
        return std::array<int, 4>{at(8), at(28), at(35), at(55)};
    };
    const auto flat = shades("faces { { 0, 0, 1, 2, 3 }, { 0, 1, 4, 5, 2 } };");
    EXPECT_EQ(flat[0], flat[1]);
    EXPECT_GT(flat[1], flat[2] + 50);
    const auto grouped = shades("faces { { 16, 0, 1, 2, 3 }, { 16, 1, 4, 5, 2 } };");
    EXPECT_GT(grouped[0], grouped[1]);
    EXPECT_NEAR(grouped[1], grouped[2], 25);
    const auto sharp = shades("smoothAngle; faces { { 16, 0, 1, 2, 3 }, { 16, 1, 4, 5, 2 } };");
    EXPECT_EQ(sharp, flat); // the ridge is at 64 degrees
}

// Editing

TEST(MeshHits, NameVerticesWhileSelected)
{
    PlanStage stage;
    const auto mesh = makeMesh("GL_Mesh", "faces { { 0, 0, 1, 2 } };");
    EXPECT_EQ(stage.hits([&] { mesh->hit(&stage.event); }), "[7]");
    mesh->setStyle(GL_Shape::Points); // filled all the same
    EXPECT_EQ(stage.hits([&] { mesh->hit(&stage.event); }), "[7]");
    mesh->setFlags(GL_Object::Selected, true);
    EXPECT_EQ(stage.hits([&] { mesh->hit(&stage.event); }),
              "[7 0][7 1][7 2][7 3][7 4][7 5][7 6][7 7]");
    glScalef(1.5f, 1.5f, 1.5f);
    glTranslatef(0.3f, 0, 0);
    GL_RenderEvent moved(nullptr, nullptr);
    EXPECT_EQ(stage.hits([&] { mesh->hit(&moved); }), "[7 0][7 3][7 4][7 5][7 6][7 7]");
}

TEST(MeshEvents, MoveTheVertexThatTheyName)
{
    const auto mesh = makeMesh("GL_Mesh", "faces { { 0, 0, 1, 2 } };");
    geometry::Matrix4f up;
    up.translate(0, 0, 2);
    VActionEvent one(VActionEvent::TransformAfter, &up, 1);
    EXPECT_TRUE(mesh->event(&one));
    EXPECT_TRUE(one.isAccepted());
    Box3f box;
    mesh->bounds(box);
    EXPECT_TRUE(box == Box3f(-0.5f, -0.5f, 0, 0.5f, 0.5f, 2));
    EXPECT_TRUE(mesh->transform().isIdentity());
    for (const int detail : {-1, 8}) { // all of it
        VActionEvent all(VActionEvent::TransformAfter, &up, detail);
        EXPECT_TRUE(mesh->event(&all));
    }
    mesh->bounds(box);
    EXPECT_EQ(box.min.z, 4);
}

TEST(MeshEvents, AMovedVertexIsDrawnAnew)
{
    PlanStage stage;
    const auto mesh = makeMesh("GL_Mesh", "faces { { 0, 0, 1, 2 } };");
    EXPECT_NEAR(stage.area(*mesh), 0.5, 0.04);
    geometry::Matrix4f away;
    away.translate(0, -0.5f, 0);
    VActionEvent event(VActionEvent::TransformBefore, &away, 2); // (0.5, 0.5) comes to (0.5, 0)
    mesh->event(&event);
    EXPECT_NEAR(stage.area(*mesh), 0.25, 0.04);
}

TEST(MeshDrag, MovesThePickedVertex)
{
    OffscreenContext context(100, 100);
    GL_Scene scene;
    GL_Viewer viewer;
    viewer.setScene(&scene);
    viewer.reshape(100, 100);
    const auto mesh = makeMesh("GL_Mesh", "faces { { 0, 0, 1, 2 } };");
    scene.setCurrentObject(mesh.get());
    scene.setCurrentPart(2);
    const geometry::Vector2i from(50, 50), to(60, 70);
    const Vector3f offset = viewer.localVector(mesh.get(), from, to, Vector3f(0.5f, 0.5f, 0));
    EXPECT_TRUE(mesh->drag(&viewer, from, to));
    Box3f box;
    mesh->bounds(box);
    EXPECT_NEAR(box.max.x, 0.5f + offset.x, 1e-5f);
    EXPECT_NEAR(box.max.y, 0.5f + offset.y, 1e-5f);
    EXPECT_TRUE(mesh->transform().isIdentity());
    scene.setCurrentPart(99);
    EXPECT_TRUE(mesh->drag(&viewer, from, to));
    EXPECT_FALSE(mesh->transform().isIdentity());
}
