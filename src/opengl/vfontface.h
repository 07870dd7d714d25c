#pragma once

#include "toolkit/zylexport.h"

#include <qbytearray.h>
#include <qstring.h>

#include <memory>
#include <vector>

class GL_Glyph;

/// One face of a font file: what its characters look like. Lengths are in ems.
///
/// Files hold TrueType, OpenType or Type 1 outlines; a font of pictures alone is none. A broken
/// outline is blank.
class ZYL_EXPORT VFontFace
{
public:
    /// A glyph drawn at a whole number of pixels to the em.
    struct Picture {
        int width = 0, height = 0;
        int left = 0, top = 0;               ///< of the upper left pixel from the origin, upwards
        std::vector<unsigned char> coverage; ///< row after row from the top, 255 inside
    };

    /// Null where there is no such face in the file or the bytes.
    static std::shared_ptr<VFontFace> open(const QString& file, int index = 0);
    static std::shared_ptr<VFontFace> fromData(const QByteArray& data, int index = 0);
    ~VFontFace();
    VFontFace(const VFontFace&) = delete;
    VFontFace& operator=(const VFontFace&) = delete;

    QString family() const;
    /// Such as "Bold Italic".
    QString style() const;
    /// How many faces the file has.
    int count() const;
    float ascent() const;
    /// Negative below the baseline.
    float descent() const;
    /// From one baseline to the next.
    float lineHeight() const;

    /// The number of the glyph of a Unicode character; 0 where the face has none.
    unsigned glyphIndex(char32_t character) const;
    /// The glyph of that number, of which 0 stands for what is missing. It lives as long as the
    /// face.
    const GL_Glyph& glyph(unsigned index);
    /// What is added to the advance of the left one of two glyphs.
    float kerning(unsigned left, unsigned right) const;
    /// False for a glyph that is blank, or larger than `most` pixels either way.
    bool picture(unsigned index, int pixels, int most, Picture& picture) const;

private:
    struct Private;

    explicit VFontFace(std::unique_ptr<Private> d);
    static std::shared_ptr<VFontFace> make(std::unique_ptr<Private> d, int error);

    std::unique_ptr<Private> d;
};
