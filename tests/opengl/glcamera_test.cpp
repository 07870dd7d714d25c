#include "opengl/glcamera.h"

#include "geometry/geometryprinters.h"
#include "kernel/vevent.h"
#include "opengl/nodefiles.h"
#include "opengl/nodestage.h"

#include <cmath>

using geometry::Box3f;
using geometry::Matrix4f;
using geometry::Quaternion;
using geometry::Vector3f;

namespace
{
float difference(const Vector3f& a, const Vector3f& b)
{
    return (a - b).length();
}

TEST(GLCamera, KeepsItsNumbersInBothForms)
{
    const char* const written = "color 0xff00ff00;\nposition { 1, 2, 3 };\n"
                                "fov 30;\naspectRatio 1.5;\nnearDistance 0.25;\nfarDistance 50;\n"
                                "focalDistance 4;\n";
    GL_Camera camera;
    EXPECT_EQ(textOf(camera), "") << "defaults aren't written";
    EXPECT_EQ(bytesOf(camera), "030200");
    readText(camera, written);
    EXPECT_EQ(textOf(camera), written);
    throughFiles(camera, [written](const GL_Camera& copy) { EXPECT_EQ(textOf(copy), written); });

    GL_Camera numbered;
    EXPECT_EQ(readBytes(numbered, "03020082090380010384090380ff01"
                                  "85090380010386090380ff018309038001037f"),
              "7f");
    EXPECT_EQ(textOf(numbered), "fov 6;\naspectRatio 6;\nnearDistance 0.5;\nfarDistance 6;\n"
                                "focalDistance 0.5;\n");
    GL_Camera turned;
    readText(turned, "orientation { 0, 90, 0 };");
    EXPECT_LT(difference(turned.target(), Vector3f(-1, 0, 0)), 1e-5) << "angles in degrees";
    throughFiles(turned, [](const GL_Camera& copy) {
        EXPECT_LT(difference(copy.target(), Vector3f(-1, 0, 0)), 1e-5);
    });
}

TEST(GLCamera, BoundsHoldPositionAndTarget)
{
    GL_Camera camera;
    camera.setPosition(Vector3f(1, 2, 3));
    camera.setFocalDistance(10);
    Box3f box(-99, 0, 0, 99, 0, 0);
    camera.bounds(box);
    EXPECT_EQ(box, Box3f(1, 2, -7, 1, 2, 3));
}

TEST(GLCamera, OfAMatrixPlaceAndDirectionStay)
{
    GL_Camera camera;
    Matrix4f matrix;
    matrix.translate(5, 0, 0);
    matrix.yrotate(float(M_PI / 2));
    matrix.scale(3, 1, 2);
    VActionEvent set(VActionEvent::SetTransform, &matrix);
    EXPECT_TRUE(camera.event(&set));
    EXPECT_EQ(camera.position(), Vector3f(5, 0, 0));
    EXPECT_LT(difference(camera.target(), Vector3f(4, 0, 0)), 1e-5);

    Matrix4f forward;
    forward.translate(0, 0, -2);
    VActionEvent before(VActionEvent::TransformBefore, &forward);
    EXPECT_TRUE(camera.event(&before));
    EXPECT_LT(difference(camera.position(), Vector3f(3, 0, 0)), 1e-5);
    Matrix4f up;
    up.translate(0, 7, 0);
    VActionEvent after(VActionEvent::TransformAfter, &up);
    EXPECT_TRUE(camera.event(&after));
    EXPECT_LT(difference(camera.target(), Vector3f(2, 7, 0)), 1e-5);

    Matrix4f read;
    VActionEvent get(VActionEvent::GetTransform, &read);
    EXPECT_TRUE(camera.event(&get));
    EXPECT_LT(difference(read.map(Vector3f(0, 0, -1)), Vector3f(2, 7, 0)), 1e-5);
    EXPECT_LT(difference(read.map(Vector3f(0, 1, 0)), Vector3f(3, 8, 0)), 1e-5) << "y is up";

    const Quaternion before0 = camera.orientation();
    Matrix4f flat(0.0f);
    VActionEvent singular(VActionEvent::SetTransform, &flat);
    EXPECT_TRUE(camera.event(&singular));
    EXPECT_EQ(camera.orientation(), before0) << "a singular matrix tells no direction";
}

class GLCameraDrawing : public NodeStage
{
};

TEST_F(GLCameraDrawing, TheGlyphLooksFromThePositionToTheTarget)
{
    GL_Camera camera;
    camera.setColor(VColor(0xFF0000FFu));
    camera.setPosition(Vector3f(-0.5f, 0.5f, 0));
    Quaternion toRight;
    camera.setOrientation(toRight.setValue(Vector3f(0, 0, -1), Vector3f(1, 0, 0)));
    camera.setFov(20);
    ASSERT_LT(difference(camera.target(), Vector3f(0.5f, 0.5f, 0)), 1e-5);
    glEnable(GL_LIGHTING);
    glEnable(GL_TEXTURE_2D);
    const Picture pixels = pictureOf(camera);
    int line = 0;
    for (int x = 20; x < 48; ++x) // y = 0.5 is the edge between two rows of pixels
        line += at(pixels, x, 47) == 0x0000FF || at(pixels, x, 48) == 0x0000FF;
    EXPECT_GE(line, 26);
    int beyond = 0, behind = 0;
    for (int y = 0; y < size; ++y) {
        for (int x = 51; x < size; ++x)
            beyond += at(pixels, x, y) != 0;
        for (int x = 0; x < 8; ++x)
            behind += at(pixels, x, y) != 0;
    }
    EXPECT_EQ(beyond, 0);
    EXPECT_EQ(behind, 0);

    camera.setFlags(GL_Object::Selected);
    scene.setCurrentObject(&camera);
    const Picture current = pictureOf(camera);
    EXPECT_NE(std::find(current.begin(), current.end(), 0xFF00FF00u), current.end());
    scene.setCurrentObject(nullptr);
    EXPECT_EQ(hits(camera), (std::vector<std::vector<unsigned>>{{7}}));
}
} // namespace
