#pragma once

#include "toolkit/zylexport.h"

class ZYLObject;

/// Names one class that can be created by name. Each such class holds a static instance:
///
///     const VMetaClass GL_Arc::metaClass("GL_Arc", &GL_Arc::factory, &GL_Curve::metaClass);
///
/// Nothing is copied and the superclass need not be constructed yet, so that the order of static
/// initialisers does not matter. An abstract class registers `ZYLObject::factory`.
class ZYL_EXPORT VMetaClass
{
public:
    using Factory = ZYLObject* (*)();

    /// A later class of the same name hides the earlier one from `metaClass` while it lives.
    VMetaClass(const char* name, Factory maker, const VMetaClass* superclass);
    virtual ~VMetaClass();
    VMetaClass(const VMetaClass&) = delete;
    VMetaClass& operator=(const VMetaClass&) = delete;

    const char* name() const { return m_name; }
    Factory factory() const { return m_factory; }

    /// Null only for `ZYLObject`.
    const VMetaClass* superclass() const { return m_superclass; }

    /// Null when no class has this name.
    static const VMetaClass* metaClass(const char* name);

    /// Whether this class or a superclass is the one asked for.
    bool inherits(const char* name) const;
    bool inherits(const VMetaClass* other) const;

    /// A new object, which the caller deletes. For an abstract class it is a plain `ZYLObject`.
    ZYLObject* makeInstance() const { return m_factory(); }

private:
    const char* m_name;
    Factory m_factory;
    const VMetaClass* m_superclass;
};
