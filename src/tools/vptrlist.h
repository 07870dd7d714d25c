#pragma once

#include "tools/vglist.h"

#include <cstddef>
#include <iterator>

/// Doubly linked list of `T*` with a cached current position; the operations are those of `VGList`.
///
/// A range-for walks the nodes and must not see its current item removed; where a walk may change
/// the list, use `VPtrListIterator`.
template <class T>
class ZYL_EXPORT VPtrList : public VGList
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
        explicit const_iterator(const VLNode* node) : m_node(node) {}
        T* operator*() const { return static_cast<T*>(m_node->item); }
        const_iterator& operator++()
        {
            m_node = m_node->next;
            return *this;
        }
        const_iterator operator++(int)
        {
            const const_iterator old = *this;
            ++*this;
            return old;
        }
        bool operator==(const const_iterator& other) const { return m_node == other.m_node; }
        bool operator!=(const const_iterator& other) const { return m_node != other.m_node; }

    private:
        const VLNode* m_node = nullptr;
    };
    using iterator = const_iterator;

    VPtrList() = default;
    VPtrList(const VPtrList& other) = default;
    VPtrList& operator=(const VPtrList& other) = default;
    ~VPtrList() override { VGList::clear(); }

    unsigned count() const override { return VGList::count(); }
    void clear() override { VGList::clear(); }

    const_iterator begin() const { return const_iterator(firstNode()); }
    const_iterator end() const { return const_iterator(); }

    void prepend(T* item) { VGList::prepend(raw(item)); }
    void append(T* item) { VGList::append(raw(item)); }
    bool insertAt(unsigned index, T* item) { return VGList::insertAt(index, raw(item)); }
    void inSort(T* item) { VGList::inSort(raw(item)); }
    bool replaceAt(unsigned index, T* item) { return VGList::replaceAt(index, raw(item)); }

    bool remove(T* item = nullptr) { return VGList::remove(raw(item)); }
    bool removeRef(T* item) { return VGList::removeRef(raw(item)); }
    bool removeFirst() { return first() && VGList::remove(); }
    bool removeLast() { return last() && VGList::remove(); }
    T* takeNode(VLNode* node) { return typed(VGList::takeNode(node)); }
    T* take() { return typed(VGList::take()); }
    T* takeAt(unsigned index) { return typed(VGList::takeAt(index)); }
    T* takeFirst() { return typed(VGList::takeFirst()); }
    T* takeLast() { return typed(VGList::takeLast()); }

    int find(const T* item, bool fromStart = true) { return VGList::find(raw(item), fromStart); }
    int findRef(const T* item, bool fromStart = true)
    {
        return VGList::findRef(raw(item), fromStart);
    }
    unsigned contains(const T* item) const { return VGList::contains(raw(item)); }
    unsigned containsRef(const T* item) const { return VGList::containsRef(raw(item)); }

    T* at(unsigned index) { return typed(VGList::at(index)); }
    T* first() { return typed(VGList::first()); }
    T* last() { return typed(VGList::last()); }
    T* next() { return typed(VGList::next()); }
    T* prev() { return typed(VGList::prev()); }
    T* current() const { return typed(VGList::current()); }
    /// The first and last item without moving to them.
    T* getFirst() const { return firstNode() ? typed(firstNode()->item) : nullptr; }
    T* getLast() const { return lastNode() ? typed(lastNode()->item) : nullptr; }

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

/// Stands on an item of a list whatever happens to the list; see VGListIterator.
///
///     for (VPtrListIterator<VObject> it(list); VObject* object = it(); )
///         delete object; // even if that takes others out of the list
template <class T>
class ZYL_EXPORT VPtrListIterator : public VGListIterator
{
public:
    explicit VPtrListIterator(const VPtrList<T>& list) : VGListIterator(list) {}

    T* toFirst() { return typed(VGListIterator::toFirst()); }
    T* toLast() { return typed(VGListIterator::toLast()); }
    T* current() const { return typed(VGListIterator::current()); }
    operator T*() const { return current(); }
    T* operator*() const { return current(); }
    T* operator->() const { return current(); }
    T* operator()() { return typed(VGListIterator::operator()()); }
    T* operator++() { return typed(VGListIterator::operator++()); }
    T* operator--() { return typed(VGListIterator::operator--()); }
    T* operator+=(unsigned steps) { return typed(VGListIterator::operator+=(steps)); }
    T* operator-=(unsigned steps) { return typed(VGListIterator::operator-=(steps)); }

private:
    static T* typed(Item item) { return static_cast<T*>(item); }
};
