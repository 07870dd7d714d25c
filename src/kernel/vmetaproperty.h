#pragma once

#include "toolkit/qstrlist.h"
#include "toolkit/zylexport.h"

class VMetaObject;
struct VMetaEnum;

/// One property of a class, a row of its constant table.
struct ZYL_EXPORT VMetaProperty {
    enum Flag : unsigned {
        Readable = 0x0001,
        Writable = 0x0002,
        EnumOrSet = 0x0004,
        UnresolvedEnum = 0x0008, // found by the type's name, each time it is needed
        StdSet = 0x0010,
        Override = 0x0020, // readable and writable as the superclass's property of this name
        NotDesignable = 0x0100,
        DesignableAsSuper = 0x0200,
        NotScriptable = 0x0400,
        ScriptableAsSuper = 0x0800,
        NotStored = 0x1000,
        StoredAsSuper = 0x2000
    };

    const char* typeName;
    const char* propertyName;
    unsigned flags; // Flag bits, and above 16 bits the id of the variant type; 0 for an enum
    VMetaObject* const* owner; // the static pointer of the class, so that the row can be a constant
    const VMetaEnum* enumerator;

    const char* type() const { return typeName; }
    const char* name() const { return propertyName; }
    unsigned variantType() const { return flags >> 16; }

    /// The index along the chain of classes, or -1.
    int id() const;

    bool isEnumType() const { return flags & EnumOrSet; }
    bool isSetType() const;

    /// The keys in table order.
    QStrList enumKeys() const;

    /// -1 when there is no such key.
    int keyToValue(const char* key) const;

    /// Null when no key has this value; the last of several.
    const char* valueToKey(int value) const;

    /// The keys' values together; -1 when one is unknown.
    int keysToValue(const QStrList& keys) const;

    /// The keys that make up `value`, taken from the end of the table: a key counts when all its
    /// bits remain, or when it is the whole of `value`. The texts are copies.
    QStrList valueToKeys(int value) const;

    /// False also when the enum can't be found, or when nothing stands behind an override.
    bool isValid() const
    {
        return (flags & (Readable | UnresolvedEnum)) == Readable || isResolvedValid();
    }
    bool writable() const { return has(Writable) || isResolvedWritable(); }

    bool designable() const;
    bool stored() const;
    bool scriptable() const;
    bool stdSet() const;

    /// Zeroes the row. For copies: the rows of a class are constants.
    void clear();

private:
    bool has(unsigned bits) const { return (flags & bits) == bits; }
    bool isResolvedValid() const;
    bool isResolvedWritable() const;
    const VMetaProperty* resolved() const;
    const VMetaEnum* resolvedEnum() const;
    template <class Answer>
    bool askResolved(Answer answer) const;
};
