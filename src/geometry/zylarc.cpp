#include "geometry/zylarc.h"

#include "geometry/zylbox.h"
#include "geometry/zylline.h"
#include "geometry/zylrectangle.h"

#include <algorithm>
#include <cmath>

namespace geometry
{
namespace
{
constexpr double pi = 3.14159265358979323846;
constexpr double degreesOfRadian = 57.29577951308232;
constexpr double radiansOfDegree = 0.017453292;
constexpr double radiansOfDegreeExactly = 0.017453292519943295;

/// One axis of an ellipse about the origin against the same axis of a box.
struct Extent {
    double low, high, radius;

    bool spans(double v) const { return low <= v && v <= high; }
};

/// Whether an arc passes an edge of a box. The edges stand at `across`, and run along the other
/// axis.
bool meetsEdges(const Arc2f& arc, const Extent& across, const Extent& along, bool isUpright)
{
    for (const double edge : {across.low, across.high}) {
        const double ratio = edge * edge / (across.radius * across.radius);
        if (!(ratio < 1))
            continue;
        if (edge == 0) {
            // The angles of the ellipse's extremes. These are radians, though degrees are asked
            // for; converting them would change which boxes meet which arcs.
            const double angleUp = isUpright ? 1.5707964 : 6.2831855;
            const double angleDown = isUpright ? 4.712389 : 3.1415927;
            if ((along.spans(along.radius) && arc.containsAngle(angleUp)) ||
                (along.spans(-along.radius) && arc.containsAngle(angleDown)))
                return true;
            continue;
        }
        const double other = std::sqrt((1 - ratio) * along.radius * along.radius);
        const double x = isUpright ? edge : other, y = isUpright ? other : edge;
        const double theta = std::abs(std::atan(y * arc.width / (x * arc.height)));
        const bool isLow = edge < 0;
        // The angle at plus and at minus the other coordinate.
        const double up = !isLow ? theta : isUpright ? pi - theta : 2 * pi - theta;
        const double down = isLow ? pi + theta : isUpright ? 2 * pi - theta : pi - theta;
        if ((along.spans(other) && arc.containsAngle(up * 57.29578)) ||
            (along.spans(-other) && arc.containsAngle(down * 57.29578)))
            return true;
    }
    return false;
}
} // namespace

Arc2f::Arc2f(const Rectangle& frame, float startAngle, float angularExtent, Type arcType)
    : x(frame.x), y(frame.y), width(frame.width), height(frame.height), start(startAngle),
      extent(angularExtent), type(arcType)
{
}

void Arc2f::setArcByCenter(const Vector2f& center, float radius, float startAngle,
                           float angularExtent, Type arcType)
{
    *this = Arc2f(Rectangle(center.x - radius, center.y - radius, radius * 2, radius * 2),
                  startAngle, angularExtent, arcType);
}

void Arc2f::setArcByTangent(const Vector2f& p1, const Vector2f& p2, const Vector2f& p3,
                            float radius)
{
    const Vector2d corner(p2), v1 = Vector2d(p1) - corner, v3 = Vector2d(p3) - corner;
    double a1 = std::atan2(v1.y, v1.x), a2 = std::atan2(v3.y, v3.x);
    if (a2 - a1 > pi)
        a2 -= 2 * pi;
    else if (a2 - a1 < -pi)
        a2 += 2 * pi;
    const double middle = (a1 + a2) / 2, half = std::abs(a2 - middle);
    const double distance = radius / std::sin(half);
    const Vector2d center = corner + Vector2d(std::cos(middle), std::sin(middle)) * distance;
    const double quarter = a1 < a2 ? -pi / 2 : pi / 2;
    a1 = (a1 + quarter) * degreesOfRadian;
    a2 = (a2 - quarter) * degreesOfRadian;
    const double turn = a2 - a1;
    setArcByCenter(Vector2f(center), radius, float(a1), float(turn >= 0 ? turn - 360 : turn + 360),
                   type);
}

/// The direction of a point from the center, in radians.
double Arc2f::angleOf(const Vector2f& p) const
{
    const Vector2f v = p - center();
    return std::atan2(double(v.y), double(v.x));
}

void Arc2f::setAngleStart(const Vector2f& p)
{
    start = float(angleOf(p) * degreesOfRadian);
}

void Arc2f::setAngles(const Vector2f& p1, const Vector2f& p2)
{
    const double a1 = angleOf(p1);
    double turn = angleOf(p2) - a1;
    if (turn <= 0)
        turn += 2 * pi;
    start = float(a1 * degreesOfRadian);
    extent = float(turn * degreesOfRadian);
}

Vector2f Arc2f::pointAt(double degrees) const
{
    const double a = degrees * radiansOfDegree;
    return Vector2f(float(x + (std::cos(a) * 0.5 + 0.5) * width),
                    float(y + (std::sin(a) * 0.5 + 0.5) * height));
}

double Arc2f::normalizeDegrees(double angle)
{
    if (angle > -180 && angle <= 180)
        return angle;
    if (angle > 180 && angle <= 540)
        return angle - 360;
    if (angle <= -180 && angle > -540)
        return angle + 360;
    angle = std::fmod(angle, 360.0);
    return angle == -180 ? 180 : angle;
}

bool Arc2f::containsAngle(double degrees) const
{
    const double e = std::abs(extent);
    if (e >= 360)
        return true;
    double d = normalizeDegrees(degrees) - normalizeDegrees(start);
    if (extent < 0)
        d = -d;
    if (d < 0)
        d += 360;
    return d >= 0 && d < e;
}

Box2f Arc2f::bounds() const
{
    if (isEmpty())
        return Box2f();
    Box2d unit;
    if (type == Pie)
        unit.include(0, 0);
    for (int i = 0; i < 6; ++i) {
        const double angle = i < 4 ? 90.0 * (i + 1) : i == 4 ? start : double(start) + extent;
        if (i >= 4 || containsAngle(angle))
            unit.include(std::cos(angle * radiansOfDegree), std::sin(angle * radiansOfDegree));
    }
    const auto mapped = [this](const Vector2d& p) {
        return Vector2f(float(x + (p.x * 0.5 + 0.5) * width),
                        float(y + (p.y * 0.5 + 0.5) * height));
    };
    return Box2f(mapped(unit.min), mapped(unit.max));
}

bool Arc2f::contains(const Vector2f& p) const
{
    if (isEmpty())
        return false;
    const double nx = (double(p.x) - x) / width - 0.5, ny = (double(p.y) - y) / height - 0.5;
    if (!(nx * nx + ny * ny < 0.25))
        return false;
    const double e = std::abs(extent);
    if (e >= 360)
        return true;
    const bool isInArc = containsAngle(std::atan2(ny, nx) * degreesOfRadian);
    if (type == Pie)
        return isInArc;
    if (isInArc ? e >= 180 : e <= 180)
        return isInArc;
    // The point is taken as it is and not as the place in the unit circle: results everywhere stand
    // on it.
    const double s = start * radiansOfDegreeExactly, end = s + extent * radiansOfDegreeExactly;
    const Line2f chord(float(std::cos(s)), float(std::sin(s)), float(std::cos(end)),
                       float(std::sin(end)));
    const bool isInside = chord.relativeCCW(p) * chord.relativeCCW(Vector2f(0, 0)) >= 0;
    return isInside != isInArc;
}

bool Arc2f::contains(const Box2f& box) const
{
    for (const Vector2f& corner :
         {box.min, Vector2f(box.max.x, box.min.y), box.max, Vector2f(box.min.x, box.max.y)})
        if (!contains(corner))
            return false;
    if (type != Pie || std::abs(extent) <= 180)
        return true;
    const Rectangle rectangle(box);
    return !rectangle.intersects(Line2f(center(), startPoint())) &&
           !rectangle.intersects(Line2f(center(), endPoint()));
}

bool Arc2f::intersects(const Box2f& box) const
{
    if (isEmpty())
        return false;
    for (const Vector2f& corner :
         {box.min, Vector2f(box.max.x, box.min.y), box.max, Vector2f(box.min.x, box.max.y)})
        if (contains(corner))
            return true;
    const double a = width * 0.5, b = height * 0.5;
    const double cx = x + a, cy = y + b;
    const Extent horizontal{box.min.x - cx, box.max.x - cx, a};
    const Extent vertical{box.min.y - cy, box.max.y - cy, b};
    return meetsEdges(*this, horizontal, vertical, true) ||
           meetsEdges(*this, vertical, horizontal, false);
}

PathIterator* Arc2f::getPathIterator() const
{
    return new ArcIterator(*this);
}

ArcIterator::ArcIterator(const Arc2f& arc)
    : m_x(arc.x + arc.width * 0.5), m_y(arc.y + arc.height * 0.5), m_radiusX(arc.width * 0.5),
      m_radiusY(arc.height * 0.5), m_start(arc.start * radiansOfDegree), m_lineCount(arc.type)
{
    const double e = std::abs(arc.extent);
    m_arcCount = e < 360 ? int(std::ceil(e / 90)) : 4;
    if (m_radiusX < 0 || m_radiusY < 0)
        m_arcCount = m_lineCount = -1;
    if (m_arcCount < 1)
        return;
    m_step = std::clamp(double(arc.extent), -360.0, 360.0) / m_arcCount * radiansOfDegreeExactly;
    const double rise = 1 - std::cos(m_step / 2), tangent = std::tan(m_step / 2);
    const double divisor = std::sqrt(tangent * tangent + 1) - 1 + rise;
    if (divisor != 0)
        m_control = rise * 1.3333333333333333 * tangent / divisor;
}

int ArcIterator::currentType() const
{
    if (isDone())
        return CloseSegment;
    return m_index == 0                          ? MoveSegment
           : m_index <= m_arcCount               ? CubicSegment
           : m_index == m_arcCount + m_lineCount ? CloseSegment
                                                 : LineSegment;
}

int ArcIterator::currentSegment(float* coords, unsigned int dimension) const
{
    const auto write = [&](double u, double v) {
        const float point[] = {float(m_x + u * m_radiusX), float(m_y + v * m_radiusY)};
        coords = std::copy(point, point + std::min(dimension, 2u), coords);
        coords += dimension - std::min(dimension, 2u);
    };
    const int type = currentType();
    if (type == MoveSegment) {
        write(std::cos(m_start), std::sin(m_start));
    } else if (type == LineSegment) {
        write(0, 0);
    } else if (type == CubicSegment) {
        const double a = m_start + m_step * (m_index - 1), b = a + m_step;
        const double cosA = std::cos(a), sinA = std::sin(a), cosB = std::cos(b), sinB = std::sin(b);
        write(cosA - m_control * sinA, sinA + m_control * cosA);
        write(cosB + m_control * sinB, sinB - m_control * cosB);
        write(cosB, sinB);
    }
    return type;
}
} // namespace geometry
