#include "kernel/vvariant.h"

#include "kernel/vvarianttypes_p.h"
#include "math/integerarray.h"
#include "tools/postroutines.h"
#include "tools/vcolor.h"
#include "tools/vdatetime.h"
#include "tools/vptrvector.h"
#include "tools/vtimestamp.h"

#include <qbitarray.h>
#include <qdatastream.h>

#include <cstring>

using namespace varianttypes;

namespace
{
class VariantTypeVector : public VPtrVector<VVariant::ValueType>
{
};

VariantTypeVector* typeTable = nullptr;

void deleteTypeTable()
{
    delete typeTable;
    typeTable = nullptr;
}

void store(unsigned id, const VVariant::ValueType* type)
{
    typeTable->insertExpand(id, const_cast<VVariant::ValueType*>(type));
}

void needTypeTable()
{
    if (typeTable)
        return;
    typeTable = new VariantTypeVector;
    postroutines::add(&deleteTypeTable);
    typeTable->resize(VVariant::Color + 1);
    for (unsigned id = 0; id <= VVariant::Color; ++id)
        if (const VVariant::ValueType* type = builtInType(id))
            store(id, type);
}

VVariant::ValueType* typeOf(unsigned id)
{
    needTypeTable();
    return id < typeTable->size() ? typeTable->at(id) : nullptr;
}

/// The three containers have no type object: they are handled here.
template <class Function>
bool withContainer(unsigned id, Function&& function)
{
    switch (id) {
    case VVariant::StringList:
        function(static_cast<QStringList*>(nullptr));
        return true;
    case VVariant::Map:
        function(static_cast<VVariant::ValueMap*>(nullptr));
        return true;
    case VVariant::List:
        function(static_cast<VVariant::ValueList*>(nullptr));
        return true;
    default:
        return false;
    }
}

// A list in a list in a list is one more frame on the stack at each level.
constexpr int depthLimit = 1024;
int depth = 0;

class DepthScope
{
public:
    DepthScope() { ++depth; }
    ~DepthScope() { --depth; }
    DepthScope(const DepthScope&) = delete;
    DepthScope& operator=(const DepthScope&) = delete;
    bool tooDeep() const { return depth > depthLimit; }
};

// A count read from a stream is only a bound: the loops end with the stream, and nothing is set
// aside for it.
void loadItems(QDataStream& stream, QStringList& list)
{
    quint32 count = 0;
    for (stream >> count; count > 0 && stream.status() == QDataStream::Ok; --count) {
        QString text;
        stream >> text;
        if (stream.status() == QDataStream::Ok)
            list.append(text);
    }
}

void loadItems(QDataStream& stream, VVariant::ValueList& list)
{
    quint32 count = 0;
    for (stream >> count; count > 0 && stream.status() == QDataStream::Ok; --count) {
        VVariant value(stream);
        if (stream.status() == QDataStream::Ok)
            list.append(value);
    }
}

void loadItems(QDataStream& stream, VVariant::ValueMap& map)
{
    quint32 count = 0;
    for (stream >> count; count > 0 && stream.status() == QDataStream::Ok; --count) {
        QString key;
        stream >> key;
        VVariant value(stream);
        if (stream.status() == QDataStream::Ok)
            map.insert(key, value);
    }
}

void saveItem(QDataStream& stream, const QString& text)
{
    stream << text;
}

void saveItem(QDataStream& stream, const VVariant& value)
{
    value.save(stream);
}

template <class List>
void saveItems(QDataStream& stream, const List& list)
{
    stream << quint32(list.size());
    for (const auto& item : list)
        saveItem(stream, item);
}

void saveItems(QDataStream& stream, const VVariant::ValueMap& map)
{
    stream << quint32(map.size());
    for (auto it = map.begin(); it != map.end(); ++it) {
        saveItem(stream, it.key());
        saveItem(stream, it.value());
    }
}

int compareItem(const QString& left, const QString& right)
{
    return left == right ? 0 : 1;
}

int compareItem(const VVariant& left, const VVariant& right)
{
    return left.compare(right);
}

template <class List>
int compareItems(const List& left, const List& right)
{
    if (left.size() != right.size())
        return 1;
    auto other = right.begin();
    for (const auto& item : left) {
        if (const int result = compareItem(item, *other))
            return result;
        ++other;
    }
    return 0;
}

int compareItems(const VVariant::ValueMap& left, const VVariant::ValueMap& right)
{
    if (left.size() != right.size())
        return 1;
    for (auto it = left.begin(), other = right.begin(); it != left.end(); ++it, ++other) {
        if (it.key() != other.key())
            return 1;
        if (const int result = it.value().compare(other.value()))
            return result;
    }
    return 0;
}
} // namespace

bool VDataType::canConvertTo(const VDataType*) const
{
    return false;
}

bool VDataType::convertTo(const VDataType*, VDataValue*)
{
    return false;
}

void VDataType::clear(VDataValue*) {}

VVariant::ValueType::~ValueType() = default;

void VVariant::ValueType::load(QDataStream&, VDataValue&) {}

void VVariant::ValueType::save(QDataStream&, const VDataValue&) const {}

void VVariant::Value::clear()
{
    if (!isPlain()) {
        const bool container = withContainer(type, [this](auto* kind) {
            releaseHeap<std::remove_pointer_t<decltype(kind)>>(*this);
        });
        if (!container)
            if (ValueType* typeObject = typeOf(type))
                typeObject->clear(this);
    }
    type = Invalid;
    wide = 0;
}

void VVariant::Value::assign(const Value& other)
{
    if (this == &other)
        return;
    // The copy comes first: the other value may live inside what this one frees.
    Value copy;
    if (other.isPlain()) {
        copy = other;
    } else {
        const bool container = withContainer(other.type, [&](auto* kind) {
            shareHeap<std::remove_pointer_t<decltype(kind)>>(other, copy);
        });
        ValueType* typeObject = container ? nullptr : typeOf(other.type);
        if (typeObject)
            typeObject->assign(other, copy);
    }
    clear();
    *this = copy;
}

VVariant::VVariant(const QCString& value)
{
    setHeap(m_value, CString, value);
}

VVariant::VVariant(const QString& value)
{
    setHeap(m_value, String, value);
}

VVariant::VVariant(const char* text)
{
    setHeap(m_value, String, QString::fromLocal8Bit(text));
}

VVariant::VVariant(const QStringList& value)
{
    setHeap(m_value, StringList, value);
}

VVariant::VVariant(const ValueMap& value)
{
    setHeap(m_value, Map, value);
}

VVariant::VVariant(const ValueList& value)
{
    setHeap(m_value, List, value);
}

VVariant::VVariant(const QMemArray<char>& value)
{
    setHeap(m_value, ByteArray, value);
}

VVariant::VVariant(const QBitArray& value)
{
    setHeap(m_value, BitArray, value);
}

VVariant::VVariant(const math::IntegerArray& value)
{
    setHeap(m_value, IntegerArray, value);
}

VVariant::VVariant(const VDate& value)
{
    setHeap(m_value, Date, value);
}

VVariant::VVariant(const VTime& value)
{
    setHeap(m_value, Time, value);
}

VVariant::VVariant(const VDateTime& value)
{
    setHeap(m_value, DateTime, value);
}

VVariant::VVariant(const VTimestamp& value)
{
    setHeap(m_value, Timestamp, value);
}

VVariant::VVariant(const VColor& value) : VVariant(Color, static_cast<qint32>(value.pixel())) {}

int VVariant::toInt(bool* ok) const
{
    return readNumber<int>(m_value, ok);
}

unsigned VVariant::toUInt(bool* ok) const
{
    return readNumber<unsigned>(m_value, ok);
}

qint64 VVariant::toLongInt(bool* ok) const
{
    return readNumber<qint64>(m_value, ok);
}

quint64 VVariant::toULongInt(bool* ok) const
{
    return readNumber<quint64>(m_value, ok);
}

double VVariant::toDouble(bool* ok) const
{
    return readNumber<double>(m_value, ok);
}

bool VVariant::toBool() const
{
    return readBool(m_value);
}

QCString VVariant::toCString() const
{
    if (m_value.type == CString)
        return held<QCString>(m_value);
    const QString text = toString();
    return text.isNull() ? QCString() : QCString(text.toLocal8Bit().constData());
}

QString VVariant::toString() const
{
    switch (m_value.type) {
    case CString:
        return QString::fromLocal8Bit(held<QCString>(m_value).data());
    case String:
        return held<QString>(m_value);
    case Date:
        return held<VDate>(m_value).toString(Zyl::ISODate);
    case Time:
        return held<VTime>(m_value).toString(Zyl::ISODate);
    case DateTime:
        return held<VDateTime>(m_value).toString(Zyl::ISODate);
    case Timestamp:
        return held<VTimestamp>(m_value).toString();
    default:
        break;
    }
    switch (numberKind(m_value.type)) {
    case NumberKind::SignedWord:
        return QString::number(m_value.word);
    case NumberKind::UnsignedWord:
        return m_value.type == Bool ? QString::number(m_value.word != 0 ? 1 : 0)
                                    : QString::number(m_value.uword);
    case NumberKind::Real:
        return QString::number(m_value.real);
    case NumberKind::SignedWide:
        return QString::number(m_value.wide);
    case NumberKind::UnsignedWide:
        return QString::number(m_value.uwide);
    case NumberKind::None:
        break;
    }
    return QString();
}

QStringList VVariant::toStringList() const
{
    return m_value.type == StringList ? held<QStringList>(m_value) : QStringList();
}

VVariant::ValueMap VVariant::toMap() const
{
    return m_value.type == Map ? held<ValueMap>(m_value) : ValueMap();
}

VVariant::ValueList VVariant::toList() const
{
    if (m_value.type == List)
        return held<ValueList>(m_value);
    ValueList list;
    if (m_value.type == StringList)
        for (const QString& text : held<QStringList>(m_value))
            list.append(VVariant(text));
    return list;
}

VDate VVariant::toDate() const
{
    return readDate<VDate>(m_value);
}

VTime VVariant::toTime() const
{
    return readDate<VTime>(m_value);
}

VDateTime VVariant::toDateTime() const
{
    return readDate<VDateTime>(m_value);
}

VTimestamp VVariant::toTimestamp() const
{
    return readDate<VTimestamp>(m_value);
}

QMemArray<char> VVariant::toByteArray() const
{
    return m_value.type == ByteArray ? held<QMemArray<char>>(m_value) : QMemArray<char>();
}

QBitArray VVariant::toBitArray() const
{
    return m_value.type == BitArray ? held<QBitArray>(m_value) : QBitArray();
}

math::IntegerArray VVariant::toIntegerArray() const
{
    return m_value.type == IntegerArray ? held<math::IntegerArray>(m_value) : math::IntegerArray();
}

VColor VVariant::toColor() const
{
    return m_value.type == Color ? VColor(m_value.uword) : VColor();
}

bool VVariant::canConvertTo(unsigned id) const
{
    if (id == m_value.type)
        return true;
    const ValueType* own = typeOf(m_value.type);
    const ValueType* target = typeOf(id);
    return own && target && own->canConvertTo(target);
}

bool VVariant::convertTo(unsigned id)
{
    if (id == m_value.type)
        return true;
    ValueType* own = typeOf(m_value.type);
    const ValueType* target = typeOf(id);
    if (!own || !target) {
        clear();
        return false;
    }
    if (!own->convertTo(target, &m_value))
        return false;
    // Two ids share a type object with another one, which can only set its own.
    m_value.type = id;
    return true;
}

int VVariant::compare(const VVariant& other) const
{
    // Any number converts to any other.
    if (isNumber(m_value.type) && isNumber(other.m_value.type))
        return orderNumbers(m_value.type, other.m_value, m_value);
    if (!other.canConvertTo(m_value.type))
        return 1;
    if (ValueType* own = typeOf(m_value.type))
        return own->compare(other, *this);
    int result = 0;
    withContainer(m_value.type, [&](auto* kind) {
        using Kind = std::remove_pointer_t<decltype(kind)>;
        result = compareItems(held<Kind>(m_value), held<Kind>(other.m_value));
    });
    return result;
}

void VVariant::load(QDataStream& stream)
{
    const DepthScope scope;
    const bool wasWord = m_value.isPlain() && m_value.type != Float && m_value.type != Double;
    const qint32 previous = m_value.word;
    clear();
    qint32 stored = Invalid;
    stream >> stored;
    const unsigned id = static_cast<unsigned>(stored);
    if (scope.tooDeep()) {
        qWarning("VVariant::load: Values are nested too deeply");
        stream.setStatus(QDataStream::ReadCorruptData);
        return;
    }
    Value value;
    const bool container = withContainer(id, [&](auto* kind) {
        using Kind = std::remove_pointer_t<decltype(kind)>;
        loadItems(stream, makeHeap<Kind>(value));
    });
    if (!container) {
        ValueType* typeObject = typeOf(id);
        if (!typeObject)
            return;
        if (id == Color)
            value.word = wasWord ? previous : 0;
        else
            typeObject->load(stream, value);
    }
    value.type = id;
    m_value = value;
}

void VVariant::save(QDataStream& stream) const
{
    stream << qint32(m_value.type);
    const bool container = withContainer(m_value.type, [&](auto* kind) {
        using Kind = std::remove_pointer_t<decltype(kind)>;
        saveItems(stream, held<Kind>(m_value));
    });
    if (!container)
        if (const ValueType* typeObject = typeOf(m_value.type))
            typeObject->save(stream, m_value);
}

void VVariant::addType(unsigned id, const ValueType* type)
{
    // Far above any id in use: a wild one must not make a table of gigabytes.
    constexpr unsigned idLimit = 0xffff;
    if (id > idLimit) {
        qWarning("VVariant::addType: Index %u out of range", id);
        return;
    }
    needTypeTable();
    store(id, type);
}

void VVariant::removeType(unsigned id)
{
    needTypeTable();
    if (id < typeTable->size())
        typeTable->take(id);
}

const VVariant::ValueType* VVariant::metaType(unsigned id)
{
    return typeOf(id);
}

const char* VVariant::typeToName(unsigned id)
{
    const ValueType* type = typeOf(id);
    return type ? type->name() : nullptr;
}

unsigned VVariant::nameToType(const char* name)
{
    if (!name)
        return Invalid;
    needTypeTable();
    for (unsigned id = 0; id < typeTable->size(); ++id)
        if (const ValueType* type = typeTable->at(id))
            if (std::strcmp(type->name(), name) == 0)
                return id;
    return Invalid;
}

QDataStream& operator<<(QDataStream& stream, const VVariant& value)
{
    value.save(stream);
    return stream;
}

QDataStream& operator>>(QDataStream& stream, VVariant& value)
{
    value.load(stream);
    return stream;
}
