#include "opengl/glstate.h"

#include <GL/gl.h>

namespace
{
constexpr GLenum switches[GL_State::SwitchCount] = {
    GL_LIGHTING,   GL_NORMALIZE, GL_AUTO_NORMAL, GL_CULL_FACE,
    GL_TEXTURE_2D, GL_BLEND,     GL_ALPHA_TEST,  GL_LINE_STIPPLE,
};

constexpr GLenum channels[] = {GL_AMBIENT, GL_DIFFUSE, GL_SPECULAR, GL_EMISSION};
constexpr unsigned shininessBit = 4;

GLint integer(GLenum pname)
{
    GLint values[4] = {}; // some names give several
    glGetIntegerv(pname, values);
    return values[0];
}
} // namespace

bool GL_State::isEnabled(Switch which)
{
    const unsigned bit = 1u << which;
    if (!(m_known & bit)) {
        m_known |= bit;
        m_on = glIsEnabled(switches[which]) ? m_on | bit : m_on & ~bit;
    }
    return m_on & bit;
}

void GL_State::setEnabled(Switch which, bool on)
{
    const unsigned bit = 1u << which;
    if (which == CullFace)
        m_hiding = false;
    if ((m_known & bit) && bool(m_on & bit) == on)
        return;
    m_known |= bit;
    m_on = on ? m_on | bit : m_on & ~bit;
    (on ? glEnable : glDisable)(switches[which]);
}

void GL_State::setPolygonMode(unsigned mode)
{
    if (m_polygonMode == mode)
        return;
    m_polygonMode = mode;
    glPolygonMode(GL_FRONT_AND_BACK, mode);
}

void GL_State::setShadeModel(unsigned model)
{
    if (m_shadeModel == model)
        return;
    m_shadeModel = model;
    glShadeModel(model);
}

void GL_State::setFrontFace(unsigned winding)
{
    if (m_frontFace == winding)
        return;
    m_frontFace = winding;
    glFrontFace(winding);
}

/// Notes a material's value for one face or both; false if it is the one that stands.
template <class T, class Member>
bool GL_State::replace(unsigned face, unsigned bit, const T& value, Member member)
{
    bool changed = false;
    for (int i = 0; i < 2; ++i) {
        if (face == (i == 0 ? GL_BACK : GL_FRONT))
            continue;
        T& old = member(m_faces[i]);
        if ((m_faces[i].known & 1u << bit) && old == value)
            continue;
        m_faces[i].known |= 1u << bit;
        old = value;
        changed = true;
    }
    return changed;
}

void GL_State::setMaterial(unsigned face, unsigned pname, const geometry::Vector4f& value)
{
    unsigned bit = 0;
    while (channels[bit] != pname)
        if (++bit == shininessBit)
            return;
    const auto member = [bit](Face& side) -> geometry::Vector4f& { return side.colors[bit]; };
    if (replace(face, bit, value, member))
        glMaterialfv(face, pname, &value.x);
}

void GL_State::setShininess(unsigned face, float value)
{
    const auto member = [](Face& side) -> float& { return side.shininess; };
    if (replace(face, shininessBit, value, member))
        glMaterialf(face, GL_SHININESS, value);
}

void GL_State::forget()
{
    m_known = 0;
    m_polygonMode = m_shadeModel = m_frontFace = 0;
    m_hidesCovered = -1;
    forgetMaterials();
}

void GL_State::forgetMaterials()
{
    m_faces[0].known = m_faces[1].known = 0;
}

void GL_State::setArrays(const void* vertices)
{
    if (m_arrays == vertices)
        return;
    m_arrays = vertices;
    glInterleavedArrays(GL_T2F_N3F_V3F, 0, vertices);
}

void GL_State::endArrays()
{
    m_arrays = nullptr;
    for (const GLenum array : {GL_VERTEX_ARRAY, GL_NORMAL_ARRAY, GL_TEXTURE_COORD_ARRAY})
        glDisableClientState(array);
}

void GL_State::borrow()
{
    if (m_borrowed)
        return;
    m_borrowed = true;
    glGetFloatv(GL_CURRENT_COLOR, &m_color.x);
    GLfloat normal[4] = {};
    glGetFloatv(GL_CURRENT_NORMAL, normal);
    m_normal = geometry::Vector3f(normal[0], normal[1], normal[2]);
    glGetFloatv(GL_CURRENT_TEXTURE_COORDS, &m_texture.x);
}

void GL_State::resetTextureCoords()
{
    glTexCoord4fv(&m_texture.x);
}

void GL_State::hideBackFaces()
{
    setEnabled(CullFace, true);
    m_hiding = true;
}

void GL_State::giveBack()
{
    if (m_hiding)
        setEnabled(CullFace, false);
    if (!m_borrowed)
        return;
    m_borrowed = false;
    glColor4fv(&m_color.x);
    glNormal3fv(&m_normal.x);
    glTexCoord4fv(&m_texture.x);
}

bool GL_State::hidesCovered()
{
    if (m_hidesCovered < 0) {
        bool hides = glIsEnabled(GL_DEPTH_TEST) && integer(GL_DEPTH_WRITEMASK) &&
                     integer(GL_RENDER_MODE) == GL_RENDER &&
                     integer(GL_CULL_FACE_MODE) == GL_BACK && integer(GL_FRONT_FACE) == GL_CCW;
        const GLint depth = integer(GL_DEPTH_FUNC);
        hides = hides && (depth == GL_LESS || depth == GL_LEQUAL);
        for (const GLenum reveals :
             {GL_STENCIL_TEST, GL_COLOR_LOGIC_OP, GL_POLYGON_STIPPLE, GL_CLIP_PLANE0,
              GL_CLIP_PLANE1, GL_CLIP_PLANE2, GL_CLIP_PLANE3, GL_CLIP_PLANE4, GL_CLIP_PLANE5})
            hides = hides && !glIsEnabled(reveals);
        m_hidesCovered = hides;
    }
    return m_hidesCovered > 0;
}
