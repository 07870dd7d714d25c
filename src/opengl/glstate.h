#pragma once

#include "geometry/zylvector.h"
#include "toolkit/zylexport.h"

/// A traversal's own account of GL's state: it asks GL for each thing once, and leaves out calls
/// that change nothing.
///
/// Whoever changes this state behind its back, by GL calls of his own or by a display list, puts it
/// back as it was or calls `forget`.
class ZYL_EXPORT GL_State
{
public:
    enum Switch {
        Lighting,
        Normalize,
        AutoNormal,
        CullFace,
        Texture2D,
        Blend,
        AlphaTest,
        LineStipple,
        SwitchCount
    };

    bool isEnabled(Switch which);
    void setEnabled(Switch which, bool on);
    /// GL_POINT, GL_LINE or GL_FILL, for both faces.
    void setPolygonMode(unsigned mode);
    void setShadeModel(unsigned model);
    void setFrontFace(unsigned winding);
    /// `pname` is one of GL_AMBIENT, GL_DIFFUSE, GL_SPECULAR and GL_EMISSION.
    void setMaterial(unsigned face, unsigned pname, const geometry::Vector4f& value);
    void setShininess(unsigned face, float value);

    void forget();
    /// What a display list can have changed of the materials.
    void forgetMaterials();

private:
    struct Face {
        geometry::Vector4f colors[4];
        float shininess = 0;
        unsigned known = 0; // a bit for each colour, bit 4 for the shininess
    };

    bool replace(Face& face, unsigned bit, geometry::Vector4f& old,
                 const geometry::Vector4f& value);

    unsigned m_on = 0;
    unsigned m_known = 0;
    unsigned m_polygonMode = 0; // 0 is unknown, for these three
    unsigned m_shadeModel = 0;
    unsigned m_frontFace = 0;
    Face m_faces[2];
};
