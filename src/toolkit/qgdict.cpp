#include "toolkit/qgdict.h"

#include <qdatastream.h>

#include <cctype>
#include <utility>

inline namespace toolkit_v1
{
namespace
{
/// The hash of the ELF symbol tables, one character at a time.
class SymbolHash
{
public:
    void add(int character)
    {
        m_hash = (m_hash << 4) + quint32(character);
        const quint32 high = m_hash & 0xf0000000;
        if (high)
            m_hash ^= high >> 24;
        m_hash &= ~high;
    }
    quint32 value() const { return m_hash; }

private:
    quint32 m_hash = 0;
};
} // namespace

unsigned long QAsciiKeys::hash(const char* key) const
{
    if (!key) {
        qWarning("QGDict::hashAsciiKey: Invalid null key");
        return 0;
    }
    SymbolHash hash;
    for (; *key; ++key)
        // A plain char is negative above 127 here and positive in its lowered form: the order of
        // iteration depends on both.
        hash.add(caseSensitive ? *reinterpret_cast<const signed char*>(key)
                               : std::tolower(static_cast<unsigned char>(*key)));
    return hash.value();
}

bool QAsciiKeys::equal(const char* a, const char* b) const
{
    return (caseSensitive ? qstrcmp(a, b) : qstricmp(a, b)) == 0;
}

const char* QAsciiKeys::hold(const char* key) const
{
    return copyKeys ? qstrdup(key) : key;
}

void QAsciiKeys::drop(const char* key) const
{
    if (copyKeys)
        delete[] key;
}

void QAsciiKeys::write(QDataStream& stream, const char* key)
{
    stream << key;
}

const char* QAsciiKeys::read(QDataStream& stream)
{
    char* key = nullptr;
    stream >> key;
    return key;
}

void QAsciiKeys::release(const char* key) const
{
    drop(key);
}

unsigned long QStringKeys::hash(const QString& key) const
{
    if (key.isNull())
        qWarning("QGDict::hashKeyString: Invalid null key");
    SymbolHash hash;
    for (const QChar character : key)
        hash.add((caseSensitive ? character : character.toLower()).cell());
    return hash.value();
}

bool QStringKeys::equal(const QString& a, const QString& b) const
{
    if (a.isNull() != b.isNull())
        return false;
    return caseSensitive ? a == b : a.toLower() == b.toLower();
}

void QStringKeys::write(QDataStream& stream, const QString& key)
{
    stream << key;
}

QString QStringKeys::read(QDataStream& stream)
{
    QString key;
    stream >> key;
    return key;
}

void QLongKeys::write(QDataStream& stream, long key)
{
    stream << quint32(key);
}

long QLongKeys::read(QDataStream& stream)
{
    quint32 key = 0;
    stream >> key;
    return long(key);
}

template <class Keys>
QGDict<Keys>::QGDict(const QGDict& other)
    : QPtrCollection(other), m_keys(other.m_keys), m_buckets(other.m_buckets.size())
{
    insertAll(other);
}

template <class Keys>
QGDict<Keys>& QGDict<Keys>::operator=(const QGDict& other)
{
    if (this != &other) {
        clear();
        insertAll(other);
    }
    return *this;
}

template <class Keys>
QGDict<Keys>::~QGDict()
{
    // The typed class has cleared already; deleteItem isn't there any more.
    freeChains(m_buckets, false);
    while (m_iterators) {
        QGDictIterator<Keys>* iterator = m_iterators;
        iterator->unregister();
        iterator->m_node = nullptr;
    }
}

template <class Keys>
void QGDict<Keys>::insertAll(const QGDict& other)
{
    for (const Node* chain : other.m_buckets)
        for (const Node* node = chain; node; node = node->next)
            insertItem(node->key, node->item);
}

template <class Keys>
void QGDict<Keys>::clear()
{
    if (m_count == 0)
        return;
    // An item's destructor may look here: it has to find nothing.
    std::vector<Node*> buckets(m_buckets.size());
    buckets.swap(m_buckets);
    m_count = 0;
    for (auto* iterator = m_iterators; iterator; iterator = iterator->m_next)
        iterator->m_node = nullptr;
    freeChains(buckets, true);
}

template <class Keys>
void QGDict<Keys>::freeChains(std::vector<Node*>& buckets, bool deleteItems)
{
    for (Node* node : buckets)
        while (node) {
            Node* next = node->next;
            m_keys.drop(node->key);
            if (deleteItems)
                deleteItem(node->item);
            delete node;
            node = next;
        }
}

template <class Keys>
QPtrCollection::Item QGDict<Keys>::findItem(Parameter key) const
{
    const Node* node = m_buckets[m_keys.hash(key) % m_buckets.size()];
    while (node && !m_keys.equal(node->key, key))
        node = node->next;
    return node ? node->item : nullptr;
}

template <class Keys>
void QGDict<Keys>::link(Node* node)
{
    Node*& head = bucket(node->key);
    node->next = head;
    head = node;
    ++m_count;
}

template <class Keys>
void QGDict<Keys>::insertItem(Parameter key, Item item)
{
    Node* node = new Node{nullptr, newItem(item), m_keys.hold(key)};
    if (!node->item)
        qWarning("%s: Cannot insert null item", Keys::dictionary);
    link(node);
}

template <class Keys>
void QGDict<Keys>::replaceItem(Parameter key, Item item)
{
    Node* old = unlink(key);
    if (old)
        deleteItem(old->item);
    insertItem(key, item); // the key may be that of the old node
    if (old) {
        m_keys.drop(old->key);
        delete old;
    }
}

template <class Keys>
typename QGDict<Keys>::Node* QGDict<Keys>::unlink(Parameter key)
{
    if (m_count == 0)
        return nullptr;
    Node** place = &bucket(key);
    while (*place && !m_keys.equal((*place)->key, key))
        place = &(*place)->next;
    Node* node = *place;
    if (!node)
        return nullptr;
    for (auto* iterator = m_iterators; iterator; iterator = iterator->m_next)
        if (iterator->m_node == node)
            iterator->advance("operator++");
    *place = node->next;
    --m_count;
    return node;
}

template <class Keys>
bool QGDict<Keys>::removeItem(Parameter key)
{
    Node* node = unlink(key);
    if (!node)
        return false;
    m_keys.drop(node->key);
    deleteItem(node->item);
    delete node;
    return true;
}

template <class Keys>
QPtrCollection::Item QGDict<Keys>::takeItem(Parameter key)
{
    Node* node = unlink(key);
    if (!node)
        return nullptr;
    const Item item = node->item;
    m_keys.drop(node->key);
    delete node;
    return item;
}

template <class Keys>
void QGDict<Keys>::resizeBuckets(unsigned size)
{
    std::vector<Node*> buckets(size ? size : 17);
    buckets.swap(m_buckets);
    m_count = 0;
    for (Node* node : buckets)
        while (node) {
            Node* next = node->next;
            node->item = newItem(node->item);
            link(node);
            node = next;
        }
    for (auto* iterator = m_iterators; iterator; iterator = iterator->m_next)
        iterator->first();
}

template <class Keys>
QDataStream& QGDict<Keys>::read(QDataStream& stream, Item& item)
{
    item = nullptr;
    return stream;
}

template <class Keys>
QDataStream& QGDict<Keys>::write(QDataStream& stream, Item) const
{
    return stream;
}

template <class Keys>
QDataStream& QGDict<Keys>::write(QDataStream& stream) const
{
    stream << quint32(m_count);
    for (const Node* chain : m_buckets)
        for (const Node* node = chain; node; node = node->next) {
            Keys::write(stream, node->key);
            write(stream, node->item);
        }
    return stream;
}

template <class Keys>
QDataStream& QGDict<Keys>::read(QDataStream& stream)
{
    clear();
    quint32 count = 0;
    stream >> count;
    for (quint32 i = 0; i < count && !stream.atEnd(); ++i) {
        const typename Keys::Key key = Keys::read(stream);
        if (stream.status() != QDataStream::Ok)
            break; // and the key is null
        Item item = nullptr;
        read(stream, item);
        insertItem(key, item);
        m_keys.release(key);
    }
    return stream;
}

template <class Keys>
QGDictIterator<Keys>::QGDictIterator(const QGDict<Keys>& dictionary)
{
    registerIn(&dictionary);
    findFrom(0);
}

template <class Keys>
QGDictIterator<Keys>::QGDictIterator(const QGDictIterator& other)
    : m_node(other.m_node), m_bucket(other.m_bucket)
{
    registerIn(other.m_dictionary);
}

template <class Keys>
QGDictIterator<Keys>& QGDictIterator<Keys>::operator=(const QGDictIterator& other)
{
    const QGDict<Keys>* dictionary = other.m_dictionary;
    m_node = other.m_node;
    m_bucket = other.m_bucket;
    unregister();
    registerIn(dictionary);
    return *this;
}

template <class Keys>
void QGDictIterator<Keys>::registerIn(const QGDict<Keys>* dictionary)
{
    m_dictionary = dictionary;
    if (!dictionary)
        return;
    m_next = dictionary->m_iterators;
    if (m_next)
        m_next->m_previous = this;
    dictionary->m_iterators = this;
}

template <class Keys>
void QGDictIterator<Keys>::unregister()
{
    if (!m_dictionary)
        return;
    (m_previous ? m_previous->m_next : m_dictionary->m_iterators) = m_next;
    if (m_next)
        m_next->m_previous = m_previous;
    m_next = m_previous = nullptr;
    m_dictionary = nullptr;
}

template <class Keys>
void QGDictIterator<Keys>::findFrom(unsigned bucket)
{
    m_node = nullptr;
    for (m_bucket = bucket; m_bucket < m_dictionary->size(); ++m_bucket) {
        m_node = m_dictionary->m_buckets[m_bucket];
        if (m_node)
            return;
    }
}

template <class Keys>
bool QGDictIterator<Keys>::isOrphan(const char* operation) const
{
    if (!m_dictionary)
        qWarning("QGDictIterator::%s: Dictionary has been deleted", operation);
    return !m_dictionary;
}

template <class Keys>
QPtrCollection::Item QGDictIterator<Keys>::first()
{
    if (isOrphan("toFirst"))
        return nullptr;
    findFrom(0);
    return item();
}

template <class Keys>
QPtrCollection::Item QGDictIterator<Keys>::advance(const char* operation)
{
    if (isOrphan(operation) || !m_node)
        return nullptr;
    if (m_node->next)
        m_node = m_node->next;
    else
        findFrom(m_bucket + 1);
    return item();
}

template <class Keys>
typename Keys::Key QGDictIterator<Keys>::currentKey() const
{
    return m_node ? m_node->key : typename Keys::Key();
}

template class QGDict<QAsciiKeys>;
template class QGDict<QStringKeys>;
template class QGDict<QLongKeys>;
template class QGDictIterator<QAsciiKeys>;
template class QGDictIterator<QStringKeys>;
template class QGDictIterator<QLongKeys>;
} // namespace toolkit_v1
