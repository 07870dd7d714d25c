#pragma once

#include <cstring>

namespace geometry
{
/// Four adjacent numbers, such as a matrix row, in vector registers. Each operation works on every
/// number apart, so that results are to the bit those of the same plain loops.
template <class S>
class Row4
{
    typedef S Lane __attribute__((vector_size(16)));
    using Bits = decltype(Lane() > Lane()); // whole numbers as wide, all ones where it holds
    static constexpr int perLane = 16 / int(sizeof(S));
    static constexpr int lanes = 4 / perLane;

public:
    /// The places where something holds. It chooses and exchanges without a branch.
    class Mask
    {
    public:
        Row4 select(const Row4& a, const Row4& b) const
        {
            Row4 row;
            for (int i = 0; i < lanes; ++i)
                row.m_lanes[i] = m_bits[i] ? a.m_lanes[i] : b.m_lanes[i];
            return row;
        }
        void swap(Row4& a, Row4& b) const
        {
            for (int i = 0; i < lanes; ++i) {
                const Bits x = Bits(a.m_lanes[i]), y = Bits(b.m_lanes[i]);
                const Bits change = (x ^ y) & m_bits[i];
                a.m_lanes[i] = Lane(x ^ change);
                b.m_lanes[i] = Lane(y ^ change);
            }
        }
        Mask without(const Mask& other) const
        {
            Mask mask;
            for (int i = 0; i < lanes; ++i)
                mask.m_bits[i] = m_bits[i] & ~other.m_bits[i];
            return mask;
        }

    private:
        friend class Row4;
        Bits m_bits[lanes];
    };

    Row4() = default;
    /// The same number four times.
    explicit Row4(S value)
    {
        for (Lane& lane : m_lanes)
            lane = value - Lane{}; // minus zero keeps the sign of a zero
    }
    Row4(S x, S y, S z, S w)
    {
        const S numbers[] = {x, y, z, w};
        std::memcpy(m_lanes, numbers, sizeof(m_lanes));
    }
    static Row4 load(const S* from)
    {
        Row4 row;
        std::memcpy(row.m_lanes, from, sizeof(row.m_lanes));
        return row;
    }
    void store(S* to) const { std::memcpy(to, m_lanes, sizeof(m_lanes)); }
    /// Rows of three or four numbers. The fourth of three is 0, and isn't stored.
    static Row4 load(const S* from, int count)
    {
        return count == 4 ? load(from) : Row4(from[0], from[1], from[2], 0);
    }
    void store(S* to, int count) const { std::memcpy(to, m_lanes, std::size_t(count) * sizeof(S)); }

    S operator[](int i) const { return m_lanes[i / perLane][i % perLane]; }

    friend Row4 operator+(const Row4& a, const Row4& b)
    {
        return zip(a, b, [](Lane p, Lane q) { return p + q; });
    }
    friend Row4 operator-(const Row4& a, const Row4& b)
    {
        return zip(a, b, [](Lane p, Lane q) { return p - q; });
    }
    friend Row4 operator*(const Row4& a, const Row4& b)
    {
        return zip(a, b, [](Lane p, Lane q) { return p * q; });
    }
    friend Row4 operator/(const Row4& a, const Row4& b)
    {
        return zip(a, b, [](Lane p, Lane q) { return p / q; });
    }
    friend Row4 operator*(S factor, const Row4& row) { return Row4(factor) * row; }
    friend Row4 operator/(const Row4& row, S divisor) { return row / Row4(divisor); }
    Mask operator>(const Row4& other) const
    {
        Mask mask;
        for (int i = 0; i < lanes; ++i)
            mask.m_bits[i] = m_lanes[i] > other.m_lanes[i];
        return mask;
    }

private:
    template <class F>
    static Row4 zip(const Row4& a, const Row4& b, F f)
    {
        Row4 row;
        for (int i = 0; i < lanes; ++i)
            row.m_lanes[i] = f(a.m_lanes[i], b.m_lanes[i]);
        return row;
    }

    Lane m_lanes[lanes];
};
} // namespace geometry
