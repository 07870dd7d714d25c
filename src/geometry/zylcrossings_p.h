#pragma once

#include "geometry/zylbox.h"
#include "geometry/zylcrossings.h"
#include "geometry/zylpathiterator.h"

namespace geometry
{
/// Enters the edges of a walk in crossings.
class CrossingsVisitor
{
public:
    CrossingsVisitor(Crossings& crossings, const Box2f& box) : m_crossings(crossings), m_box(box) {}

    bool lines(const float* from, const float* to, unsigned stride, unsigned count)
    {
        const float ylo = m_box.min.y, xhi = m_box.max.x, yhi = m_box.max.y;
        float x0 = from[0], y0 = from[1];
        for (; count > 0; --count, to += stride) {
            const float x1 = to[0], y1 = to[1];
            // Most lines pass above, below or right of the box; bits instead of branches.
            const bool isBeside = (int(y0 >= yhi) & int(y1 >= yhi)) |
                                  (int(y0 <= ylo) & int(y1 <= ylo)) |
                                  (int(x0 >= xhi) & int(x1 >= xhi));
            if (!isBeside && m_crossings.accumulateLine(x0, y0, x1, y1))
                return true;
            x0 = x1;
            y0 = y1;
        }
        return false;
    }

    bool curve(const float* from, const float* points, unsigned stride, int degree)
    {
        double coords[2 * 256];
        for (int i = 0; i < degree; ++i, points += stride) {
            coords[2 * i] = points[0];
            coords[2 * i + 1] = points[1];
        }
        switch (degree) {
        case QuadSegment:
            return m_crossings.accumulateQuad(from[0], from[1], coords);
        case CubicSegment:
            return m_crossings.accumulateCubic(from[0], from[1], coords);
        default:
            return m_crossings.accumulateCurve(from[0], from[1], coords, degree);
        }
    }

private:
    Crossings& m_crossings;
    const Box2f m_box;
};
} // namespace geometry
