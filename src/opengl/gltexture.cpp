#include "opengl/gltexture.h"

#include "kernel/vglobal.h"
#include "kernel/vimage.h"
#include "kernel/vzylfields_p.h"
#include "opengl/glactionevent_p.h"
#include "opengl/glnamelist_p.h"
#include "opengl/glrenderevent.h"

#include <qfileinfo.h>

#include <GL/gl.h>
#include <GL/glu.h>

using zylfields::field;

namespace
{
constexpr GLenum environmentModes[] = {GL_REPLACE, GL_MODULATE, GL_DECAL, GL_BLEND};

/// How many references may follow one another. Those of a file can form a ring.
constexpr int referenceLimit = 256;

/// Makes an image without alpha opaque, but for the pixels of the transparent colour if there is
/// one. The unused bytes of its pixels can hold anything.
void setAlpha(VImage& image, const VColor* transparent)
{
    constexpr unsigned rgb = 0x00FFFFFF;
    image.setAlphaBuffer(true);
    for (int y = 0; y < image.height(); ++y) {
        auto* const line = reinterpret_cast<unsigned*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x)
            if (transparent && ((line[x] ^ transparent->pixel()) & rgb) == 0)
                line[x] &= rgb;
            else
                line[x] |= ~rgb;
    }
}

/// Devices and pipes, which a file's name may lead to as well, would never end.
bool isFile(const QString& path)
{
    return QFileInfo(path).isFile();
}

QString folderOf(const VFormatIO& io)
{
    return io.fileName().isEmpty() ? QString() : QFileInfo(io.fileName()).absolutePath();
}
} // namespace

struct GL_Texture::Stored {
    static constexpr auto flags = std::tuple(field("flags", 0x03, &GL_Texture::m_flags, 0u));
    struct Word {
        const char* key;
        unsigned flag;
    };
    static constexpr Word words[] = {{"wrap_s", WrapS}, {"wrap_t", WrapT}};
};

struct GL_Texture2d::Stored {
    static constexpr auto fields =
        std::tuple(field("offset", 0x80, &GL_Texture2d::m_offset, geometry::Vector2f()),
                   field("rotate", 0x81, &GL_Texture2d::m_rotate, 0),
                   field("scale", 0x82, &GL_Texture2d::m_scale, geometry::Vector2f(1, 1)));
};

struct GL_Checker::Stored {
    static constexpr auto fields = std::tuple(field("color1", 0x83, &GL_Checker::m_color1),
                                              field("color2", 0x84, &GL_Checker::m_color2));
};

struct GL_Map::Stored {
    static constexpr auto name = zylfields::filled("fileName", 0x83, &GL_Map::m_fileName);
    static constexpr auto transparency =
        field("transparency", 0x84, &GL_Map::m_transparency, VColor(0u));
    static constexpr auto amplitude = field("amplitude", 0x85, &GL_Map::m_amplitude, 0);
};

struct GL_TextureReference::Stored {
    static constexpr auto name = field("object", 0x80, &GL_TextureReference::m_objectName);
    static constexpr auto transform = field("transform", 0x79, &GL_TextureReference::m_transform);
};

const VMetaClass GL_Texture::metaClass("GL_Texture", &ZYLObject::factory,
                                       &GL_NamedObject::metaClass);

const VMetaClass* GL_Texture::metaObject() const
{
    return &metaClass;
}

GL_Texture::~GL_Texture()
{
    deleteTexture();
}

GL_Texture* GL_Texture::source()
{
    GL_Texture* texture = this;
    for (int i = 0; i < referenceLimit; ++i) {
        auto* const reference = dynamic_cast<GL_TextureReference*>(texture);
        if (!reference)
            return texture;
        texture = reference->object();
    }
    return nullptr;
}

VFormatIO& GL_Texture::read(VFormatIO& io)
{
    GL_NamedObject::read(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    if (stream->dataStream())
        return zylfields::read(io, *this, Stored::flags);
    unsigned mode;
    if (stream->read("mode", mode) > 0)
        m_flags = (m_flags & ~ModeMask) | (mode & ModeMask);
    for (const Stored::Word& word : Stored::words)
        if (stream->contains(word.key))
            m_flags |= word.flag;
    return io;
}

VFormatIO& GL_Texture::write(VFormatIO& io) const
{
    GL_NamedObject::write(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    if (stream->dataStream())
        return zylfields::write(io, *this, Stored::flags);
    if (const unsigned mode = m_flags & ModeMask)
        zylfields::writeText(*stream, "mode", int(mode));
    for (const Stored::Word& word : Stored::words)
        if (m_flags & word.flag)
            zylfields::writeWord(*stream, word.key);
    return io;
}

void GL_Texture::init(GL_Scene*)
{
    if (m_textureId == 0)
        glGenTextures(1, &m_textureId);
    if (m_textureId == 0)
        return;
    glBindTexture(GL_TEXTURE_2D, m_textureId);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, m_flags & WrapS ? GL_REPEAT : GL_CLAMP);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, m_flags & WrapT ? GL_REPEAT : GL_CLAMP);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
}

void GL_Texture::draw(GL_RenderEvent*)
{
    if (m_textureId == 0)
        return;
    glBindTexture(GL_TEXTURE_2D, m_textureId);
    const unsigned mode = m_flags & ModeMask;
    const GLenum known = environmentModes[mode < std::size(environmentModes) ? mode : 0];
    glTexEnvf(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GLfloat(known));
}

VImage GL_Texture::convertToGLFormat(const VImage& image)
{
    // A pixel is a word with blue in its lowest byte, and GL takes the bytes in the order of red,
    // green, blue; its rows run from the bottom up.
    const VImage rows = image.convertDepth(32).mirror();
    return VImage::systemByteOrder() == VImage::BigEndian ? rows : rows.swapRGB();
}

bool GL_Texture::loadTexture(const QString& file, const VColor* transparent, int format,
                             bool mipmap)
{
    VImage image;
    if (!isFile(file) || !image.load(file) || image.isNull())
        return false;
    const bool isLuminance = image.depth() == 8;
    if (isLuminance) {
        image = image.mirror();
    } else {
        image = image.convertDepth(32);
        if (!image.hasAlphaBuffer())
            setAlpha(image, transparent);
        image = convertToGLFormat(image);
    }
    const GLenum order = isLuminance ? GL_LUMINANCE : GL_RGBA;
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4); // an image's lines fill whole words
    bool isDone = true;
    if (mipmap)
        isDone = gluBuild2DMipmaps(GL_TEXTURE_2D, format, image.width(), image.height(), order,
                                   GL_UNSIGNED_BYTE, image.bits()) == 0;
    else
        glTexImage2D(GL_TEXTURE_2D, 0, format, image.width(), image.height(), 0, order,
                     GL_UNSIGNED_BYTE, image.bits());
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    return isDone;
}

void GL_Texture::deleteTexture()
{
    if (m_textureId)
        glDeleteTextures(1, &m_textureId);
    m_textureId = 0;
}

const VMetaClass GL_Texture2d::metaClass("GL_Texture2d", &ZYLObject::factory,
                                         &GL_Texture::metaClass);

const VMetaClass* GL_Texture2d::metaObject() const
{
    return &metaClass;
}

VFormatIO& GL_Texture2d::read(VFormatIO& io)
{
    return zylfields::read(GL_Texture::read(io), *this, Stored::fields);
}

VFormatIO& GL_Texture2d::write(VFormatIO& io) const
{
    return zylfields::write(GL_Texture::write(io), *this, Stored::fields);
}

void GL_Texture2d::draw(GL_RenderEvent* event)
{
    if (textureId() == 0)
        return;
    GL_Texture::draw(event);
    glMatrixMode(GL_TEXTURE);
    if (event)
        glLoadIdentity();
    if (m_offset != geometry::Vector2f() || m_rotate != 0 || m_scale != geometry::Vector2f(1, 1)) {
        glScalef(m_scale.x, m_scale.y, 1);
        glRotatef(m_rotate, 0, 0, 1);
        glTranslatef(m_offset.x, m_offset.y, 0);
    }
    glMatrixMode(GL_MODELVIEW);
}

const VMetaClass GL_Checker::metaClass("GL_Checker", &GL_Checker::factory,
                                       &GL_Texture2d::metaClass);

ZYLObject* GL_Checker::factory()
{
    return new GL_Checker;
}

const VMetaClass* GL_Checker::metaObject() const
{
    return &metaClass;
}

VFormatIO& GL_Checker::read(VFormatIO& io)
{
    return zylfields::read(GL_Texture2d::read(io), *this, Stored::fields);
}

VFormatIO& GL_Checker::write(VFormatIO& io) const
{
    return zylfields::write(GL_Texture2d::write(io), *this, Stored::fields);
}

void GL_Checker::init(GL_Scene* scene)
{
    constexpr int size = 64;
    constexpr int square = 8;
    GLubyte pixels[size][size][4];
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            const VColor color = (x & square) == (y & square) ? m_color1 : m_color2;
            const int channels[] = {color.red(), color.green(), color.blue(), color.alpha()};
            std::copy_n(channels, 4, pixels[y][x]);
        }
    }
    GL_Texture2d::init(scene);
    if (textureId())
        glTexImage2D(GL_TEXTURE_2D, 0, 4, size, size, 0, GL_RGBA, GL_UNSIGNED_BYTE, pixels);
}

const VMetaClass GL_Map::metaClass("GL_Map", &GL_Map::factory, &GL_Texture2d::metaClass);

ZYLObject* GL_Map::factory()
{
    return new GL_Map;
}

const VMetaClass* GL_Map::metaObject() const
{
    return &metaClass;
}

VFormatIO& GL_Map::read(VFormatIO& io)
{
    zylfields::read(GL_Texture2d::read(io), *this,
                    std::tuple(Stored::name, Stored::transparency, Stored::amplitude));
    m_folder = folderOf(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream || stream->dataStream())
        return io;
    if (stream->contains("autoAlpha"))
        setFlags(flags() | AutoAlpha);
    if (stream->contains("transparency"))
        setFlags(flags() | UseTransparency);
    return io;
}

VFormatIO& GL_Map::write(VFormatIO& io) const
{
    GL_Texture2d::write(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    if (stream->dataStream())
        return zylfields::write(io, *this,
                                std::tuple(Stored::name, Stored::transparency, Stored::amplitude));
    zylfields::write(io, *this, std::tuple(Stored::name));
    if (testFlags(AutoAlpha))
        zylfields::writeWord(*stream, "autoAlpha");
    if (testFlags(UseTransparency))
        zylfields::writeText(*stream, "transparency", m_transparency);
    return zylfields::write(io, *this, std::tuple(Stored::amplitude));
}

void GL_Map::init(GL_Scene* scene)
{
    if (m_fileName.isEmpty())
        return;
    deleteTexture();
    GL_Texture2d::init(scene);
    if (textureId() == 0)
        return;
    const VColor* const transparent = testFlags(UseTransparency) ? &m_transparency : nullptr;
    if (loadTexture(path(), transparent, GL_RGBA, true))
        return;
    qWarning("Failed to load image file.");
    deleteTexture();
}

QString GL_Map::path() const
{
    if (QFileInfo(m_fileName).isAbsolute() || isFile(m_fileName))
        return m_fileName;
    const QString shared = VGlobal::dataPath() + QStringLiteral("/images/") + m_fileName;
    if (isFile(shared))
        return shared;
    return m_folder.isEmpty() ? m_fileName : m_folder + QLatin1Char('/') + m_fileName;
}

const VMetaClass GL_TextureReference::metaClass("GL_TextureReference",
                                                &GL_TextureReference::factory,
                                                &GL_Texture::metaClass);

ZYLObject* GL_TextureReference::factory()
{
    return new GL_TextureReference;
}

const VMetaClass* GL_TextureReference::metaObject() const
{
    return &metaClass;
}

QCString GL_TextureReference::objectName() const
{
    const char* const name = m_object ? m_object->name(nullptr) : nullptr;
    return name && *name ? QCString(name) : m_objectName;
}

bool GL_TextureReference::event(VEvent* event)
{
    return GL_Texture::event(event) || actionevent::changeMatrix(event, m_transform);
}

VFormatIO& GL_TextureReference::read(VFormatIO& io)
{
    return zylfields::read(GL_Texture::read(io), *this,
                           std::tuple(Stored::transform, Stored::name));
}

VFormatIO& GL_TextureReference::write(VFormatIO& io) const
{
    GL_Texture::write(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    if (m_transform.flags() != 0)
        zylfields::write(io, *this, std::tuple(Stored::transform));
    const QCString target = objectName();
    if (target.isEmpty())
        return io;
    if (QDataStream* const data = stream->dataStream()) {
        *data << Stored::name.tag;
        zylfields::put(*data, target);
    } else {
        zylfields::writeText(*stream, Stored::name.key, target.data());
    }
    return io;
}

void GL_TextureReference::init(GL_Scene* scene)
{
    if (!m_object && scene)
        m_object = find(scene->textures(), m_objectName.data());
}

void GL_TextureReference::draw(GL_RenderEvent* event)
{
    // The references between here and the image would only set matrices that don't stay.
    if (GL_Texture* const texture = source())
        texture->draw(event);
    glMatrixMode(GL_TEXTURE);
    glLoadIdentity();
    glMultMatrixf(&m_transform.m[0][0]);
    glMatrixMode(GL_MODELVIEW);
}

VFormatIO& operator<<(VFormatIO& io, const GL_TextureVector& textures)
{
    return namelist::write(io, textures);
}

VFormatIO& operator>>(VFormatIO& io, GL_TextureVector& textures)
{
    return namelist::read(io, nullptr, &GL_Scene::textures, textures);
}
