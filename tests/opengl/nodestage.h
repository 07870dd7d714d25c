#pragma once

#include "opengl/glgroup.h"
#include "opengl/glrenderevent.h"
#include "opengl/glscene.h"
#include "opengl/glshape.h"
#include "opengl/glviewer.h"
#include "support/glrecorder.h"
#include "window/offscreencontext.h"

#include <GL/gl.h>

#include <vector>

/// A box from -half to half, wound counterclockwise as seen from outside. Counts its drawings.
class TestBox : public GL_Shape
{
public:
    explicit TestBox(float half = 0.5f, bool closed = true) { resize(half, closed); }

    void resize(float half, bool closed)
    {
        m_half = half;
        setShapeBounds(geometry::Box3f(-half, -half, -half, half, half, half));
        setClosed(closed);
    }
    void place(float x, float y, float z)
    {
        geometry::Matrix4f matrix;
        matrix.translate(x, y, z);
        setTransform(matrix);
    }

    void drawShape(GL_RenderEvent*) override
    {
        static constexpr int faces[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                                            {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
        static constexpr GLfloat normals[6][3] = {{0, 0, -1}, {0, 0, 1},  {0, -1, 0},
                                                  {0, 1, 0},  {-1, 0, 0}, {1, 0, 0}};
        ++drawn;
        glBegin(GL_QUADS);
        for (int i = 0; i < 6; ++i) {
            glNormal3fv(normals[i]);
            for (const int corner : faces[i])
                glVertex3f(corner & 1 ? m_half : -m_half, corner & 2 ? m_half : -m_half,
                           corner & 4 ? m_half : -m_half);
        }
        glEnd();
    }

    int drawn = 0;

private:
    float m_half;
};

/// A small picture of nodes, drawn without a viewer. At first x and y run from -1 to 1 and the view
/// goes from z = 2 down to z = -2, without perspective; one light comes from the viewer.
class NodeStage : public testing::Test
{
protected:
    static constexpr int size = 64;
    using Picture = std::vector<unsigned>;

    static void SetUpTestSuite() { context = new OffscreenContext(size, size); }
    static void TearDownTestSuite()
    {
        delete context;
        context = nullptr;
    }
    void SetUp() override
    {
        ASSERT_TRUE(context->isValid()) << context->error();
        glPushAttrib(GL_ALL_ATTRIB_BITS);
        glViewport(0, 0, size, size);
        glClearColor(0, 0, 0, 1);
        glEnable(GL_DEPTH_TEST);
        glEnable(GL_LIGHT0);
        glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 1);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glOrtho(-1, 1, -1, 1, -2, 2);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
    }
    void TearDown() override
    {
        EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        glPopAttrib();
    }

    static void setProjection(void (*make)())
    {
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        make();
        glMatrixMode(GL_MODELVIEW);
    }

    /// Draws into a cleared picture by an event of its own.
    template <class F>
    Picture picture(F draw)
    {
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        {
            GL_RenderEvent event(nullptr, &scene);
            draw(event);
        }
        Picture pixels(size * size);
        glReadPixels(0, 0, size, size, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
        return pixels;
    }
    Picture pictureOf(GL_NamedObject& node)
    {
        return picture([&](GL_RenderEvent& event) { node.draw(&event); });
    }
    static int litPixels(const Picture& pixels)
    {
        int lit = 0;
        for (const unsigned pixel : pixels)
            lit += (pixel & 0xFFFFFF) != 0;
        return lit;
    }
    /// Red, green and blue as 0xRRGGBB.
    static unsigned at(const Picture& pixels, int x, int y)
    {
        const unsigned pixel = pixels[std::size_t(y * size + x)];
        return (pixel & 255) << 16 | (pixel & 0xFF00) | (pixel >> 16 & 255);
    }

    /// The paths of names that selection gives, in the order of the records, each after the name 7
    /// that stands for the top level. `outsideNames` more stand before it.
    std::vector<std::vector<unsigned>> hits(GL_Object& node)
    {
        std::vector<unsigned> buffer(1 << 20);
        glSelectBuffer(GLsizei(buffer.size()), buffer.data());
        glRenderMode(GL_SELECT);
        glInitNames();
        glPushName(7);
        GL_RenderEvent event(nullptr, &scene);
        event.traversal.setSelecting(true);
        node.hit(&event);
        glPopName();
        const int count = glRenderMode(GL_RENDER);
        EXPECT_GE(count, 0);
        if (event.traversal.hasOwnNames())
            buffer = event.traversal.expand(buffer.data(), count);
        std::vector<std::vector<unsigned>> paths;
        const unsigned* record = buffer.data();
        for (int i = 0; i < count; ++i) {
            paths.emplace_back(record + 3, record + 3 + record[0]);
            record += 3 + record[0];
        }
        return paths;
    }

    static OffscreenContext* context;
    GL_Scene scene;
};
inline OffscreenContext* NodeStage::context = nullptr;
