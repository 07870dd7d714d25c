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
    static constexpr int perLane = 16 / int(sizeof(S));
    static constexpr int lanes = 4 / perLane;

public:
    Row4() = default;
    /// The same number four times.
    explicit Row4(S value)
    {
        for (Lane& lane : m_lanes)
            lane = value - Lane{}; // minus zero keeps the sign of a zero
    }
    static Row4 load(const S* from)
    {
        Row4 row;
        std::memcpy(row.m_lanes, from, sizeof(row.m_lanes));
        return row;
    }
    void store(S* to) const { std::memcpy(to, m_lanes, sizeof(m_lanes)); }

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

    /// Of each place the number of `a` where that of `sign` is above 0, else of `b`.
    static Row4 wherePositive(const Row4& sign, const Row4& a, const Row4& b)
    {
        Row4 row;
        for (int i = 0; i < lanes; ++i)
            row.m_lanes[i] = sign.m_lanes[i] > Lane{} ? a.m_lanes[i] : b.m_lanes[i];
        return row;
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
