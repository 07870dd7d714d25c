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

    // Shapes in a row leave the current colour, normal and texture coordinates as their drawing
    // leaves them, and culling on where it only saves work.

    /// To be called before a shape draws.
    void borrow();
    /// Puts the borrowed texture coordinates back alone.
    void resetTextureCoords();
    /// Leaves out back faces until `settle`, or until culling is set otherwise.
    void hideBackFaces();
    /// Whether the node that draws next may leave vertex arrays set for the one after it. Ends
    /// those that are, where not.
    void setKeepingArrays(bool keep)
    {
        if (!keep && m_arrays)
            endArrays();
        m_keepsArrays = keep;
    }
    /// Makes arrays in the format GL_T2F_N3F_V3F current, until `endArrays`.
    void setArrays(const void* vertices);
    void endArrays();
    bool keepsArrays() const { return m_keepsArrays; }
    /// Puts back what was borrowed: before other nodes draw, and at the end.
    void settle()
    {
        if (m_borrowed || m_hiding)
            giveBack();
    }
    /// Whether what lies behind an opaque surface can't show, and front faces are those that wind
    /// counterclockwise. Asked at first need, and so before anything is borrowed.
    bool hidesCovered();

private:
    struct Face {
        geometry::Vector4f colors[4];
        float shininess = 0;
        unsigned known = 0; // a bit for each colour, bit 4 for the shininess
    };

    template <class T, class Member>
    bool replace(unsigned face, unsigned bit, const T& value, Member member);
    void giveBack();

    unsigned m_on = 0;
    unsigned m_known = 0;
    unsigned m_polygonMode = 0; // 0 is unknown, for these three
    unsigned m_shadeModel = 0;
    unsigned m_frontFace = 0;
    Face m_faces[2];
    const void* m_arrays = nullptr; // that are set
    bool m_keepsArrays = false;
    bool m_borrowed = false;
    bool m_hiding = false;
    signed char m_hidesCovered = -1; // -1 is unknown
    geometry::Vector4f m_color;
    geometry::Vector4f m_texture;
    geometry::Vector3f m_normal;
};
