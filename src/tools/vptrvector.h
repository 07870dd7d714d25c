#pragma once

#include "tools/vgvector.h"

#include <cstddef>
#include <iterator>

/// Vector of a fixed number of slots, each empty or holding a `T*`; the operations are those of
/// `VGVector`.
///
/// A range-for goes over all slots, the empty ones too, and must not see the size change.
template <class T>
class ZYL_EXPORT VPtrVector : public VGVector
{
public:
    class const_iterator
    {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = T*;
        using difference_type = std::ptrdiff_t;
        using pointer = T* const*;
        using reference = T*;

        const_iterator() = default;
        explicit const_iterator(const Item* slot) : m_slot(slot) {}
        T* operator*() const { return typed(*m_slot); }
        const_iterator& operator++()
        {
            ++m_slot;
            return *this;
        }
        const_iterator operator++(int) { return const_iterator(m_slot++); }
        bool operator==(const const_iterator& other) const { return m_slot == other.m_slot; }
        bool operator!=(const const_iterator& other) const { return m_slot != other.m_slot; }

    private:
        const Item* m_slot = nullptr;
    };
    using iterator = const_iterator;

    VPtrVector() = default;
    /// `size` empty slots.
    explicit VPtrVector(unsigned size) : VGVector(size) {}
    VPtrVector(const VPtrVector& other) = default;
    VPtrVector& operator=(const VPtrVector& other) = default;
    ~VPtrVector() override { VGVector::clear(); }

    unsigned count() const override { return VGVector::count(); }
    void clear() override { VGVector::clear(); }

    const_iterator begin() const { return const_iterator(data()); }
    const_iterator end() const { return const_iterator(data() + size()); }

    T* at(unsigned index) const { return typed(VGVector::at(index)); }
    T* operator[](unsigned index) const { return typed(VGVector::at(index)); }

    bool insert(unsigned index, T* item) { return VGVector::insert(index, raw(item)); }
    bool insertExpand(unsigned index, T* item) { return VGVector::insertExpand(index, raw(item)); }
    T* take(unsigned index) { return typed(VGVector::take(index)); }
    bool fill(T* item, int size = -1) { return VGVector::fill(raw(item), size); }

    int bsearch(const T* item) const { return VGVector::bsearch(raw(item)); }
    int findRef(const T* item, unsigned index = 0) const
    {
        return VGVector::findRef(raw(item), index);
    }
    int find(const T* item, unsigned index = 0) const { return VGVector::find(raw(item), index); }
    unsigned containsRef(const T* item) const { return VGVector::containsRef(raw(item)); }
    unsigned contains(const T* item) const { return VGVector::contains(raw(item)); }

protected:
    void deleteItem(Item item) override
    {
        static_assert(sizeof(T) > 0, "deleting takes the whole type");
        if (autoDelete())
            delete typed(item);
    }

private:
    // Items are kept without their const, which is the caller's to respect.
    static Item raw(const T* item) { return const_cast<T*>(item); }
    static T* typed(Item item) { return static_cast<T*>(item); }
};
