#pragma once

#include "geometry/zylhmatrix.h"
#include "opengl/glnamedobject.h"
#include "toolkit/qcstring.h"
#include "tools/vcolor.h"
#include "tools/vptrvector.h"

#include <qstring.h>

class GL_Texture;
class VImage;

using GL_TextureList = VPtrList<GL_Texture>;
using GL_TextureVector = VPtrVector<GL_Texture>;

/// An image on the texture unit, shared by the materials that name it. Its GL name belongs to the
/// context in which `init` ran.
class ZYL_EXPORT GL_Texture : public GL_NamedObject
{
public:
    static const VMetaClass metaClass;
    const VMetaClass* metaObject() const override;

    enum Flag : unsigned {
        ModeMask = 0xF, ///< environment: 0 replace, 1 modulate, 2 decal, 3 blend
        WrapS = 1u << 4,
        WrapT = 1u << 5,
        UseTransparency = 1u << 6, ///< a map's transparent colour counts
        AutoAlpha = 1u << 7
    };

    GL_Texture() = default;
    ~GL_Texture() override;

    unsigned flags() const { return m_flags; }
    void setFlags(unsigned flags) { m_flags = flags; }
    bool testFlags(unsigned mask) const { return m_flags & mask; }
    /// 0 while there is none.
    unsigned textureId() const { return m_textureId; }
    /// The texture whose image shows: this one, or what a reference stands for in the end. Null for
    /// a reference to nothing, and for references in a ring.
    GL_Texture* source();

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

    void init(GL_Scene* scene) override;
    void draw(GL_RenderEvent* event) override;

    /// The image as 32 bits a pixel in GL's order of bytes and rows.
    static VImage convertToGLFormat(const VImage& image);
    /// Loads a file into the texture that is bound. A pixel of the transparent colour gets alpha 0
    /// if the image has no alpha. False when the file can't be loaded.
    bool loadTexture(const QString& file, const VColor* transparent, int format, bool mipmap);

protected:
    void deleteTexture();

private:
    struct Stored;

    unsigned m_flags = 0;
    unsigned m_textureId = 0;
};

/// A texture with a place, a turn and a size on the surface.
class ZYL_EXPORT GL_Texture2d : public GL_Texture
{
public:
    static const VMetaClass metaClass;
    const VMetaClass* metaObject() const override;

    const geometry::Vector2f& offset() const { return m_offset; }
    void setOffset(const geometry::Vector2f& offset) { m_offset = offset; }
    const geometry::Vector2f& scale() const { return m_scale; }
    void setScale(const geometry::Vector2f& scale) { m_scale = scale; }
    /// Degrees.
    float rotate() const { return m_rotate; }
    void setRotate(float degrees) { m_rotate = degrees; }

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

    void draw(GL_RenderEvent* event) override;

private:
    struct Stored;

    geometry::Vector2f m_offset;
    geometry::Vector2f m_scale = geometry::Vector2f(1, 1);
    float m_rotate = 0;
};

/// A chequered board of 8 x 8 squares.
class ZYL_EXPORT GL_Checker : public GL_Texture2d
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    VColor color1() const { return m_color1; }
    void setColor1(VColor color) { m_color1 = color; }
    VColor color2() const { return m_color2; }
    void setColor2(VColor color) { m_color2 = color; }

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

    void init(GL_Scene* scene) override;

private:
    struct Stored;

    VColor m_color1 = VColor(0xFFFFFFFFu);
    VColor m_color2 = VColor(0u);
};

/// A texture from an image file: of this name, or under the library's data path in "images", or
/// beside the scene's file.
class ZYL_EXPORT GL_Map : public GL_Texture2d
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    const QString& fileName() const { return m_fileName; }
    void setFileName(const QString& name) { m_fileName = name; }
    /// Counts with `UseTransparency`.
    VColor transparency() const { return m_transparency; }
    void setTransparency(VColor color) { m_transparency = color; }
    float amplitude() const { return m_amplitude; }
    void setAmplitude(float amplitude) { m_amplitude = amplitude; }

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

    /// Warns when the image can't be loaded, and then draws nothing.
    void init(GL_Scene* scene) override;

private:
    struct Stored;

    /// The first of the places that has the file, else the name itself.
    QString path() const;

    QString m_fileName;
    VColor m_transparency = VColor(0u);
    float m_amplitude = 0;
    QString m_folder; // of the file this was read from
};

/// Another texture of the scene under a matrix of its own.
class ZYL_EXPORT GL_TextureReference : public GL_Texture
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    QCString objectName() const;
    void setObjectName(const char* name) { m_objectName = name; }
    GL_Texture* object() const { return m_object; }
    /// The texture stays the scene's.
    void setObject(GL_Texture* texture) { m_object = texture; }
    const geometry::Matrix4f& transform() const { return m_transform; }
    void setTransform(const geometry::Matrix4f& transform) { m_transform = transform; }

    bool event(VEvent* event) override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

    void init(GL_Scene* scene) override;
    void draw(GL_RenderEvent* event) override;

private:
    struct Stored;

    QCString m_objectName;
    GL_Texture* m_object = nullptr; // owned by the scene
    geometry::Matrix4f m_transform;
};

/// A list of names, in which an empty one stands for a null entry. Reading looks the names up in
/// the request's scene; one that isn't there gives a null entry and is told to the diagnostics.
ZYL_EXPORT VFormatIO& operator<<(VFormatIO& io, const GL_TextureVector& textures);
ZYL_EXPORT VFormatIO& operator>>(VFormatIO& io, GL_TextureVector& textures);
