#pragma once

#include "window/offscreencontext.h"

#include <opengl/glviewer.h>

class VImage;

/// A viewer without a window, in an OpenGL context of its own, for pictures and picks.
///
/// Needs no display. A scene's textures and lists live in the context in which the scene was first
/// drawn, so that the viewer should outlive the scene.
class OffscreenViewer : public GL_Viewer
{
public:
    /// A picture has at least one pixel each way.
    OffscreenViewer(int width, int height);
    ~OffscreenViewer() override;

    /// False when there is no context: `error` tells why, and nothing can be drawn.
    bool isValid() const { return m_context.isValid(); }
    const char* error() const { return m_context.error(); }

    /// False, with everything as it was, for a size that can't be had.
    bool resize(int width, int height);
    /// Draws, and returns the frame without transparency. Null without a context.
    VImage picture();

    void makeCurrent() override;

private:
    OffscreenContext m_context;
};
