#include "window/qtviewer.h"

#include "window/pictures.h"

#include <kernel/vevent.h>

#include <qevent.h>

#include <GL/gl.h>

#include <cmath>

namespace
{
QSurfaceFormat surfaceFormat()
{
    QSurfaceFormat format;
    format.setRenderableType(QSurfaceFormat::OpenGL);
    format.setVersion(2, 1);
    format.setProfile(QSurfaceFormat::CompatibilityProfile);
    format.setDepthBufferSize(24);
    format.setStencilBufferSize(8);
    // With two buffers the front one can't be relied on after a swap: a rubber band drawn into it
    // would wipe the window.
    format.setSwapBehavior(QSurfaceFormat::SingleBuffer);
    return format;
}

int buttonsOf(Qt::MouseButtons buttons)
{
    return (buttons & Qt::LeftButton ? VEvent::LeftButton : 0) |
           (buttons & Qt::RightButton ? VEvent::RightButton : 0) |
           (buttons & Qt::MiddleButton ? VEvent::MidButton : 0);
}

int modifiersOf(Qt::KeyboardModifiers modifiers)
{
    return (modifiers & Qt::ShiftModifier ? VEvent::ShiftButton : 0) |
           (modifiers & Qt::ControlModifier ? VEvent::ControlButton : 0) |
           (modifiers & Qt::AltModifier ? VEvent::AltButton : 0) |
           (modifiers & Qt::MetaModifier ? VEvent::MetaButton : 0);
}
} // namespace

/// The library's viewer, which tells the window what it wants.
class QtViewer::Viewer : public GL_Viewer
{
public:
    explicit Viewer(QtViewer& window) : m_window(window) {}

    void makeCurrent() override { m_window.makeCurrent(); }
    void emitUpdate() override { m_window.requestUpdate(); }
    void emitSelectionChanged() override
    {
        m_window.requestUpdate();
        if (m_window.selectionChanged)
            m_window.selectionChanged();
    }

private:
    QtViewer& m_window;
};

QtViewer::QtViewer() : m_viewer(std::make_unique<Viewer>(*this))
{
    setSurfaceType(OpenGLSurface);
    setFormat(surfaceFormat());
    m_context.setFormat(surfaceFormat());
}

QtViewer::~QtViewer() = default;

GL_Viewer& QtViewer::viewer()
{
    return *m_viewer;
}

bool QtViewer::makeCurrent()
{
    if (m_failed)
        return false;
    if (!handle())
        create();
    if ((m_context.isValid() || m_context.create()) && m_context.makeCurrent(this))
        return true;
    m_failed = !m_context.isValid();
    if (m_failed)
        qWarning("QtViewer::makeCurrent: There is no OpenGL 2.1 for this display");
    return false;
}

void QtViewer::initializeScene()
{
    fitWindow();
    m_viewer->initialize();
    requestUpdate();
}

VImage QtViewer::picture()
{
    VImage image;
    fitWindow();
    const GL_Viewport& viewport = m_viewer->viewport();
    if (viewport.width < 1 || viewport.height < 1 || !makeCurrent())
        return image;
    m_viewer->render();
    m_viewer->readPixels(image, viewport.x, viewport.y, viewport.width, viewport.height);
    makeOpaque(image);
    return image;
}

void QtViewer::draw()
{
    if (!isExposed() || !makeCurrent())
        return;
    fitWindow();
    m_viewer->render();
    glFlush();
    // Does nothing for one buffer, but a driver may have given two.
    m_context.swapBuffers(this);
}

/// Tells the viewer the size of the frame, which follows the window's and the screen's scale.
void QtViewer::fitWindow()
{
    const double ratio = devicePixelRatio();
    m_viewer->reshape(int(std::lround(width() * ratio)), int(std::lround(height() * ratio)));
}

bool QtViewer::event(QEvent* event)
{
    if (event->type() == QEvent::UpdateRequest) {
        draw();
        return true;
    }
    return QWindow::event(event);
}

void QtViewer::exposeEvent(QExposeEvent*)
{
    draw();
}

void QtViewer::resizeEvent(QResizeEvent*)
{
    fitWindow();
    requestUpdate();
}

/// In the pixels of the frame, upward from the lower left.
geometry::Vector2i QtViewer::viewerPosition(const QPointF& position) const
{
    const double ratio = devicePixelRatio();
    return geometry::Vector2i(int(std::floor(position.x() * ratio)),
                              m_viewer->viewport().height - 1 -
                                  int(std::floor(position.y() * ratio)));
}

void QtViewer::sendMouse(int type, QMouseEvent* event)
{
    // Qt counts the button of a press among those that are held, and the library what was held
    // before.
    const int button = buttonsOf(event->button());
    const int held = buttonsOf(event->buttons());
    const int before = type == VEvent::MouseButtonRelease ? held | button : held & ~button;
    VMouseEvent sent(VEvent::Type(type), viewerPosition(event->position()), button,
                     before | modifiersOf(event->modifiers()));
    event->setAccepted(m_viewer->event(&sent));
}

void QtViewer::mousePressEvent(QMouseEvent* event)
{
    sendMouse(VEvent::MouseButtonPress, event);
    // The viewer doesn't tell of presses that add a node to the selection or take it away.
    if (event->modifiers() & (Qt::ShiftModifier | Qt::ControlModifier) &&
        m_viewer->mouseMode() == GL_Viewer::Select && event->button() == Qt::LeftButton)
        m_viewer->emitSelectionChanged();
}

void QtViewer::mouseReleaseEvent(QMouseEvent* event)
{
    sendMouse(VEvent::MouseButtonRelease, event);
}

void QtViewer::mouseDoubleClickEvent(QMouseEvent* event)
{
    sendMouse(VEvent::MouseButtonDblClick, event);
}

void QtViewer::mouseMoveEvent(QMouseEvent* event)
{
    sendMouse(VEvent::MouseMove, event);
}

void QtViewer::wheelEvent(QWheelEvent* event)
{
    const QPoint turned = event->angleDelta();
    const bool upright = turned.y() != 0 || turned.x() == 0;
    VWheelEvent sent(viewerPosition(event->position()), upright ? turned.y() : turned.x(),
                     buttonsOf(event->buttons()) | modifiersOf(event->modifiers()),
                     upright ? Zyl::Vertical : Zyl::Horizontal);
    event->setAccepted(m_viewer->event(&sent));
}
