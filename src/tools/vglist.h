#pragma once

#include "tools/vptrcollection.h"

#include <qglobal.h>

class QDataStream;
class VGListIterator;
class VGListIteratorList;
class VGVector;

/// One item's place in a `VGList`.
struct ZYL_EXPORT VLNode {
    void* item;
    VLNode* prev; // null in the first node
    VLNode* next; // null in the last node
};

/// Doubly linked list of untyped items with a cached current position; `VPtrList<T>` is its typed
/// face.
///
/// Most operations move the current position, and `locate` walks from it when that is nearest, so
/// that going through a list by index in either direction takes constant time a step. Iterators
/// stand on nodes of their own and survive whatever happens to the list.
///
/// `deleteItem` may come back into the list: a node is unlinked, and a cleared list empty, before
/// any item is deleted. A subclass that overrides `deleteItem` calls `clear` in its destructor,
/// since its override is out of reach from here; one that overrides `newItem` copies in its own
/// copy constructor for the same reason.
class ZYL_EXPORT VGList : public VPtrCollection
{
public:
    VGList() = default;
    /// Appends the other's items; the last becomes current.
    VGList(const VGList& other);
    /// Replaces the items by the other's; the first becomes current.
    VGList& operator=(const VGList& other);
    ~VGList() override;

    unsigned count() const override { return m_count; }
    void clear() override;
    bool isEmpty() const { return m_count == 0; }

    /// Equal counts, and `compareItems` gives 0 for each pair in order.
    bool operator==(const VGList& other) const;
    bool operator!=(const VGList& other) const { return !(*this == other); }

    // The added item becomes current.
    void prepend(Item item);
    void append(Item item);
    /// Inserts before the item at `index`; false when `index` is beyond the count.
    bool insertAt(unsigned index, Item item);
    /// Inserts before the first item that `compareItems` finds not less.
    void inSort(Item item);

    // The item behind the removed one becomes current, or the one before it at the end.
    /// Removes the first equal item, or the current one when `item` is null.
    bool remove(Item item = nullptr);
    /// Removes the first entry of this very pointer.
    bool removeRef(Item item);
    bool removeAt(unsigned index);

    // The first item becomes current.
    /// Warns and returns false when the node isn't properly linked.
    bool removeNode(VLNode* node);
    /// Returns the item without deleting it. Warns and returns null when the node isn't properly
    /// linked.
    Item takeNode(VLNode* node);
    /// Removes a node and returns the one that was behind it.
    VLNode* erase(VLNode* node);

    /// Moves a node to the head and makes it current. Iterators on it move on as if it were
    /// removed.
    void relinkNode(VLNode* node);
    bool replaceAt(unsigned index, Item item);

    // Unlink without deleting. Null when there is none.
    Item take();
    Item takeAt(unsigned index);
    Item takeFirst();
    Item takeLast();

    /// Index of the first item that `compareItems` finds equal, from the head or from the current
    /// item on, which itself counts. Makes it current; without a match nothing is current and the
    /// result is -1.
    int find(Item item, bool fromStart = true);
    /// As `find`, by pointer.
    int findRef(Item item, bool fromStart = true);
    unsigned contains(Item item) const;
    unsigned containsRef(Item item) const;

    /// Makes the node at `index` current and returns it; null, without moving, when `index` is past
    /// the end.
    VLNode* locate(unsigned index);
    Item at(unsigned index);

    VLNode* firstNode() const { return m_first; }
    VLNode* lastNode() const { return m_last; }
    VLNode* currentNode() const { return m_current; }
    /// Index of the current item, or -1.
    int currentIndex() const { return m_currentIndex; }

    // Null when there is none. `first` and `last` leave the position of an empty list alone, `next`
    // and `prev` lose it at the ends.
    Item first();
    Item last();
    Item next();
    Item prev();
    Item current() const { return m_current ? m_current->item : nullptr; }

    /// Sorts the items by `compareItems` within the nodes: the current position and the iterators
    /// keep their places and see other items.
    void sort();

    /// Makes the vector hold these items; false if it can't be resized to them.
    bool toVector(VGVector* vector) const;

    /// Writes the count, then each item by the virtual `write`.
    QDataStream& write(QDataStream& stream) const;
    /// Replaces the items by stored ones, each made by the virtual `read`. Stops at a null item and
    /// where the stream ends.
    QDataStream& read(QDataStream& stream);

protected:
    void deleteItem(Item item) override;

    /// By sign how `a` stands to `b`; 0 for equal items.
    virtual int compareItems(Item a, Item b) const;
    virtual QDataStream& read(QDataStream& stream, Item& item);
    virtual QDataStream& write(QDataStream& stream, Item item) const;

private:
    friend class VGListIterator;

    VLNode* makeNode(Item item);
    void linkBefore(VLNode* place, VLNode* node);
    bool isLinked(const VLNode* node) const;
    VLNode* unlink();
    bool removeCurrent();
    void toHead();
    template <class Matches>
    int findWhere(bool fromStart, Matches matches);

    VLNode* m_first = nullptr;
    VLNode* m_last = nullptr;
    VLNode* m_current = nullptr;
    qint32 m_currentIndex = -1;
    quint32 m_count = 0;
    mutable VGListIteratorList* m_iterators = nullptr; // made for the first iterator
};

/// Stands on an item of a list whatever happens to the list.
///
/// When its item is removed, the iterator moves to the item behind it, or from the end to the new
/// last one; when the list is cleared or dies it stands nowhere. All moves return null then.
class ZYL_EXPORT VGListIterator
{
public:
    using Item = void*;

    /// Stands on the first item.
    explicit VGListIterator(const VGList& list);
    VGListIterator(const VGListIterator& other);
    VGListIterator& operator=(const VGListIterator& other);
    ~VGListIterator();

    /// Item count of the list; 0 when it has died.
    unsigned count() const { return m_list ? m_list->count() : 0; }
    bool isEmpty() const { return count() == 0; }
    bool atFirst() const { return m_list && m_node && m_node == m_list->m_first; }
    bool atLast() const { return m_list && m_node && m_node == m_list->m_last; }

    // Warn when the list has died.
    Item toFirst();
    Item toLast();

    Item current() const { return m_node ? m_node->item : nullptr; }
    /// Steps forward and returns the item left behind.
    Item operator()();
    // Step and return the item reached.
    Item operator++();
    Item operator--();
    Item operator+=(unsigned steps);
    Item operator-=(unsigned steps);

private:
    friend class VGListIteratorList;

    void attach(const VGList* list);
    void detach();

    const VGList* m_list = nullptr; // null when the list has died
    VLNode* m_node = nullptr;
};

ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, const VGList& list);
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, VGList& list);

inline VGList::Item VGList::first()
{
    if (m_first) {
        m_current = m_first;
        m_currentIndex = 0;
    }
    return m_first ? m_first->item : nullptr;
}

inline VGList::Item VGList::last()
{
    if (m_last) {
        m_current = m_last;
        m_currentIndex = qint32(m_count) - 1;
    }
    return m_last ? m_last->item : nullptr;
}

inline VGList::Item VGList::next()
{
    if (m_current) {
        m_current = m_current->next;
        m_currentIndex = m_current ? m_currentIndex + 1 : -1;
    }
    return current();
}

inline VGList::Item VGList::prev()
{
    if (m_current) {
        m_current = m_current->prev;
        m_currentIndex = m_current ? m_currentIndex - 1 : -1;
    }
    return current();
}

inline VGList::Item VGList::at(unsigned index)
{
    const VLNode* node = locate(index);
    return node ? node->item : nullptr;
}

inline VGListIterator::Item VGListIterator::operator++()
{
    if (m_node)
        m_node = m_node->next;
    return current();
}

inline VGListIterator::Item VGListIterator::operator--()
{
    if (m_node)
        m_node = m_node->prev;
    return current();
}

inline VGListIterator::Item VGListIterator::operator()()
{
    const Item item = current();
    ++*this;
    return item;
}
