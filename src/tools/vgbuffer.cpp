#include "tools/vgbuffer.h"

#include "toolkit/checkpointer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace
{
/// `realloc` of a block of which the first `used` bytes count. Small blocks are moved by hand:
/// malloc keeps those at hand, and realloc doesn't look there.
char* reallocate(char* old, std::size_t used, std::size_t bytes)
{
    constexpr std::size_t small = 1024;
    if (bytes > small)
        return static_cast<char*>(std::realloc(old, bytes));
    char* block = static_cast<char*>(std::malloc(bytes));
    if (block && old) {
        std::memcpy(block, old, used);
        std::free(old);
    }
    return block;
}
} // namespace

VGBuffer::VGBuffer(int capacity, int elementSize)
{
    if (capacity > 0)
        resize(unsigned(capacity), elementSize);
}

VGBuffer::~VGBuffer()
{
    std::free(m_data);
}

void VGBuffer::clear()
{
    std::free(m_data);
    m_data = nullptr;
    m_capacity = 0;
    m_count = 0;
}

bool VGBuffer::resize(unsigned capacity, int elementSize)
{
    constexpr unsigned mostElements = 0x7fffffff;
    constexpr quint64 mostBytes = quint64(1) << 32;
    const quint64 bytes = quint64(capacity) * unsigned(std::max(elementSize, 0));
    if (bytes == 0) {
        clear();
        return capacity == 0;
    }
    m_count = std::min(m_count, capacity);
    char* block = nullptr;
    if (capacity <= mostElements && bytes <= mostBytes)
        block = reallocate(m_data, std::size_t(m_count) * unsigned(elementSize), bytes);
    qt_check_pointer(!block, "tools/vgbuffer", 72);
    if (!block) {
        clear();
        return false;
    }
    m_data = block;
    m_capacity = capacity;
    return true;
}

bool VGBuffer::append(const void* element, int elementSize)
{
    if (m_count == m_capacity && !grow(elementSize))
        return false;
    std::memcpy(m_data + std::size_t(m_count) * unsigned(elementSize), element,
                unsigned(elementSize));
    ++m_count;
    return true;
}
