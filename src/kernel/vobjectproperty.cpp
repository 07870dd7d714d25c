// The properties of objects by name.

#include "kernel/vmetaobject.h"
#include "kernel/vobject.h"
#include "kernel/vvariant.h"

#include <qlogging.h>

namespace
{
enum Operation { Set, Get, Reset };

/// Turns the text of an enum's key, or of a set's keys parted by "|", into its number.
void readKeys(const VMetaProperty& property, VVariant& value)
{
    if (!property.isSetType()) {
        value = VVariant(property.keyToValue(value.toCString().data()));
        return;
    }
    QStrList keys;
    for (const QString& key : value.toString().split(QLatin1Char('|'), Qt::SkipEmptyParts))
        keys.append(key.trimmed().toLocal8Bit().constData());
    value = VVariant(property.keysToValue(keys));
}
} // namespace

bool VObject::setProperty(const char* name, const VVariant& value)
{
    const VMetaObject* meta = metaObject();
    if (!value.isValid() || !meta)
        return false;
    const int id = meta->findProperty(name, true);
    const VMetaProperty* property = meta->property(id, true);
    if (!property || !property->writable()) {
        qWarning("%s::setProperty( \"%s\", value ) failed: property invalid, read-only or does not "
                 "exist",
                 className(), name ? name : "(null)");
        return false;
    }
    VVariant copy(value);
    if (property->isEnumType()) {
        if (copy.type() == VVariant::String || copy.type() == VVariant::CString)
            readKeys(*property, copy);
    } else {
        unsigned target = property->variantType();
        if (target == VVariant::Invalid)
            target = VVariant::nameToType(property->type());
        if (target != VVariant::Invalid && target != copy.type() && !copy.canConvertTo(target))
            return false;
    }
    return property_op(id, Set, &copy);
}

VVariant VObject::property(const char* name) const
{
    VVariant value;
    const VMetaObject* meta = metaObject();
    const int id = meta ? meta->findProperty(name, true) : -1;
    if (id >= 0)
        const_cast<VObject*>(this)->property_op(id, Get, &value);
    return value;
}

bool VObject::resetProperty(const char* name)
{
    const VMetaObject* meta = metaObject();
    const int id = meta ? meta->findProperty(name, true) : -1;
    return id >= 0 && property_op(id, Reset, nullptr);
}
