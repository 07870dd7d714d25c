#include "opengl/viewerprobe.h"

#include "kernel/vimage.h"
#include "opengl/gllight.h"

#include <cstdlib>

using geometry::Quaternion;
using geometry::Vector2i;

namespace
{
/// Fills the window with a grey that grows by 33 a picture, and notes where each picture looks.
class Counter : public GL_Object
{
public:
    void draw(GL_RenderEvent*) override
    {
        double m[16];
        glGetDoublev(GL_PROJECTION_MATRIX, m);
        offsets.push_back({m[12], m[13]});
        const GLubyte grey = GLubyte(33 * ((offsets.size() - 1) % 8));
        glColor3ub(grey, grey, 255);
        glRectf(-9, -9, 9, 9);
    }
    std::vector<std::array<double, 2>> offsets;
};

class Triangles : public GL_Object
{
public:
    explicit Triangles(int count) : m_count(count) {}
    void draw(GL_RenderEvent*) override
    {
        glBegin(GL_TRIANGLES);
        for (int i = 0; i < m_count; ++i) {
            glVertex3f(0, 0, 0);
            glVertex3f(0.5f, 0, 0);
            glVertex3f(0, 0.5f, 0);
        }
        glEnd();
    }

private:
    int m_count;
};

class Pictures : public testing::Test
{
protected:
    Pictures()
    {
        viewer.setProjection(0);
        viewer.setScene(&scene);
        scene.initialize();
    }
    template <class Node>
    Node* add(Node* node, unsigned color = 0xFFFFFFFFu)
    {
        node->setColor(VColor(color));
        scene.objects().append(node);
        return node;
    }

    // 100 x 100 pixels of 0.02 around the origin.
    ViewerProbe viewer;
    GL_Scene scene;
};

using Rgba = std::array<int, 4>;

TEST_F(Pictures, ReadsRowsFromTheTopAndChannelsInTheirPlaces)
{
    add(new Plate(-1, -1, 0, 0), 0xFF102030u); // in the lower left quarter
    viewer.render();
    VImage image;
    glPixelStorei(GL_PACK_ROW_LENGTH, 7);
    glPixelStorei(GL_PACK_SKIP_ROWS, 3);
    viewer.readPixels(image, 40, 30, 30, 40);
    GLint rowLength = 0;
    glGetIntegerv(GL_PACK_ROW_LENGTH, &rowLength);
    EXPECT_EQ(rowLength, 7);
    glPixelStorei(GL_PACK_ROW_LENGTH, 0);
    glPixelStorei(GL_PACK_SKIP_ROWS, 0);
    ASSERT_EQ(image.depth(), 32);
    ASSERT_EQ(image.width(), 30);
    ASSERT_EQ(image.height(), 40);
    EXPECT_EQ(image.pixel(0, 39), 0xFF102030u);
    EXPECT_EQ(image.pixel(9, 20), 0xFF102030u);
    EXPECT_EQ(image.pixel(10, 20) & 0xFFFFFF, 0u);
    EXPECT_EQ(image.pixel(9, 19) & 0xFFFFFF, 0u);
    viewer.readPixels(image, 0, 0, 0, 5);
    EXPECT_TRUE(image.isNull());
}

TEST_F(Pictures, TheAntialiasedPictureIsTheMeanOfEightShiftedOnes)
{
    auto* const counter = add(new Counter);
    viewer.setFlags(GL_Viewer::Antialias, true);
    viewer.render();
    // Grey from 0 to 231: 115.5, rounded.
    EXPECT_EQ(viewer.pixel(0, 0), (Rgba{116, 116, 255, 255}));
    EXPECT_EQ(viewer.pixel(99, 99), (Rgba{116, 116, 255, 255}));
    const double jitter[8][2] = {
        {-0.334818, 0.435331}, {0.286438, -0.393495},  {0.459462, 0.141540}, {-0.414498, -0.192829},
        {-0.183790, 0.082102}, {-0.079263, -0.317383}, {0.102254, 0.299133}, {0.164216, -0.054399}};
    ASSERT_EQ(counter->offsets.size(), 8u);
    for (int i = 0; i < 8; ++i) {
        // The volume moves by half a pixel times the offset, and the picture against it.
        EXPECT_NEAR(counter->offsets[std::size_t(i)][0], -0.01 * jitter[i][0], 1e-7);
        EXPECT_NEAR(counter->offsets[std::size_t(i)][1], -0.01 * jitter[i][1], 1e-7);
    }
    viewer.setFlags(GL_Viewer::Antialias, false);
    viewer.render();
    EXPECT_EQ(counter->offsets.size(), 9u);
    EXPECT_NEAR(counter->offsets[8][0], 0, 1e-12);
}

TEST_F(Pictures, TheMeanOfPicturesIsUntouchedByWhatDrawingLeaves)
{
    add(new Plate(-0.505f, -0.505f, 0.5f, 0.5f, 0.5f), 0xFF804020u);
    viewer.setFlags(GL_Viewer::Antialias, true);
    viewer.setFlags(GL_Viewer::Fog, true);
    viewer.render();
    const auto plain = viewer.picture();
    EXPECT_EQ(viewer.pixel(50, 50), (Rgba{0x80, 0x40, 0x20, 255}));
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE);
    glColor4f(0.5f, 0, 0, 0.5f);
    glPixelZoom(0.5f, 0.5f);
    GLint mode = 0;
    viewer.render();
    EXPECT_TRUE(glIsEnabled(GL_BLEND));
    glGetIntegerv(GL_MATRIX_MODE, &mode);
    EXPECT_EQ(mode, GL_MODELVIEW);
    EXPECT_EQ(viewer.picture(), plain);
    glDisable(GL_BLEND);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST_F(Pictures, ALassoDrawnTwiceLeavesNoTrace)
{
    add(new Plate(-0.5f, -0.5f, 0.5f, 0.5f), 0xFF204060u);
    viewer.render();
    const auto before = viewer.picture();
    glEnable(GL_DEPTH_TEST);
    glMatrixMode(GL_MODELVIEW);
    viewer.drawLasso(Vector2i(20, 20), Vector2i(20, 20));
    EXPECT_EQ(viewer.picture(), before);
    viewer.drawLasso(Vector2i(80, 70), Vector2i(30, 40));
    EXPECT_EQ(viewer.pixel(50, 55), (Rgba{0x20, 0x40, 0x60, 255}));
    int inverted = 0;
    for (int y = 65; y < 75; ++y)
        inverted += viewer.pixel(50, y)[0] == 0xDF;
    EXPECT_EQ(inverted, 1);
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
    EXPECT_FALSE(glIsEnabled(GL_COLOR_LOGIC_OP));
    GLboolean writesDepth = GL_FALSE;
    glGetBooleanv(GL_DEPTH_WRITEMASK, &writesDepth);
    EXPECT_TRUE(writesDepth);
    viewer.drawLasso(Vector2i(80, 70), Vector2i(30, 40));
    EXPECT_EQ(viewer.picture(), before);
    viewer.drawLasso(Vector2i(-20, -5), Vector2i(300, 99));
    viewer.drawLasso(Vector2i(-20, -5), Vector2i(300, 99));
    EXPECT_EQ(viewer.picture(), before);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST_F(Pictures, FogAndDitherFollowTheFlags)
{
    viewer.setDistance(5);
    viewer.setFlags(GL_Viewer::Fog | GL_Viewer::Dither, true);
    viewer.render();
    EXPECT_TRUE(glIsEnabled(GL_FOG));
    EXPECT_TRUE(glIsEnabled(GL_DITHER));
    float color[4] = {}, start = 0, end = 0, density = 0;
    GLint mode = 0;
    glGetFloatv(GL_FOG_COLOR, color);
    glGetFloatv(GL_FOG_START, &start);
    glGetFloatv(GL_FOG_END, &end);
    glGetFloatv(GL_FOG_DENSITY, &density);
    glGetIntegerv(GL_FOG_MODE, &mode);
    EXPECT_FLOAT_EQ(color[0], 0.05f);
    EXPECT_FLOAT_EQ(color[3], 1);
    EXPECT_FLOAT_EQ(start, 3);
    EXPECT_FLOAT_EQ(end, 7);
    EXPECT_FLOAT_EQ(density, 0.01f);
    EXPECT_EQ(mode, GL_EXP2);
    viewer.setFlags(GL_Viewer::Fog | GL_Viewer::Dither, false);
    viewer.render();
    EXPECT_FALSE(glIsEnabled(GL_FOG));
    EXPECT_FALSE(glIsEnabled(GL_DITHER));
}

TEST_F(Pictures, LightsOfTheEyeStandStillAndOnlyWhereTheSceneHasNone)
{
    viewer.setOrientation(Quaternion(1, 2, 3, 4));
    viewer.render();
    float at[4] = {};
    glGetLightfv(GL_LIGHT0, GL_POSITION, at);
    EXPECT_TRUE(glIsEnabled(GL_LIGHT0));
    EXPECT_TRUE(glIsEnabled(GL_LIGHT1));
    EXPECT_EQ((std::array<float, 4>{at[0], at[1], at[2], at[3]}),
              (std::array<float, 4>{-2, 2, 3, 0}));
    scene.lights().append(new GL_Light);
    viewer.render();
    EXPECT_FALSE(glIsEnabled(GL_LIGHT1));
}

TEST_F(Pictures, FeedbackTellsThePolygonsInPixels)
{
    std::vector<float> buffer(1000);
    EXPECT_EQ(viewer.renderFeedback(buffer.data(), 0, 0, 0, 0, 1000), 0);
    float* data = nullptr;
    int count = -1, size = 0;
    EXPECT_FALSE(viewer.readFeedback(data, count, size, 0, 0, 100, 100));
    EXPECT_EQ(data, nullptr);

    // A token, a count, and three vertices of a place and a colour each: 23 numbers.
    add(new Triangles(1000));
    EXPECT_LT(viewer.renderFeedback(buffer.data(), 0, 0, 0, 0, 1000), 0);
    ASSERT_TRUE(viewer.readFeedback(data, count, size, 0, 0, 100, 100));
    EXPECT_EQ(count, 1000 * 23);
    EXPECT_EQ(size, 40000);
    EXPECT_EQ(data[0], float(GL_POLYGON_TOKEN));
    EXPECT_EQ(data[1], 3);
    EXPECT_FLOAT_EQ(data[2], 50);
    EXPECT_FLOAT_EQ(data[9], 75);
    std::free(data);
}
} // namespace
