#pragma once

#include "tools/vgbuffer.h"

#include <type_traits>

/// Append buffer of plain values. Element access isn't checked; pointers hold until the buffer
/// grows.
template <class T>
class ZYL_EXPORT VMemBuffer : public VGBuffer
{
public:
    using value_type = T;

    VMemBuffer() = default;
    explicit VMemBuffer(int capacity) : VGBuffer(capacity, sizeof(T)) {}

    T* data() { return reinterpret_cast<T*>(m_data); }
    const T* data() const { return reinterpret_cast<const T*>(m_data); }
    T* begin() { return data(); }
    T* end() { return data() + m_count; }
    const T* begin() const { return data(); }
    const T* end() const { return data() + m_count; }
    T& operator[](unsigned index) { return data()[index]; }
    const T& operator[](unsigned index) const { return data()[index]; }

    /// See VGBuffer::resize.
    bool resize(unsigned capacity) { return VGBuffer::resize(capacity, sizeof(T)); }

    /// Appends a value, which may be one of this buffer. False if a full buffer can't grow.
    bool append(T value)
    {
        static_assert(std::is_trivially_copyable_v<T>, "elements move as bytes");
        if (Q_UNLIKELY(m_count == m_capacity) && !grow(sizeof(T)))
            return false;
        data()[m_count++] = value;
        return true;
    }
};

class ZYL_EXPORT VByteBuffer : public VMemBuffer<char>
{
public:
    using VMemBuffer::VMemBuffer;
};

class ZYL_EXPORT VIntegerBuffer : public VMemBuffer<int>
{
public:
    using VMemBuffer::VMemBuffer;
};
