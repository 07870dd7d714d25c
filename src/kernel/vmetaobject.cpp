#include "kernel/vmetaobject.h"

#include "kernel/classtable_p.h"
#include "toolkit/checkpointer.h"
#include "toolkit/qasciidict.h"

#include <qbytearray.h>

#include <new>

/// From signature to row.
class VMemberDict : public QAsciiDict<const VMetaData>
{
public:
    explicit VMemberDict(int size) : QAsciiDict(size, true, false) {}
};

/// What few classes have.
struct VMetaObject::Optional {
    const VMetaEnum* enums;
    int nEnums;
    const VMetaProperty* properties;
    int nProperties;
    const VClassInfo* info;
    int nInfo;
};

namespace
{
using VMetaObjectTable = ClassTable<VMetaObject>;

constexpr const char* sourceName = "kernel/vmetaobject";

int bucketsFor(int count)
{
    constexpr struct {
        int count, buckets;
    } steps[] = {{5, 5}, {9, 11}, {13, 17}, {23, 23}};
    for (const auto& step : steps)
        if (count <= step.count)
            return step.buckets;
    return count;
}
} // namespace

VMetaObject::VMetaObject(const char* className, const VMetaObject* superclass,
                         const VMetaData* slotTable, int nSlots, const VMetaData* signalTable,
                         int nSignals, const VMetaProperty* props, int nProps,
                         const VMetaEnum* enums, int nEnums, const VClassInfo* info, int nInfo)
    : m_className(className),
      m_superclass(superclass), m_slots{slotTable, nSlots, init(slotTable, nSlots),
                                        superclass
                                            ? superclass->m_slots.offset + superclass->m_slots.count
                                            : 0},
      m_signals{signalTable, nSignals, init(signalTable, nSignals),
                superclass ? superclass->m_signals.offset + superclass->m_signals.count : 0},
      m_propertyOffset(superclass ? superclass->m_propertyOffset + superclass->numProperties() : 0)
{
    if (nProps > 0 || nEnums > 0 || nInfo > 0) {
        m_optional = new (std::nothrow) Optional{enums, nEnums, props, nProps, info, nInfo};
        qt_check_pointer(!m_optional, sourceName, __LINE__);
    }
    VMetaObjectTable::add(className, this);
}

VMetaObject::~VMetaObject()
{
    VMetaObjectTable::remove(m_className, this);
    delete m_slots.dict;
    delete m_signals.dict;
    delete m_optional;
}

VMetaObject* VMetaObject::new_metaobject(const char* className, const VMetaObject* superclass,
                                         const VMetaData* slotTable, int nSlots,
                                         const VMetaData* signalTable, int nSignals,
                                         const VMetaProperty* props, int nProps,
                                         const VMetaEnum* enums, int nEnums, const VClassInfo* info,
                                         int nInfo)
{
    return new VMetaObject(className, superclass, slotTable, nSlots, signalTable, nSignals, props,
                           nProps, enums, nEnums, info, nInfo);
}

VMetaObject* VMetaObject::metaObject(const char* className)
{
    return VMetaObjectTable::find(className);
}

bool VMetaObject::inherits(const char* className) const
{
    for (const VMetaObject* m = this; m; m = m->m_superclass)
        if (qstrcmp(m->m_className, className) == 0)
            return true;
    return false;
}

bool VMetaObject::inherits(const VMetaObject* other) const
{
    for (const VMetaObject* m = this; m; m = m->m_superclass)
        if (m == other)
            return true;
    return false;
}

int VMetaObject::numSlots(bool super) const
{
    return count(&VMetaObject::m_slots, super);
}

int VMetaObject::numSignals(bool super) const
{
    return count(&VMetaObject::m_signals, super);
}

int VMetaObject::numProperties(bool super) const
{
    return (m_optional ? m_optional->nProperties : 0) + (super ? m_propertyOffset : 0);
}

int VMetaObject::numClassInfo(bool super) const
{
    return (m_optional ? m_optional->nInfo : 0) +
           (super && m_superclass ? m_superclass->numClassInfo(true) : 0);
}

int VMetaObject::findSlot(const char* signature, bool super) const
{
    return find(&VMetaObject::m_slots, signature, super);
}

int VMetaObject::findSignal(const char* signature, bool super) const
{
    return find(&VMetaObject::m_signals, signature, super);
}

const VMetaData* VMetaObject::slot(int index, bool super) const
{
    return row(&VMetaObject::m_slots, index, super);
}

const VMetaData* VMetaObject::signal(int index, bool super) const
{
    return row(&VMetaObject::m_signals, index, super);
}

QStrList VMetaObject::slotNames(bool super) const
{
    QStrList names(false);
    appendNames(names, &VMetaObject::m_slots, super);
    return names;
}

QStrList VMetaObject::signalNames(bool super) const
{
    QStrList names(false);
    appendNames(names, &VMetaObject::m_signals, super);
    return names;
}

const VMetaProperty* VMetaObject::property(int index, bool super) const
{
    const int row = super ? index - m_propertyOffset : index;
    if (row >= 0 && row < numProperties())
        return &m_optional->properties[row];
    return super && m_superclass ? m_superclass->property(index, true) : nullptr;
}

int VMetaObject::findProperty(const char* name, bool super) const
{
    for (int i = numProperties(); i-- > 0;) {
        const VMetaProperty& candidate = m_optional->properties[i];
        if (qstrcmp(candidate.name(), name) == 0 && candidate.isValid())
            return super ? i + m_propertyOffset : i;
    }
    return super && m_superclass ? m_superclass->findProperty(name, true) : -1;
}

int VMetaObject::indexOfProperty(const VMetaProperty* property, bool super) const
{
    for (int i = 0; i < numProperties(); ++i)
        if (&m_optional->properties[i] == property)
            return super ? i + m_propertyOffset : i;
    return super && m_superclass ? m_superclass->indexOfProperty(property, true) : -1;
}

const VMetaProperty* VMetaObject::resolveProperty(const VMetaProperty* property) const
{
    if (!property || !m_superclass)
        return nullptr;
    return m_superclass->property(m_superclass->findProperty(property->name(), true), true);
}

int VMetaObject::resolveProperty(int index) const
{
    if (!m_superclass)
        return -1;
    const int row = index - m_propertyOffset;
    if (row < 0)
        return m_superclass->resolveProperty(index);
    const VMetaProperty* own = property(row);
    return own ? m_superclass->findProperty(own->name(), true) : -1;
}

QStrList VMetaObject::propertyNames(bool super) const
{
    QStrList names(false);
    appendPropertyNames(names, super);
    return names;
}

const VMetaEnum* VMetaObject::enumerator(const char* name, bool super) const
{
    for (int i = m_optional ? m_optional->nEnums : 0; i-- > 0;)
        if (qstrcmp(m_optional->enums[i].name, name) == 0)
            return &m_optional->enums[i];
    return super && m_superclass ? m_superclass->enumerator(name, true) : nullptr;
}

const VClassInfo* VMetaObject::classInfo(int index, bool super) const
{
    const int own = numClassInfo();
    if (index >= 0 && index < own)
        return &m_optional->info[index];
    return index >= own && super && m_superclass ? m_superclass->classInfo(index - own, true)
                                                 : nullptr;
}

const char* VMetaObject::classInfo(const char* name, bool super) const
{
    for (int i = numClassInfo(); i-- > 0;)
        if (qstrcmp(m_optional->info[i].name, name) == 0)
            return m_optional->info[i].value;
    return super && m_superclass ? m_superclass->classInfo(name, true) : nullptr;
}

const VMemberDict* VMetaObject::init(const VMetaData* rows, int count)
{
    if (count == 0)
        return nullptr;
    auto* dict = new (std::nothrow) VMemberDict(bucketsFor(count));
    qt_check_pointer(!dict, sourceName, __LINE__);
    for (int i = 0; dict && i < count; ++i)
        dict->insert(rows[i].name, &rows[i]);
    return dict;
}

int VMetaObject::count(Table table, bool super) const
{
    const MemberTable& own = this->*table;
    return own.count + (super ? own.offset : 0);
}

int VMetaObject::find(Table table, const char* signature, bool super) const
{
    for (const VMetaObject* m = this; m && signature; m = super ? m->m_superclass : nullptr) {
        const MemberTable& own = m->*table;
        if (const VMetaData* found = own.dict ? own.dict->find(signature) : nullptr)
            return int(found - own.rows) + own.offset;
    }
    return -1;
}

const VMetaData* VMetaObject::row(Table table, int index, bool super) const
{
    for (const VMetaObject* m = this; m; m = super ? m->m_superclass : nullptr) {
        const MemberTable& own = m->*table;
        const int row = super ? index - own.offset : index;
        if (row >= 0)
            return row < own.count ? &own.rows[row] : nullptr;
    }
    return nullptr;
}

void VMetaObject::appendNames(QStrList& names, Table table, bool super) const
{
    if (super && m_superclass)
        m_superclass->appendNames(names, table, true);
    const MemberTable& own = this->*table;
    for (int i = 0; i < own.count; ++i)
        names.append(own.rows[i].name);
}

void VMetaObject::appendPropertyNames(QStrList& names, bool super) const
{
    if (super && m_superclass)
        m_superclass->appendPropertyNames(names, true);
    for (int i = 0; i < numProperties(); ++i)
        if (m_optional->properties[i].isValid())
            names.append(m_optional->properties[i].name());
}
