#include "kernel/vuobject.h"

#include "kernel/vvariant.h"
#include "tools/saturate.h"
#include "tools/vuuid.h"

#include <qbytearray.h>
#include <qstring.h>

#include <cmath>

// clang-format off
constexpr VUuid TID_VUType_Null    (0xDE56510E, 0x4E9F, 0x4B76, 0xA3, 0xC2, 0xD1, 0xE2, 0xEF, 0x42, 0xF1, 0xAC);
constexpr VUuid TID_VUType_enum    (0x7EE17B08, 0x5419, 0x47E2, 0x97, 0x76, 0x8E, 0xEA, 0x11, 0x2D, 0xCA, 0xEC);
constexpr VUuid TID_VUType_ptr     (0x8AC26448, 0x5AB4, 0x49EB, 0x96, 0x8C, 0x8F, 0x30, 0xAB, 0x13, 0xD7, 0x32);
constexpr VUuid TID_VUType_iface   (0x97A2594D, 0x6496, 0x4402, 0xA1, 0x1E, 0x55, 0xAE, 0xF2, 0xD4, 0xD2, 0x5C);
constexpr VUuid TID_VUType_idisp   (0x2F358164, 0xE28F, 0x4BF4, 0x9F, 0xA9, 0x4E, 0x0C, 0xDC, 0xAB, 0xA5, 0x0B);
constexpr VUuid TID_VUType_bool    (0xCA42115D, 0x13D0, 0x456C, 0x82, 0xB5, 0xFC, 0x10, 0x18, 0x7F, 0x31, 0x3E);
constexpr VUuid TID_VUType_int     (0x53C1F3BE, 0x73C3, 0x4C7D, 0x9E, 0x05, 0xCC, 0xF0, 0x9E, 0xB6, 0x76, 0xB5);
constexpr VUuid TID_VUType_double  (0x2D0974E5, 0x0BA6, 0x4EC2, 0x88, 0x37, 0xC1, 0x98, 0x97, 0x2C, 0xB4, 0x8C);
constexpr VUuid TID_VUType_charstar(0xEFCDD1D4, 0x77A3, 0x4B8E, 0x8D, 0x46, 0xDC, 0x14, 0xB8, 0xD3, 0x93, 0xE9);
constexpr VUuid TID_VUType_VString (0x44C2A547, 0x01E7, 0x4E56, 0x85, 0x59, 0x35, 0xAF, 0x9D, 0x2F, 0x42, 0xB7);
constexpr VUuid TID_VUType_VVariant(0x6DC75D58, 0xA1D9, 0x4417, 0xB5, 0x91, 0xD4, 0x5C, 0x63, 0xA3, 0xA4, 0xEA);
constexpr VUuid TID_VUType_varptr  (0x8D48B3A8, 0xBD7F, 0x11D5, 0x8D, 0x74, 0x00, 0xC0, 0xF0, 0x3B, 0xC0, 0xF3);
// clang-format on

VUType_Null static_VUType_Null;
VUType_enum static_VUType_enum;
VUType_ptr static_VUType_ptr;
VUType_iface static_VUType_iface;
VUType_idisp static_VUType_idisp;
VUType_bool static_VUType_bool;
VUType_int static_VUType_int;
VUType_double static_VUType_double;
VUType_charstar static_VUType_charstar;
VUType_VString static_VUType_VString;
VUType_VVariant static_VUType_VVariant;
VUType_varptr static_VUType_varptr;

namespace
{
QString text(const VUObject* o)
{
    return static_VUType_VString.get(o);
}

/// Replaces the value by a copy on the heap of `value`, which may belong to the old one.
template <class T>
void setCopy(VUObject* o, const T& value, VUType* type)
{
    auto* kept = new T(value);
    o->drop();
    o->payload.ptr = kept;
    o->type = type;
}

template <class T>
void deleteCopy(VUObject* o)
{
    delete static_cast<T*>(o->payload.ptr);
    o->payload.ptr = nullptr;
}

/// Which of the two types of a conversion names the other one.
enum Side { Target = 1, Source = 2, Both = Target | Source };

struct Conversion {
    VUType* from;
    VUType* to;
    Side side;
    void (*convert)(VUObject* o);
};

// clang-format off
const Conversion conversions[] = {
    {&static_VUType_double, &static_VUType_int, Both, [](VUObject* o) {
        static_VUType_int.set(o, roundedInt(std::trunc(o->payload.d)));
    }},
    {&static_VUType_int, &static_VUType_double, Both, [](VUObject* o) {
        static_VUType_double.set(o, o->payload.i);
    }},
    {&static_VUType_int, &static_VUType_enum, Target, [](VUObject* o) {
        static_VUType_enum.set(o, o->payload.i);
    }},
    {&static_VUType_enum, &static_VUType_int, Source, [](VUObject* o) {
        static_VUType_int.set(o, o->payload.i);
    }},
    {&static_VUType_charstar, &static_VUType_VString, Target, [](VUObject* o) {
        static_VUType_VString.set(o, QString::fromLocal8Bit(static_VUType_charstar.get(o)));
    }},
    {&static_VUType_int, &static_VUType_VString, Target, [](VUObject* o) {
        static_VUType_VString.set(o, QString::number(o->payload.i));
    }},
    {&static_VUType_double, &static_VUType_VString, Target, [](VUObject* o) {
        static_VUType_VString.set(o, QString::number(o->payload.d));
    }},
    {&static_VUType_VString, &static_VUType_charstar, Source, [](VUObject* o) {
        static_VUType_charstar.set(o, text(o).toLocal8Bit().constData(), true);
    }},
    {&static_VUType_VString, &static_VUType_int, Source, [](VUObject* o) {
        static_VUType_int.set(o, text(o).toInt());
    }},
    {&static_VUType_VString, &static_VUType_double, Source, [](VUObject* o) {
        static_VUType_double.set(o, text(o).toDouble());
    }},
    {&static_VUType_idisp, &static_VUType_iface, Source, [](VUObject* o) {
        o->type = &static_VUType_iface;
    }},
    {&static_VUType_bool, &static_VUType_VVariant, Target, [](VUObject* o) {
        static_VUType_VVariant.set(o, VVariant(o->payload.b, 0));
    }},
    {&static_VUType_int, &static_VUType_VVariant, Target, [](VUObject* o) {
        static_VUType_VVariant.set(o, o->payload.i);
    }},
    {&static_VUType_double, &static_VUType_VVariant, Target, [](VUObject* o) {
        static_VUType_VVariant.set(o, o->payload.d);
    }},
    {&static_VUType_charstar, &static_VUType_VVariant, Target, [](VUObject* o) {
        static_VUType_VVariant.set(o, static_VUType_charstar.get(o));
    }},
    {&static_VUType_VString, &static_VUType_VVariant, Target, [](VUObject* o) {
        static_VUType_VVariant.set(o, text(o));
    }},
    {&static_VUType_ptr, &static_VUType_varptr, Target, [](VUObject* o) {
        o->type = &static_VUType_varptr;
    }},
    {&static_VUType_varptr, &static_VUType_ptr, Source, [](VUObject* o) {
        o->type = &static_VUType_ptr;
    }},
};
// clang-format on

const Conversion* findConversion(const VUType* from, const VUType* to, Side side)
{
    for (const Conversion& conversion : conversions)
        if (conversion.side & side && VUType::isEqual(conversion.from, from) &&
            VUType::isEqual(conversion.to, to))
            return &conversion;
    return nullptr;
}
} // namespace

void VUObject::copyFrom(const VUObject& other)
{
    if (other.type == &static_VUType_charstar) {
        static_VUType_charstar.set(this, static_VUType_charstar.get(&other), true);
    } else if (other.type == &static_VUType_VString) {
        static_VUType_VString.set(this, static_VUType_VString.get(&other));
    } else if (other.type == &static_VUType_VVariant) {
        static_VUType_VVariant.set(this, static_VUType_VVariant.get(&other));
    } else {
        drop();
        type = other.type->ownsValue() ? &static_VUType_Null : other.type;
        payload = other.payload;
    }
}

bool VUType::isEqual(const VUType* a, const VUType* b)
{
    return a == b || a->uuid() == b->uuid() || *a->uuid() == *b->uuid();
}

bool VUType::canConvertFrom(VUObject* o, VUType* other)
{
    return other->canConvertTo(o, this);
}

bool VUType::canConvertTo(VUObject*, VUType*)
{
    return false;
}

bool VUType::convertFrom(VUObject* o, VUType* other)
{
    return other->convertTo(o, this);
}

bool VUType::convertTo(VUObject*, VUType*)
{
    return false;
}

bool VUType::serializeTo(VUObject*, VUBuffer*)
{
    return false;
}

bool VUType::serializeFrom(VUObject*, VUBuffer*)
{
    return false;
}

bool VUBasicType::canConvertFrom(VUObject* o, VUType* other)
{
    return findConversion(other, this, Target) || VUType::canConvertFrom(o, other);
}

bool VUBasicType::canConvertTo(VUObject*, VUType* other)
{
    return findConversion(this, other, Source);
}

bool VUBasicType::convertFrom(VUObject* o, VUType* other)
{
    const Conversion* conversion = findConversion(other, this, Target);
    if (!conversion)
        return VUType::convertFrom(o, other);
    conversion->convert(o);
    return true;
}

bool VUBasicType::convertTo(VUObject* o, VUType* other)
{
    const Conversion* conversion = findConversion(this, other, Source);
    if (conversion)
        conversion->convert(o);
    return conversion;
}

void VUBasicType::clear(VUObject*) {}

void VUType_charstar::set(VUObject* o, const char* text, bool copy)
{
    char* kept = copy ? qstrdup(text) : const_cast<char*>(text); // may be a copy of the old value
    o->drop();
    o->payload.charstar.ptr = kept;
    o->payload.charstar.owner = copy;
    o->type = this;
}

void VUType_charstar::clear(VUObject* o)
{
    if (o->payload.charstar.owner)
        delete[] o->payload.charstar.ptr;
    o->payload.charstar.ptr = nullptr;
    o->payload.charstar.owner = false;
}

void VUType_VString::set(VUObject* o, const QString& text)
{
    setCopy(o, text, this);
}

void VUType_VString::clear(VUObject* o)
{
    deleteCopy<QString>(o);
}

void VUType_VVariant::set(VUObject* o, const VVariant& value)
{
    setCopy(o, value, this);
}

void VUType_VVariant::clear(VUObject* o)
{
    deleteCopy<VVariant>(o);
}
