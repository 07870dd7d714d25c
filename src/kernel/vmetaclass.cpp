#include "kernel/vmetaclass.h"

#include "kernel/classtable_p.h"

#include <qbytearray.h>

namespace
{
using VMetaClassTable = ClassTable<VMetaClass>;
}

VMetaClass::VMetaClass(const char* name, Factory maker, const VMetaClass* superclass)
    : m_name(name), m_factory(maker), m_superclass(superclass)
{
    VMetaClassTable::add(name, this);
}

VMetaClass::~VMetaClass()
{
    VMetaClassTable::remove(m_name, this);
}

const VMetaClass* VMetaClass::metaClass(const char* name)
{
    return VMetaClassTable::find(name);
}

bool VMetaClass::inherits(const char* name) const
{
    for (const VMetaClass* c = this; c; c = c->m_superclass)
        if (qstrcmp(c->m_name, name) == 0)
            return true;
    return false;
}

bool VMetaClass::inherits(const VMetaClass* other) const
{
    for (const VMetaClass* c = this; c; c = c->m_superclass)
        if (c == other)
            return true;
    return false;
}
