#pragma once

#include "toolkit/zylexport.h"

inline namespace toolkit_v1
{
/// Root of the collections of pointers. A collection deletes its items only when `autoDelete` is
/// set; a copy of a collection starts without, and assignment keeps what the target had.
class ZYL_EXPORT QPtrCollection
{
public:
    using Item = void*;

    bool autoDelete() const { return del_item; }
    void setAutoDelete(bool enable) { del_item = enable; }

    virtual unsigned count() const = 0;
    virtual void clear() = 0;

protected:
    QPtrCollection() = default;
    QPtrCollection(const QPtrCollection&) {}
    QPtrCollection& operator=(const QPtrCollection&) { return *this; }
    virtual ~QPtrCollection() = default;

    /// What is stored for an item that is put in: the item itself.
    virtual Item newItem(Item item) { return item; }
    /// Called for each item that goes: deletes it if `del_item` is set.
    virtual void deleteItem(Item item) = 0;

    bool del_item = false;
};
} // namespace toolkit_v1
