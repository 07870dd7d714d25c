#include "opengl/glnamedobject.h"

#include "kernel/vzylfields_p.h"

namespace
{
constexpr quint8 nameTag = 0x13;
} // namespace

const VMetaClass GL_NamedObject::metaClass("GL_NamedObject", &ZYLObject::factory,
                                           &ZYLObject::metaClass);

const VMetaClass* GL_NamedObject::metaObject() const
{
    return &metaClass;
}

VFormatIO& GL_NamedObject::read(VFormatIO& io)
{
    ZYLObject::read(io);
    VZylStream* const stream = VZylStream::get(io);
    if (!stream)
        return io;
    QCString text;
    QDataStream* const data = stream->dataStream();
    if (!data) {
        if (stream->read("name", text) > 0)
            setName(text);
        return io;
    }
    quint8 tag;
    while (zylfields::nextTag(*data, tag)) {
        if (tag != nameTag) {
            zylfields::putBack(*data, tag);
            break;
        }
        zylfields::get(*data, text);
        if (!text.isNull())
            setName(text);
    }
    return io;
}

VFormatIO& GL_NamedObject::write(VFormatIO& io) const
{
    ZYLObject::write(io);
    VZylStream* const stream = VZylStream::get(io);
    const char* const text = name(nullptr);
    if (!stream || !text)
        return io;
    if (QDataStream* const data = stream->dataStream()) {
        *data << nameTag;
        zylfields::put(*data, text);
    } else {
        zylfields::writeText(*stream, "name", text);
    }
    return io;
}

void GL_NamedObject::init(GL_Scene*) {}

void GL_NamedObject::draw(GL_RenderEvent*) {}

GL_NamedObject* GL_NamedObject::find(const VPtrList<GL_NamedObject>& list, const char* name)
{
    return find<GL_NamedObject>(list, name);
}
