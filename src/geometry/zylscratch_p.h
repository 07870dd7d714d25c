#pragma once

#include <cstdlib>
#include <type_traits>

namespace geometry
{
/// Unset numbers for one computation: a few stand on the stack, more come from `malloc`. Null
/// without memory.
template <class T, int Few>
class Scratch
{
    static_assert(std::is_trivially_copyable_v<T>, "elements are used as raw memory");

public:
    explicit Scratch(std::size_t count)
        : m_data(count <= Few ? m_few : static_cast<T*>(std::malloc(count * sizeof(T))))
    {
    }
    ~Scratch()
    {
        if (m_data != m_few)
            std::free(m_data);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    explicit operator bool() const { return m_data; }
    operator T*() { return m_data; }

private:
    T m_few[Few];
    T* m_data;
};
} // namespace geometry
