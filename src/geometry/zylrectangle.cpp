#include "geometry/zylrectangle.h"

#include "geometry/zylbox.h"
#include "geometry/zylline.h"

#include <qlogging.h>
#include <utility>

namespace geometry
{
namespace
{
enum Outcode { OutLeft = 1, OutRight = 2, OutBelow = 4, OutAbove = 8 };
constexpr int closeIndex = 4;
} // namespace

Rectangle::Rectangle(const Box2f& box)
    : Rectangle(box.min.x, box.min.y, box.max.x - box.min.x, box.max.y - box.min.y)
{
}

Box2f Rectangle::bounds() const
{
    return isEmpty() ? Box2f() : Box2f(x, y, x + width, y + height);
}

bool Rectangle::contains(const Vector2f& p) const
{
    return !isEmpty() && bounds().contains(p);
}

bool Rectangle::contains(const Box2f& box) const
{
    return !isEmpty() && !box.isEmpty() && bounds().contains(box.min) && bounds().contains(box.max);
}

bool Rectangle::intersects(const Box2f& box) const
{
    return !isEmpty() && !box.isEmpty() && bounds().intersects(box);
}

PathIterator* Rectangle::getPathIterator() const
{
    return new RectIterator(*this);
}

int Rectangle::outcode(const Vector2f& p) const
{
    int code = 0;
    if (!(width > 0))
        code |= OutLeft | OutRight;
    else
        code |= p.x < x ? OutLeft : p.x > x + width ? OutRight : 0;
    if (!(height > 0))
        code |= OutBelow | OutAbove;
    else
        code |= p.y < y ? OutBelow : p.y > y + height ? OutAbove : 0;
    return code;
}

bool Rectangle::intersects(const Line2f& line) const
{
    Vector2f p1 = line.p1, p2 = line.p2;
    int code1 = outcode(p1), code2 = outcode(p2);
    // Each end moves at most once to an edge of x and one of y. A further round is rounding about a
    // corner, which the line then touches.
    for (int round = 0; round < 8; ++round) {
        if (code1 & code2)
            return false;
        if (code1 == 0) {
            if (code2 == 0)
                return true;
            std::swap(p1, p2);
            std::swap(code1, code2);
        }
        if (code1 & (OutLeft | OutRight)) {
            const float edge = code1 & OutRight ? x + width : x;
            p1.y += (edge - p1.x) * (p2.y - p1.y) / (p2.x - p1.x);
            p1.x = edge;
        } else {
            const float edge = code1 & OutAbove ? y + height : y;
            p1.x += (edge - p1.y) * (p2.x - p1.x) / (p2.y - p1.y);
            p1.y = edge;
        }
        code1 = outcode(p1);
    }
    return true;
}

void Rectangle::setCoords(const Vector2f& p1, const Vector2f& p2)
{
    *this = Rectangle(Box2f(lo(p1, p2), hi(p1, p2)));
}

void Rectangle::include(const Vector2f& p)
{
    Box2f box = bounds();
    box.include(p);
    *this = Rectangle(box);
}

void Rectangle::include(const Rectangle& other)
{
    Box2f box = bounds();
    box.include(other.bounds());
    *this = Rectangle(box);
}

RectIterator::RectIterator(const Rectangle& rectangle)
    : m_rectangle(&rectangle), m_index(rectangle.isEmpty() ? closeIndex + 1 : 0)
{
}

int RectIterator::windingRule() const
{
    return NonZeroRule;
}

bool RectIterator::isDone() const
{
    return m_index > closeIndex;
}

void RectIterator::next()
{
    ++m_index;
}

int RectIterator::currentType() const
{
    return m_index >= closeIndex ? CloseSegment : m_index == 0 ? MoveSegment : LineSegment;
}

int RectIterator::currentSegment(float* coords, unsigned int dimension) const
{
    if (isDone()) {
        qWarning("rect iterator out of bounds");
        return CloseSegment;
    }
    if (m_index < closeIndex) {
        const Rectangle& r = *m_rectangle;
        const float point[] = {m_index == 1 || m_index == 2 ? r.x + r.width : r.x,
                               m_index >= 2 ? r.y + r.height : r.y};
        for (unsigned i = 0; i < dimension && i < 2; ++i)
            coords[i] = point[i];
    }
    return currentType();
}
} // namespace geometry
