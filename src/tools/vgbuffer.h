#pragma once

#include "toolkit/zylexport.h"

#include <qglobal.h>

/// Append buffer of raw elements that is never shared.
///
/// The element size isn't stored: every call that moves the elements is told it, always the same. A
/// buffer holds at most 2^31 - 1 elements and 2^32 bytes; growing beyond fails like any other lack
/// of memory.
class ZYL_EXPORT VGBuffer
{
public:
    VGBuffer() = default;
    /// Allocates when `capacity` is at least 1.
    VGBuffer(int capacity, int elementSize);
    VGBuffer(const VGBuffer&) = delete;
    VGBuffer& operator=(const VGBuffer&) = delete;
    virtual ~VGBuffer();

    char* data() const { return m_data; }
    unsigned capacity() const { return m_capacity; }
    /// How many elements are used.
    unsigned count() const { return m_count; }
    bool isEmpty() const { return m_count == 0; }

    void clear();

    /// Sets the capacity and cuts the used elements to it; 0 frees all. False, with nothing left,
    /// if there is no memory.
    bool resize(unsigned capacity, int elementSize);

    /// Copies one element, which must not lie in this buffer, behind the others. A full buffer
    /// grows to `2 * capacity + 1`. False if it can't.
    bool append(const void* element, int elementSize);

    /// Takes back the last `n` elements, or as many as there are.
    void revoke(unsigned n) { m_count -= n < m_count ? n : m_count; }

protected:
    /// Makes room in a full buffer.
    bool grow(int elementSize) { return resize(2 * m_capacity + 1, elementSize); }

    char* m_data = nullptr;
    quint32 m_capacity = 0;
    quint32 m_count = 0;
};
