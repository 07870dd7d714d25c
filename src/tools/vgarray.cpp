#include "tools/vgarray.h"

#include "tools/vsort.h"
#include "toolkit/checkpointer.h"

#include <qlogging.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

namespace
{
/// A new block with a copy of the bytes; null for no bytes, and without memory.
char* copyOf(const char* data, unsigned len)
{
    if (len == 0)
        return nullptr;
    char* block = static_cast<char*>(std::malloc(len));
    qt_check_pointer(!block, "tools/vgarray", 143);
    if (block)
        std::memcpy(block, data, len);
    return block;
}

int compareBytes(const void* a, const void* b, void* size)
{
    return std::memcmp(a, b, *static_cast<const unsigned*>(size));
}

template <class Word>
struct EqualWords {
    bool operator()(const char* a, const char* b) const
    {
        Word x, y;
        std::memcpy(&x, a, sizeof x);
        std::memcpy(&y, b, sizeof y);
        return x == y;
    }
};

/// Calls `use` with a test for equal elements; for the sizes of numbers it compares whole words.
template <class Use>
auto withEquality(unsigned size, Use&& use)
{
    switch (size) {
    case 1:
        return use(EqualWords<quint8>());
    case 2:
        return use(EqualWords<quint16>());
    case 4:
        return use(EqualWords<quint32>());
    case 8:
        return use(EqualWords<quint64>());
    default:
        return use([size](const char* a, const char* b) { return !std::memcmp(a, b, size); });
    }
}
} // namespace

struct VGArray::view_data : array_data {
    array_data* owner;
};

VGArray::VGArray() : m_data(VGArray::newData()) {}

VGArray::VGArray(int size) : VGArray(size, 1) {}

VGArray::VGArray(int count, unsigned elementSize) : VGArray()
{
    if (count < 0)
        qWarning("VGArray: Cannot allocate array with negative length");
    else
        resizeTo(quint64(count) * elementSize);
}

VGArray& VGArray::assign(const VGArray& other)
{
    array_data* record = other.m_data;
    ++record->count;
    release();
    m_data = record;
    return *this;
}

VGArray& VGArray::assign(const char* data, unsigned len)
{
    renew(const_cast<char*>(data), len);
    return *this;
}

VGArray& VGArray::duplicate(const VGArray& other)
{
    if (&other == this && m_data->count == 1) {
        ownBytes();
        return *this;
    }
    const unsigned len = other.m_data->len;
    renew(copyOf(other.m_data->data, len), len);
    return *this;
}

VGArray& VGArray::duplicate(const char* data, unsigned len)
{
    if (!data || len == 0) {
        renew(nullptr, 0);
    } else if (m_data->count == 1 && m_data->len == len && !m_data->isView) {
        if (data != m_data->data)
            std::memcpy(m_data->data, data, len);
    } else {
        renew(copyOf(data, len), len);
    }
    return *this;
}

bool VGArray::store(const char* data, unsigned len)
{
    if (!resizeTo(len) || !ownBytes())
        return false;
    if (len > 0)
        std::memcpy(m_data->data, data, len);
    return true;
}

VGArray& VGArray::setRawData(const char* data, unsigned len)
{
    renew(const_cast<char*>(data), len);
    return *this;
}

void VGArray::resetRawData(const char* data, unsigned len)
{
    if (data != m_data->data || len != m_data->len) {
        qWarning("VGArray::resetRawData: Inconsistent arguments");
        return;
    }
    if (m_data->isView)
        freeBlock(*m_data);
    m_data->data = nullptr;
    m_data->len = 0;
}

bool VGArray::fill(const char* element, int count, unsigned size)
{
    if ((count >= 0 && !resizeTo(quint64(count) * size)) || !ownBytes())
        return false;
    if (size == 0 || m_data->len < size)
        return true;
    char* block = m_data->data;
    const std::size_t total = m_data->len / size * size;
    if (size == 1) {
        std::memset(block, *element, total);
        return true;
    }
    // Each copy doubles what is there, up to a run that stays in the nearest cache.
    constexpr std::size_t run = 4096;
    const std::size_t longest = std::max<std::size_t>(size, run / size * size);
    std::memcpy(block, element, size);
    for (std::size_t filled = size; filled < total;) {
        const std::size_t next = std::min({filled, longest, total - filled});
        std::memcpy(block + filled, block, next);
        filled += next;
    }
    return true;
}

int VGArray::find(const char* element, unsigned index, unsigned size) const
{
    if (size == 0 || quint64(index) * size >= m_data->len) {
        qWarning("VGArray::find: Index %d out of range", index);
        return -1;
    }
    return withEquality(size, [&](auto equal) {
        const char* p = m_data->data + std::size_t(index) * size;
        for (unsigned count = m_data->len / size; index < count; ++index, p += size)
            if (equal(p, element))
                return int(index);
        return -1;
    });
}

unsigned VGArray::contains(const char* element, unsigned size) const
{
    if (size == 0)
        return 0;
    return withEquality(size, [&](auto equal) {
        unsigned matches = 0;
        const char* p = m_data->data;
        for (unsigned left = m_data->len / size; left > 0; --left, p += size)
            matches += equal(p, element);
        return matches;
    });
}

void VGArray::sort(unsigned size)
{
    if (size > 0 && ownBytes())
        VSort::qsort(m_data->data, m_data->len / size, size, compareBytes, &size);
}

int VGArray::bsearch(const char* element, unsigned size) const
{
    if (size == 0)
        return -1;
    const char* begin = m_data->data;
    auto hit = static_cast<const char*>(
        VSort::bsearch(element, begin, m_data->len / size, size, compareBytes, &size));
    if (!hit)
        return -1;
    while (hit > begin && !std::memcmp(hit - size, element, size))
        hit -= size;
    return int((hit - begin) / std::ptrdiff_t(size));
}

bool VGArray::setExpand(unsigned index, const char* element, unsigned size)
{
    const quint64 start = quint64(index) * size;
    if ((start + size > m_data->len && !resizeTo(start + size)) || !ownBytes())
        return false;
    if (size > 0)
        std::memcpy(m_data->data + start, element, size);
    return true;
}

bool VGArray::isEqual(const VGArray& other) const
{
    const array_data& a = *m_data;
    const array_data& b = *other.m_data;
    return a.len == b.len &&
           (a.len == 0 || a.data == b.data || !std::memcmp(a.data, b.data, a.len));
}

void VGArray::msg_index(unsigned index)
{
    qWarning("VGArray::at: Absolute index %d out of range", index);
}

VGArray::array_data* VGArray::newData()
{
    return newRecord(0);
}

void VGArray::deleteData(array_data* record)
{
    std::free(record);
}

VGArray::array_data* VGArray::newRecord(unsigned len)
{
    void* memory = std::malloc(sizeof(array_data) + len);
    qt_check_pointer(!memory, "tools/vgarray", 60);
    if (!memory)
        return len > 0 ? newRecord(0) : nullptr;
    auto* record = new (memory) array_data;
    if (len > 0) {
        record->data = behind(*record);
        record->len = record->room = len;
    }
    return record;
}

VGArray::array_data* VGArray::newView(array_data* owner, char* data, unsigned len)
{
    void* memory = std::malloc(sizeof(view_data));
    qt_check_pointer(!memory, "tools/vgarray", 60);
    if (!memory)
        return nullptr;
    auto* view = new (memory) view_data;
    view->isView = true;
    view->data = data;
    view->len = len;
    view->owner = owner;
    return view;
}

VGArray::array_data* VGArray::ownerOfView() const
{
    return m_data->isView ? static_cast<view_data*>(m_data)->owner : nullptr;
}

bool VGArray::copyView()
{
    const unsigned len = m_data->len;
    char* block = copyOf(m_data->data, len);
    freeBlock(*m_data);
    m_data->data = block;
    m_data->len = block ? len : 0;
    return block || len == 0;
}

void VGArray::freeBlock(array_data& record)
{
    if (record.isView) {
        array_data* owner = static_cast<view_data&>(record).owner;
        record.isView = false;
        if (--owner->count == 0) {
            freeBlock(*owner);
            std::free(owner);
        }
    } else if (record.data != behind(record)) {
        std::free(record.data);
    }
}

void VGArray::destroy()
{
    freeBlock(*m_data);
    deleteData(m_data);
}

bool VGArray::resizeTo(quint64 bytes)
{
    array_data& record = *m_data;
    if (bytes == record.len)
        return true;
    if (record.isView && bytes > 0 && !ownBytes())
        return false;
    const bool isInside = record.data == behind(record);
    char* block = nullptr;
    if (bytes <= record.room && (isInside || !record.data)) {
        block = bytes > 0 ? behind(record) : nullptr;
    } else {
        if (bytes > 0 && bytes <= std::numeric_limits<quint32>::max())
            block = static_cast<char*>(std::realloc(isInside ? nullptr : record.data, bytes));
        if (block && isInside)
            std::memcpy(block, record.data, record.len);
        if (!block)
            freeBlock(record);
    }
    record.data = block;
    record.len = block ? quint32(bytes) : 0;
    const bool failed = bytes > 0 && !block;
    qt_check_pointer(failed, "tools/vgarray", 269);
    return !failed;
}

/// Puts a block in place of the bytes of this handle. Other handles keep the record and what it
/// holds.
void VGArray::renew(char* block, unsigned len)
{
    if (m_data->count > 1) {
        --m_data->count;
        m_data = newData();
    } else if (m_data->data != block) {
        freeBlock(*m_data);
    }
    m_data->data = len > 0 ? block : nullptr;
    m_data->len = block ? len : 0;
}
