#include "opengl/vfontface.h"

#include "opengl/gltextglyph.h"

#include <qfile.h>
#include <qfileinfo.h>

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

#include <cstring>
#include <unordered_map>

namespace
{
/// FreeType, as long as any face is open.
class Library
{
public:
    Library()
    {
        if (FT_Init_FreeType(&m_library) != 0)
            m_library = nullptr;
    }
    ~Library()
    {
        if (m_library)
            FT_Done_FreeType(m_library);
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    static std::shared_ptr<Library> instance()
    {
        static std::weak_ptr<Library> current;
        std::shared_ptr<Library> library = current.lock();
        if (!library)
            current = library = std::make_shared<Library>();
        return library;
    }
    FT_Library get() const { return m_library; }

private:
    FT_Library m_library = nullptr;
};

/// Takes FreeType's outline as a path in ems.
struct OutlineReader {
    geometry::GeneralPath2f path;
    float scale;

    geometry::Vector2f point(const FT_Vector* v) const
    {
        return geometry::Vector2f(float(v->x) * scale, float(v->y) * scale);
    }

    void close()
    {
        if (!path.types.isEmpty())
            path.closePath();
    }

    /// A segment whose degree is the number of the points.
    template <class... P>
    static int add(void* self, P... points)
    {
        auto& reader = *static_cast<OutlineReader*>(self);
        const geometry::Vector2f at[] = {reader.point(points)...};
        reader.path.curveTo(&at[0].x, int(sizeof...(points)));
        return 0;
    }

    static int moveTo(const FT_Vector* to, void* self)
    {
        auto& reader = *static_cast<OutlineReader*>(self);
        reader.close();
        const geometry::Vector2f at = reader.point(to);
        reader.path.moveTo(&at.x);
        return 0;
    }
    static int lineTo(const FT_Vector* to, void* self) { return add(self, to); }
    static int conicTo(const FT_Vector* control, const FT_Vector* to, void* self)
    {
        return add(self, control, to);
    }
    static int cubicTo(const FT_Vector* control1, const FT_Vector* control2, const FT_Vector* to,
                       void* self)
    {
        return add(self, control1, control2, to);
    }
};
constexpr FT_Outline_Funcs outlineReader = {&OutlineReader::moveTo,
                                            &OutlineReader::lineTo,
                                            &OutlineReader::conicTo,
                                            &OutlineReader::cubicTo,
                                            0,
                                            0};
} // namespace

struct VFontFace::Private {
    Private() : library(Library::instance()) {}
    ~Private()
    {
        if (face)
            FT_Done_Face(face);
    }

    float toEms(FT_Pos units) const { return float(units) * scale; }

    std::shared_ptr<Library> library;
    QByteArray data; // FreeType reads from it as long as the face is open
    FT_Face face = nullptr;
    float scale = 0;
    bool isSymbol = false;
    std::unordered_map<unsigned, std::unique_ptr<GL_Glyph>> glyphs;
};

VFontFace::VFontFace(std::unique_ptr<Private> p) : d(std::move(p)) {}

VFontFace::~VFontFace() = default;

std::shared_ptr<VFontFace> VFontFace::open(const QString& file, int index)
{
    auto p = std::make_unique<Private>();
    // A device or a pipe would never end.
    if (!p->library->get() || index < 0 || !QFileInfo(file).isFile())
        return nullptr;
    const int error =
        FT_New_Face(p->library->get(), QFile::encodeName(file).constData(), index, &p->face);
    return make(std::move(p), error);
}

std::shared_ptr<VFontFace> VFontFace::fromData(const QByteArray& data, int index)
{
    auto p = std::make_unique<Private>();
    if (!p->library->get() || index < 0)
        return nullptr;
    p->data = data;
    const int error =
        FT_New_Memory_Face(p->library->get(), reinterpret_cast<const FT_Byte*>(p->data.constData()),
                           FT_Long(p->data.size()), index, &p->face);
    return make(std::move(p), error);
}

std::shared_ptr<VFontFace> VFontFace::make(std::unique_ptr<Private> p, int error)
{
    if (error != 0) {
        p->face = nullptr;
        return nullptr;
    }
    if (!FT_IS_SCALABLE(p->face) || p->face->units_per_EM == 0)
        return nullptr;
    p->scale = 1.0f / float(p->face->units_per_EM);
    if (FT_Select_Charmap(p->face, FT_ENCODING_UNICODE) != 0)
        p->isSymbol = FT_Select_Charmap(p->face, FT_ENCODING_MS_SYMBOL) == 0;
    return std::shared_ptr<VFontFace>(new VFontFace(std::move(p)));
}

QString VFontFace::family() const
{
    return QString::fromLatin1(d->face->family_name);
}

QString VFontFace::style() const
{
    return QString::fromLatin1(d->face->style_name);
}

int VFontFace::count() const
{
    return int(d->face->num_faces);
}

float VFontFace::ascent() const
{
    return d->toEms(d->face->ascender);
}

float VFontFace::descent() const
{
    return d->toEms(d->face->descender);
}

float VFontFace::lineHeight() const
{
    return d->face->height > 0 ? d->toEms(d->face->height) : 1.2f;
}

unsigned VFontFace::glyphIndex(char32_t character) const
{
    const unsigned index = FT_Get_Char_Index(d->face, character);
    // Fonts of symbols have the plain characters in the private area.
    return index == 0 && d->isSymbol && character < 256
               ? FT_Get_Char_Index(d->face, 0xF000 + character)
               : index;
}

const GL_Glyph& VFontFace::glyph(unsigned index)
{
    std::unique_ptr<GL_Glyph>& known = d->glyphs[index];
    if (known)
        return *known;
    OutlineReader reader{{}, d->scale};
    reader.path.setWindingRule(geometry::NonZeroRule);
    float advance = 0;
    if (FT_Load_Glyph(d->face, index, FT_LOAD_NO_SCALE) == 0) {
        const FT_GlyphSlot slot = d->face->glyph;
        advance = d->toEms(slot->metrics.horiAdvance);
        if (slot->format == FT_GLYPH_FORMAT_OUTLINE) {
            if (FT_Outline_Decompose(&slot->outline, &outlineReader, &reader) != 0)
                reader.path = geometry::GeneralPath2f();
            reader.close();
        }
    }
    known = std::make_unique<GL_Glyph>(reader.path, advance, index);
    return *known;
}

float VFontFace::kerning(unsigned left, unsigned right) const
{
    FT_Vector kern;
    if (!FT_HAS_KERNING(d->face) ||
        FT_Get_Kerning(d->face, left, right, FT_KERNING_UNSCALED, &kern) != 0)
        return 0;
    return d->toEms(kern.x);
}

bool VFontFace::picture(unsigned index, int pixels, int most, Picture& picture) const
{
    const FT_Face face = d->face;
    if (FT_Set_Pixel_Sizes(face, 0, FT_UInt(pixels)) != 0 ||
        FT_Load_Glyph(face, index, FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP) != 0 ||
        face->glyph->format != FT_GLYPH_FORMAT_OUTLINE)
        return false;
    FT_BBox box;
    FT_Outline_Get_CBox(&face->glyph->outline, &box);
    const FT_Pos limit = FT_Pos(most) * 64;
    if (box.xMax - box.xMin > limit || box.yMax - box.yMin > limit ||
        FT_Render_Glyph(face->glyph, FT_RENDER_MODE_NORMAL) != 0)
        return false;
    const FT_Bitmap& bitmap = face->glyph->bitmap;
    if (bitmap.width == 0 || bitmap.rows == 0 || bitmap.pitch < int(bitmap.width) ||
        int(bitmap.width) > most + 1 || int(bitmap.rows) > most + 1)
        return false;
    picture.width = int(bitmap.width);
    picture.height = int(bitmap.rows);
    picture.left = face->glyph->bitmap_left;
    picture.top = face->glyph->bitmap_top;
    picture.coverage.resize(std::size_t(bitmap.width) * bitmap.rows);
    for (unsigned row = 0; row < bitmap.rows; ++row)
        std::memcpy(picture.coverage.data() + std::size_t(row) * bitmap.width,
                    bitmap.buffer + std::ptrdiff_t(row) * bitmap.pitch, bitmap.width);
    return true;
}
