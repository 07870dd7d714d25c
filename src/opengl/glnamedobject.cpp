#include "opengl/glnamedobject.h"

#include "kernel/vzylfields_p.h"

const VMetaClass GL_NamedObject::metaClass("GL_NamedObject", &ZYLObject::factory,
                                           &ZYLObject::metaClass);

const VMetaClass* GL_NamedObject::metaObject() const
{
    return &metaClass;
}

VFormatIO& GL_NamedObject::read(VFormatIO& io)
{
    return io;
}

VFormatIO& GL_NamedObject::write(VFormatIO& io) const
{
    return io;
}

void GL_NamedObject::init(GL_Scene*) {}

void GL_NamedObject::draw(GL_RenderEvent*) {}
