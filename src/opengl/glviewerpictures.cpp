#include "kernel/vimage.h"
#include "opengl/glmanipulator.h"
#include "opengl/glscene.h"
#include "opengl/glviewer.h"

#include <GL/gl.h>
#include <qendian.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <vector>

using geometry::Vector2i;

namespace
{
/// Where in a pixel each pass of the antialiased picture looks.
constexpr double j8[8][2] = {{-0.334818, 0.435331},  {0.286438, -0.393495}, {0.459462, 0.141540},
                             {-0.414498, -0.192829}, {-0.183790, 0.082102}, {-0.079263, -0.317383},
                             {0.102254, 0.299133},   {0.164216, -0.054399}};

constexpr float fogColor[4] = {0.05f, 0.05f, 0.05f, 1};

void setEnabled(GLenum which, bool on)
{
    if (on)
        glEnable(which);
    else
        glDisable(which);
}

/// Keeps how pixels are laid out in memory, and has them without gaps until the end of the scope.
class PackedPixels
{
public:
    PackedPixels()
    {
        glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
        for (const GLenum setting :
             {GL_PACK_SWAP_BYTES, GL_PACK_LSB_FIRST, GL_PACK_ROW_LENGTH, GL_PACK_SKIP_ROWS,
              GL_PACK_SKIP_PIXELS, GL_UNPACK_SWAP_BYTES, GL_UNPACK_LSB_FIRST, GL_UNPACK_ROW_LENGTH,
              GL_UNPACK_SKIP_ROWS, GL_UNPACK_SKIP_PIXELS})
            glPixelStorei(setting, 0);
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    }
    ~PackedPixels() { glPopClientAttrib(); }
    PackedPixels(const PackedPixels&) = delete;
    PackedPixels& operator=(const PackedPixels&) = delete;
};

/// Reads from another buffer until the end of the scope.
class ReadBuffer
{
public:
    explicit ReadBuffer(GLenum buffer)
    {
        glGetIntegerv(GL_READ_BUFFER, &m_before);
        glReadBuffer(buffer);
    }
    ~ReadBuffer() { glReadBuffer(GLenum(m_before)); }
    ReadBuffer(const ReadBuffer&) = delete;
    ReadBuffer& operator=(const ReadBuffer&) = delete;

private:
    GLint m_before = GL_BACK;
};

/// Keeps attributes and both matrices, the latter being the identity until the end of the scope.
class FlatScope
{
public:
    explicit FlatScope(GLbitfield attributes)
    {
        glPushAttrib(attributes);
        for (const GLenum mode : {GL_PROJECTION, GL_MODELVIEW}) {
            glMatrixMode(mode);
            glPushMatrix();
            glLoadIdentity();
        }
    }
    ~FlatScope()
    {
        for (const GLenum mode : {GL_PROJECTION, GL_MODELVIEW}) {
            glMatrixMode(mode);
            glPopMatrix();
        }
        glPopAttrib();
    }
    FlatScope(const FlatScope&) = delete;
    FlatScope& operator=(const FlatScope&) = delete;
};

/// The mean of several pictures of a viewport: by the accumulation buffer, or by adding the pixels
/// up here where the context has none.
class PictureMean
{
public:
    PictureMean(const GL_Viewport& viewport, int count) : m_viewport(viewport), m_count(count)
    {
        GLint bits = 0;
        glGetIntegerv(GL_ACCUM_RED_BITS, &bits);
        m_accumulates = bits > 0;
        if (m_accumulates) {
            glClearAccum(0, 0, 0, 0);
            glClear(GL_ACCUM_BUFFER_BIT);
        } else {
            m_sums.resize(std::size_t(std::max(viewport.width, 0)) *
                          std::size_t(std::max(viewport.height, 0)) * 4);
            m_pixels.resize(m_sums.size());
        }
    }

    void add()
    {
        if (m_accumulates) {
            glAccum(GL_ACCUM, 1.0f / float(m_count));
            return;
        }
        GLint drawn = GL_BACK;
        glGetIntegerv(GL_DRAW_BUFFER, &drawn);
        const ReadBuffer buffer{GLenum(drawn)};
        const PackedPixels packed;
        glReadPixels(m_viewport.x, m_viewport.y, m_viewport.width, m_viewport.height, GL_RGBA,
                     GL_UNSIGNED_BYTE, m_pixels.data());
        for (std::size_t i = 0; i < m_sums.size(); ++i)
            m_sums[i] = quint16(m_sums[i] + m_pixels[i]);
    }

    void draw()
    {
        if (m_accumulates) {
            glAccum(GL_RETURN, 1);
            return;
        }
        for (std::size_t i = 0; i < m_sums.size(); ++i)
            m_pixels[i] = quint8((m_sums[i] + m_count / 2) / m_count);
        // As the accumulation buffer's return has it: only the colour changes, untouched by any
        // stage of drawing.
        const FlatScope flat(GL_ENABLE_BIT | GL_COLOR_BUFFER_BIT | GL_CURRENT_BIT |
                             GL_PIXEL_MODE_BIT);
        const PackedPixels packed;
        for (const GLenum stage :
             {GL_ALPHA_TEST, GL_BLEND, GL_COLOR_LOGIC_OP, GL_DEPTH_TEST, GL_DITHER, GL_FOG,
              GL_LIGHTING, GL_STENCIL_TEST, GL_TEXTURE_1D, GL_TEXTURE_2D})
            glDisable(stage);
        glPixelZoom(1, 1);
        glRasterPos2i(-1, -1);
        glDrawPixels(m_viewport.width, m_viewport.height, GL_RGBA, GL_UNSIGNED_BYTE,
                     m_pixels.data());
    }

private:
    const GL_Viewport& m_viewport;
    const int m_count;
    bool m_accumulates = false;
    std::vector<quint16> m_sums;
    std::vector<quint8> m_pixels;
};

/// Turns bytes in the order red, green, blue, alpha into words 0xAARRGGBB.
void wordsFromBytes(quint32* pixels, std::size_t count)
{
    for (quint32* const end = pixels + count; pixels != end; ++pixels) {
        const quint32 abgr = qFromLittleEndian(*pixels);
        *pixels = (abgr & 0xFF00FF00u) | (abgr >> 16 & 0xFFu) | (abgr & 0xFFu) << 16;
    }
}
} // namespace

void GL_Viewer::loadVolume(const GL_Viewport& v) const
{
    if (testFlags(Perspective))
        glFrustum(v.left, v.right, v.bottom, v.top, v.near, v.far);
    else
        glOrtho(v.left, v.right, v.bottom, v.top, v.near, v.far);
}

void GL_Viewer::draw(const GL_Viewport& viewport)
{
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    loadVolume(viewport);
    glMatrixMode(GL_MODELVIEW);
    if (m_scene) {
        const bool lacksLights = m_scene->lights().isEmpty();
        // A light stands where the matrix puts it as it is sent: here, in the eye.
        if (lacksLights)
            glLoadIdentity();
        m_scene->setEnvLights(lacksLights);
    }
    glLoadMatrixf(&m_modelView.m[0][0]);
    setEnabled(GL_FOG, testFlags(Fog));
    if (testFlags(Fog)) {
        glFogfv(GL_FOG_COLOR, fogColor);
        glFogf(GL_FOG_DENSITY, 0.01f);
        glFogf(GL_FOG_START, float(m_distance - m_diameter));
        glFogf(GL_FOG_END, float(m_distance + m_diameter));
        glFogi(GL_FOG_MODE, GL_EXP2);
    }
    setEnabled(GL_DITHER, testFlags(Dither));
    if (m_scene)
        m_scene->draw(this);
}

void GL_Viewer::drawAnti(const GL_Viewport& viewport)
{
    PictureMean mean(viewport, int(std::size(j8)));
    const double size = 0.5 * m_pixelSize;
    for (const auto& [jx, jy] : j8) {
        GL_Viewport moved = viewport;
        moved.left += size * jx;
        moved.right += size * jx;
        moved.bottom += size * jy;
        moved.top += size * jy;
        draw(moved);
        mean.add();
    }
    mean.draw();
}

void GL_Viewer::render()
{
    makeCurrent();
    if (testFlags(Antialias))
        drawAnti(m_viewport);
    else
        draw(m_viewport);
    if (testFlags(ShowAxis))
        GL_Manipulator::drawAxis(this);
}

void GL_Viewer::readPixels(VImage& image, int x, int y, int width, int height)
{
    VImage picture(width, height, 32);
    if (!picture.isNull()) {
        makeCurrent();
        const PackedPixels packed;
        const ReadBuffer front(GL_FRONT);
        glReadPixels(x, y, width, height, GL_RGBA, GL_UNSIGNED_BYTE, picture.bits());
        wordsFromBytes(reinterpret_cast<quint32*>(picture.bits()),
                       std::size_t(picture.numBytes()) / sizeof(quint32));
    }
    // The rows of GL run upward.
    image = picture.mirror();
}

int GL_Viewer::renderFeedback(float* buffer, int, int, int, int, int size)
{
    makeCurrent();
    glFeedbackBuffer(size, GL_3D_COLOR, buffer);
    glRenderMode(GL_FEEDBACK);
    draw(m_viewport);
    return glRenderMode(GL_RENDER);
}

bool GL_Viewer::readFeedback(float*& data, int& count, int& size, int x, int y, int width,
                             int height)
{
    data = nullptr;
    count = 0;
    for (size = 10000;; size *= 2) {
        data = static_cast<float*>(std::malloc(std::size_t(size) * sizeof(float)));
        if (!data)
            return false;
        count = renderFeedback(data, x, y, width, height, size);
        if (count > 0)
            return true;
        std::free(data);
        data = nullptr;
        // A scene without feedback has none in a larger buffer either.
        if (count == 0 || size > std::numeric_limits<int>::max() / 2)
            return false;
    }
}

void GL_Viewer::drawLasso(const Vector2i& a, const Vector2i& b)
{
    // A window of one pixel leaves no room for the volume of the drawing.
    if (a == b || m_viewport.width < 2 || m_viewport.height < 2)
        return;
    makeCurrent();
    const FlatScope flat(GL_LINE_BIT | GL_DEPTH_BUFFER_BIT | GL_ENABLE_BIT | GL_COLOR_BUFFER_BIT);
    glOrtho(0, m_viewport.width - 1, 0, m_viewport.height - 1, 0, 1);
    glDrawBuffer(GL_FRONT);
    glLineWidth(1);
    for (const GLenum stage : {GL_DEPTH_TEST, GL_COLOR_MATERIAL, GL_LIGHTING, GL_DITHER})
        glDisable(stage);
    glShadeModel(GL_FLAT);
    glDepthMask(GL_FALSE);
    glEnable(GL_COLOR_LOGIC_OP);
    glLogicOp(GL_INVERT);
    glColor3f(1, 1, 1);
    glBegin(GL_LINE_LOOP);
    glVertex2i(a.x, a.y);
    glVertex2i(b.x, a.y);
    glVertex2i(b.x, b.y);
    glVertex2i(a.x, b.y);
    glEnd();
    glFinish();
}
