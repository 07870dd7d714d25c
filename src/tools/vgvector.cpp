#include "tools/vgvector.h"

#include "tools/vglist.h"
#include "tools/vsort.h"
#include "toolkit/checkpointer.h"

#include <qdatastream.h>
#include <qiodevice.h>
#include <qlogging.h>

#include <algorithm>
#include <cstdlib>
#include <limits>

VGVector::VGVector(unsigned size)
{
    resize(size);
}

VGVector::VGVector(const VGVector& other) : VPtrCollection(other)
{
    copySlots(other);
}

VGVector& VGVector::operator=(const VGVector& other)
{
    if (&other != this) {
        clear();
        copySlots(other);
    }
    return *this;
}

VGVector::~VGVector()
{
    VGVector::clear();
}

void VGVector::clear()
{
    Item* items = m_items;
    const unsigned size = m_size;
    m_items = nullptr;
    m_size = 0;
    m_count = 0;
    for (unsigned i = 0; i < size; ++i)
        if (items[i])
            deleteItem(items[i]);
    std::free(items);
}

bool VGVector::operator==(const VGVector& other) const
{
    return m_size == other.m_size && count() == other.count() &&
           std::equal(m_items, m_items + m_size, other.m_items,
                      [this](Item a, Item b) { return isEqual(a, b); });
}

bool VGVector::insert(unsigned index, Item item)
{
    if (index >= m_size) {
        qWarning("VGVector::insert: Index %d out of range", index);
        return false;
    }
    const Item incoming = item ? newItem(item) : nullptr;
    const Item old = m_items[index];
    m_items[index] = incoming;
    m_count += unsigned(incoming != nullptr) - unsigned(old != nullptr);
    if (old)
        deleteItem(old);
    return true;
}

bool VGVector::insertExpand(unsigned index, Item item)
{
    if (index >= m_size && (index == std::numeric_limits<unsigned>::max() || !resize(index + 1)))
        return false;
    return insert(index, item);
}

bool VGVector::remove(unsigned index)
{
    if (index >= m_size) {
        qWarning("VGVector::remove: Index %d out of range", index);
        return false;
    }
    return insert(index, nullptr);
}

VGVector::Item VGVector::take(unsigned index)
{
    if (index >= m_size) {
        qWarning("VGVector::take: Index %d out of range", index);
        return nullptr;
    }
    const Item item = m_items[index];
    m_items[index] = nullptr;
    m_count -= item != nullptr;
    return item;
}

bool VGVector::resize(unsigned size)
{
    if (size == m_size)
        return true;
    if (size == 0) {
        clear();
        return true;
    }
    for (unsigned i = size; i < m_size; ++i)
        insert(i, nullptr);
    auto* items = static_cast<Item*>(std::realloc(m_items, size * sizeof(Item)));
    qt_check_pointer(!items, "tools/vgvector", 218);
    if (!items)
        return false;
    if (size > m_size)
        std::fill(items + m_size, items + size, nullptr);
    m_items = items;
    m_size = size;
    return true;
}

bool VGVector::fill(Item item, int size)
{
    if (size >= 0 && !resize(unsigned(size)))
        return false;
    for (unsigned i = 0; i < m_size; ++i)
        insert(i, item);
    return true;
}

void VGVector::sort()
{
    if (count() == 0)
        return;
    Item* up = m_items;
    Item* down = m_items + m_size - 1;
    for (;;) {
        while (up < down && *up)
            ++up;
        while (up < down && !*down)
            --down;
        if (up >= down)
            break;
        std::swap(*up, *down);
    }
    VSort::qsort(m_items, count(), sizeof(Item), compareSlots, this);
}

int VGVector::bsearch(Item item) const
{
    if (m_size == 0)
        return -1;
    if (!item) {
        qWarning("VGVector::bsearch: Cannot search for null object");
        return -1;
    }
    auto hit = static_cast<const Item*>(VSort::bsearch(&item, m_items, count(), sizeof(Item),
                                                       compareSlots, const_cast<VGVector*>(this)));
    if (!hit)
        return -1;
    while (hit > m_items && isEqual(item, hit[-1]))
        --hit;
    return int(hit - m_items);
}

int VGVector::findRef(Item item, unsigned index) const
{
    if (index > m_size) {
        qWarning("VGVector::findRef: Index %d out of range", index);
        return -1;
    }
    for (; index < m_size; ++index)
        if (m_items[index] == item)
            return int(index);
    return -1;
}

int VGVector::find(Item item, unsigned index) const
{
    if (index >= m_size) {
        qWarning("VGVector::find: Index %d out of range", index);
        return -1;
    }
    for (; index < m_size; ++index)
        if (isEqual(m_items[index], item))
            return int(index);
    return -1;
}

unsigned VGVector::containsRef(Item item) const
{
    return unsigned(std::count(m_items, m_items + m_size, item));
}

unsigned VGVector::contains(Item item) const
{
    return unsigned(
        std::count_if(m_items, m_items + m_size, [=](Item other) { return isEqual(other, item); }));
}

bool VGVector::toList(VGList* list) const
{
    list->clear();
    for (unsigned i = 0; i < m_size; ++i)
        if (m_items[i])
            list->append(m_items[i]);
    return true;
}

QDataStream& VGVector::write(QDataStream& stream) const
{
    stream << qint32(count());
    return writeItems(stream);
}

QDataStream& VGVector::read(QDataStream& stream)
{
    return readItems(stream, readCount(stream));
}

QDataStream& VGVector::writeItems(QDataStream& stream) const
{
    for (unsigned i = 0; i < m_size; ++i)
        if (m_items[i])
            write(stream, m_items[i]);
    return stream;
}

QDataStream& VGVector::readItems(QDataStream& stream, unsigned count)
{
    clear();
    // A device that doesn't know its size lets a count promise anything: there the slots grow with
    // the items that really come.
    const bool isBounded = count == 0 || !stream.device()->isSequential();
    const unsigned firstSlots = isBounded ? count : 256;
    for (unsigned i = 0; i < count && stream.status() == QDataStream::Ok; ++i) {
        if (i == m_size && !resize(std::min(count, std::max(firstSlots, 2 * i))))
            break;
        Item item = nullptr;
        read(stream, item);
        if (!item)
            break;
        m_items[i] = item;
        ++m_count;
    }
    return stream;
}

void VGVector::warningIndexRange(unsigned index)
{
    qWarning("VGVector::operator[]: Index %d out of range", index);
}

void VGVector::deleteItem(Item) {}

int VGVector::compareItems(Item a, Item b) const
{
    return a == b ? 0 : -1;
}

QDataStream& VGVector::read(QDataStream& stream, Item& item)
{
    item = nullptr;
    return stream;
}

QDataStream& VGVector::write(QDataStream& stream, Item) const
{
    return stream;
}

bool VGVector::isEqual(Item a, Item b) const
{
    return a && b ? compareItems(a, b) == 0 : a == b;
}

/// Takes over copies of the other's items into the same slots of this empty vector.
void VGVector::copySlots(const VGVector& other)
{
    if (!resize(other.m_size))
        return;
    for (unsigned i = 0; i < other.m_size; ++i)
        if (other.m_items[i])
            insert(i, other.m_items[i]);
}

/// Empty slots come last, as `sort` leaves them, also in a search that isn't preceded by one.
int VGVector::compareSlots(const void* a, const void* b, void* vector)
{
    const Item x = *static_cast<const Item*>(a);
    const Item y = *static_cast<const Item*>(b);
    if (Q_UNLIKELY(!x || !y))
        return int(!x) - int(!y);
    return static_cast<const VGVector*>(vector)->compareItems(x, y);
}

QDataStream& operator<<(QDataStream& stream, const VGVector& vector)
{
    return vector.write(stream);
}

QDataStream& operator>>(QDataStream& stream, VGVector& vector)
{
    return vector.read(stream);
}
