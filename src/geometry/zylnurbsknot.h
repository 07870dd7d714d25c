#pragma once

#include "tools/vmembuffer.h"

#include <memory>

namespace geometry
{
/// A knot value and how many knots lie there.
struct ZYL_EXPORT Breakpoint {
    float value;
    int multiplicity;
};

/// The breakpoints of a knot vector, and how its control points become those of Bezier segments.
///
/// Knots within 1e-5 of a breakpoint count as equal to it. The knots belong to the caller and are
/// used during `setValue` only.
class ZYL_EXPORT NurbsKnot : public VMemBuffer<Breakpoint>
{
public:
    /// Empty.
    NurbsKnot() = default;
    NurbsKnot(int order, int count, const float* knots) { setValue(order, count, knots); }

    /// Takes `count` knots, for count - order control points. False, and empty, for an order below
    /// 2, fewer points than the order, knots that descend or aren't finite, and without memory.
    bool setValue(int order, int count, const float* knots);
    void clear();

    int order() const { return m_order; }
    int knotCount() const { return m_count; }
    const float* knots() const { return m_knots; }
    /// The end of the curve; null if empty.
    const Breakpoint* last() const { return m_last; }
    /// How many points the start lacks to be an end of a Bezier segment.
    int extra() const { return m_extra; }
    int spanCount() const { return isEmpty() ? 0 : int(VGBuffer::count()) - 1; }
    /// The points of all segments together: each segment's last is the next one's first.
    int bezierCount() const { return isEmpty() ? 0 : spanCount() * (m_order - 1) + 1; }

    /// Replaces the control points by those of the Bezier segments, `bezierCount` from the first
    /// on. The array has room for them and for all control points. Where more equal knots than the
    /// degree part the curve, the end of the segment before stays.
    void insert(int dim, float* points) const;

private:
    bool breakpoints();
    bool factors();
    int multiplicityAt(int index) const;
    void dropIdle(int dim, float* points) const;

    int m_order = 0;
    int m_count = 0;
    const float* m_knots = nullptr;
    std::unique_ptr<float[]> m_factors;
    const Breakpoint* m_last = nullptr;
    int m_extra = 0;
    int m_factorCount = 0;
    int m_start = 0; // index of the last knot at the first breakpoint
    bool m_hasIdle = false;
};
} // namespace geometry
