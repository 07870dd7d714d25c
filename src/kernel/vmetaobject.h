#pragma once

#include "kernel/vmetaproperty.h"
#include "toolkit/qstrlist.h"
#include "toolkit/zylexport.h"

#include <cstddef>
#include <typeinfo>

class VMemberDict;
class VUType;

/// A parameter of a slot or signal.
struct ZYL_EXPORT VUParameter {
    enum Direction { In = 1, Out = 2 }; // Out is the result and stands in the first row

    const char* name; // may be null
    VUType* type;
    const char* typeExtra; // the class of a `static_VUType_ptr`'s pointee, an enum's name, or null
    int direction;
};

struct ZYL_EXPORT VUMethod {
    const char* name; // without parameters
    int count;
    const VUParameter* parameters;
};

/// One row in a table of slots or signals.
struct ZYL_EXPORT VMetaData {
    enum Access { Private = 0, Public = 2 };

    const char* name; // the normalised signature
    const VUMethod* method;
    int access;

    /// Whether `member`, a pointer to a member function of the type `type`, is this row's function;
    /// may be null. It lets a signal be named by its function instead of by text.
    bool (*isMember)(const std::type_info& type, const void* member);
};

/// The keys of an enum or, with `set`, of bits that may be combined.
struct ZYL_EXPORT VMetaEnum {
    struct Item {
        const char* key;
        int value;
    };

    constexpr VMetaEnum(const char* enumName, int itemCount, const Item* itemTable, bool isSet)
        : name(enumName), count(itemCount), items(itemTable), set(isSet)
    {
    }
    template <std::size_t N>
    constexpr VMetaEnum(const char* enumName, const Item (&itemTable)[N], bool isSet = false)
        : VMetaEnum(enumName, int(N), itemTable, isSet)
    {
    }

    const char* name;
    int count;
    const Item* items;
    bool set;
};

struct ZYL_EXPORT VClassInfo {
    const char* name;
    const char* value;
};

/// What a class says about itself: its slots, signals, properties, enums and class information.
///
/// Built on first use from constant tables, superclass first, and alive from then on. Indices of
/// slots, signals and properties are global along the chain of classes: row plus offset. With
/// `super` a function also looks at the superclasses; without it `slot`, `signal` and `property`
/// take a plain row number.
class ZYL_EXPORT VMetaObject
{
public:
    VMetaObject(const char* className, const VMetaObject* superclass, const VMetaData* slotTable,
                int nSlots, const VMetaData* signalTable, int nSignals, const VMetaProperty* props,
                int nProps, const VMetaEnum* enums, int nEnums, const VClassInfo* info, int nInfo);
    ~VMetaObject();
    VMetaObject(const VMetaObject&) = delete;
    VMetaObject& operator=(const VMetaObject&) = delete;

    static VMetaObject* new_metaobject(const char* className, const VMetaObject* superclass,
                                       const VMetaData* slotTable, int nSlots,
                                       const VMetaData* signalTable, int nSignals,
                                       const VMetaProperty* props, int nProps,
                                       const VMetaEnum* enums, int nEnums, const VClassInfo* info,
                                       int nInfo);

    /// Null when no class of this name has been used yet.
    static VMetaObject* metaObject(const char* className);

    const char* className() const { return m_className; }
    const VMetaObject* superclass() const { return m_superclass; }
    int signalOffset() const { return m_signals.offset; }
    int slotOffset() const { return m_slots.offset; }
    int propertyOffset() const { return m_propertyOffset; }

    bool inherits(const char* className) const;
    bool inherits(const VMetaObject* other) const;

    int numSlots(bool super = false) const;
    int numSignals(bool super = false) const;
    int numProperties(bool super = false) const;
    int numClassInfo(bool super = false) const;

    /// The global index of a normalised signature, or -1.
    int findSlot(const char* signature, bool super = false) const;
    int findSignal(const char* signature, bool super = false) const;

    /// Null when the index is out of range.
    const VMetaData* slot(int index, bool super = false) const;
    const VMetaData* signal(int index, bool super = false) const;

    /// The signatures, superclass first. The texts are those of the tables.
    QStrList slotNames(bool super = false) const;
    QStrList signalNames(bool super = false) const;

    const VMetaProperty* property(int index, bool super = false) const;

    /// The last valid row of this name: its global index with `super`, its row without, or -1.
    int findProperty(const char* name, bool super = false) const;
    int indexOfProperty(const VMetaProperty* property, bool super = false) const;

    /// What an overriding property stands for: the one of the same name in the superclasses. By
    /// index, the index is global and so is the result; null or -1 when there is none.
    const VMetaProperty* resolveProperty(const VMetaProperty* property) const;
    int resolveProperty(int index) const;

    /// The names of the valid properties, superclass first; one that a subclass overrides stands
    /// twice.
    QStrList propertyNames(bool super = false) const;

    const VMetaEnum* enumerator(const char* name, bool super = false) const;

    /// By index the own rows come first.
    const VClassInfo* classInfo(int index, bool super = false) const;
    const char* classInfo(const char* name, bool super = false) const;

private:
    struct Optional;

    struct MemberTable {
        const VMetaData* rows;
        int count;
        const VMemberDict* dict; // null without rows
        int offset;
    };
    using Table = MemberTable VMetaObject::*;

    static const VMemberDict* init(const VMetaData* rows, int count);
    int count(Table table, bool super) const;
    int find(Table table, const char* signature, bool super) const;
    const VMetaData* row(Table table, int index, bool super) const;
    void appendNames(QStrList& names, Table table, bool super) const;
    void appendPropertyNames(QStrList& names, bool super) const;

    const char* m_className;
    const VMetaObject* m_superclass;
    const Optional* m_optional = nullptr; // null without properties, enums and class information
    MemberTable m_slots;
    MemberTable m_signals;
    int m_propertyOffset;
};
