#include "opengl/glrenderevent.h"

#include "opengl/glviewer.h"

#include <GL/gl.h>

#include <cstdlib>

namespace
{
/// Rows of pixels one behind the other in memory, whatever stood, until the end of the scope.
class PackedPixels
{
public:
    PackedPixels()
    {
        glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
        for (const GLenum name : {GL_PACK_ALIGNMENT, GL_UNPACK_ALIGNMENT})
            glPixelStorei(name, 1);
        for (const GLenum name : {GL_PACK_ROW_LENGTH, GL_PACK_SKIP_ROWS, GL_PACK_SKIP_PIXELS,
                                  GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_ROWS, GL_UNPACK_SKIP_PIXELS})
            glPixelStorei(name, 0);
    }
    ~PackedPixels() { glPopClientAttrib(); }
    PackedPixels(const PackedPixels&) = delete;
    PackedPixels& operator=(const PackedPixels&) = delete;
};

struct Plane {
    GLenum format;
    GLenum type;
    std::size_t size;
};
constexpr Plane depthPlane = {GL_DEPTH_COMPONENT, GL_FLOAT, sizeof(float)};
constexpr Plane stencilPlane = {GL_STENCIL_INDEX, GL_UNSIGNED_BYTE, 1};

template <class T>
void save(const GL_Viewer* viewer, const Plane& plane, T*& buffer)
{
    if (!viewer)
        return;
    const GL_Viewport& v = viewer->viewport();
    if (v.width <= 0 || v.height <= 0)
        return;
    if (!buffer)
        buffer =
            static_cast<T*>(std::malloc(std::size_t(v.width) * std::size_t(v.height) * plane.size));
    if (!buffer)
        return;
    const PackedPixels packed;
    glReadPixels(v.x, v.y, v.width, v.height, plane.format, plane.type, buffer);
}

void restore(const GL_Viewer* viewer, const Plane& plane, const void* buffer)
{
    const GL_Viewport& v = viewer->viewport();
    const PackedPixels packed;
    glDisable(GL_STENCIL_TEST);
    glPushMatrix();
    glLoadIdentity();
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    glOrtho(0, v.width, 0, v.height, 0, 1);
    glRasterPos2i(v.x, v.y);
    glDrawPixels(v.width, v.height, plane.format, plane.type, buffer);
    glPopMatrix();
    glMatrixMode(GL_MODELVIEW);
    glPopMatrix();
    glEnable(GL_STENCIL_TEST);
}
} // namespace

GL_RenderEvent::GL_RenderEvent(GL_Viewer* v, GL_Scene* s) : viewer(v), scene(s), traversal(s)
{
    constexpr unsigned bothFaces = 2;
    defaultMaterial.setFlags((defaultMaterial.flags() & ~unsigned(GL_Material::FaceMask)) |
                             bothFaces);
}

GL_RenderEvent::~GL_RenderEvent()
{
    state.settle();
    std::free(depthBuffer);
    std::free(stencilBuffer);
}

void GL_RenderEvent::saveDepth()
{
    save(viewer, depthPlane, depthBuffer);
}

void GL_RenderEvent::saveStencil()
{
    save(viewer, stencilPlane, stencilBuffer);
}

void GL_RenderEvent::restoreDepth()
{
    if (!depthBuffer)
        return;
    glStencilMask(0);
    glColorMask(0, 0, 0, 0);
    glDepthMask(1);
    glDepthFunc(GL_ALWAYS);
    restore(viewer, depthPlane, depthBuffer);
    glDepthFunc(GL_LESS);
    glStencilMask(~0u);
    state.forget();
}

void GL_RenderEvent::restoreStencil()
{
    if (!stencilBuffer)
        return;
    restore(viewer, stencilPlane, stencilBuffer);
    state.forget();
}
