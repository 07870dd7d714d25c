#include "opengl/glfont.h"

const VMetaClass GL_Font::metaClass("GL_Font", &GL_Font::factory, &GL_NamedObject::metaClass);

ZYLObject* GL_Font::factory()
{
    return new GL_Font;
}

const VMetaClass* GL_Font::metaObject() const
{
    return &metaClass;
}
