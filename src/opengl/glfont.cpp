#include "opengl/glfont.h"

#include "kernel/vformatio.h"
#include "kernel/vzylfields_p.h"
#include "opengl/glglyphatlas_p.h"
#include "opengl/vfontdatabase.h"

#include <qfileinfo.h>

#include <map>

using zylfields::field;
using zylfields::filled;

struct GL_Font::Stored {
    static constexpr auto fields = std::tuple(
        filled("file", 0x80, &GL_Font::m_file), filled("family", 0x81, &GL_Font::m_family),
        filled("style", 0x82, &GL_Font::m_style), field("index", 0x83, &GL_Font::m_index, 0));
};

const VMetaClass GL_Font::metaClass("GL_Font", &GL_Font::factory, &GL_NamedObject::metaClass);

ZYLObject* GL_Font::factory()
{
    return new GL_Font;
}

const VMetaClass* GL_Font::metaObject() const
{
    return &metaClass;
}

GL_Font::GL_Font() = default;

GL_Font::~GL_Font() = default;

void GL_Font::setFile(const QString& file, int index)
{
    m_file = file;
    m_index = index;
    m_isOpen = false;
}

void GL_Font::setFamily(const QString& family, const QString& style)
{
    m_family = family;
    m_style = style;
    m_isOpen = false;
}

VFormatIO& GL_Font::read(VFormatIO& io)
{
    zylfields::read(GL_NamedObject::read(io), *this, Stored::fields);
    m_folder = io.fileName().isEmpty() ? QString() : QFileInfo(io.fileName()).absolutePath();
    m_isOpen = false;
    return io;
}

VFormatIO& GL_Font::write(VFormatIO& io) const
{
    return zylfields::write(GL_NamedObject::write(io), *this, Stored::fields);
}

void GL_Font::init(GL_Scene*)
{
    if (m_atlas)
        m_atlas->invalidate();
    if (m_isOpen)
        return;
    m_isOpen = true;
    m_atlas = nullptr;
    m_face = openFace();
    if (!m_face) {
        if (!m_file.isEmpty())
            qWarning("GL_Font::init: Cannot open %s", qPrintable(m_file));
        m_face = VFontDatabase::instance()->standardFace();
    }
}

std::shared_ptr<VFontFace> GL_Font::openFace() const
{
    VFontDatabase& database = *VFontDatabase::instance();
    if (!m_file.isEmpty()) {
        std::shared_ptr<VFontFace> face = database.face(m_file, m_index);
        if (!face && !m_folder.isEmpty() && QFileInfo(m_file).isRelative())
            face = database.face(m_folder + QLatin1Char('/') + m_file, m_index);
        return face;
    }
    const QString family = m_family.isEmpty() ? QString::fromUtf8(name(nullptr)) : m_family;
    if (family.isEmpty() && m_style.isEmpty())
        return nullptr;
    return database.findFace(family.isEmpty() ? QStringLiteral("sans-serif") : family, m_style);
}

GL_GlyphAtlas* GL_Font::atlas()
{
    if (!m_atlas && m_face)
        m_atlas = std::make_unique<GL_GlyphAtlas>(m_face);
    return m_atlas.get();
}

std::shared_ptr<GL_Font> GL_Font::standard(const GL_Scene* scene)
{
    static std::map<const GL_Scene*, std::weak_ptr<GL_Font>> fonts;
    for (auto it = fonts.begin(); it != fonts.end();)
        it = it->second.expired() ? fonts.erase(it) : std::next(it);
    std::shared_ptr<GL_Font> font = fonts[scene].lock();
    if (!font)
        fonts[scene] = font = std::make_shared<GL_Font>();
    font->init(nullptr);
    return font;
}
