#pragma once

#include "security/asnoid.h"
#include "toolkit/qasciidict.h"

#include <memory>
#include <vector>

namespace asn
{
class Object;

/// What is known of a class that is named and made by object identifier. Its life in the global
/// table begins with its construction and ends with it; an instance is usually a static variable of
/// its class's `staticMetaObject`.
class ZYL_EXPORT MetaObject
{
public:
    using Factory = Object* (*)();

    /// The names and the octets must outlive the entry. `factory` may be null.
    MetaObject(const char* name, const char* displayName, const MetaObject* superClass,
               const unsigned char* oid, unsigned length, Factory make);
    virtual ~MetaObject();
    MetaObject(const MetaObject&) = delete;
    MetaObject& operator=(const MetaObject&) = delete;

    /// Makes an entry that lives as long as the table.
    static MetaObject* new_metaobject(const char* name, const char* displayName,
                                      const MetaObject* superClass, const unsigned char* oid,
                                      unsigned length, Factory make);

    /// The entry of a class name, or null.
    static const MetaObject* metaObject(const char* name);
    /// The first entry with this identifier that inherits `baseClass`, unless that is null. Null
    /// for an empty identifier.
    static const MetaObject* metaObject(const ObjectIdentifier& oid,
                                        const char* baseClass = nullptr);

    ObjectIdentifier oid() const;
    /// The caller deletes it. Null without a factory.
    Object* makeInstance() const { return factory ? factory() : nullptr; }
    /// A class inherits itself too.
    bool inherits(const MetaObject* other) const;
    bool inherits(const char* other) const;

    const char* className;
    const char* name;
    const MetaObject* super;
    const unsigned char* oidBytes;
    unsigned oidLength;
    Factory factory;
};

/// The global table of entries by class name. It is filled at start-up and takes no lock.
class ZYL_EXPORT MetaObjectTable : public QAsciiDict<MetaObject>
{
public:
    static MetaObjectTable& instance();

private:
    friend class MetaObject;

    MetaObjectTable() = default;
    void leave(const MetaObject* entry);

    std::vector<std::unique_ptr<MetaObject>> m_owned;
};

/// Root of the classes that are made by object identifier.
class ZYL_EXPORT Object
{
public:
    virtual const MetaObject* metaObject() const;
    virtual ~Object();

    static const MetaObject* staticMetaObject();

    const char* className() const { return metaObject()->className; }
    ObjectIdentifier oid() const { return metaObject()->oid(); }
    bool inherits(const char* other) const { return metaObject()->inherits(other); }
    bool inherits(const MetaObject* other) const { return metaObject()->inherits(other); }
};

/// Makes objects of a class and those derived from it. The caller deletes them; null is returned
/// for a name or an identifier that stands for no such class, or for one that can't be made.
class ZYL_EXPORT ObjectFactory
{
public:
    explicit ObjectFactory(const MetaObject* handedOut) : m_class(handedOut) {}

    Object* getInstance(const char* name) const;
    Object* getInstance(const ObjectIdentifier& oid) const;

private:
    const MetaObject* m_class;
};
} // namespace asn
