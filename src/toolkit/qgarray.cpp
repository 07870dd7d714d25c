#include "toolkit/qgarray.h"

#include <qlogging.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

inline namespace toolkit_v1
{
QGArray& QGArray::operator=(const QGArray& other)
{
    Block* block = other.share();
    release();
    m_block = block;
    return *this;
}

QGArray& QGArray::operator=(QGArray&& other) noexcept
{
    std::swap(m_block, other.m_block);
    return *this;
}

/// Adds a reference. A null array gets its block here, since a later resize of one has to show in
/// the other.
QGArray::Block* QGArray::share() const
{
    if (!m_block)
        m_block = new Block;
    ++m_block->references;
    return m_block;
}

/// Returns a block that no other array refers to; its content doesn't matter to the caller.
QGArray::Block* QGArray::own()
{
    if (m_block && m_block->references > 1) {
        --m_block->references;
        m_block = nullptr;
    }
    if (!m_block)
        m_block = new Block;
    return m_block;
}

void QGArray::release()
{
    if (m_block && --m_block->references == 0) {
        freeData(m_block);
        delete m_block;
    }
    m_block = nullptr;
}

void QGArray::freeData(Block* block)
{
    if (!block->borrowed)
        std::free(block->data);
    block->data = nullptr;
    block->size = block->capacity = 0;
    block->borrowed = false;
}

bool QGArray::reallocate(unsigned bytes, unsigned capacity)
{
    Block* block = m_block;
    const bool borrowed = block->borrowed;
    void* data = borrowed ? std::malloc(capacity) : std::realloc(block->data, capacity);
    if (!data)
        return false;
    if (borrowed)
        std::memcpy(data, block->data, std::min(bytes, block->size));
    block->data = static_cast<char*>(data);
    block->size = bytes;
    block->capacity = capacity;
    block->borrowed = false;
    return true;
}

bool QGArray::resizeBytes(unsigned bytes)
{
    if (bytes == byteCount())
        return true;
    if (!m_block)
        m_block = new Block;
    if (bytes == 0) {
        freeData(m_block);
        return true;
    }
    if (bytes > m_block->size && bytes <= m_block->capacity) {
        m_block->size = bytes;
        return true;
    }
    return reallocate(bytes, bytes);
}

bool QGArray::growBytes(unsigned bytes)
{
    const unsigned size = byteCount();
    if (bytes <= size || (m_block && bytes <= m_block->capacity))
        return resizeBytes(bytes);
    if (!m_block)
        m_block = new Block;
    const std::uint64_t wanted = std::max<std::uint64_t>({bytes, std::uint64_t(size) * 3 / 2, 16});
    const auto most = std::numeric_limits<unsigned>::max();
    return reallocate(bytes, unsigned(std::min<std::uint64_t>(wanted, most))) ||
           reallocate(bytes, bytes);
}

void QGArray::detachBytes()
{
    if (m_block && m_block->references > 1)
        duplicateBytes(m_block->data, m_block->size);
}

void QGArray::assignBytes(char* data, unsigned bytes, bool borrowed)
{
    Block* block = own();
    if (block->data != data)
        freeData(block);
    block->data = data;
    block->size = block->capacity = bytes;
    block->borrowed = borrowed;
}

void QGArray::duplicateBytes(const char* data, unsigned bytes)
{
    if (!data || bytes == 0) {
        freeData(own());
        return;
    }
    if (m_block && m_block->references == 1 && m_block->size == bytes && !m_block->borrowed) {
        std::memmove(m_block->data, data, bytes);
        return;
    }
    // The source may lie in the block that is given up.
    char* copy = static_cast<char*>(std::malloc(bytes));
    if (copy)
        std::memcpy(copy, data, bytes);
    Block* block = own();
    freeData(block);
    block->data = copy;
    block->size = block->capacity = copy ? bytes : 0;
}

void QGArray::resetRawBytes(const char* data, unsigned bytes)
{
    if (data != this->bytes() || bytes != byteCount()) {
        qWarning("QGArray::resetRawData: Inconsistent arguments");
        return;
    }
    if (m_block) {
        m_block->borrowed = true; // not ours to free
        freeData(m_block);
    }
}

bool QGArray::fillBytes(const char* item, int count, unsigned itemSize)
{
    if (count >= 0) {
        const std::uint64_t bytes = std::uint64_t(count) * itemSize;
        if (bytes > std::numeric_limits<unsigned>::max() || !resizeBytes(unsigned(bytes)))
            return false;
    }
    if (itemSize == 1) {
        if (byteCount())
            std::memset(bytes(), *item, byteCount());
        return true;
    }
    for (unsigned i = 0; i < byteCount(); i += itemSize)
        std::memcpy(bytes() + i, item, itemSize);
    return true;
}

int QGArray::findBytes(const char* item, unsigned index, unsigned itemSize) const
{
    const unsigned items = byteCount() / itemSize;
    if (index >= items) {
        qWarning("QGArray::find: Index %d out of range", int(index));
        return -1;
    }
    for (unsigned i = index; i < items; ++i)
        if (std::memcmp(bytes() + std::size_t(i) * itemSize, item, itemSize) == 0)
            return int(i);
    return -1;
}

int QGArray::countBytes(const char* item, unsigned itemSize) const
{
    int count = 0;
    for (unsigned i = 0; i < byteCount(); i += itemSize)
        count += std::memcmp(bytes() + i, item, itemSize) == 0;
    return count;
}

namespace
{
thread_local unsigned comparedSize;

int compareItems(const void* left, const void* right)
{
    return std::memcmp(left, right, comparedSize);
}
} // namespace

void QGArray::sortBytes(unsigned itemSize)
{
    comparedSize = itemSize;
    if (byteCount() > itemSize)
        std::qsort(bytes(), byteCount() / itemSize, itemSize, compareItems);
}

int QGArray::searchBytes(const char* item, unsigned itemSize) const
{
    unsigned low = 0;
    unsigned high = byteCount() / itemSize;
    const unsigned end = high;
    const auto compare = [&](unsigned i) {
        return std::memcmp(bytes() + std::size_t(i) * itemSize, item, itemSize);
    };
    while (low < high) {
        const unsigned middle = low + (high - low) / 2;
        if (compare(middle) < 0)
            low = middle + 1;
        else
            high = middle;
    }
    return low < end && compare(low) == 0 ? int(low) : -1;
}

bool QGArray::equalBytes(const QGArray& other) const
{
    const unsigned size = byteCount();
    return size == other.byteCount() &&
           (size == 0 || std::memcmp(bytes(), other.bytes(), size) == 0);
}

void QGArray::warnIndex(unsigned long index)
{
    qWarning("QGArray::at: Absolute index %d out of range", int(index));
}
} // namespace toolkit_v1
