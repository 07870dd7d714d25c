#pragma once

#include "opengl/glrenderevent.h"
#include "opengl/glscene.h"
#include "opengl/glviewer.h"

#include <GL/gl.h>

/// Makes a colour current.
inline void glColor(VColor color)
{
    const geometry::Vector4f channels(color);
    glColor4fv(&channels.x);
}

/// Draws in plain colours until the end of the scope, as the frames of selected nodes are. The
/// current colour, point size and line width are put back then.
class GL_FrameScope
{
public:
    explicit GL_FrameScope(GL_RenderEvent* event)
    {
        glPushAttrib(GL_CURRENT_BIT | GL_POINT_BIT | GL_LINE_BIT);
        if (event->traversal.isSelecting())
            return;
        GL_State& state = event->state;
        // The next shape has to apply its material whole.
        if (state.isEnabled(GL_State::Texture2D) || state.isEnabled(GL_State::Blend))
            event->material = nullptr;
        for (const GL_State::Switch which :
             {GL_State::Lighting, GL_State::Normalize, GL_State::Blend, GL_State::Texture2D})
            state.setEnabled(which, false);
        state.setShadeModel(GL_FLAT);
    }
    ~GL_FrameScope() { glPopAttrib(); }
    GL_FrameScope(const GL_FrameScope&) = delete;
    GL_FrameScope& operator=(const GL_FrameScope&) = delete;
};

/// Shows that a shape or curve is selected: its hull, and its handles if it is the current object.
template <class T>
void drawSelected(T& node, GL_RenderEvent* event)
{
    const GL_FrameScope frame(event);
    if (event->scene && event->scene->currentObject() == &node) {
        glPointSize(4);
        glColor(GL_Viewer::m_handleColor);
        node.drawHandles(event);
        glColor(GL_Viewer::m_selectColor);
    } else {
        glColor(GL_Viewer::m_boundColor);
    }
    node.drawHull(event);
}
