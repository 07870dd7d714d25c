#pragma once

#include "tools/vgarray.h"

#include <cstring>
#include <type_traits>

/// Explicitly shared array of plain values: copies see each other's writes and resizes until one of
/// them is told to `detach`. New elements are uninitialised.
///
/// `at` and `[]` check the index: past the end they warn, with the index in bytes, and give element
/// 0, or in an empty array a zeroed stand-in. `data`, `begin` and `end` don't check, and are what
/// an inner loop should use; they hold until the size changes through any handle.
template <class T>
class ZYL_EXPORT VMemArray : public VGArray
{
public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;

    VMemArray() = default;
    /// Warns and stays empty when `size` is negative.
    explicit VMemArray(int size) : VGArray(size, sizeof(T)) {}
    VMemArray(const VMemArray& other) = default;
    VMemArray& operator=(const VMemArray& other) = default;

    unsigned size() const
    {
        static_assert(std::is_trivially_copyable_v<T>, "elements move as bytes");
        return VGArray::size() / sizeof(T);
    }
    unsigned count() const { return size(); }

    T* data() { return reinterpret_cast<T*>(VGArray::data()); }
    const T* data() const { return reinterpret_cast<const T*>(VGArray::data()); }
    T* begin() { return data(); }
    T* end() { return data() + size(); }
    const T* begin() const { return data(); }
    const T* end() const { return data() + size(); }

    T& at(unsigned index) { return element(index); }
    const T& at(unsigned index) const { return element(index); }
    T& operator[](unsigned index) { return element(index); }
    const T& operator[](unsigned index) const { return element(index); }

    bool resize(unsigned size) { return resizeTo(quint64(size) * sizeof(T)); }
    bool truncate(unsigned size) { return resize(size); }
    /// Writes `value` to the elements that are there, or resizes to `size` of them.
    bool fill(T value, int size = -1) { return VGArray::fill(bytes(&value), size, sizeof(T)); }
    bool setExpand(unsigned index, T value)
    {
        return VGArray::setExpand(index, bytes(&value), sizeof(T));
    }

    /// Takes over a block from `malloc`.
    VMemArray& assign(const T* data, unsigned size)
    {
        VGArray::assign(bytes(data), size * sizeof(T));
        return *this;
    }
    VMemArray& assign(const VMemArray& other) { return *this = other; }
    VMemArray& duplicate(const T* data, unsigned size)
    {
        VGArray::duplicate(bytes(data), size * sizeof(T));
        return *this;
    }
    VMemArray& duplicate(const VMemArray& other)
    {
        VGArray::duplicate(other);
        return *this;
    }
    bool store(const T* data, unsigned size)
    {
        return VGArray::store(bytes(data), size * sizeof(T));
    }
    VMemArray& setRawData(const T* data, unsigned size)
    {
        VGArray::setRawData(bytes(data), size * sizeof(T));
        return *this;
    }
    void resetRawData(const T* data, unsigned size)
    {
        VGArray::resetRawData(bytes(data), size * sizeof(T));
    }

    /// A copy with a record of its own.
    [[nodiscard]] VMemArray copy() const
    {
        VMemArray result;
        result.duplicate(*this);
        return result;
    }
    void detach() { VGArray::duplicate(*this); }

    int find(const T& value, unsigned index = 0) const
    {
        return VGArray::find(bytes(&value), index, sizeof(T));
    }
    unsigned contains(const T& value) const { return VGArray::contains(bytes(&value), sizeof(T)); }
    /// Sorts by the bytes in memory, which isn't numeric order: 256 comes before 1.
    void sort() { VGArray::sort(sizeof(T)); }
    /// The first equal element in an array in the order of `sort`, or -1.
    int bsearch(const T& value) const { return VGArray::bsearch(bytes(&value), sizeof(T)); }

private:
    static const char* bytes(const T* data) { return reinterpret_cast<const char*>(data); }

    T& element(unsigned index) const
    {
        // In bytes of 64 bits, which spares the division by the element size and can't wrap.
        const quint64 offset = quint64(index) * sizeof(T);
        if (Q_UNLIKELY(offset + sizeof(T) > VGArray::size()))
            return standIn(unsigned(offset));
        return reinterpret_cast<T*>(VGArray::data())[index];
    }

    [[gnu::cold, gnu::noinline]] T& standIn(unsigned offset) const
    {
        msg_index(offset);
        if (size() > 0)
            return *reinterpret_cast<T*>(VGArray::data());
        alignas(T) static char zeroed[sizeof(T)];
        std::memset(zeroed, 0, sizeof zeroed);
        return *reinterpret_cast<T*>(zeroed);
    }
};
