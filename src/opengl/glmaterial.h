#pragma once

#include "geometry/zylvector.h"
#include "opengl/glnamedobject.h"
#include "opengl/gltexture.h"
#include "tools/vptrvector.h"

class GL_Material;
class VZylStream;

using GL_MaterialList = VPtrList<GL_Material>;
using GL_MaterialVector = VPtrVector<GL_Material>;

/// The colours and blending of a surface, and its textures: the colour map first, then the
/// transparency map. Owned by the scene and shared by its shapes.
class ZYL_EXPORT GL_Material : public GL_NamedObject
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    static const geometry::Vector4f defaultAmbient;
    static const geometry::Vector4f defaultDiffuse;
    static const geometry::Vector4f defaultSpecular;
    static const geometry::Vector4f defaultEmission;
    static constexpr float defaultShininess = 0;

    enum Flag : unsigned {
        FaceMask = 0x3, ///< 0 front, 1 back, 2 both
        Blend = 1u << 2,
        SourceMask = 0xFu << 4, ///< blend factors, as indices into GL's eleven
        DestinationMask = 0xFu << 8,
        Transparent = 1u << 15 ///< computed by `init`
    };
    static constexpr int sourceShift = 4;
    static constexpr int destinationShift = 8;

    enum Channel { Ambient, Diffuse, Specular, Emission };

    GL_Material();
    ~GL_Material() override;

    unsigned flags() const { return m_flags; }
    void setFlags(unsigned flags) { m_flags = flags; }
    bool isTransparent() const { return m_flags & Transparent; }
    const geometry::Vector4f& ambient() const { return m_ambient; }
    void setAmbient(const geometry::Vector4f& color) { m_ambient = color; }
    const geometry::Vector4f& diffuse() const { return m_diffuse; }
    void setDiffuse(const geometry::Vector4f& color) { m_diffuse = color; }
    const geometry::Vector4f& specular() const { return m_specular; }
    void setSpecular(const geometry::Vector4f& color) { m_specular = color; }
    const geometry::Vector4f& emission() const { return m_emission; }
    void setEmission(const geometry::Vector4f& color) { m_emission = color; }
    float shininess() const { return m_shininess; }
    void setShininess(float value) { m_shininess = value; }
    // Kept in files for other programs; nothing here draws by them.
    float reflection() const { return m_reflection; }
    void setReflection(float value) { m_reflection = value; }
    float refractive() const { return m_refractive; }
    void setRefractive(float value) { m_refractive = value; }
    float transfalloff() const { return m_transfalloff; }
    void setTransfalloff(float value) { m_transfalloff = value; }
    GL_TextureVector& textures() { return m_textures; }
    const GL_TextureVector& textures() const { return m_textures; }

    bool event(VEvent* event) override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

    /// Decides whether the material is transparent: changing the alpha later doesn't move it
    /// between the passes until `init` runs again.
    void init(GL_Scene* scene) override;
    void draw(GL_RenderEvent* event) override;
    bool shouldRender(GL_RenderEvent* event) const;

private:
    struct Stored;

    void readText(VZylStream& stream);
    void writeText(VZylStream& stream) const;

    unsigned m_flags = 0;
    geometry::Vector4f m_ambient = defaultAmbient;
    geometry::Vector4f m_diffuse = defaultDiffuse;
    geometry::Vector4f m_specular = defaultSpecular;
    geometry::Vector4f m_emission = defaultEmission;
    float m_shininess = defaultShininess;
    float m_reflection = 0;
    float m_refractive = 0;
    float m_transfalloff = 0;
    float m_reserved = 0; // carried through binary files
    GL_TextureVector m_textures;
};

// As for textures.
ZYL_EXPORT VFormatIO& operator<<(VFormatIO& io, const GL_MaterialVector& materials);
ZYL_EXPORT VFormatIO& operator>>(VFormatIO& io, GL_MaterialVector& materials);
