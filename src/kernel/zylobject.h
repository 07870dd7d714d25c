#pragma once

#include "kernel/vmetaclass.h"

class VEvent;
class VFormatIO;

/// The root of the classes that can be created by name, those of scene files above all.
class ZYL_EXPORT ZYLObject
{
public:
    static const VMetaClass metaClass;
    static ZYLObject* factory();

    ZYLObject() = default;
    ZYLObject(const ZYLObject&) = default;
    ZYLObject& operator=(const ZYLObject&) = default;

    /// The entry of the class in the registry; every class overrides it.
    virtual const VMetaClass* metaObject() const;

    virtual ~ZYLObject();

    /// Handles an event; true when somebody took it. The base takes nothing. A null event warns.
    virtual bool event(VEvent* event);

    /// Sees an event on its way to `object`; true keeps it from going on.
    virtual bool eventFilter(ZYLObject* object, VEvent* event);

    virtual const char* className() const;

    /// Reads and writes the class's part of a file after its base's. Both return `io`.
    virtual VFormatIO& read(VFormatIO& io);
    virtual VFormatIO& write(VFormatIO& io) const;

    bool inherits(const char* name) const { return metaObject()->inherits(name); }
    bool inherits(const VMetaClass* other) const { return metaObject()->inherits(other); }
};

ZYL_EXPORT VFormatIO& operator<<(VFormatIO& io, const ZYLObject& object);
ZYL_EXPORT VFormatIO& operator>>(VFormatIO& io, ZYLObject& object);
