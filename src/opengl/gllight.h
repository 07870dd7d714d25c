#pragma once

#include "opengl/globject.h"

/// A light of a scene, fixed in the world. Its colour is the light's diffuse colour.
///
/// Off until its flag `On` is set, and directional until `Positional` is.
class ZYL_EXPORT GL_Light : public GL_Object
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();
    const VMetaClass* metaObject() const override;

    enum LightFlag : unsigned { On = 1u << 0, Positional = 1u << 4 };
    enum LightType { Directional, Point, Spot };
    /// Numbers beyond the value of the enumerant GL_MAX_LIGHTS, which is no queried limit, are
    /// never given to GL.
    static constexpr unsigned numberLimit = 0xD31;

    GL_Light() = default;
    /// Turns its GL light off.
    ~GL_Light() override;

    LightType type() const;
    VColor ambient() const { return m_ambient; }
    void setAmbient(VColor color) { m_ambient = color; }
    VColor specular() const { return m_specular; }
    void setSpecular(VColor color) { m_specular = color; }
    const geometry::Vector3f& position() const { return m_position; }
    void setPosition(const geometry::Vector3f& position);
    const geometry::Vector3f& direction() const { return m_direction; }
    void setDirection(const geometry::Vector3f& direction);
    float spotExponent() const { return m_spotExponent; }
    void setSpotExponent(float value) { m_spotExponent = value; }
    /// Degrees; 180 is a point light.
    float spotCutoff() const { return m_spotCutoff; }
    void setSpotCutoff(float degrees) { m_spotCutoff = degrees; }
    float constantAttenuation() const { return m_constantAttenuation; }
    void setConstantAttenuation(float value) { m_constantAttenuation = value; }
    float linearAttenuation() const { return m_linearAttenuation; }
    void setLinearAttenuation(float value) { m_linearAttenuation = value; }
    float quadraticAttenuation() const { return m_quadraticAttenuation; }
    void setQuadraticAttenuation(float value) { m_quadraticAttenuation = value; }
    /// The number of the GL light, which the scene sets.
    unsigned number() const { return m_number; }
    void setNumber(unsigned number) { m_number = number; }

    /// Takes matrices as if the light stood in its own space at the origin, shining along -z.
    bool event(VEvent* event) override;
    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;

    void init(GL_Scene* scene) override;
    void draw(GL_RenderEvent* event) override;
    void bounds(geometry::Box3f& box) const override;
    void hit(GL_RenderEvent* event) override;
    bool drag(GL_Viewer* viewer, const geometry::Vector2i& from,
              const geometry::Vector2i& to) override;

    /// Draws the glyph, in the current matrix and without lighting.
    void drawShape(GL_RenderEvent* event);

private:
    struct Stored;

    /// What GL keeps of a light, apart from where it is.
    struct Values {
        VColor colors[3]; // ambient, diffuse, specular
        float numbers[5]; // spot exponent and cutoff, the attenuations

        bool operator==(const Values& other) const;
    };

    Values values() const;
    void send(const Values& values);
    void place() const;
    void drawOutline(GL_RenderEvent* event) const;

    VColor m_ambient = VColor(0xFF000000u);
    VColor m_specular = VColor(0xFFFFFFFFu);
    geometry::Vector3f m_position;
    geometry::Vector3f m_direction = geometry::Vector3f(0, 0, -1);
    float m_spotExponent = 0;
    float m_spotCutoff = 180;
    float m_constantAttenuation = 1;
    float m_linearAttenuation = 0;
    float m_quadraticAttenuation = 0;
    unsigned m_number = 0;
    Values m_sent = {};
    bool m_isSent = false;
};
