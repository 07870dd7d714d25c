#include "kernel/zylobject.h"

#include <qlogging.h>

const VMetaClass ZYLObject::metaClass("ZYLObject", &ZYLObject::factory, nullptr);

ZYLObject* ZYLObject::factory()
{
    return new ZYLObject;
}

const VMetaClass* ZYLObject::metaObject() const
{
    return &metaClass;
}

ZYLObject::~ZYLObject() = default;

bool ZYLObject::event(VEvent* event)
{
    if (!event)
        qWarning("ZYLObject::event: Null events are not permitted");
    return false;
}

bool ZYLObject::eventFilter(ZYLObject*, VEvent*)
{
    return false;
}

const char* ZYLObject::className() const
{
    return metaObject()->name();
}

VFormatIO& ZYLObject::read(VFormatIO& io)
{
    return io;
}

VFormatIO& ZYLObject::write(VFormatIO& io) const
{
    return io;
}

VFormatIO& operator<<(VFormatIO& io, const ZYLObject& object)
{
    return object.write(io);
}

VFormatIO& operator>>(VFormatIO& io, ZYLObject& object)
{
    return object.read(io);
}
