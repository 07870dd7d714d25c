#pragma once

#include "toolkit/zylexport.h"

#include <qglobal.h>

/// Block of raw bytes that its copies share explicitly.
///
/// Copying and assigning share one record; what is done to the bytes or the size through one handle
/// all others see. Only `duplicate`, `assign` and `setRawData` give a handle a record of its own.
/// Records and bytes come from `malloc`, a small array's bytes together with its record where
/// `newRecord` makes it. The count of handles isn't atomic: a record belongs to one thread.
///
/// A subclass with a larger record overrides `newData` and `deleteData`, hands its record to the
/// constructor that adopts one, and calls `release` in its destructor, since its `deleteData` is
/// out of reach from here.
class ZYL_EXPORT VGArray
{
public:
    struct array_data {
        quint32 count = 1;    // handles, and views of the bytes
        bool isView = false;  // the bytes are another record's
        char* data = nullptr; // null when empty
        quint32 len = 0;      // bytes
        quint32 room = 0;     // bytes right behind the record, which `data` uses as long as they do
    };

    VGArray();
    /// `size` bytes, uninitialised. Warns and stays empty when `size` is negative.
    explicit VGArray(int size);
    /// Adopts a record and the caller's reference to it.
    explicit VGArray(array_data* record) : m_data(record) {}
    VGArray(const VGArray& other) : m_data(other.m_data) { ++m_data->count; }
    virtual ~VGArray() { release(); }
    VGArray& operator=(const VGArray& other) { return assign(other); }

    char* data() const { return m_data->data; }
    /// The length in bytes.
    unsigned size() const { return m_data->len; }
    bool isEmpty() const { return m_data->len == 0; }
    bool isNull() const { return !m_data->data; }
    /// How many handles share the record.
    unsigned nrefs() const { return m_data->count; }

    /// The byte at `index`. Warns past the end and gives byte 0, which is null in an empty array.
    char* at(unsigned index) const;

    VGArray& assign(const VGArray& other);
    /// Takes over a block from `malloc`.
    VGArray& assign(const char* data, unsigned len);
    VGArray& duplicate(const VGArray& other);
    /// Copies a block, which may lie in this array. Null data empties the array.
    VGArray& duplicate(const char* data, unsigned len);
    /// Resizes and overwrites, for all handles. `data` must not lie in this array.
    bool store(const char* data, unsigned len);

    /// Borrows foreign memory. Until `resetRawData` gives it back, the array must be neither
    /// resized, assigned nor destroyed.
    VGArray& setRawData(const char* data, unsigned len);
    /// Gives borrowed memory back. Warns and does nothing unless told the same block as
    /// `setRawData`.
    void resetRawData(const char* data, unsigned len);

    /// Sets the length for all handles; new bytes are uninitialised. On failure the array is empty
    /// and the result false.
    bool resize(unsigned len) { return resizeTo(len); }

    /// Writes `count` copies of an element of `size` bytes, resizing to them; with a negative
    /// count, over the elements that are there. False if there is no memory.
    bool fill(const char* element, int count, unsigned size);

    /// Index of the first element from `index` on with these bytes, or -1. Warns when `index` is
    /// past the end.
    int find(const char* element, unsigned index, unsigned size) const;
    unsigned contains(const char* element, unsigned size) const;

    /// Sorts elements by their bytes as they lie in memory, which isn't numeric order for numbers.
    void sort(unsigned size);
    /// Index of the first of the elements with these bytes, or -1; for an array in the order of
    /// `sort`.
    int bsearch(const char* element, unsigned size) const;

    /// Stores one element, growing as needed; a gap that this leaves is uninitialised. False if
    /// there is no memory.
    bool setExpand(unsigned index, const char* element, unsigned size);

    bool isEqual(const VGArray& other) const;

    /// Warns of an index past the end.
    [[gnu::cold]] static void msg_index(unsigned index);

protected:
    /// `count` elements of `elementSize` bytes.
    VGArray(int count, unsigned elementSize);

    /// A record of `len` unset bytes in one allocation, at an address that 8 divides. Its length is
    /// 0 when there is no memory for them.
    static array_data* newRecord(unsigned len);

    /// A record over `len` bytes of another's, which it keeps alive: its own once the bytes are
    /// written to by anything but a pointer. Takes over a reference to `owner`, whose bytes must
    /// stay as and where they are, and which must be a plain record.
    static array_data* newView(array_data* owner, char* data, unsigned len);
    /// Gives a view bytes of its own. False, with nothing left, if there is no memory.
    bool ownBytes() { return Q_LIKELY(!m_data->isView) || copyView(); }
    array_data* ownerOfView() const;

    virtual array_data* newData();
    virtual void deleteData(array_data* record);

    /// Lets go of the record; the last handle frees it. Nothing but destruction or a new `m_data`
    /// may follow.
    void release()
    {
        if (m_data && --m_data->count == 0)
            destroy();
        m_data = nullptr;
    }

    /// `resize` to a length that may be beyond what an array can hold, which fails like any other
    /// lack of memory.
    bool resizeTo(quint64 bytes);

    array_data* m_data;

private:
    static char* behind(array_data& record) { return reinterpret_cast<char*>(&record + 1); }
    struct view_data;

    bool copyView();
    static void freeBlock(array_data& record);
    void destroy();
    void renew(char* block, unsigned len);
};

inline char* VGArray::at(unsigned index) const
{
    if (Q_UNLIKELY(index >= m_data->len)) {
        msg_index(index);
        index = 0;
    }
    return m_data->data + index;
}

inline bool operator==(const VGArray& a, const VGArray& b)
{
    return a.isEqual(b);
}

inline bool operator!=(const VGArray& a, const VGArray& b)
{
    return !a.isEqual(b);
}
