#include "opengl/gldisplaylist.h"

#include <GL/gl.h>

GL_DisplayList::GL_DisplayList(Type type, int count) : m_type(type), m_count(count)
{
    if (m_type == Texture)
        glGenTextures(1, &m_base);
    else
        m_base = glGenLists(m_count);
}

GL_DisplayList::~GL_DisplayList()
{
    if (m_type == Texture)
        glDeleteTextures(1, &m_base);
    else
        glDeleteLists(m_base, m_count);
}

void GL_DisplayList::open(int index)
{
    if (m_type == Texture)
        call(index);
    else
        glNewList(m_base + unsigned(index), GL_COMPILE);
}

void GL_DisplayList::close()
{
    if (m_type == Lists)
        glEndList();
}

void GL_DisplayList::call(int index) const
{
    const unsigned name = m_base + unsigned(index);
    if (m_type == Texture)
        glBindTexture(GL_TEXTURE_2D, name);
    else
        glCallList(name);
}
