#pragma once

#include "toolkit/qptrcollection.h"

#include <qstring.h>

#include <vector>

QT_BEGIN_NAMESPACE
class QDataStream;
QT_END_NAMESPACE

inline namespace toolkit_v1
{
/// The keys of a QAsciiDict: bytes up to a zero.
struct ZYL_EXPORT QAsciiKeys {
    using Key = const char*;
    using Parameter = const char*;
    static constexpr const char* dictionary = "QAsciiDict";

    bool caseSensitive = true;
    bool copyKeys = true;

    unsigned long hash(const char* key) const;
    bool equal(const char* a, const char* b) const;
    const char* hold(const char* key) const;
    void drop(const char* key) const;
    static void write(QDataStream& stream, const char* key);
    static const char* read(QDataStream& stream);
    /// Ends the life of a key that `read` made, when the dictionary holds a copy.
    void release(const char* key) const;
};

/// The keys of a QDict. A null key and an empty one differ.
struct ZYL_EXPORT QStringKeys {
    using Key = QString;
    using Parameter = const QString&;
    static constexpr const char* dictionary = "QDict";

    bool caseSensitive = true;

    unsigned long hash(const QString& key) const;
    bool equal(const QString& a, const QString& b) const;
    const QString& hold(const QString& key) const { return key; }
    void drop(const QString&) const {}
    static void write(QDataStream& stream, const QString& key);
    static QString read(QDataStream& stream);
    void release(const QString&) const {}
};

/// The keys of a QIntDict. Their stream form has 32 bits.
struct ZYL_EXPORT QLongKeys {
    using Key = long;
    using Parameter = long;
    static constexpr const char* dictionary = "QIntDict";

    unsigned long hash(long key) const { return static_cast<unsigned long>(key); }
    bool equal(long a, long b) const { return a == b; }
    long hold(long key) const { return key; }
    void drop(long) const {}
    static void write(QDataStream& stream, long key);
    static long read(QDataStream& stream);
    void release(long) const {}
};

template <class Keys>
class ZYL_EXPORT QGDictIterator;

/// The untyped part of the dictionaries: a fixed number of buckets with a chain of items each.
///
/// The order of iteration is observable and kept: bucket 0 upward, each chain from its head, where
/// a new item is put. An item under a key that is there already shadows the older one, which shows
/// again when the newer goes. The number of buckets changes only by `resize`, which turns each
/// chain over.
template <class Keys>
class ZYL_EXPORT QGDict : public QPtrCollection
{
public:
    using Parameter = typename Keys::Parameter;

    unsigned count() const override { return m_count; }
    void clear() override;

    unsigned size() const { return unsigned(m_buckets.size()); }
    bool isEmpty() const { return m_count == 0; }

    /// The count as 32 bits, then each key and what the virtual `write` adds, in the order of
    /// iteration.
    QDataStream& write(QDataStream& stream) const;
    /// Clears, then inserts what is read. Ends with the stream.
    QDataStream& read(QDataStream& stream);

protected:
    QGDict(int size, const Keys& keys) : m_keys(keys), m_buckets(size > 0 ? unsigned(size) : 17) {}
    /// Shares the items, but calls `newItem` for each.
    QGDict(const QGDict& other);
    QGDict& operator=(const QGDict& other);
    ~QGDict() override;

    Item findItem(Parameter key) const;
    void insertItem(Parameter key, Item item);
    void replaceItem(Parameter key, Item item);
    bool removeItem(Parameter key);
    Item takeItem(Parameter key);
    void resizeBuckets(unsigned size);

    /// How an item is read: sets null here.
    virtual QDataStream& read(QDataStream& stream, Item& item);
    /// How an item is written: nothing here.
    virtual QDataStream& write(QDataStream& stream, Item item) const;

private:
    friend class QGDictIterator<Keys>;

    struct Node {
        Node* next;
        Item item;
        typename Keys::Key key;
    };

    Node*& bucket(Parameter key) { return m_buckets[m_keys.hash(key) % m_buckets.size()]; }
    void insertAll(const QGDict& other);
    void link(Node* node);
    Node* unlink(Parameter key);
    void freeChains(std::vector<Node*>& buckets, bool deleteItems);

    Keys m_keys;
    std::vector<Node*> m_buckets;
    unsigned m_count = 0;
    mutable QGDictIterator<Keys>* m_iterators =
        nullptr; // first of the chain of those that stand here
};

/// Walks a dictionary and is told of its changes: when the current item is removed, it stands on
/// the next, so a loop must not advance then. Items inserted meanwhile may or may not be met.
/// Outlives the dictionary, as null.
template <class Keys>
class ZYL_EXPORT QGDictIterator
{
public:
    using Item = QPtrCollection::Item;

    explicit QGDictIterator(const QGDict<Keys>& dictionary);
    QGDictIterator(const QGDictIterator& other);
    QGDictIterator& operator=(const QGDictIterator& other);
    ~QGDictIterator() { unregister(); }

    unsigned count() const { return m_dictionary ? m_dictionary->count() : 0; }
    bool isEmpty() const { return count() == 0; }
    typename Keys::Key currentKey() const;

protected:
    Item item() const { return m_node ? m_node->item : nullptr; }
    Item first();
    /// Moves on and returns what is there then.
    Item advance(const char* operation);

private:
    friend class QGDict<Keys>;

    void registerIn(const QGDict<Keys>* dictionary);
    void unregister();
    void findFrom(unsigned bucket);
    bool isOrphan(const char* operation) const;

    const QGDict<Keys>* m_dictionary = nullptr;
    typename QGDict<Keys>::Node* m_node = nullptr;
    unsigned m_bucket = 0;
    QGDictIterator* m_next = nullptr;
    QGDictIterator* m_previous = nullptr;
};

extern template class QGDict<QAsciiKeys>;
extern template class QGDict<QStringKeys>;
extern template class QGDict<QLongKeys>;
extern template class QGDictIterator<QAsciiKeys>;
extern template class QGDictIterator<QStringKeys>;
extern template class QGDictIterator<QLongKeys>;

template <class Keys>
QDataStream& operator<<(QDataStream& stream, const QGDict<Keys>& dictionary)
{
    return dictionary.write(stream);
}

template <class Keys>
QDataStream& operator>>(QDataStream& stream, QGDict<Keys>& dictionary)
{
    return dictionary.read(stream);
}
} // namespace toolkit_v1
