#include "toolkit/qstrlist.h"

#include <qbytearrayalgorithms.h>
#include <qdatastream.h>

#include <algorithm>
#include <vector>

inline namespace toolkit_v1
{
QStrList::QStrList(const QStrList& other) : QPtrCollection(other), m_deep(other.m_deep)
{
    del_item = m_deep;
    appendAll(other);
}

QStrList& QStrList::operator=(const QStrList& other)
{
    if (this == &other)
        return *this;
    clear();
    m_deep = other.m_deep;
    del_item = m_deep;
    appendAll(other);
    return *this;
}

QStrList::~QStrList()
{
    QStrList::clear();
    while (m_iterators)
        m_iterators->unregister();
}

void QStrList::appendAll(const QStrList& other)
{
    for (const Node* node = other.m_first; node; node = node->next)
        append(node->text);
    first();
}

void QStrList::clear()
{
    Node* node = m_first;
    m_first = m_last = m_current = nullptr;
    m_index = -1;
    m_count = 0;
    for (auto* iterator = m_iterators; iterator; iterator = iterator->m_next)
        iterator->m_node = nullptr;
    while (node) {
        Node* next = node->next;
        deleteItem(node->text);
        delete node;
        node = next;
    }
}

QPtrCollection::Item QStrList::newItem(Item item)
{
    return m_deep ? qstrdup(static_cast<const char*>(item)) : item;
}

void QStrList::deleteItem(Item item)
{
    if (del_item)
        delete[] static_cast<char*>(item);
}

int QStrList::compareItems(Item left, Item right) const
{
    return qstrcmp(static_cast<const char*>(left), static_cast<const char*>(right));
}

bool QStrList::operator==(const QStrList& other) const
{
    if (m_count != other.m_count)
        return false;
    for (Node *a = m_first, *b = other.m_first; a; a = a->next, b = b->next)
        if (compareItems(a->text, b->text) != 0)
            return false;
    return true;
}

char* QStrList::moveTo(Node* node, int index)
{
    m_current = node;
    m_index = node ? index : -1;
    return current();
}

char* QStrList::first()
{
    return moveTo(m_first, 0);
}

char* QStrList::last()
{
    return moveTo(m_last, int(m_count) - 1);
}

char* QStrList::next()
{
    return m_current ? moveTo(m_current->next, m_index + 1) : nullptr;
}

char* QStrList::prev()
{
    return m_current ? moveTo(m_current->previous, m_index - 1) : nullptr;
}

/// Makes an item current, by the shortest way from the ends and the present one.
bool QStrList::locate(unsigned index)
{
    if (index >= m_count)
        return false;
    const int wanted = int(index);
    const int fromEnd = int(m_count) - 1 - wanted;
    if (!m_current || std::abs(m_index - wanted) > std::min(wanted, fromEnd))
        wanted < fromEnd ? first() : last();
    while (m_index < wanted)
        next();
    while (m_index > wanted)
        prev();
    return true;
}

/// Links an item in before a node, or at the end, and makes it current; m_index must be its index.
void QStrList::link(Node* before, char* text)
{
    Node* previous = before ? before->previous : m_last;
    Node* node = new Node{text, previous, before};
    (previous ? previous->next : m_first) = node;
    (before ? before->previous : m_last) = node;
    m_current = node;
    ++m_count;
}

void QStrList::append(const char* text)
{
    m_index = int(m_count);
    link(nullptr, static_cast<char*>(newItem(const_cast<char*>(text))));
}

bool QStrList::insert(unsigned index, const char* text)
{
    if (index > m_count)
        return false;
    if (!locate(index)) {
        append(text);
        return true;
    }
    link(m_current, static_cast<char*>(newItem(const_cast<char*>(text))));
    return true;
}

void QStrList::inSort(const char* text)
{
    Item item = const_cast<char*>(text);
    unsigned index = 0;
    for (Node* node = m_first; node && compareItems(node->text, item) < 0; node = node->next)
        ++index;
    insert(index, text);
}

void QStrList::sort()
{
    std::vector<char*> texts;
    texts.reserve(m_count);
    for (const Node* node = m_first; node; node = node->next)
        texts.push_back(node->text);
    std::stable_sort(texts.begin(), texts.end(),
                     [this](char* a, char* b) { return compareItems(a, b) < 0; });
    auto text = texts.begin();
    for (Node* node = m_first; node; node = node->next)
        node->text = *text++;
}

char* QStrList::unlinkCurrent()
{
    Node* node = m_current;
    if (!node)
        return nullptr;
    (node->previous ? node->previous->next : m_first) = node->next;
    (node->next ? node->next->previous : m_last) = node->previous;
    --m_count;
    if (node->next)
        m_current = node->next;
    else
        moveTo(node->previous, m_index - 1);
    for (auto* iterator = m_iterators; iterator; iterator = iterator->m_next)
        if (iterator->m_node == node)
            iterator->m_node = m_current;
    char* text = node->text;
    delete node;
    return text;
}

bool QStrList::removeCurrent()
{
    if (!m_current)
        return false;
    deleteItem(unlinkCurrent());
    return true;
}

bool QStrList::remove(const char* text)
{
    return (!text || find(text) >= 0) && removeCurrent();
}

bool QStrList::removeRef(const char* text)
{
    return findRef(text) >= 0 && removeCurrent();
}

char* QStrList::take()
{
    return unlinkCurrent();
}

int QStrList::search(Node* from, int index, const char* text, bool byText)
{
    Item item = const_cast<char*>(text);
    Node* node = from;
    while (node && (byText ? compareItems(node->text, item) != 0 : node->text != text)) {
        node = node->next;
        ++index;
    }
    moveTo(node, index);
    return m_index;
}

int QStrList::find(const char* text)
{
    return search(m_first, 0, text, true);
}

int QStrList::findRef(const char* text)
{
    return search(m_first, 0, text, false);
}

int QStrList::findNext(const char* text)
{
    return search(m_current, m_index, text, true);
}

unsigned QStrList::contains(const char* text) const
{
    Item item = const_cast<char*>(text);
    unsigned count = 0;
    for (const Node* node = m_first; node; node = node->next)
        count += compareItems(node->text, item) == 0;
    return count;
}

QDataStream& QStrList::write(QDataStream& stream) const
{
    stream << quint32(m_count);
    for (const Node* node = m_first; node; node = node->next)
        stream << static_cast<const char*>(node->text);
    return stream;
}

QDataStream& QStrList::read(QDataStream& stream)
{
    clear();
    quint32 count = 0;
    stream >> count;
    for (quint32 i = 0; i < count && !stream.atEnd(); ++i) {
        char* text = nullptr;
        stream >> text;
        if (stream.status() != QDataStream::Ok)
            break;
        m_index = int(m_count);
        link(nullptr, text);
    }
    first();
    return stream;
}

QStrListIterator::QStrListIterator(const QStrList& list) : m_node(list.m_first)
{
    registerIn(&list);
}

QStrListIterator::QStrListIterator(const QStrListIterator& other) : m_node(other.m_node)
{
    registerIn(other.m_list);
}

QStrListIterator& QStrListIterator::operator=(const QStrListIterator& other)
{
    const QStrList* list = other.m_list;
    QStrList::Node* node = other.m_node;
    unregister();
    registerIn(list);
    m_node = node;
    return *this;
}

void QStrListIterator::registerIn(const QStrList* list)
{
    m_list = list;
    if (!list)
        return;
    m_next = list->m_iterators;
    if (m_next)
        m_next->m_previous = this;
    list->m_iterators = this;
}

void QStrListIterator::unregister()
{
    if (m_list)
        (m_previous ? m_previous->m_next : m_list->m_iterators) = m_next;
    if (m_next)
        m_next->m_previous = m_previous;
    m_next = m_previous = nullptr;
    m_list = nullptr;
    m_node = nullptr;
}

char* QStrListIterator::toFirst()
{
    m_node = m_list ? m_list->m_first : nullptr;
    return current();
}

char* QStrListIterator::toLast()
{
    m_node = m_list ? m_list->m_last : nullptr;
    return current();
}

char* QStrListIterator::operator()()
{
    char* before = current();
    ++*this;
    return before;
}

char* QStrListIterator::operator++()
{
    m_node = m_node ? m_node->next : nullptr;
    return current();
}

char* QStrListIterator::operator--()
{
    m_node = m_node ? m_node->previous : nullptr;
    return current();
}

char* QStrListIterator::operator+=(unsigned steps)
{
    while (m_node && steps-- > 0)
        ++*this;
    return current();
}

char* QStrListIterator::operator-=(unsigned steps)
{
    while (m_node && steps-- > 0)
        --*this;
    return current();
}

QDataStream& operator<<(QDataStream& stream, const QStrList& list)
{
    return list.write(stream);
}

QDataStream& operator>>(QDataStream& stream, QStrList& list)
{
    return list.read(stream);
}
} // namespace toolkit_v1
