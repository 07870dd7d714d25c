#pragma once

#include "geometry/zylbox.h"
#include "opengl/vfontface.h"

#include <unordered_map>
#include <vector>

/// The glyphs of a face as pictures in one texture, entered as they are needed and sent to GL at
/// the next drawing. Texts of ordinary size are drawn from it, a rectangle for each character.
class GL_GlyphAtlas
{
public:
    /// Pixels to the em. Larger texts are better drawn by their outlines.
    static constexpr int resolution = 48;

    struct Cell {
        geometry::Box2f box;     // in ems
        geometry::Box2f texture; // min is the lower left corner
    };

    explicit GL_GlyphAtlas(std::shared_ptr<VFontFace> face);
    ~GL_GlyphAtlas();
    GL_GlyphAtlas(const GL_GlyphAtlas&) = delete;
    GL_GlyphAtlas& operator=(const GL_GlyphAtlas&) = delete;

    /// Null for a glyph that is blank, too large, or for which no room is left.
    const Cell* cell(unsigned glyph);
    /// To be called where another GL context may have become current.
    void invalidate() { m_isSent = false; }
    /// Makes the texture current; false where there is none.
    bool bind();

private:
    static constexpr int size = 1024;
    static constexpr int levels = 4; // of detail
    // Around each picture, so that neighbours don't show at the coarser levels.
    static constexpr int margin = 1 << (levels - 1);

    bool place(const VFontFace::Picture& picture, int& x, int& y);
    void send();

    std::shared_ptr<VFontFace> m_face;
    std::unordered_map<unsigned, Cell> m_cells; // blank ones have an empty box
    std::vector<unsigned char> m_pixels;        // rows from the bottom up
    int m_x = 0, m_y = 0;                       // of the next picture
    int m_rowHeight = 0;
    bool m_isSent = false;
    unsigned m_texture = 0;
};
