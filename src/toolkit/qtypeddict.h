#pragma once

#include "toolkit/qgdict.h"

#include <type_traits>

inline namespace toolkit_v1
{
/// What QAsciiDict, QDict and QIntDict share. A class derived from them may override `newItem`,
/// `deleteItem`, `clear` and the stream hooks; one that overrides `deleteItem` or `clear` must call
/// `clear()` in its own destructor, since the one here reaches only the functions of this class.
/// Items of type `void` are never deleted.
template <class T, class Keys>
class ZYL_EXPORT QTypedDict : public QGDict<Keys>
{
    using Base = QGDict<Keys>;

public:
    using Parameter = typename Keys::Parameter;

    /// Puts the item in front of those under the same key. Warns of a null item, and inserts it.
    void insert(Parameter key, const T* item) { this->insertItem(key, toItem(item)); }
    /// Removes the newest item under the key, then inserts. With `autoDelete`, the item must not be
    /// that one.
    void replace(Parameter key, const T* item) { this->replaceItem(key, toItem(item)); }
    /// Removes the newest item under the key; false when there is none.
    bool remove(Parameter key) { return this->removeItem(key); }
    /// Like `remove`, but gives the item to the caller.
    T* take(Parameter key) { return static_cast<T*>(this->takeItem(key)); }
    T* find(Parameter key) const { return static_cast<T*>(this->findItem(key)); }
    T* operator[](Parameter key) const { return find(key); }
    /// Turns the order inside each chain over, and which of two equal keys is found. Iterators
    /// start again.
    void resize(unsigned size) { this->resizeBuckets(size); }

protected:
    using Item = typename Base::Item;

    QTypedDict(int size, const Keys& keys) : Base(size, keys) {}
    QTypedDict(const QTypedDict&) = default;
    QTypedDict& operator=(const QTypedDict&) = default;
    ~QTypedDict() override { Base::clear(); }

    void deleteItem(Item item) override
    {
        if constexpr (!std::is_void_v<T>)
            if (this->del_item)
                delete static_cast<T*>(item);
    }

private:
    static Item toItem(const T* item) { return const_cast<std::remove_const_t<T>*>(item); }
};

/// What the three iterators share; see QGDictIterator.
template <class T, class Keys>
class ZYL_EXPORT QTypedDictIterator : public QGDictIterator<Keys>
{
public:
    explicit QTypedDictIterator(const QTypedDict<T, Keys>& dictionary)
        : QGDictIterator<Keys>(dictionary)
    {
    }

    T* toFirst() { return static_cast<T*>(this->first()); }
    T* current() const { return static_cast<T*>(this->item()); }
    operator T*() const { return current(); }
    T* operator*() const { return current(); }
    /// Returns the current item and moves on.
    T* operator()();
    T* operator++() { return static_cast<T*>(this->advance("operator++")); }
    T* operator+=(unsigned steps);
};

template <class T, class Keys>
T* QTypedDictIterator<T, Keys>::operator()()
{
    T* before = current();
    this->advance("operator()");
    return before;
}

template <class T, class Keys>
T* QTypedDictIterator<T, Keys>::operator+=(unsigned steps)
{
    while (steps-- > 0 && current())
        ++*this;
    return current();
}
} // namespace toolkit_v1
