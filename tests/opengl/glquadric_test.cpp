#include "opengl/glquadric.h"

#include "opengl/glcube.h"
#include "opengl/gltorus.h"
#include "opengl/shapestage.h"

#include <GL/glu.h>

#include <functional>
#include <limits>
#include <memory>

using geometry::Box3f;

namespace
{
constexpr double infinity = std::numeric_limits<double>::infinity();

std::unique_ptr<GL_Shape> make(const char* className, const std::string& statements)
{
    return makeNode<GL_Shape>(className, statements);
}
} // namespace

// Files

struct SolidForm {
    const char* className;
    const char* text;
    const char* binary; // behind the flags, which are those of a new shape
    const char* flags = "74";
};

class SolidForms : public testing::TestWithParam<SolidForm>
{
};

TEST_P(SolidForms, HoldEveryValueBothWays)
{
    const SolidForm& form = GetParam();
    const auto shape = make(form.className, form.text);
    const QByteArray flags = QByteArray::fromHex(form.flags);
    const std::string text =
        "flags 0x" + QByteArray::number(flags.toHex().toUInt(nullptr, 16), 16).toStdString() +
        "; shadingModel 1; " + form.text;
    const QByteArray binary =
        QByteArray("\x03\x02", 2) + char(flags.size()) + flags + QByteArray::fromHex(form.binary);
    EXPECT_EQ(writtenText(*shape), text);
    EXPECT_EQ(writtenBinary(*shape).toHex(' '), binary.toHex(' '));

    const auto copy = make(form.className, "");
    EXPECT_EQ(readBinary(*copy, binary), QDataStream::Ok);
    EXPECT_EQ(writtenText(*copy), text);
}

// Reals are: sign and kind, exponent, odd mantissa.
INSTANTIATE_TEST_SUITE_P(
    All, SolidForms,
    testing::Values(
        SolidForm{"GL_Sphere", "radius 2; slices 5; stacks 200;",
                  "80 0903 800101 81 020105 82 020200c8"},
        SolidForm{"GL_Sphere", "inside; textureCoords; radius 0.5;", "80 0903 80ff01", "3074"},
        SolidForm{"GL_Cone",
                  "baseRadius 3; topRadius 0.25; height -2; slices 21; stacks 2; rings 3; baseCap; "
                  "topCap;",
                  "80 0903 800003 81 0903 80fe01 82 0903 c00101 83 020115 84 020102 85 020103",
                  "00c074"},
        SolidForm{"GL_Cone", "baseRadius 0.5; topRadius 0; height 1;",
                  "80 0903 80ff01 81 0900 82 0903 800001"},
        SolidForm{"GL_Cylinder", "radius 3; height 2; slices 0; stacks -1; rings 4; topCap;",
                  "80 0903 800003 81 0903 800101 82 0200 83 0201ff 84 020104", "008074"},
        SolidForm{"GL_Disk", "innerRadius 0.25; outerRadius 2; slices 4; rings 2;",
                  "80 0903 80fe01 81 0903 800101 82 020104 83 020102"},
        SolidForm{"GL_PartialDisk",
                  "innerRadius 0.25; outerRadius 2; startAngle -3; sweepAngle 0.5;",
                  "80 0903 80fe01 81 0903 800101 84 0903 c00003 85 0903 80ff01"},
        SolidForm{"GL_Torus", "majorRadius 2; minorRadius 0.5; sides 3; rings 4;",
                  "80 0903 800101 81 0903 80ff01 82 020103 83 020104"},
        SolidForm{"GL_Cube", "width 2; height 3; depth 0.25;",
                  "80 0903 800101 81 0903 800003 82 0903 80fe01"}));

TEST(SolidForms, ABrokenValueIsToldAndLeftAlone)
{
    GL_Sphere sphere;
    EXPECT_NE(readBinary(sphere, QByteArray::fromHex("030201748003020105")), QDataStream::Ok);
    EXPECT_EQ(sphere.radius, 0.5);
}

// Bounds

struct SolidBounds {
    const char* className;
    const char* text;
    Box3f box;
};

TEST(SolidBounds, AreThoseOfTheFigureInItsParent)
{
    const SolidBounds cases[] = {
        {"GL_Sphere", "radius 2;", Box3f(-2, -2, -2, 2, 2, 2)},
        {"GL_Sphere", "radius 1; transform { translate { 1, 2, 3 }; };", Box3f(0, 1, 2, 2, 3, 4)},
        {"GL_Cone", "baseRadius 1; topRadius 2; height 3;", Box3f(-2, -2, 0, 2, 2, 3)},
        {"GL_Cylinder", "radius 2; height 3;", Box3f(-2, -2, 0, 2, 2, 3)},
        {"GL_PartialDisk", "outerRadius 2; sweepAngle 90;", Box3f(-2, -2, 0, 2, 2, 0)},
        {"GL_Torus", "majorRadius 2; minorRadius 1;", Box3f(-3, -3, -1, 3, 3, 1)},
        {"GL_Cube", "width 2; height 4; depth 6;", Box3f(-1, -2, -3, 1, 2, 3)},
    };
    for (const SolidBounds& solid : cases) {
        const auto shape = make(solid.className, solid.text);
        Box3f box;
        shape->bounds(box);
        EXPECT_TRUE(box == solid.box) << solid.className;
    }
}

// Pictures

struct GluPicture {
    const char* className;
    const char* text;
    std::function<void(GLUquadric*)> draw;
};

class SolidPictures : public testing::TestWithParam<GluPicture>
{
};

/// The culled pictures show the winding, the lit ones the normals, the checkered ones the texture
/// coordinates.
TEST_P(SolidPictures, AreThoseOfGlu)
{
    ShapeStage stage;
    const GLubyte checker[2][2] = {{255, 0}, {0, 255}};
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_LUMINANCE, 2, 2, 0, GL_LUMINANCE, GL_UNSIGNED_BYTE, checker);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);

    for (const bool inside : {false, true}) {
        for (const bool textured : {false, true}) {
            for (const int style : {3, 2, 1, 0}) {
                int seen = 0;
                for (const GLenum culled : {GL_FRONT, GL_BACK}) {
                    const auto shape = make(GetParam().className, GetParam().text);
                    shape->setFlags(GL_Quadric::Inside, inside);
                    shape->setFlags(GL_Quadric::TextureCoords, textured);
                    shape->setStyle(GL_Shape::Style(style));
                    glEnable(GL_CULL_FACE);
                    glCullFace(culled);
                    (textured ? glEnable : glDisable)(GL_TEXTURE_2D);
                    const auto ours = stage.picture([&] { shape->drawShape(&stage.event); });
                    const auto theirs = stage.picture([&] {
                        static constexpr GLenum styles[] = {GLU_POINT, GLU_LINE, GLU_SILHOUETTE,
                                                            GLU_FILL};
                        GLUquadric* const quadric = gluNewQuadric();
                        gluQuadricDrawStyle(quadric, styles[style]);
                        gluQuadricOrientation(quadric, inside ? GLU_INSIDE : GLU_OUTSIDE);
                        gluQuadricTexture(quadric, textured);
                        GetParam().draw(quadric);
                        gluDeleteQuadric(quadric);
                    });
                    // Where two triangles meet, either may take a pixel.
                    EXPECT_LE(differing(ours, theirs, 6), 12)
                        << GetParam().text << " inside " << inside << " textured " << textured
                        << " style " << style << " culled " << culled;
                    seen += covered(ours);
                }
                EXPECT_GT(seen, style == 3 ? 400 : 5);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, SolidPictures,
    testing::Values(
        GluPicture{"GL_Sphere", "radius 0.8; slices 7; stacks 5;",
                   [](GLUquadric* q) { gluSphere(q, 0.8, 7, 5); }},
        GluPicture{"GL_Sphere", "radius 0.9; slices 300; stacks 300;",
                   [](GLUquadric* q) { gluSphere(q, 0.9, 300, 300); }},
        GluPicture{"GL_Cone", "baseRadius 0.8; height 0.9; slices 9;",
                   [](GLUquadric* q) { gluCylinder(q, 0.8, 0, 0.9, 9, 1); }},
        GluPicture{"GL_Cone", "baseRadius 0.2; topRadius 0.8; height 0.5; slices 9; stacks 3;",
                   [](GLUquadric* q) { gluCylinder(q, 0.2, 0.8, 0.5, 9, 3); }},
        GluPicture{"GL_Cylinder", "radius 0.7; height 0.6; slices 8; stacks 2;",
                   [](GLUquadric* q) { gluCylinder(q, 0.7, 0.7, 0.6, 8, 2); }},
        GluPicture{"GL_Disk", "outerRadius 0.9; slices 7; rings 3;",
                   [](GLUquadric* q) { gluDisk(q, 0, 0.9, 7, 3); }},
        GluPicture{"GL_Disk", "innerRadius 0.3; outerRadius 0.9; slices 7; rings 3;",
                   [](GLUquadric* q) { gluDisk(q, 0.3, 0.9, 7, 3); }},
        GluPicture{"GL_PartialDisk",
                   "innerRadius 0.1; outerRadius 0.9; slices 7; startAngle 30; sweepAngle -200;",
                   [](GLUquadric* q) { gluPartialDisk(q, 0.1, 0.9, 7, 1, 30, -200); }},
        GluPicture{"GL_PartialDisk", "outerRadius 0.9; startAngle 30; sweepAngle 5000;",
                   [](GLUquadric* q) { gluPartialDisk(q, 0, 0.9, 20, 1, 30, 5000); }}));

/// A solid, drawn so that only one side shows.
std::vector<unsigned char> sideOf(ShapeStage& stage, const GL_Shape& shape, GLenum culled)
{
    glEnable(GL_CULL_FACE);
    glCullFace(culled);
    return stage.picture([&] { const_cast<GL_Shape&>(shape).drawShape(&stage.event); });
}

TEST(SolidPictures, CapsFaceOutAndCloseTheSolid)
{
    ShapeStage stage;
    for (const char* className : {"GL_Cone", "GL_Cylinder"}) {
        const auto open = make(className, "height 0.7; slices 12;");
        const auto capped = make(className, "height 0.7; slices 12; baseCap; topCap;");
        for (auto* shape : {open.get(), capped.get()})
            if (auto* const cone = dynamic_cast<GL_Cone*>(shape))
                cone->topRadius = 0.3;
        for (const double turn : {0.0, 180.0}) { // shows the top, then the base
            glPushMatrix();
            glRotated(turn, 1, 0, 0);
            const auto front = sideOf(stage, *capped, GL_BACK);
            glDisable(GL_CULL_FACE);
            const auto all = stage.picture([&] { capped->drawShape(&stage.event); });
            EXPECT_EQ(front, all) << className << turn;
            EXPECT_GT(differing(sideOf(stage, *open, GL_BACK), front, 0), 50) << className;
            glPopMatrix();
        }
        // All of it turned in shows its back.
        capped->setFlags(GL_Quadric::Inside, true);
        EXPECT_EQ(covered(sideOf(stage, *capped, GL_FRONT)), covered(stage.picture([&] {
                      glDisable(GL_CULL_FACE);
                      capped->drawShape(&stage.event);
                  })));
    }
}

TEST(SolidPictures, NoCapIsDrawnOverAPoint)
{
    ShapeStage stage;
    const auto cone = make("GL_Cone", "topRadius 0; height 0.7; style 1; topCap; slices 1000;");
    const auto open = make("GL_Cone", "topRadius 0; height 0.7; style 1; slices 1000;");
    EXPECT_EQ(stage.picture([&] { cone->drawShape(&stage.event); }),
              stage.picture([&] { open->drawShape(&stage.event); }));
}

/// The strips as the torus is defined by.
void drawTorus(double major, double minor, int sides, int rings)
{
    constexpr double turn = 6.283185307179586;
    for (int i = 0; i < rings; ++i) {
        glBegin(GL_QUAD_STRIP);
        for (int j = 0; j <= sides; ++j) {
            const double phi = turn * j / sides, d = major + minor * std::cos(phi);
            for (const int k : {i + 1, i}) {
                const double t = turn * k / rings;
                glNormal3d(std::cos(t) * std::cos(phi), -std::sin(t) * std::cos(phi),
                           std::sin(phi));
                glVertex3d(std::cos(t) * d, -std::sin(t) * d, minor * std::sin(phi));
            }
        }
        glEnd();
    }
}

TEST(SolidPictures, ATorusIsAsItsStripsAre)
{
    ShapeStage stage;
    const auto torus = make("GL_Torus", "majorRadius 0.6; minorRadius 0.3; sides 7; rings 9;");
    for (const GLenum shading : {GL_SMOOTH, GL_FLAT}) {
        glShadeModel(shading);
        for (const int style : {3, 2, 1}) {
            torus->setStyle(GL_Shape::Style(style));
            for (const GLenum culled : {GL_FRONT, GL_BACK}) {
                const auto ours = sideOf(stage, *torus, culled);
                const auto theirs = stage.picture([&] {
                    glPolygonMode(GL_FRONT_AND_BACK, style == 3 ? GL_FILL : GL_LINE);
                    drawTorus(0.6, 0.3, 7, 9);
                    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
                });
                EXPECT_LE(differing(ours, theirs, 6), 8) << shading << style << culled;
                EXPECT_GT(covered(ours), 300);
            }
        }
    }
}

TEST(SolidPictures, ACubeShowsItsFacesInFull)
{
    ShapeStage stage;
    const struct {
        float x, y, z; // the axis that turns the face to the eye
        float angle;
        float width, height; // as seen
    } faces[] = {{1, 0, 0, 0, 1.2f, 0.8f},  {1, 0, 0, 180, 1.2f, 0.8f},
                 {1, 0, 0, 90, 1.2f, 0.4f}, {1, 0, 0, -90, 1.2f, 0.4f},
                 {0, 1, 0, 90, 0.4f, 0.8f}, {0, 1, 0, -90, 0.4f, 0.8f}};
    const auto cube = make("GL_Cube", "width 1.2; height 0.8; depth 0.4;");
    const GLfloat ahead[4] = {0, 0, 1, 0}, white[4] = {1, 1, 1, 1}, dark[4] = {0, 0, 0, 1};
    glLightModelfv(GL_LIGHT_MODEL_AMBIENT, dark);
    glMaterialfv(GL_FRONT, GL_DIFFUSE, white);
    for (const auto& face : faces) {
        glLoadIdentity();
        glLightfv(GL_LIGHT0, GL_POSITION, ahead);
        glRotatef(face.angle, face.x, face.y, face.z);
        const auto picture = sideOf(stage, *cube, GL_BACK);
        // Wholly bright: the face looks straight at the light and the eye.
        int bright = 0;
        for (std::size_t i = 0; i < picture.size(); i += 4)
            bright += picture[i] > 250;
        EXPECT_NEAR(bright, face.width * face.height / 4 * ShapeStage::size * ShapeStage::size, 70)
            << face.angle << face.x;
    }
}

TEST(SolidPictures, ACubeHasTheWholeTextureOnEachFace)
{
    ShapeStage stage;
    GLfloat feedback[2000] = {};
    glFeedbackBuffer(2000, GL_3D_COLOR_TEXTURE, feedback);
    glRenderMode(GL_FEEDBACK);
    GL_Cube::drawCube(1, 1, 1);
    const int used = glRenderMode(GL_RENDER);
    ASSERT_GT(used, 0);
    // Each face: token, count, then corners of x y z, r g b a, s t r q.
    int polygons = 0;
    bool corner[2][2] = {};
    for (int at = 0; at < used;) {
        ASSERT_EQ(feedback[at], GLfloat(GL_POLYGON_TOKEN));
        const int count = int(feedback[at + 1]);
        at += 2;
        for (int i = 0; i < count; ++i, at += 11) {
            const float s = feedback[at + 7], t = feedback[at + 8];
            ASSERT_TRUE((s == 0 || s == 1) && (t == 0 || t == 1));
            corner[int(s)][int(t)] = true;
        }
        ++polygons;
    }
    EXPECT_GE(polygons, 6);
    EXPECT_TRUE(corner[0][0] && corner[0][1] && corner[1][0] && corner[1][1]);
}

TEST(SolidPictures, NumbersThatMakeNoSenseDrawNothing)
{
    ShapeStage stage;
    const double wrong[] = {-1, 0, infinity, -infinity, std::nan("")};
    for (const double value : wrong) {
        for (const int count : {-2147483647 - 1, 0, 2147483647}) {
            GL_Sphere sphere;
            sphere.radius = value;
            sphere.slices = sphere.stacks = count > 0 ? 40 : count;
            GL_Cone cone;
            cone.baseRadius = cone.topRadius = cone.height = value;
            cone.setFlags(GL_Quadric::BaseCap | GL_Quadric::TopCap, true);
            cone.rings = count > 0 ? 5 : count;
            GL_PartialDisk disk;
            disk.outerRadius = disk.startAngle = disk.sweepAngle = value;
            GL_Torus torus;
            torus.minorRadius = 0;
            torus.majorRadius = value;
            GL_Cube cube;
            cube.width = value;
            for (GL_Shape* shape :
                 std::initializer_list<GL_Shape*>{&sphere, &cone, &disk, &torus, &cube}) {
                shape->init(nullptr);
                stage.picture([&] { shape->draw(&stage.event); });
            }
            EXPECT_EQ(covered(stage.picture([&] { sphere.drawShape(&stage.event); })), 0) << value;
            EXPECT_EQ(covered(stage.picture([&] { disk.drawShape(&stage.event); })), 0) << value;
        }
    }
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

// Closed surfaces, whose back faces are left out

struct ClosedCase {
    const char* className;
    const char* text;
    bool isClosed;
};

TEST(ClosedSolids, AreThoseThatNobodyLooksInto)
{
    const ClosedCase cases[] = {
        {"GL_Sphere", "", true},
        {"GL_Sphere", "inside;", false},
        {"GL_Sphere", "clockwise;", false},
        {"GL_Sphere", "style 1;", false},
        {"GL_Cone", "", false},
        {"GL_Cone", "baseCap;", true},
        {"GL_Cone", "topCap;", false},
        {"GL_Cone", "baseCap; inside;", false},
        {"GL_Cone", "topRadius 0.2; baseCap;", false},
        {"GL_Cone", "topRadius 0.2; baseCap; topCap;", true},
        {"GL_Cone", "baseRadius 0; topRadius 0.2; topCap;", true},
        {"GL_Cone", "baseCap; height -1;", false},
        {"GL_Cylinder", "", false},
        {"GL_Cylinder", "baseCap;", false},
        {"GL_Cylinder", "baseCap; topCap;", true},
        {"GL_Cylinder", "baseCap; topCap; inside;", false},
        {"GL_Disk", "", false},
        {"GL_PartialDisk", "", false},
        {"GL_Torus", "", true},
        {"GL_Torus", "minorRadius -0.25;", false},
        {"GL_Cube", "", true},
        {"GL_Cube", "height -1;", false},
        {"GL_Cube", "depth 0;", false},
    };
    for (const ClosedCase& solid : cases) {
        ShapeStage stage;
        const auto shape = make(solid.className, solid.text);
        shape->draw(&stage.event);
        EXPECT_EQ(glIsEnabled(GL_CULL_FACE) == GL_TRUE, solid.isClosed)
            << solid.className << ' ' << solid.text;
    }
}
