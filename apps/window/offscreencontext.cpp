#include "window/offscreencontext.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <algorithm>
#include <cstring>

struct OffscreenContext::Egl {
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLConfig config = nullptr;
    EGLContext context = EGL_NO_CONTEXT;
    EGLSurface surface = EGL_NO_SURFACE;

    // The display isn't terminated: that unloads the driver, which then can't be loaded again
    // whole, and whose own leftovers couldn't be told from ours.
    ~Egl()
    {
        if (display == EGL_NO_DISPLAY)
            return;
        if (context != EGL_NO_CONTEXT && eglGetCurrentContext() == context)
            eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        if (surface != EGL_NO_SURFACE)
            eglDestroySurface(display, surface);
        if (context != EGL_NO_CONTEXT)
            eglDestroyContext(display, context);
    }

    bool openDisplay()
    {
        const char* const extensions = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
        const auto getPlatformDisplay = reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(
            eglGetProcAddress("eglGetPlatformDisplayEXT"));
        if (extensions && getPlatformDisplay &&
            std::strstr(extensions, "EGL_MESA_platform_surfaceless"))
            display =
                getPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
        if (display != EGL_NO_DISPLAY && eglInitialize(display, nullptr, nullptr))
            return true;
        display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
        return display != EGL_NO_DISPLAY && eglInitialize(display, nullptr, nullptr);
    }

    bool chooseConfig()
    {
        // A stencil buffer is welcome, but a driver without one draws all the same.
        for (const EGLint stencil : {8, 0}) {
            const EGLint wanted[] = {EGL_SURFACE_TYPE,
                                     EGL_PBUFFER_BIT,
                                     EGL_RENDERABLE_TYPE,
                                     EGL_OPENGL_BIT,
                                     EGL_RED_SIZE,
                                     8,
                                     EGL_GREEN_SIZE,
                                     8,
                                     EGL_BLUE_SIZE,
                                     8,
                                     EGL_ALPHA_SIZE,
                                     8,
                                     EGL_DEPTH_SIZE,
                                     24,
                                     EGL_STENCIL_SIZE,
                                     stencil,
                                     EGL_NONE};
            EGLint count = 0;
            if (eglChooseConfig(display, wanted, &config, 1, &count) && count > 0)
                return true;
        }
        return false;
    }

    EGLSurface makeSurface(int width, int height) const
    {
        const EGLint size[] = {EGL_WIDTH, width, EGL_HEIGHT, height, EGL_NONE};
        return eglCreatePbufferSurface(display, config, size);
    }

    const char* open(int width, int height)
    {
        if (!openDisplay())
            return "no EGL display";
        if (!eglBindAPI(EGL_OPENGL_API))
            return "no OpenGL for EGL";
        if (!chooseConfig())
            return "no EGL configuration with 8 bits a colour and 24 of depth";
        surface = makeSurface(width, height);
        if (surface == EGL_NO_SURFACE)
            return "no EGL surface of this size";
        context = eglCreateContext(display, config, EGL_NO_CONTEXT, nullptr);
        if (context == EGL_NO_CONTEXT)
            return "no OpenGL context";
        return eglMakeCurrent(display, surface, surface, context) ? nullptr
                                                                  : "the context can't be used";
    }
};

OffscreenContext::OffscreenContext(int width, int height)
    : m_egl(std::make_unique<Egl>()), m_width(std::max(width, 1)), m_height(std::max(height, 1))
{
    if (const char* const error = m_egl->open(m_width, m_height)) {
        m_error = error;
        m_egl.reset();
    }
}

OffscreenContext::~OffscreenContext() = default;

bool OffscreenContext::isValid() const
{
    return m_egl != nullptr;
}

bool OffscreenContext::makeCurrent()
{
    return m_egl && eglMakeCurrent(m_egl->display, m_egl->surface, m_egl->surface, m_egl->context);
}

bool OffscreenContext::resize(int width, int height)
{
    width = std::max(width, 1);
    height = std::max(height, 1);
    if (!m_egl || (width == m_width && height == m_height))
        return m_egl != nullptr;
    const EGLSurface surface = m_egl->makeSurface(width, height);
    if (surface == EGL_NO_SURFACE)
        return false;
    eglMakeCurrent(m_egl->display, surface, surface, m_egl->context);
    eglDestroySurface(m_egl->display, m_egl->surface);
    m_egl->surface = surface;
    m_width = width;
    m_height = height;
    return true;
}
