#pragma once

#include "tools/vptrcollection.h"

#include <qglobal.h>

class QDataStream;
class VGList;

/// Vector of a fixed number of slots, each empty or holding an untyped item; `VPtrVector<T>` is its
/// typed face.
///
/// `size` is the number of slots, `count` that of the items in them. Two empty slots are equal and
/// an empty one is unequal to any item, so `compareItems` never sees null.
///
/// `deleteItem` may come back into the vector: an item's slot is empty, or already holds its
/// successor, before the item is deleted. Subclasses that override `deleteItem` or `newItem` mind
/// what `VGList` says of them.
class ZYL_EXPORT VGVector : public VPtrCollection
{
public:
    VGVector() = default;
    /// `size` empty slots.
    explicit VGVector(unsigned size);
    VGVector(const VGVector& other);
    VGVector& operator=(const VGVector& other);
    ~VGVector() override;

    Item* data() const { return m_items; }
    unsigned size() const { return m_size; }
    unsigned count() const override { return m_count; }
    bool isEmpty() const { return m_count == 0; }
    /// Deletes the items and all slots.
    void clear() override;

    /// Equal sizes and counts, and equal slots in order.
    bool operator==(const VGVector& other) const;
    bool operator!=(const VGVector& other) const { return !(*this == other); }

    /// The item in a slot, or null. Warns past the end.
    Item at(unsigned index) const;
    Item operator[](unsigned index) const { return at(index); }

    /// Puts an item, or with null none, into a slot; what was there is deleted. Warns and returns
    /// false past the end.
    bool insert(unsigned index, Item item);
    /// As `insert`, with as many more slots as that takes.
    bool insertExpand(unsigned index, Item item);
    /// Empties a slot, which may already be empty. Warns and returns false past the end.
    bool remove(unsigned index);
    /// Empties a slot and gives its item back. Warns and returns null past the end.
    Item take(unsigned index);

    /// Sets the number of slots; items beyond are deleted, further slots are empty. False if there
    /// is no memory.
    bool resize(unsigned size);
    /// Inserts an item into every slot, after a `resize` unless `size` is negative. False if that
    /// failed.
    bool fill(Item item, int size = -1);

    /// Moves the items to the front and sorts them by `compareItems`.
    void sort();
    /// Index of the first item that `compareItems` finds equal, or -1; after `sort`. Warns and
    /// returns -1 for null.
    int bsearch(Item item) const;

    /// Index of the first slot from `index` on with this very pointer, null for an empty one, or
    /// -1. Warns when `index` is beyond the size.
    int findRef(Item item, unsigned index = 0) const;
    /// As `findRef`, by `compareItems`. Warns when `index` is not below the size.
    int find(Item item, unsigned index = 0) const;
    unsigned containsRef(Item item) const;
    unsigned contains(Item item) const;

    /// Makes the list hold the items without the empty slots.
    bool toList(VGList* list) const;

    /// Writes the count, then each item by the virtual `write`; empty slots leave no trace.
    QDataStream& write(QDataStream& stream) const;
    /// Replaces the items by stored ones, each made by the virtual `read`. Stops at a null item and
    /// where the stream ends.
    QDataStream& read(QDataStream& stream);
    /// The same without the count.
    QDataStream& writeItems(QDataStream& stream) const;
    QDataStream& readItems(QDataStream& stream, unsigned count);

    /// Warns of an access past the end.
    [[gnu::cold]] static void warningIndexRange(unsigned index);

protected:
    void deleteItem(Item item) override;

    /// By sign how `a` stands to `b`; 0 for equal items. Neither is null.
    virtual int compareItems(Item a, Item b) const;
    virtual QDataStream& read(QDataStream& stream, Item& item);
    virtual QDataStream& write(QDataStream& stream, Item item) const;

private:
    bool isEqual(Item a, Item b) const;
    void copySlots(const VGVector& other);
    static int compareSlots(const void* a, const void* b, void* vector);

    Item* m_items = nullptr; // from malloc
    quint32 m_size = 0;
    quint32 m_count = 0;
};

ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, const VGVector& vector);
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, VGVector& vector);

inline VGVector::Item VGVector::at(unsigned index) const
{
    if (Q_LIKELY(index < m_size))
        return m_items[index];
    warningIndexRange(index);
    return nullptr;
}
