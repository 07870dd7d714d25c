#pragma once

#include "toolkit/zylexport.h"

class QDataStream;

/// Root of the collections that hold pointers to their items.
///
/// Items belong to the caller unless `autoDelete` is set: then the collection deletes what it
/// removes, replaces or clears. What it gives back from a `take` is the caller's again.
class ZYL_EXPORT VPtrCollection
{
public:
    using Item = void*;

    bool autoDelete() const { return m_autoDelete; }
    void setAutoDelete(bool enable) { m_autoDelete = enable; }

    virtual unsigned count() const = 0;
    virtual void clear() = 0;
    virtual ~VPtrCollection();

protected:
    VPtrCollection() = default;
    /// The flag isn't copied, or two collections would delete the same items.
    VPtrCollection(const VPtrCollection&) {}
    VPtrCollection& operator=(const VPtrCollection&) { return *this; }

    /// What is stored for an item that comes in: the item itself, unless a subclass copies it.
    virtual Item newItem(Item item);
    /// Called for each item that leaves for good.
    virtual void deleteItem(Item item) = 0;

    /// Reads the item count of a stored collection. An item takes at least a byte, so a device that
    /// knows its size bounds the count by what it has left.
    static unsigned readCount(QDataStream& stream);

private:
    bool m_autoDelete = false;
};
