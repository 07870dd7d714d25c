#pragma once

#include "geometry/geometryprinters.h"
#include "kernel/vevent.h"
#include "opengl/glscene.h"
#include "opengl/glviewer.h"
#include "window/offscreencontext.h"

#include <GL/gl.h>

#include <array>

/// A viewer of a window of its own that counts what it tells its window layer.
class ViewerProbe : public GL_Viewer
{
public:
    explicit ViewerProbe(int width = 100, int height = 100) : m_context(width, height)
    {
        glViewport(0, 0, width, height);
        reshape(width, height);
    }

    void makeCurrent() override { m_context.makeCurrent(); }
    void emitUpdate() override { ++updates; }
    void emitSelectionChanged() override { ++selections; }

    using GL_Viewer::draw;
    using GL_Viewer::drawAnti;
    using GL_Viewer::pickMatrix;
    using GL_Viewer::selectHits;

    /// Sends an event as a window layer does; true if it stayed accepted.
    bool press(int x, int y, int modifiers = 0, int button = VEvent::LeftButton)
    {
        return mouse(VEvent::MouseButtonPress, x, y, button, modifiers);
    }
    bool move(int x, int y) { return mouse(VEvent::MouseMove, x, y, VEvent::NoButton, 0); }
    bool release(int x, int y, int modifiers = 0, int button = VEvent::LeftButton)
    {
        return mouse(VEvent::MouseButtonRelease, x, y, button, modifiers);
    }

    std::array<int, 4> pixel(int x, int y)
    {
        unsigned char rgba[4] = {};
        makeCurrent();
        glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, rgba);
        return {rgba[0], rgba[1], rgba[2], rgba[3]};
    }
    std::vector<unsigned char> picture()
    {
        makeCurrent();
        std::vector<unsigned char> bytes(std::size_t(viewport().width * viewport().height * 4));
        glReadPixels(0, 0, viewport().width, viewport().height, GL_RGBA, GL_UNSIGNED_BYTE,
                     bytes.data());
        return bytes;
    }

    int updates = 0;
    int selections = 0;

private:
    bool mouse(VEvent::Type type, int x, int y, int button, int state)
    {
        VMouseEvent event(type, geometry::Vector2i(x, y), button, state);
        return GL_Viewer::event(&event);
    }

    OffscreenContext m_context;
};

/// An upright rectangle that faces +z, in its colour.
class Plate : public GL_Object
{
public:
    explicit Plate(float x0 = -1, float y0 = -1, float x1 = 1, float y1 = 1, float z = 0)
        : m_box(x0, y0, z, x1, y1, z)
    {
    }

    void bounds(geometry::Box3f& box) const override { box = m_box; }
    void draw(GL_RenderEvent*) override
    {
        const VColor c = color();
        glColor4ub(GLubyte(c.red()), GLubyte(c.green()), GLubyte(c.blue()), GLubyte(c.alpha()));
        drawQuad();
    }
    void hit(GL_RenderEvent*) override { drawQuad(); }

private:
    void drawQuad() const
    {
        glBegin(GL_QUADS);
        glVertex3f(m_box.min.x, m_box.min.y, m_box.min.z);
        glVertex3f(m_box.max.x, m_box.min.y, m_box.min.z);
        glVertex3f(m_box.max.x, m_box.max.y, m_box.min.z);
        glVertex3f(m_box.min.x, m_box.max.y, m_box.min.z);
        glEnd();
    }

    geometry::Box3f m_box;
};
