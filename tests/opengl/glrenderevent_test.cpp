#include "opengl/glrenderevent.h"

#include "opengl/nodestage.h"

using testing::ElementsAre;

class GL_RenderEventTest : public NodeStage
{
protected:
    void SetUp() override
    {
        NodeStage::SetUp();
        viewer.reshape(33, 20); // rows that are no whole words
    }
    static void fill(float depth, int stencil)
    {
        glClearDepth(double(depth));
        glClearStencil(stencil);
        glClear(GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    }
    static float depthAt(int x, int y)
    {
        float depth = -1;
        glReadPixels(x, y, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
        return depth;
    }
    static int stencilAt(int x, int y)
    {
        GLubyte stencil = 255;
        glReadPixels(x, y, 1, 1, GL_STENCIL_INDEX, GL_UNSIGNED_BYTE, &stencil);
        return stencil;
    }
    GL_Viewer viewer;
};

TEST_F(GL_RenderEventTest, StartsOnASinglePass)
{
    GL_RenderEvent event(&viewer, &scene);
    EXPECT_EQ(event.pass, -1);
    EXPECT_EQ(event.defaultMaterial.flags() & GL_Material::FaceMask, 2u);
}

TEST_F(GL_RenderEventTest, PutsDepthBackWithinTheViewport)
{
    GL_RenderEvent event(&viewer, &scene);
    event.restoreDepth(); // nothing yet
    fill(0.25f, 0);
    event.saveDepth();
    const float* const buffer = event.depthBuffer;
    fill(0.75f, 0);
    event.restoreDepth();
    EXPECT_NEAR(depthAt(0, 0), 0.25f, 1e-5);
    EXPECT_NEAR(depthAt(32, 19), 0.25f, 1e-5);
    EXPECT_NEAR(depthAt(33, 19), 0.75f, 1e-5);
    GLboolean mask[4] = {1, 1, 1, 1};
    glGetBooleanv(GL_COLOR_WRITEMASK, mask);
    EXPECT_THAT(mask, testing::Each(GLboolean(0))); // left to the caller
    GLint function = 0, mode = 0;
    glGetIntegerv(GL_DEPTH_FUNC, &function);
    glGetIntegerv(GL_MATRIX_MODE, &mode);
    EXPECT_EQ(function, GL_LESS);
    EXPECT_EQ(mode, GL_MODELVIEW);
    event.saveDepth();
    EXPECT_EQ(event.depthBuffer, buffer);
}

TEST_F(GL_RenderEventTest, PutsTheStencilBack)
{
    GLint bits = 0;
    glGetIntegerv(GL_STENCIL_BITS, &bits);
    ASSERT_GT(bits, 0);
    GL_RenderEvent event(&viewer, &scene);
    event.restoreStencil();
    fill(1, 5);
    event.saveStencil();
    fill(1, 9);
    event.restoreStencil();
    EXPECT_EQ(stencilAt(0, 0), 5);
    EXPECT_EQ(stencilAt(32, 19), 5);
    EXPECT_EQ(stencilAt(33, 19), 9);
    EXPECT_TRUE(glIsEnabled(GL_STENCIL_TEST));
}

TEST_F(GL_RenderEventTest, KeepsItsOrderOfCalls)
{
    GL_RenderEvent event(&viewer, &scene);
    event.saveDepth();
    GLRecorder gl;
    event.restoreDepth();
    EXPECT_THAT(
        gl.take({"glStencilMask", "glColorMask", "glDepthMask", "glDepthFunc", "glDisable",
                 "glEnable", "glPushMatrix", "glPopMatrix", "glLoadIdentity", "glMatrixMode",
                 "glOrtho", "glRasterPos2i", "glDrawPixels"}),
        ElementsAre("glStencilMask(0)", "glColorMask(0, 0, 0, 0)", "glDepthMask(1)",
                    "glDepthFunc(GL_ALWAYS)", "glDisable(GL_STENCIL_TEST)", "glPushMatrix()",
                    "glLoadIdentity()", "glMatrixMode(GL_PROJECTION)", "glPushMatrix()",
                    "glLoadIdentity()", "glOrtho(0, 33, 0, 20, 0, 1)", "glRasterPos2i(0, 0)",
                    "glDrawPixels(33, 20, GL_DEPTH_COMPONENT, GL_FLOAT, data)", "glPopMatrix()",
                    "glMatrixMode(GL_MODELVIEW)", "glPopMatrix()", "glEnable(GL_STENCIL_TEST)",
                    "glDepthFunc(GL_LESS)", testing::StartsWith("glStencilMask(4.29")));
}
