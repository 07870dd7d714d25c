#pragma once

#include <opengl/glviewer.h>

#include <qopenglcontext.h>
#include <qwindow.h>

#include <functional>
#include <memory>

class VImage;

/// A Qt window over a `GL_Viewer`: draws its scene, and hands it the mouse.
///
/// It has one buffer, so that the viewer's rubber bands, which are drawn over the finished picture,
/// find it there. The OpenGL context is made at first need, whether the window shows or not.
/// `requestUpdate` draws soon, and calls in a row draw once.
class QtViewer : public QWindow
{
public:
    QtViewer();
    ~QtViewer() override;

    GL_Viewer& viewer();

    /// False, after a warning the first time, when there is no OpenGL.
    bool makeCurrent();
    /// Makes the viewer's scene ready and looks at it.
    void initializeScene();
    /// The frame as the window shows it, without rubber bands and transparency. Null without
    /// OpenGL, and before the window has a size.
    VImage picture();

    /// Called after the user has changed the selection.
    std::function<void()> selectionChanged;

protected:
    bool event(QEvent* event) override;
    void exposeEvent(QExposeEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    class Viewer;

    void draw();
    void fitWindow();
    geometry::Vector2i viewerPosition(const QPointF& position) const;
    void sendMouse(int type, QMouseEvent* event);

    QOpenGLContext m_context;
    bool m_failed = false; // to make the context
    std::unique_ptr<Viewer> m_viewer;
};
