#pragma once

#include "toolkit/qptrcollection.h"

#include <qglobal.h>

QT_BEGIN_NAMESPACE
class QDataStream;
QT_END_NAMESPACE

inline namespace toolkit_v1
{
class QStrListIterator;

/// List of byte strings with a current item. A deep list holds copies and deletes them
/// (`delete[]`); a shallow one keeps the caller's pointers. A copy takes over which of the two its
/// source is.
///
/// Positions count from 0. What is put in becomes the current item; after a removal the next one is
/// current, or the last one when the last went.
class ZYL_EXPORT QStrList : public QPtrCollection
{
public:
    explicit QStrList(bool deepCopies = true) : m_deep(deepCopies) { del_item = deepCopies; }
    QStrList(const QStrList& other);
    QStrList& operator=(const QStrList& other);
    ~QStrList() override;

    unsigned count() const override { return m_count; }
    void clear() override;
    bool isEmpty() const { return m_count == 0; }
    /// By text and order.
    bool operator==(const QStrList& other) const;
    bool operator!=(const QStrList& other) const { return !(*this == other); }

    void append(const char* text);
    void prepend(const char* text) { insert(0, text); }
    /// False when `index` is more than the count.
    bool insert(unsigned index, const char* text);
    /// Inserts before the first item that isn't less.
    void inSort(const char* text);
    void sort();

    /// Removes the first item with that text; null means the current item.
    bool remove(const char* text);
    bool remove() { return remove(static_cast<const char*>(nullptr)); }
    bool remove(unsigned index) { return locate(index) && removeCurrent(); }
    bool remove(int index) { return remove(unsigned(index)); }
    bool removeRef(const char* text);
    bool removeFirst() { return first() && removeCurrent(); }
    bool removeLast() { return last() && removeCurrent(); }
    /// Hands the string to the caller, who deletes it with `delete[]` if the list is deep.
    char* take();
    char* take(unsigned index) { return locate(index) ? take() : nullptr; }

    // The index of the first with equal text (or of that very pointer), made current, or -1 and no
    // current item. findNext starts with the current item, so a repeat finds it again.
    int find(const char* text);
    int findRef(const char* text);
    int findNext(const char* text);
    /// The number of items with that text.
    unsigned contains(const char* text) const;

    // Each returns the current item after the step, or null.
    char* first();
    char* last();
    char* next();
    char* prev();
    char* current() const { return m_current ? m_current->text : nullptr; }
    char* at(unsigned index) { return locate(index) ? m_current->text : nullptr; }
    /// The index of the current item, or -1.
    int at() const { return m_index; }
    char* getFirst() const { return m_first ? m_first->text : nullptr; }
    char* getLast() const { return m_last ? m_last->text : nullptr; }

    QDataStream& write(QDataStream& stream) const;
    QDataStream& read(QDataStream& stream);

protected:
    Item newItem(Item item) override;
    void deleteItem(Item item) override;
    /// Less than, equal to or more than zero, as `strcmp`; null is less than any text.
    virtual int compareItems(Item left, Item right) const;

private:
    friend class QStrListIterator;

    struct Node {
        char* text;
        Node* previous;
        Node* next;
    };

    char* moveTo(Node* node, int index);
    bool locate(unsigned index);
    int search(Node* from, int index, const char* text, bool byText);
    void link(Node* before, char* text);
    char* unlinkCurrent();
    bool removeCurrent();
    void appendAll(const QStrList& other);

    Node* m_first = nullptr;
    Node* m_last = nullptr;
    Node* m_current = nullptr;
    int m_index = -1;
    unsigned m_count = 0;
    bool m_deep;
    mutable QStrListIterator* m_iterators = nullptr; // first of the chain of those that stand here
};

/// Walks a list apart from its own current item. When the item under it is removed it moves to the
/// list's new current item, so a loop must not advance then. Null after the list's `clear` and its
/// end.
class ZYL_EXPORT QStrListIterator
{
public:
    explicit QStrListIterator(const QStrList& list);
    QStrListIterator(const QStrListIterator& other);
    QStrListIterator& operator=(const QStrListIterator& other);
    ~QStrListIterator() { unregister(); }

    unsigned count() const { return m_list ? m_list->count() : 0; }
    bool isEmpty() const { return count() == 0; }
    bool atFirst() const { return m_list && m_node == m_list->m_first; }
    bool atLast() const { return m_list && m_node == m_list->m_last; }

    char* toFirst();
    char* toLast();
    char* current() const { return m_node ? m_node->text : nullptr; }
    operator char*() const { return current(); }
    /// Returns the current item and moves on.
    char* operator()();
    char* operator++();
    char* operator--();
    char* operator+=(unsigned steps);
    char* operator-=(unsigned steps);

private:
    friend class QStrList;

    void registerIn(const QStrList* list);
    void unregister();

    const QStrList* m_list = nullptr;
    QStrList::Node* m_node = nullptr;
    QStrListIterator* m_next = nullptr;
    QStrListIterator* m_previous = nullptr;
};

/// The count as 32 bits, then each text with its zero counted and written.
ZYL_EXPORT QDataStream& operator<<(QDataStream& stream, const QStrList& list);
/// The strings read are the list's own, whether it is deep or not. Ends with the stream.
ZYL_EXPORT QDataStream& operator>>(QDataStream& stream, QStrList& list);
} // namespace toolkit_v1
