// Font files from bytes: whatever is in them, glyphs come to an end as outlines, solids and
// pictures.

#include "opengl/gltextglyph.h"
#include "opengl/vfontface.h"
#include "support.h"

#include <cmath>

using fuzz::require;

namespace
{
void use(const GL_Glyph& glyph)
{
    require(std::isfinite(glyph.advance()));
    const GL_Glyph::Shape& shape = glyph.shape(3);
    for (const unsigned corner : shape.triangles)
        require(corner < shape.points.size());
    unsigned begin = 0;
    for (const unsigned end : shape.ends) {
        require(end >= begin + 3 && end <= shape.points.size());
        begin = end;
    }
    const GL_Glyph::Solid& solid = glyph.solid(3);
    require(solid.frontCount == shape.triangles.size());
    for (const unsigned corner : solid.triangles)
        require(corner < solid.vertices.size());
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::silence();
    const auto face =
        VFontFace::fromData(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));
    if (!face)
        return 0;
    require(std::isfinite(face->lineHeight()) && face->lineHeight() > 0);
    face->family();
    face->style();
    unsigned before = 0;
    for (const char32_t c : {U' ', U'A', U'O', U'D', U'i', U'X', char32_t(0x1F600), U'~'}) {
        const unsigned index = face->glyphIndex(c);
        use(face->glyph(index));
        face->kerning(before, index);
        VFontFace::Picture picture;
        if (face->picture(index, 20, 200, picture))
            require(picture.coverage.size() ==
                    std::size_t(picture.width) * std::size_t(picture.height));
        before = index;
    }
    use(face->glyph(8));
    return 0;
}
