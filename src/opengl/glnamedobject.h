#pragma once

#include "kernel/vnamedobject.h"
#include "kernel/zylobject.h"
#include "tools/vptrlist.h"

#include <cstring>

class GL_Scene;
struct GL_RenderEvent;

/// Anything that a scene owns by name.
class ZYL_EXPORT GL_NamedObject : public ZYLObject, public VNamedObject
{
public:
    static const VMetaClass metaClass;
    const VMetaClass* metaObject() const override;

    GL_NamedObject() = default;

    VFormatIO& read(VFormatIO& io) override;
    VFormatIO& write(VFormatIO& io) const override;
    using VNamedObject::read;
    using VNamedObject::write;

    /// Makes ready for drawing in the current GL context. May be called again.
    virtual void init(GL_Scene* scene);
    /// Draws, or sets GL's state, in the current context.
    virtual void draw(GL_RenderEvent* event);

    /// The first member of that name; null for a null name or when there is none. Members without
    /// a name never match.
    static GL_NamedObject* find(const VPtrList<GL_NamedObject>& list, const char* name);
    template <class T>
    static T* find(const VPtrList<T>& list, const char* name);
};

template <class T>
T* GL_NamedObject::find(const VPtrList<T>& list, const char* name)
{
    for (T* item : list)
        if (name && item && item->name(nullptr) && std::strcmp(item->name(nullptr), name) == 0)
            return item;
    return nullptr;
}
