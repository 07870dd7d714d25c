#include "opengl/glglyphatlas_p.h"

#include <GL/gl.h>

using geometry::Box2f;

GL_GlyphAtlas::GL_GlyphAtlas(std::shared_ptr<VFontFace> face)
    : m_face(std::move(face)), m_pixels(std::size_t(size) * size)
{
    // Most texts need no more, and so the texture is sent once.
    for (char32_t c = U' '; c < 127; ++c)
        cell(m_face->glyphIndex(c));
}

GL_GlyphAtlas::~GL_GlyphAtlas()
{
    if (m_texture)
        glDeleteTextures(1, &m_texture);
}

const GL_GlyphAtlas::Cell* GL_GlyphAtlas::cell(unsigned glyph)
{
    const auto [at, isNew] = m_cells.try_emplace(glyph);
    Cell& cell = at->second;
    VFontFace::Picture picture;
    int x, y;
    if (isNew && m_face->picture(glyph, resolution, size / 4, picture) && place(picture, x, y)) {
        for (int row = 0; row < picture.height; ++row)
            std::copy_n(picture.coverage.data() + row * picture.width, picture.width,
                        m_pixels.data() + (y + picture.height - 1 - row) * size + x);
        m_isSent = false;
        // Half a margin more around it, where the edge fades out.
        const int more = margin / 2;
        const auto box = [&](int left, int bottom, float scale) {
            return Box2f(float(left - more) * scale, float(bottom - more) * scale,
                         float(left + picture.width + more) * scale,
                         float(bottom + picture.height + more) * scale);
        };
        cell.box = box(picture.left, picture.top - picture.height, 1.0f / resolution);
        cell.texture = box(x, y, 1.0f / size);
    }
    return cell.box.isEmpty() ? nullptr : &cell;
}

/// Finds room in rows.
bool GL_GlyphAtlas::place(const VFontFace::Picture& picture, int& x, int& y)
{
    const int width = picture.width + 2 * margin, height = picture.height + 2 * margin;
    if (m_x + width > size) {
        m_x = 0;
        m_y += m_rowHeight;
        m_rowHeight = 0;
    }
    if (m_y + height > size)
        return false;
    x = m_x + margin;
    y = m_y + margin;
    m_x += width;
    m_rowHeight = std::max(m_rowHeight, height);
    return true;
}

bool GL_GlyphAtlas::bind()
{
    if (!m_texture)
        glGenTextures(1, &m_texture);
    if (!m_texture)
        return false;
    glBindTexture(GL_TEXTURE_2D, m_texture);
    if (!m_isSent)
        send();
    return true;
}

void GL_GlyphAtlas::send()
{
    m_isSent = true;
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    for (const GLenum side : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T})
        glTexParameteri(GL_TEXTURE_2D, side, GL_CLAMP);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, levels - 1);
    std::vector<unsigned char> pixels = m_pixels;
    for (int level = 0, side = size; level < levels; ++level, side /= 2) {
        glTexImage2D(GL_TEXTURE_2D, level, GL_ALPHA8, side, side, 0, GL_ALPHA, GL_UNSIGNED_BYTE,
                     pixels.data());
        // Each pixel of the next level is the mean of four, written over what has been read.
        const int half = side / 2;
        for (int y = 0; y < half; ++y) {
            const unsigned char* const upper = pixels.data() + 2 * y * side;
            const unsigned char* const lower = upper + side;
            for (int x = 0; x < half; ++x)
                pixels[std::size_t(y * half + x)] = static_cast<unsigned char>(
                    (upper[2 * x] + upper[2 * x + 1] + lower[2 * x] + lower[2 * x + 1] + 2) / 4);
        }
    }
}
