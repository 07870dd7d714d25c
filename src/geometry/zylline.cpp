#include "geometry/zylline.h"

#include "geometry/zylbox.h"
#include "geometry/zylrectangle.h"

#include <qlogging.h>

namespace geometry
{
Box2f Line2f::bounds() const
{
    return Box2f(lo(p1, p2), hi(p1, p2));
}

bool Line2f::contains(const Vector2f&) const
{
    return false;
}

bool Line2f::contains(const Box2f&) const
{
    return false;
}

bool Line2f::intersects(const Box2f& box) const
{
    return Rectangle(box).intersects(*this);
}

PathIterator* Line2f::getPathIterator() const
{
    return new Line2fIterator(*this);
}

int Line2f::relativeCCW(const Vector2f& p) const
{
    const Vector2f v = p2 - p1, w = p - p1;
    float ccw = v.x * w.y - v.y * w.x;
    if (ccw == 0) {
        ccw = dot(w, v);
        if (ccw > 0) {
            ccw = dot(w - v, v);
            if (ccw < 0)
                ccw = 0;
        }
    }
    return int(ccw > 0) - int(ccw < 0);
}

bool Line2f::intersects(const Line2f& other) const
{
    return relativeCCW(other.p1) * relativeCCW(other.p2) < 1 &&
           other.relativeCCW(p1) * other.relativeCCW(p2) < 1;
}

float Line2f::ptSegDistSq(const Vector2f& p) const
{
    const Vector2f v = p2 - p1, w = p - p1;
    if (dot(v, w) <= 0)
        return dot(w, w);
    const Vector2f w2 = v - w;
    const float along = dot(w2, v);
    if (along <= 0)
        return dot(w2, w2);
    return dot(w2, w2) - along * along / dot(v, v);
}

float Line2f::ptLineDistSq(const Vector2f& p) const
{
    const Vector2f v = p2 - p1, w = p - p1;
    const float along = dot(v, w);
    return dot(w, w) - along * along / dot(v, v);
}

Box3f Line3f::bounds() const
{
    return Box3f(lo(p1, p2), hi(p1, p2));
}

bool Line3f::contains(const Vector3f&) const
{
    return false;
}

bool Line3f::contains(const Box3f&) const
{
    return false;
}

bool Line3f::intersects(const Box3f&) const
{
    return false;
}

PathIterator* Line3f::getPathIterator() const
{
    return new Line3fIterator(*this);
}

template <class L>
int LineIterator<L>::currentSegment(float* coords, unsigned int dimension) const
{
    if (isDone()) {
        qWarning("line iterator out of bounds");
        return CloseSegment;
    }
    constexpr unsigned coordinates = sizeof(L::p1) / sizeof(float);
    const unsigned count = dimension < coordinates ? coordinates : dimension;
    for (unsigned i = 0; i < count; ++i) {
        const unsigned at = i + unsigned(m_index) * coordinates;
        if (at < coordinates)
            coords[i] = m_line->p1[int(at)];
        else
            coords[i] = at < 2 * coordinates ? m_line->p2[int(at - coordinates)] : 0;
    }
    return m_index;
}

template class LineIterator<Line2f>;
template class LineIterator<Line3f>;
} // namespace geometry
