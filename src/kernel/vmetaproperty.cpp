#include "kernel/vmetaproperty.h"

#include "kernel/vmetaobject.h"

#include <qbytearray.h>

namespace
{
/// The last item that `matches`, or null.
template <class Matches>
const VMetaEnum::Item* findItem(const VMetaEnum* enumerator, Matches matches)
{
    for (int i = enumerator ? enumerator->count : 0; i-- > 0;)
        if (matches(enumerator->items[i]))
            return &enumerator->items[i];
    return nullptr;
}
} // namespace

int VMetaProperty::id() const
{
    return owner && *owner ? (*owner)->indexOfProperty(this, true) : -1;
}

bool VMetaProperty::isSetType() const
{
    const VMetaEnum* e = resolvedEnum();
    return e && e->set;
}

QStrList VMetaProperty::enumKeys() const
{
    QStrList keys(false);
    if (const VMetaEnum* e = resolvedEnum())
        for (int i = 0; i < e->count; ++i)
            keys.append(e->items[i].key);
    return keys;
}

int VMetaProperty::keyToValue(const char* key) const
{
    const auto* item = findItem(resolvedEnum(), [key](const VMetaEnum::Item& candidate) {
        return qstrcmp(candidate.key, key) == 0;
    });
    return item ? item->value : -1;
}

const char* VMetaProperty::valueToKey(int value) const
{
    const auto* item = findItem(resolvedEnum(), [value](const VMetaEnum::Item& candidate) {
        return candidate.value == value;
    });
    return item ? item->key : nullptr;
}

int VMetaProperty::keysToValue(const QStrList& keys) const
{
    if (!resolvedEnum())
        return -1;
    int value = 0;
    for (QStrListIterator it(keys); it.current(); ++it)
        value |= keyToValue(it.current()); // -1 has all bits, so it stays
    return value;
}

QStrList VMetaProperty::valueToKeys(int value) const
{
    QStrList keys;
    const VMetaEnum* e = resolvedEnum();
    int rest = value;
    for (int i = e ? e->count : 0; i-- > 0;) {
        const VMetaEnum::Item& item = e->items[i];
        if ((item.value != 0 && (rest & item.value) == item.value) || item.value == value) {
            rest &= ~item.value;
            keys.append(item.key);
        }
    }
    return keys;
}

bool VMetaProperty::designable() const
{
    if (!isValid() || !writable())
        return false;
    return has(DesignableAsSuper) ? askResolved(&VMetaProperty::designable) : !has(NotDesignable);
}

bool VMetaProperty::stored() const
{
    if (!isValid() || !writable())
        return false;
    return has(StoredAsSuper) ? askResolved(&VMetaProperty::stored) : !has(NotStored);
}

bool VMetaProperty::scriptable() const
{
    return has(ScriptableAsSuper) ? askResolved(&VMetaProperty::scriptable) : !has(NotScriptable);
}

bool VMetaProperty::stdSet() const
{
    return has(Override) && !has(Writable) ? askResolved(&VMetaProperty::stdSet) : has(StdSet);
}

void VMetaProperty::clear()
{
    *this = VMetaProperty{};
}

/// Validity where the row itself doesn't say it all.
bool VMetaProperty::isResolvedValid() const
{
    if (has(UnresolvedEnum) && !resolvedEnum())
        return false;
    return has(Readable) || (has(Override) && askResolved(&VMetaProperty::isValid));
}

bool VMetaProperty::isResolvedWritable() const
{
    return has(Override) && askResolved(&VMetaProperty::writable);
}

const VMetaProperty* VMetaProperty::resolved() const
{
    return owner && *owner ? (*owner)->resolveProperty(this) : nullptr;
}

const VMetaEnum* VMetaProperty::resolvedEnum() const
{
    if (enumerator || !has(UnresolvedEnum) || !owner || !*owner)
        return enumerator;
    return (*owner)->enumerator(typeName, true);
}

template <class Answer>
bool VMetaProperty::askResolved(Answer answer) const
{
    const VMetaProperty* property = resolved();
    return property && (property->*answer)();
}
