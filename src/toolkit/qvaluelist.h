#pragma once

#include "toolkit/zylexport.h"

#include <qdatastream.h>

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <list>
#include <memory>

inline namespace toolkit_v1
{
/// Linked list of values, shared until it is written to. Iterators outlive inserts and removals
/// elsewhere in the list; the functions that aren't const part a shared list first, so take
/// `constBegin` for reading.
template <class T>
class ZYL_EXPORT QValueList
{
    using Items = std::list<T>;

public:
    using value_type = T;
    using reference = T&;
    using const_reference = const T&;
    using pointer = T*;
    using const_pointer = const T*;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using iterator = typename Items::iterator;
    using const_iterator = typename Items::const_iterator;
    using Iterator = iterator;
    using ConstIterator = const_iterator;

    QValueList() = default;
    QValueList(std::initializer_list<T> items) : m_items(std::make_shared<Items>(items)) {}

    size_type size() const { return items().size(); }
    size_type count() const { return items().size(); }
    bool isEmpty() const { return items().empty(); }
    bool empty() const { return items().empty(); }

    iterator begin() { return own().begin(); }
    iterator end() { return own().end(); }
    const_iterator begin() const { return items().begin(); }
    const_iterator end() const { return items().end(); }
    const_iterator constBegin() const { return items().begin(); }
    const_iterator constEnd() const { return items().end(); }
    /// The last item's place, or `end()` of an empty list.
    iterator fromLast() { return isEmpty() ? end() : std::prev(end()); }
    const_iterator fromLast() const { return isEmpty() ? end() : std::prev(end()); }

    // There must be an item, and `index` must be inside: neither is tested. Access by index walks
    // the list.
    T& first() { return own().front(); }
    const T& first() const { return items().front(); }
    T& last() { return own().back(); }
    const T& last() const { return items().back(); }
    T& front() { return own().front(); }
    const T& front() const { return items().front(); }
    T& back() { return own().back(); }
    const T& back() const { return items().back(); }
    T& operator[](size_type index) { return *at(index); }
    const T& operator[](size_type index) const { return *at(index); }
    iterator at(size_type index) { return place(own(), index); }
    const_iterator at(size_type index) const { return place(items(), index); }

    iterator append(const T& value) { return own().insert(own().end(), value); }
    iterator append(T&& value) { return own().insert(own().end(), std::move(value)); }
    iterator prepend(const T& value) { return own().insert(own().begin(), value); }
    /// Inserts before `position` and returns the item's place.
    iterator insert(iterator position, const T& value)
    {
        detach(position);
        return m_items->insert(position, value);
    }
    void push_back(const T& value) { append(value); }
    void push_front(const T& value) { prepend(value); }
    void pop_back() { own().pop_back(); }
    void pop_front() { own().pop_front(); }
    QValueList& operator<<(const T& value);
    QValueList& operator+=(const T& value) { return *this << value; }
    QValueList& operator+=(const QValueList& other);
    QValueList operator+(const QValueList& other) const { return QValueList(*this) += other; }

    /// Removes one item and returns the place of the next.
    iterator remove(iterator position)
    {
        detach(position);
        return m_items->erase(position);
    }
    iterator erase(iterator position) { return remove(position); }
    /// Removes all equal items and returns how many they were.
    size_type remove(const T& value);
    void clear();

    iterator find(const T& value) { return std::find(begin(), end(), value); }
    const_iterator find(const T& value) const { return std::find(begin(), end(), value); }
    iterator find(iterator from, const T& value) { return std::find(from, end(), value); }
    /// The index of the first equal item, or -1.
    int findIndex(const T& value) const;
    /// The number of equal items.
    size_type contains(const T& value) const
    {
        return size_type(std::count(begin(), end(), value));
    }

    bool operator==(const QValueList& other) const
    {
        return m_items == other.m_items || items() == other.items();
    }
    bool operator!=(const QValueList& other) const { return !(*this == other); }

private:
    const Items& items() const;
    Items& own();
    void detach(iterator& position);
    template <class List>
    static auto place(List& items, size_type index);

    std::shared_ptr<Items> m_items; // null while nothing was put in
};

template <class T>
const typename QValueList<T>::Items& QValueList<T>::items() const
{
    static const Items none;
    return m_items ? *m_items : none;
}

template <class T>
typename QValueList<T>::Items& QValueList<T>::own()
{
    if (!m_items)
        m_items = std::make_shared<Items>();
    else if (m_items.use_count() > 1)
        m_items = std::make_shared<Items>(*m_items);
    return *m_items;
}

/// Parts a shared list; a place in it becomes the same place in the copy.
template <class T>
void QValueList<T>::detach(iterator& position)
{
    if (!m_items || m_items.use_count() == 1)
        return;
    const auto index = std::distance(m_items->begin(), position);
    position = std::next(own().begin(), index);
}

template <class T>
template <class List>
auto QValueList<T>::place(List& items, size_type index)
{
    const size_type size = items.size();
    return index <= size / 2 ? std::next(items.begin(), difference_type(index))
                             : std::prev(items.end(), difference_type(size - index));
}

template <class T>
QValueList<T>& QValueList<T>::operator<<(const T& value)
{
    append(value);
    return *this;
}

template <class T>
QValueList<T>& QValueList<T>::operator+=(const QValueList& other)
{
    const QValueList added = other; // it may be this list
    Items& items = own();
    items.insert(items.end(), added.begin(), added.end());
    return *this;
}

template <class T>
typename QValueList<T>::size_type QValueList<T>::remove(const T& value)
{
    const size_type before = size();
    own().remove(value);
    return before - size();
}

template <class T>
void QValueList<T>::clear()
{
    if (m_items.use_count() == 1)
        m_items->clear();
    else
        m_items.reset();
}

template <class T>
int QValueList<T>::findIndex(const T& value) const
{
    const auto found = find(value);
    return found == end() ? -1 : int(std::distance(begin(), found));
}

/// The count as 32 bits, then the items.
template <class T>
QDataStream& operator<<(QDataStream& stream, const QValueList<T>& list)
{
    stream << quint32(list.size());
    for (const T& item : list)
        stream << item;
    return stream;
}

/// A stream that ends before the last item leaves the list empty.
template <class T>
QDataStream& operator>>(QDataStream& stream, QValueList<T>& list)
{
    list.clear();
    quint32 count = 0;
    stream >> count;
    for (quint32 i = 0; i < count; ++i) {
        if (stream.atEnd())
            stream.setStatus(QDataStream::ReadPastEnd);
        T item{};
        if (stream.status() == QDataStream::Ok)
            stream >> item;
        if (stream.status() != QDataStream::Ok) {
            list.clear();
            break;
        }
        list.append(std::move(item));
    }
    return stream;
}
} // namespace toolkit_v1
