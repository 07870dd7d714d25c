#include "security/asnobject.h"

#include <cstring>

namespace asn
{
MetaObjectTable& MetaObjectTable::instance()
{
    // Entries are static objects: the first one makes the table, which so outlives them all.
    static MetaObjectTable table;
    return table;
}

/// Takes an entry out, and leaves others of the same name as they are.
void MetaObjectTable::leave(const MetaObject* entry)
{
    std::vector<MetaObject*> newer;
    MetaObject* taken = take(entry->className);
    for (; taken && taken != entry; taken = take(entry->className))
        newer.push_back(taken);
    for (; !newer.empty(); newer.pop_back())
        insert(newer.back()->className, newer.back());
}

MetaObject::MetaObject(const char* ownName, const char* displayName, const MetaObject* superClass,
                       const unsigned char* octets, unsigned length, Factory make)
    : className(ownName), name(displayName), super(superClass), oidBytes(octets), oidLength(length),
      factory(make)
{
    MetaObjectTable::instance().insert(className, this);
}

MetaObject::~MetaObject()
{
    MetaObjectTable::instance().leave(this);
}

MetaObject* MetaObject::new_metaobject(const char* name, const char* displayName,
                                       const MetaObject* superClass, const unsigned char* oid,
                                       unsigned length, Factory make)
{
    auto entry = std::make_unique<MetaObject>(name, displayName, superClass, oid, length, make);
    auto& owned = MetaObjectTable::instance().m_owned;
    owned.push_back(std::move(entry));
    return owned.back().get();
}

const MetaObject* MetaObject::metaObject(const char* name)
{
    return name ? MetaObjectTable::instance().find(name) : nullptr;
}

const MetaObject* MetaObject::metaObject(const ObjectIdentifier& oid, const char* baseClass)
{
    if (oid.isEmpty())
        return nullptr;
    QAsciiDictIterator<MetaObject> it(MetaObjectTable::instance());
    for (const MetaObject* entry; (entry = it.current()); ++it)
        if (entry->oidLength == oid.size() &&
            std::memcmp(entry->oidBytes, oid.octets(), oid.size()) == 0 &&
            (!baseClass || entry->inherits(baseClass)))
            return entry;
    return nullptr;
}

ObjectIdentifier MetaObject::oid() const
{
    return math::MSBArray(reinterpret_cast<const char*>(oidBytes), oidLength);
}

bool MetaObject::inherits(const MetaObject* other) const
{
    const MetaObject* entry = this;
    while (entry && entry != other)
        entry = entry->super;
    return entry;
}

bool MetaObject::inherits(const char* other) const
{
    const MetaObject* entry = this;
    while (entry && qstrcmp(entry->className, other) != 0)
        entry = entry->super;
    return entry;
}

Object::~Object() = default;

const MetaObject* Object::staticMetaObject()
{
    static const MetaObject entry("ASN.1 Object", "asn1", nullptr, nullptr, 0, nullptr);
    return &entry;
}

const MetaObject* Object::metaObject() const
{
    return staticMetaObject();
}

namespace
{
Object* makeIfInherits(const MetaObject* entry, const MetaObject* base)
{
    return entry && entry->inherits(base) ? entry->makeInstance() : nullptr;
}
} // namespace

Object* ObjectFactory::getInstance(const char* name) const
{
    return makeIfInherits(MetaObject::metaObject(name), m_class);
}

Object* ObjectFactory::getInstance(const ObjectIdentifier& oid) const
{
    return makeIfInherits(MetaObject::metaObject(oid, m_class->className), m_class);
}
} // namespace asn
