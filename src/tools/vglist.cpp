#include "tools/vglist.h"

#include "tools/vgvector.h"
#include "tools/vsort.h"
#include "toolkit/checkpointer.h"

#include <qdatastream.h>
#include <qlogging.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <vector>

/// The iterators on one list. Most lists have one at a time, which needs no allocation.
class VGListIteratorList
{
public:
    void add(VGListIterator* iterator)
    {
        if (!m_single) {
            m_single = iterator;
            return;
        }
        if (!m_others)
            m_others = std::make_unique<std::vector<VGListIterator*>>();
        m_others->push_back(iterator);
    }

    void remove(const VGListIterator* iterator)
    {
        if (m_single == iterator) {
            m_single = nullptr;
            return;
        }
        // Iterators of nested loops leave in turn, the last first.
        const auto place = std::find(m_others->rbegin(), m_others->rend(), iterator);
        m_others->erase(std::next(place).base());
        if (m_others->empty())
            m_others.reset();
    }

    /// Moves the iterators on a removed node to where the list's current position has gone.
    void notifyRemove(const VLNode* removed, VLNode* next)
    {
        forEach([=](VGListIterator& iterator) {
            if (iterator.m_node == removed)
                iterator.m_node = next;
        });
    }

    void notifyClear(bool zeroList)
    {
        forEach([=](VGListIterator& iterator) {
            iterator.m_node = nullptr;
            if (zeroList)
                iterator.m_list = nullptr;
        });
    }

private:
    template <class F>
    void forEach(F&& call)
    {
        if (m_single)
            call(*m_single);
        if (m_others)
            for (VGListIterator* iterator : *m_others)
                call(*iterator);
    }

    std::unique_ptr<std::vector<VGListIterator*>> m_others;
    VGListIterator* m_single = nullptr;
};

namespace
{
// Nodes come straight from malloc: they are what filling and emptying a list costs.
VLNode* allocateNode(int line)
{
    auto* node = static_cast<VLNode*>(std::malloc(sizeof(VLNode)));
    if (!node)
        qt_check_pointer(true, "tools/vglist", line);
    return node;
}

struct FreeNode {
    void operator()(VLNode* node) const { std::free(node); }
};
using NodePtr = std::unique_ptr<VLNode, FreeNode>;
} // namespace

/// A node for an item that comes in; null if there is no memory.
inline VLNode* VGList::makeNode(Item item)
{
    VLNode* node = allocateNode(223);
    if (node)
        node->item = newItem(item);
    return node;
}

/// Links a node in before `place`, at the end when that is null, and makes it current; the index is
/// left to the caller.
inline void VGList::linkBefore(VLNode* place, VLNode* node)
{
    VLNode* before = place ? place->prev : m_last;
    node->prev = before;
    node->next = place;
    (before ? before->next : m_first) = node;
    (place ? place->prev : m_last) = node;
    m_current = node;
    ++m_count;
}

VGList::VGList(const VGList& other) : VPtrCollection(other)
{
    for (const VLNode* node = other.m_first; node; node = node->next)
        append(node->item);
}

VGList& VGList::operator=(const VGList& other)
{
    if (&other == this)
        return *this;
    clear();
    for (const VLNode* node = other.m_first; node; node = node->next)
        append(node->item);
    toHead();
    return *this;
}

VGList::~VGList()
{
    VGList::clear();
    if (m_iterators) {
        m_iterators->notifyClear(true);
        delete m_iterators;
    }
}

void VGList::clear()
{
    VLNode* node = m_first;
    m_first = nullptr;
    m_last = nullptr;
    m_current = nullptr;
    m_currentIndex = -1;
    m_count = 0;
    if (m_iterators)
        m_iterators->notifyClear(false);
    while (node) {
        const NodePtr old(node);
        node = node->next;
        if (node)
            node->prev = nullptr; // lets removeNode see that these nodes have left
        deleteItem(old->item);
    }
}

bool VGList::operator==(const VGList& other) const
{
    if (count() != other.count())
        return false;
    const VLNode* theirs = other.m_first;
    for (const VLNode* node = m_first; node && theirs; node = node->next, theirs = theirs->next)
        if (compareItems(node->item, theirs->item) != 0)
            return false;
    return true;
}

void VGList::prepend(Item item)
{
    insertAt(0, item);
}

void VGList::append(Item item)
{
    if (VLNode* node = makeNode(item)) {
        linkBefore(nullptr, node);
        m_currentIndex = qint32(m_count) - 1;
    }
}

bool VGList::insertAt(unsigned index, Item item)
{
    if (index > m_count)
        return false;
    VLNode* node = makeNode(item);
    if (!node)
        return false;
    linkBefore(index < m_count ? locate(index) : nullptr, node);
    m_currentIndex = qint32(index);
    return true;
}

void VGList::inSort(Item item)
{
    unsigned index = 0;
    for (const VLNode* node = m_first; node && compareItems(node->item, item) < 0;
         node = node->next)
        ++index;
    insertAt(index, item);
}

bool VGList::remove(Item item)
{
    return (!item || find(item) >= 0) && removeCurrent();
}

bool VGList::removeRef(Item item)
{
    return findRef(item) >= 0 && removeCurrent();
}

bool VGList::removeAt(unsigned index)
{
    return locate(index) && removeCurrent();
}

bool VGList::removeNode(VLNode* node)
{
    if (!isLinked(node)) {
        qWarning("VGList::removeNode: Corrupted node");
        return false;
    }
    m_current = node;
    const NodePtr old(unlink());
    toHead();
    deleteItem(old->item);
    return true;
}

VGList::Item VGList::takeNode(VLNode* node)
{
    if (!isLinked(node)) {
        qWarning("VGList::takeNode: Corrupted node");
        return nullptr;
    }
    m_current = node;
    const Item item = take();
    toHead();
    return item;
}

VLNode* VGList::erase(VLNode* node)
{
    VLNode* next = node ? node->next : nullptr;
    removeNode(node);
    return next;
}

void VGList::relinkNode(VLNode* node)
{
    if (!node || node == m_first)
        return;
    m_current = node;
    unlink();
    linkBefore(m_first, node);
    toHead();
}

bool VGList::replaceAt(unsigned index, Item item)
{
    VLNode* node = locate(index);
    if (!node)
        return false;
    if (node->item != item) {
        // The node may be gone once the old item is.
        const Item old = node->item;
        node->item = newItem(item);
        deleteItem(old);
    }
    return true;
}

VGList::Item VGList::take()
{
    const NodePtr old(unlink());
    return old ? old->item : nullptr;
}

VGList::Item VGList::takeAt(unsigned index)
{
    return locate(index) ? take() : nullptr;
}

VGList::Item VGList::takeFirst()
{
    first();
    return m_first ? take() : nullptr;
}

VGList::Item VGList::takeLast()
{
    last();
    return m_last ? take() : nullptr;
}

int VGList::find(Item item, bool fromStart)
{
    return findWhere(fromStart, [=](Item other) { return compareItems(other, item) == 0; });
}

int VGList::findRef(Item item, bool fromStart)
{
    return findWhere(fromStart, [=](Item other) { return other == item; });
}

unsigned VGList::contains(Item item) const
{
    unsigned matches = 0;
    for (const VLNode* node = m_first; node; node = node->next)
        matches += compareItems(node->item, item) == 0;
    return matches;
}

unsigned VGList::containsRef(Item item) const
{
    unsigned matches = 0;
    for (const VLNode* node = m_first; node; node = node->next)
        matches += node->item == item;
    return matches;
}

VLNode* VGList::locate(unsigned index)
{
    if (index == unsigned(m_currentIndex))
        return m_current;
    if (!m_current)
        toHead();
    if (index >= m_count)
        return nullptr;

    const qint64 steps = qint64(index) - m_currentIndex;
    const qint64 distance = std::abs(steps);
    VLNode* node = m_current;
    bool forward = steps > 0;
    qint64 left = distance;
    if (distance >= index || distance >= m_count - index) {
        forward = index < m_count - index;
        node = forward ? m_first : m_last;
        left = forward ? index : m_count - index - 1;
    }
    for (; left > 0; --left)
        node = forward ? node->next : node->prev;
    m_current = node;
    m_currentIndex = qint32(index);
    return node;
}

void VGList::sort()
{
    if (m_count < 2)
        return;
    const std::unique_ptr<Item[]> items(new (std::nothrow) Item[m_count]);
    qt_check_pointer(!items, "tools/vglist", 746);
    if (!items)
        return;
    Item* end = items.get();
    for (const VLNode* node = m_first; node; node = node->next)
        *end++ = node->item;
    const auto compare = [](const void* a, const void* b, void* list) {
        return static_cast<const VGList*>(list)->compareItems(*static_cast<const Item*>(a),
                                                              *static_cast<const Item*>(b));
    };
    VSort::qsort(items.get(), m_count, sizeof(Item), compare, this);
    const Item* sorted = items.get();
    for (VLNode* node = m_first; node; node = node->next)
        node->item = *sorted++;
}

bool VGList::toVector(VGVector* vector) const
{
    vector->clear();
    if (!vector->resize(count()))
        return false;
    unsigned index = 0;
    for (const VLNode* node = m_first; node; node = node->next)
        vector->insert(index++, node->item);
    return true;
}

QDataStream& VGList::write(QDataStream& stream) const
{
    stream << qint32(count());
    for (const VLNode* node = m_first; node; node = node->next)
        write(stream, node->item);
    return stream;
}

QDataStream& VGList::read(QDataStream& stream)
{
    unsigned left = readCount(stream);
    clear();
    for (; left > 0 && stream.status() == QDataStream::Ok; --left) {
        Item item = nullptr;
        read(stream, item);
        if (!item)
            break;
        VLNode* node = allocateNode(1000);
        if (!node) {
            deleteItem(item);
            break;
        }
        node->item = item;
        linkBefore(nullptr, node);
    }
    toHead();
    return stream;
}

void VGList::deleteItem(Item) {}

int VGList::compareItems(Item a, Item b) const
{
    return a == b ? 0 : -1;
}

QDataStream& VGList::read(QDataStream& stream, Item& item)
{
    item = nullptr;
    return stream;
}

QDataStream& VGList::write(QDataStream& stream, Item) const
{
    return stream;
}

/// Whether the list and the neighbours of a node agree that it is theirs.
bool VGList::isLinked(const VLNode* node) const
{
    return node && (node->prev ? node->prev->next : m_first) == node &&
           (node->next ? node->next->prev : m_last) == node;
}

/// Takes the current node out, moves the current position and the iterators on, and gives the node
/// to the caller. Null when nothing is current.
VLNode* VGList::unlink()
{
    VLNode* node = m_current;
    if (!node)
        return nullptr;
    (node->prev ? node->prev->next : m_first) = node->next;
    (node->next ? node->next->prev : m_last) = node->prev;
    if (node->next) {
        m_current = node->next;
    } else {
        m_current = node->prev;
        --m_currentIndex;
    }
    if (m_iterators)
        m_iterators->notifyRemove(node, m_current);
    --m_count;
    return node;
}

bool VGList::removeCurrent()
{
    const NodePtr old(unlink());
    if (!old)
        return false;
    deleteItem(old->item);
    return true;
}

void VGList::toHead()
{
    m_current = m_first;
    m_currentIndex = m_first ? 0 : -1;
}

template <class Matches>
int VGList::findWhere(bool fromStart, Matches matches)
{
    if (fromStart)
        toHead();
    while (m_current && !matches(m_current->item))
        next();
    return m_currentIndex;
}

VGListIterator::VGListIterator(const VGList& list)
{
    attach(&list);
    toFirst();
}

VGListIterator::VGListIterator(const VGListIterator& other) : m_node(other.m_node)
{
    attach(other.m_list);
}

VGListIterator& VGListIterator::operator=(const VGListIterator& other)
{
    if (m_list != other.m_list) {
        detach();
        attach(other.m_list);
    }
    m_node = other.m_node;
    return *this;
}

VGListIterator::~VGListIterator()
{
    detach();
}

VGListIterator::Item VGListIterator::toFirst()
{
    if (!m_list) {
        qWarning("VGListIterator::toFirst: List has been deleted");
        return nullptr;
    }
    m_node = m_list->m_first;
    return current();
}

VGListIterator::Item VGListIterator::toLast()
{
    if (!m_list) {
        qWarning("VGListIterator::toLast: List has been deleted");
        return nullptr;
    }
    m_node = m_list->m_last;
    return current();
}

VGListIterator::Item VGListIterator::operator+=(unsigned steps)
{
    while (steps-- > 0 && m_node)
        m_node = m_node->next;
    return current();
}

VGListIterator::Item VGListIterator::operator-=(unsigned steps)
{
    while (steps-- > 0 && m_node)
        m_node = m_node->prev;
    return current();
}

/// Makes the list tell this iterator of what happens to it.
void VGListIterator::attach(const VGList* list)
{
    m_list = list;
    if (!list)
        return;
    if (!list->m_iterators)
        list->m_iterators = new VGListIteratorList;
    list->m_iterators->add(this);
}

void VGListIterator::detach()
{
    if (m_list)
        m_list->m_iterators->remove(this);
    m_list = nullptr;
}

QDataStream& operator<<(QDataStream& stream, const VGList& list)
{
    return list.write(stream);
}

QDataStream& operator>>(QDataStream& stream, VGList& list)
{
    return list.read(stream);
}
