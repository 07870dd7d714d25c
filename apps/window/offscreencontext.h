#pragma once

#include <memory>

/// An OpenGL context without a window, by EGL: on no device at all where the driver can do that,
/// else on the default one. It has one buffer, which is drawn to and read as the front.
///
/// The driver stays loaded when the last context ends.
class OffscreenContext
{
public:
    /// Tries to make a context, and its surface of at least one pixel each way, current.
    OffscreenContext(int width, int height);
    ~OffscreenContext();
    OffscreenContext(const OffscreenContext&) = delete;
    OffscreenContext& operator=(const OffscreenContext&) = delete;

    bool isValid() const;
    /// Why there is no context.
    const char* error() const { return m_error; }
    int width() const { return m_width; }
    int height() const { return m_height; }

    bool makeCurrent();
    /// Makes the surface of another size; false leaves the old one.
    bool resize(int width, int height);

private:
    struct Egl;

    std::unique_ptr<Egl> m_egl;
    const char* m_error = "";
    int m_width = 0;
    int m_height = 0;
};
