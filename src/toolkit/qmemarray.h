#pragma once

#include "toolkit/qgarray.h"

#include <qglobal.h>

#include <limits>
#include <type_traits>

QT_BEGIN_NAMESPACE
class QDataStream;
QT_END_NAMESPACE

inline namespace toolkit_v1
{
/// Array of raw elements that are moved as bytes: never constructed, not zeroed when the array
/// grows.
///
/// Explicitly shared: a copy refers to the same elements, and writing, `resize` and `fill` through
/// one show in all. `detach`, `copy`, `duplicate`, `assign` and `setRawData` give an array of its
/// own. Null and empty are the same: `data()` is 0 for both.
template <class T>
class ZYL_EXPORT QMemArray : public QGArray
{
    static_assert(std::is_trivially_copyable_v<T>, "elements are moved as bytes");

public:
    using Iterator = T*;
    using ConstIterator = const T*;
    using ValueType = T;

    QMemArray() = default;
    explicit QMemArray(int size) { resize(size > 0 ? unsigned(size) : 0); }

    T* data() const { return reinterpret_cast<T*>(bytes()); }
    unsigned size() const { return byteCount() / sizeof(T); }
    unsigned count() const { return size(); }
    bool isEmpty() const { return byteCount() == 0; }
    bool isNull() const { return !bytes(); }
    unsigned nrefs() const { return references(); }

    /// False, with nothing changed, when there is no memory.
    bool resize(unsigned size) { return fits(size) && resizeBytes(size * unsigned(sizeof(T))); }
    bool truncate(unsigned size) { return resize(size); }
    /// Sets every element, after a resize to `size` unless that is negative.
    bool fill(const T& value, int size = -1) { return fillBytes(raw(&value), size, sizeof(T)); }

    void detach() { detachBytes(); }
    QMemArray copy() const { return QMemArray().duplicate(*this); }
    /// Takes over `data`, a block from malloc.
    QMemArray& assign(const T* data, unsigned size);
    QMemArray& assign(const QMemArray& other) { return *this = other; }
    QMemArray& duplicate(const T* data, unsigned size);
    QMemArray& duplicate(const QMemArray& other) { return duplicate(other.data(), other.size()); }
    /// Borrows `data`, which the caller keeps alive until `resetRawData` gets the same pair.
    QMemArray& setRawData(const T* data, unsigned size);
    void resetRawData(const T* data, unsigned size)
    {
        resetRawBytes(raw(data), size * unsigned(sizeof(T)));
    }

    /// Elements are compared as bytes here and below. Warns and returns -1 where `index` is
    /// outside.
    int find(const T& value, unsigned index = 0) const
    {
        return findBytes(raw(&value), index, sizeof(T));
    }
    /// The number of elements equal to `value`.
    int contains(const T& value) const { return countBytes(raw(&value), sizeof(T)); }
    /// Sorts by the bytes in memory, which isn't the order of the numbers on a little-endian
    /// machine.
    void sort() { sortBytes(sizeof(T)); }
    /// The first of the equal elements of a sorted array, or -1.
    int bsearch(const T& value) const { return searchBytes(raw(&value), sizeof(T)); }

    /// Warns outside the array and gives its first element, or a spare one when there is none.
    T& at(unsigned index) const;
    T& operator[](int index) const { return at(unsigned(index)); }
    operator const T*() const { return data(); }

    bool operator==(const QMemArray& other) const { return equalBytes(other); }
    bool operator!=(const QMemArray& other) const { return !equalBytes(other); }

    Iterator begin() { return data(); }
    Iterator end() { return data() + size(); }
    ConstIterator begin() const { return data(); }
    ConstIterator end() const { return data() + size(); }

private:
    static const char* raw(const T* value) { return reinterpret_cast<const char*>(value); }
    static bool fits(unsigned size)
    {
        return size <= std::numeric_limits<unsigned>::max() / sizeof(T);
    }
};

template <class T>
QMemArray<T>& QMemArray<T>::assign(const T* data, unsigned size)
{
    assignBytes(const_cast<char*>(raw(data)), size * unsigned(sizeof(T)), false);
    return *this;
}

template <class T>
QMemArray<T>& QMemArray<T>::duplicate(const T* data, unsigned size)
{
    duplicateBytes(raw(data), fits(size) ? size * unsigned(sizeof(T)) : 0);
    return *this;
}

template <class T>
QMemArray<T>& QMemArray<T>::setRawData(const T* data, unsigned size)
{
    assignBytes(const_cast<char*>(raw(data)), size * unsigned(sizeof(T)), true);
    return *this;
}

template <class T>
T& QMemArray<T>::at(unsigned index) const
{
    if (index < size())
        return data()[index];
    warnIndex(index * static_cast<unsigned long>(sizeof(T)));
    if (!isEmpty())
        return *data();
    alignas(T) static char spare[sizeof(T)];
    return *reinterpret_cast<T*>(spare);
}

/// The length as 32 bits, then the bytes; a null array is the length 0.
ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, const QMemArray<char>& array);
/// Reads into the shared block. A stream that ends early leaves the array empty.
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, QMemArray<char>& array);
} // namespace toolkit_v1
