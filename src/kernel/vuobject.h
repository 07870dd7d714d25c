#pragma once

#include "toolkit/zylexport.h"

class QString;
class VUBuffer;
class VUObject;
class VUuid;
class VVariant;
class VDispatchInterface;
class VUnknownInterface;

/// Describes what a `VUObject` holds. There is one instance of each class, named after it.
class ZYL_EXPORT VUType
{
public:
    virtual const VUuid* uuid() const = 0;
    virtual const char* desc() const = 0;

    /// Whether a value of the type `other` can become one of this type. A type that does not name
    /// the other one asks `other` whether it can convert to this.
    virtual bool canConvertFrom(VUObject* o, VUType* other);
    virtual bool canConvertTo(VUObject* o, VUType* other);

    /// Turns the value of `o`, which is of the type `other`, into one of this type in place.
    virtual bool convertFrom(VUObject* o, VUType* other);
    virtual bool convertTo(VUObject* o, VUType* other);

    /// Frees what the value owns.
    virtual void clear(VUObject* o) = 0;

    /// No type can be serialised: both return false.
    virtual bool serializeTo(VUObject* o, VUBuffer* buffer);
    virtual bool serializeFrom(VUObject* o, VUBuffer* buffer);

    /// Types are the same when they are one instance or carry one identifier.
    static bool isEqual(const VUType* a, const VUType* b);

    /// Whether `clear` has anything to do. Emission skips the call for plain numbers and pointers.
    bool ownsValue() const { return m_ownsValue; }

protected:
    constexpr explicit VUType(bool ownsValue = true) : m_ownsValue(ownsValue) {}
    ~VUType() = default;

private:
    bool m_ownsValue;
};

/// The common part of the types below: which converts to which stands in one table.
class ZYL_EXPORT VUBasicType : public VUType
{
public:
    const VUuid* uuid() const override { return m_uuid; }
    const char* desc() const override { return m_desc; }
    bool canConvertFrom(VUObject* o, VUType* other) override;
    bool canConvertTo(VUObject* o, VUType* other) override;
    bool convertFrom(VUObject* o, VUType* other) override;
    bool convertTo(VUObject* o, VUType* other) override;
    void clear(VUObject* o) override;

protected:
    constexpr VUBasicType(const VUuid* uuid, const char* desc, bool ownsValue = false)
        : VUType(ownsValue), m_uuid(uuid), m_desc(desc)
    {
    }
    ~VUBasicType() = default;

private:
    const VUuid* m_uuid;
    const char* m_desc;
};

extern ZYL_EXPORT const VUuid TID_VUType_Null, TID_VUType_enum, TID_VUType_ptr, TID_VUType_iface,
    TID_VUType_idisp, TID_VUType_bool, TID_VUType_int, TID_VUType_double, TID_VUType_charstar,
    TID_VUType_VString, TID_VUType_VVariant, TID_VUType_varptr;

class ZYL_EXPORT VUType_Null : public VUBasicType
{
public:
    constexpr VUType_Null() : VUBasicType(&TID_VUType_Null, "null") {}
};

extern ZYL_EXPORT VUType_Null static_VUType_Null;

/// One argument or result of a call: a value and its type. It owns the value.
class ZYL_EXPORT VUObject
{
public:
    VUObject() : type(&static_VUType_Null) {}
    ~VUObject() { drop(); }
    VUObject(const VUObject&) = delete;
    VUObject& operator=(const VUObject&) = delete;

    /// Frees what the value owns, ahead of another value.
    void drop()
    {
        // The comparison lets the compiler see that a fresh object has nothing to free.
        if (type != &static_VUType_Null && type->ownsValue())
            type->clear(this);
    }

    /// Takes a copy of the other's value. One that is owned in a way unknown here leaves this
    /// empty.
    void copyFrom(const VUObject& other);

    VUType* type; // never null

    union Payload {
        bool b;
        int i;
        double d;
        void* ptr;
        struct {
            char* ptr;
            bool owner; // the text is freed with the value
        } charstar;
    } payload;
};

/// A type whose value fits the payload as it stands. `set` writes the value and the type, here as
/// in the types below.
template <class Type, class Value, Value VUObject::Payload::*Field>
class ZYL_EXPORT VUPlainType : public VUBasicType
{
public:
    void set(VUObject* o, Value value)
    {
        o->drop();
        o->payload.*Field = value;
        o->type = static_cast<Type*>(this);
    }
    Value& get(VUObject* o) const { return o->payload.*Field; }

protected:
    using VUBasicType::VUBasicType;
};

class ZYL_EXPORT VUType_enum : public VUPlainType<VUType_enum, int, &VUObject::Payload::i>
{
public:
    constexpr VUType_enum() : VUPlainType(&TID_VUType_enum, "enum") {}
};

class ZYL_EXPORT VUType_bool : public VUPlainType<VUType_bool, bool, &VUObject::Payload::b>
{
public:
    constexpr VUType_bool() : VUPlainType(&TID_VUType_bool, "bool") {}
};

class ZYL_EXPORT VUType_int : public VUPlainType<VUType_int, int, &VUObject::Payload::i>
{
public:
    constexpr VUType_int() : VUPlainType(&TID_VUType_int, "int") {}
};

class ZYL_EXPORT VUType_double : public VUPlainType<VUType_double, double, &VUObject::Payload::d>
{
public:
    constexpr VUType_double() : VUPlainType(&TID_VUType_double, "double") {}
};

/// A type whose value is somebody else's pointer.
template <class Type, class Pointer>
class ZYL_EXPORT VUPointerType : public VUBasicType
{
public:
    void set(VUObject* o, Pointer value)
    {
        o->drop();
        o->payload.ptr = const_cast<void*>(static_cast<const void*>(value));
        o->type = static_cast<Type*>(this);
    }
    Pointer get(const VUObject* o) const { return static_cast<Pointer>(o->payload.ptr); }

protected:
    using VUBasicType::VUBasicType;
};

class ZYL_EXPORT VUType_ptr : public VUPointerType<VUType_ptr, const void*>
{
public:
    constexpr VUType_ptr() : VUPointerType(&TID_VUType_ptr, "ptr") {}
};

class ZYL_EXPORT VUType_varptr : public VUPointerType<VUType_varptr, const void*>
{
public:
    constexpr VUType_varptr() : VUPointerType(&TID_VUType_varptr, "varptr") {}
};

class ZYL_EXPORT VUType_iface : public VUPointerType<VUType_iface, VUnknownInterface*>
{
public:
    constexpr VUType_iface() : VUPointerType(&TID_VUType_iface, "UnknownInterface") {}
};

class ZYL_EXPORT VUType_idisp : public VUPointerType<VUType_idisp, VDispatchInterface*>
{
public:
    constexpr VUType_idisp() : VUPointerType(&TID_VUType_idisp, "DispatchInterface") {}
};

class ZYL_EXPORT VUType_charstar : public VUBasicType
{
public:
    constexpr VUType_charstar() : VUBasicType(&TID_VUType_charstar, "char*", true) {}

    /// Keeps the caller's pointer, or with `copy` a duplicate that goes with the value.
    void set(VUObject* o, const char* text, bool copy = false);
    const char* get(const VUObject* o) const { return o->payload.charstar.ptr; }

    void clear(VUObject* o) override;
};

class ZYL_EXPORT VUType_VString : public VUBasicType
{
public:
    constexpr VUType_VString() : VUBasicType(&TID_VUType_VString, "VString", true) {}

    void set(VUObject* o, const QString& text);
    QString& get(const VUObject* o) const { return *static_cast<QString*>(o->payload.ptr); }

    void clear(VUObject* o) override;
};

class ZYL_EXPORT VUType_VVariant : public VUBasicType
{
public:
    constexpr VUType_VVariant() : VUBasicType(&TID_VUType_VVariant, "VVariant", true) {}

    void set(VUObject* o, const VVariant& value);
    VVariant& get(const VUObject* o) const { return *static_cast<VVariant*>(o->payload.ptr); }

    void clear(VUObject* o) override;
};

extern ZYL_EXPORT VUType_enum static_VUType_enum;
extern ZYL_EXPORT VUType_ptr static_VUType_ptr;
extern ZYL_EXPORT VUType_iface static_VUType_iface;
extern ZYL_EXPORT VUType_idisp static_VUType_idisp;
extern ZYL_EXPORT VUType_bool static_VUType_bool;
extern ZYL_EXPORT VUType_int static_VUType_int;
extern ZYL_EXPORT VUType_double static_VUType_double;
extern ZYL_EXPORT VUType_charstar static_VUType_charstar;
extern ZYL_EXPORT VUType_VString static_VUType_VString;
extern ZYL_EXPORT VUType_VVariant static_VUType_VVariant;
extern ZYL_EXPORT VUType_varptr static_VUType_varptr;
