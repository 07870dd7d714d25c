#include "geometry/zylcurveorders.h"

#include "geometry/zylcrossings.h"
#include "geometry/zylcurveorders_p.h"
#include "geometry/zylquadcurve.h"
#include "geometry/zylrectangle.h"

#include <qstring.h>

#include <algorithm>
#include <cmath>

namespace geometry
{
namespace
{
constexpr double pi = 3.14159265358979323846;

/// The derivative of a polynomial whose coefficients stand from the constant up.
template <int order>
double derivative(const double (&poly)[order + 1], double t, int degree)
{
    double value = 0;
    for (int k = order; k >= degree; --k) {
        double factor = 1;
        for (int i = 0; i < degree; ++i)
            factor *= k - i;
        value = value * t + factor * poly[k];
    }
    return value;
}

/// Splits the Bezier curve of `points` points in place by repeated means.
template <int points>
void splitBezier(double* coords, double t)
{
    for (int axis = 0; axis < 2; ++axis) {
        double* const c = coords + axis;
        double row[points];
        for (int i = 0; i < points; ++i)
            row[i] = c[2 * i];
        for (int level = 0; level < points; ++level) {
            const int last = points - 1 - level;
            c[2 * level] = row[0];
            c[2 * (2 * points - 2 - level)] = row[last];
            for (int i = 0; i < last; ++i)
                row[i] += (row[i + 1] - row[i]) * t;
        }
    }
}

void includePoint(Rectangle& r, double x, double y)
{
    r.include(Vector2f(float(x), float(y)));
}

/// Cuts the part between two heights out of a piece's points, which take `order` more at the end.
/// Returns where the part stands.
template <class C>
double* cutOut(const C& curve, double* coords, double ystart, double yend)
{
    const double t0 = ystart <= curve.y0 ? 0 : curve.TforY(ystart);
    const double t1 = yend >= curve.y1 ? 1 : curve.TforY(yend);
    if (t1 < 1)
        C::split(coords, 0, t1);
    if (!(t0 > 0))
        return coords;
    C::split(coords, 0, t0 / t1);
    return coords + 2 * curve.getOrder();
}
} // namespace

void Order0::enlarge(Rectangle& r) const
{
    includePoint(r, x, y);
}

int Order0::getSegment(double* coords) const
{
    coords[0] = x;
    coords[1] = y;
    return 0;
}

bool Order0::accumulateCrossings(Crossings& c) const
{
    return x > c.xlo() && x < c.xhi() && y > c.ylo() && y < c.yhi();
}

EndedCurve::EndedCurve(double px0, double py0, double px1, double py1, int pathDirection)
    : Curve(pathDirection), x0(px0), y0(py0), x1(px1), y1(py1), xmin(std::min(px0, px1)),
      xmax(std::max(px0, px1))
{
}

void EndedCurve::includeX(double x)
{
    xmin = std::min(xmin, x);
    xmax = std::max(xmax, x);
}

double Order1::XforY(double y) const
{
    if (x0 == x1 || y <= y0)
        return x0;
    if (y >= y1)
        return x1;
    return x0 + (y - y0) * (x1 - x0) / (y1 - y0);
}

double Order1::TforY(double y) const
{
    return y <= y0 ? 0 : y >= y1 ? 1 : (y - y0) / (y1 - y0);
}

double Order1::dXforT(double t, int degree) const
{
    return degree == 0 ? XforT(t) : degree == 1 ? x1 - x0 : 0;
}

double Order1::dYforT(double t, int degree) const
{
    return degree == 0 ? YforT(t) : degree == 1 ? y1 - y0 : 0;
}

void Order1::enlarge(Rectangle& r) const
{
    includePoint(r, x0, y0);
    includePoint(r, x1, y1);
}

Curve* Order1::getReversedCurve()
{
    return new Order1(x0, y0, x1, y1, -direction);
}

Curve* Order1::getSubCurve(double ystart, double yend, int dir)
{
    if (ystart == y0 && yend == y1)
        return dir == direction ? this : getReversedCurve();
    return new Order1(XforY(ystart), ystart, XforY(yend), yend, dir);
}

int Order1::getSegment(double* coords) const
{
    coords[0] = getX1();
    coords[1] = getY1();
    return 1;
}

bool Order1::accumulateCrossings(Crossings& c) const
{
    return c.accumulateLine(x0, y0, x1, y1, direction);
}

Order2::Order2(double px0, double py0, double cx0, double cy0, double px1, double py1,
               int pathDirection)
    : EndedCurve(px0, py0, px1, py1, pathDirection), ctrlX0(cx0), ctrlY0(cy0 < py0   ? py0
                                                                         : cy0 > py1 ? py1
                                                                                     : cy0)
{
    includeX(ctrlX0);
    xPoly0 = x0;
    xPoly1 = ctrlX0 + ctrlX0 - x0 - x0;
    xPoly2 = x0 - ctrlX0 - ctrlX0 + x1;
    yPoly0 = y0;
    yPoly1 = ctrlY0 + ctrlY0 - y0 - y0;
    yPoly2 = y0 - ctrlY0 - ctrlY0 + y1;
}

void Order2::insert(CurveVector& curves, double* tmp, double x0, double y0, double cx0, double cy0,
                    double x1, double y1, int direction)
{
    pieces::ofQuad(tmp, x0, y0, cx0, cy0, x1, y1, direction, [&](const double* c, int dir) {
        if (const Order2* piece = getInstance(c, dir))
            curves.add(piece);
        return false;
    });
}

int Order2::getHorizontalParams(double c0, double cp, double c1, double* ret)
{
    if (c0 <= cp && cp <= c1)
        return 0;
    const double t = (c0 - cp) / ((c0 - cp) + (c1 - cp));
    if (!(t > 0 && t < 1))
        return 0;
    *ret = t;
    return 1;
}

void Order2::split(double* coords, int pos, double t)
{
    splitBezier<3>(coords + pos, t);
}

Order2* Order2::getInstance(const double* coords, int direction)
{
    const std::optional<Order2> piece = pieces::quadPiece(coords, direction);
    return piece ? new Order2(*piece) : nullptr;
}

double Order2::XforY(double y) const
{
    return y <= y0 ? x0 : y >= y1 ? x1 : XforT(TforY(y));
}

double Order2::TforY(double y) const
{
    if (y <= y0)
        return 0;
    if (y >= y1)
        return 1;
    const double eqn[] = {yPoly0 - y, yPoly1, yPoly2};
    double roots[2];
    const int count = QuadCurve::solveQuadratic(eqn, roots);
    if (std::any_of(roots, roots + std::max(count, 0), [](double t) { return t >= 0 && t <= 1; }))
        return firstValidRoot(roots, count);
    // Rounding has moved the root past an end, or a double one away: the nearer end it is.
    return y - y0 < y1 - y ? 0 : 1;
}

double Order2::XforT(double t) const
{
    return (xPoly2 * t + xPoly1) * t + xPoly0;
}

double Order2::YforT(double t) const
{
    return (yPoly2 * t + yPoly1) * t + yPoly0;
}

double Order2::dXforT(double t, int degree) const
{
    return derivative<2>({xPoly0, xPoly1, xPoly2}, t, degree);
}

double Order2::dYforT(double t, int degree) const
{
    return derivative<2>({yPoly0, yPoly1, yPoly2}, t, degree);
}

double Order2::nextVertical(double t0, double t1) const
{
    const double t = -xPoly1 / (2 * xPoly2);
    return t > t0 && t < t1 ? t : t1;
}

void Order2::enlarge(Rectangle& r) const
{
    includePoint(r, x0, y0);
    includePoint(r, ctrlX0, ctrlY0);
    includePoint(r, x1, y1);
}

Curve* Order2::getReversedCurve()
{
    return new Order2(x0, y0, ctrlX0, ctrlY0, x1, y1, -direction);
}

Curve* Order2::getSubCurve(double ystart, double yend, int dir)
{
    if (ystart <= y0 && yend >= y1)
        return dir == direction ? this : getReversedCurve();
    double coords[10] = {x0, y0, ctrlX0, ctrlY0, x1, y1};
    const double* const c = cutOut(*this, coords, ystart, yend);
    return new Order2(c[0], ystart, c[2], c[3], c[4], yend, dir);
}

int Order2::getSegment(double* coords) const
{
    coords[0] = ctrlX0;
    coords[1] = ctrlY0;
    coords[2] = getX1();
    coords[3] = getY1();
    return 2;
}

Order3::Order3(double px0, double py0, double cx0, double cy0, double cx1, double cy1, double px1,
               double py1, int pathDirection)
    : EndedCurve(px0, py0, px1, py1, pathDirection), ctrlX0(cx0), ctrlY0(cy0 < py0 ? py0 : cy0),
      ctrlX1(cx1), ctrlY1(cy1 > py1 ? py1 : cy1)
{
    // A monotonic piece may have a control point beyond the other end. Only what rounding can do is
    // undone here: holding both points between the ends would bend the curve.
    includeX(ctrlX0);
    includeX(ctrlX1);
    xPoly0 = x0;
    xPoly1 = (ctrlX0 - x0) * 3;
    xPoly2 = (ctrlX1 - ctrlX0 - ctrlX0 + x0) * 3;
    xPoly3 = x1 - (ctrlX1 - ctrlX0) * 3 - x0;
    yPoly0 = y0;
    yPoly1 = (ctrlY0 - y0) * 3;
    yPoly2 = (ctrlY1 - ctrlY0 - ctrlY0 + y0) * 3;
    yPoly3 = y1 - (ctrlY1 - ctrlY0) * 3 - y0;
    cachedT1 = 0;
    cachedY1 = y0;
    cachedT2 = cachedT3 = 1;
    cachedY2 = cachedY3 = y1;
}

void Order3::insert(CurveVector& curves, double* tmp, double x0, double y0, double cx0, double cy0,
                    double cx1, double cy1, double x1, double y1, int direction)
{
    pieces::ofCubic(tmp, x0, y0, cx0, cy0, cx1, cy1, x1, y1, direction,
                    [&](const double* c, int dir) {
                        addInstance(curves, c, dir);
                        return false;
                    });
}

void Order3::addInstance(CurveVector& curves, const double* coords, int direction)
{
    if (const std::optional<Order3> piece = pieces::cubicPiece(coords, direction))
        curves.add(new Order3(*piece));
}

int Order3::getHorizontalParams(double c0, double cp0, double cp1, double c1, double* ret)
{
    if (c0 <= cp0 && cp0 <= cp1 && cp1 <= c1)
        return 0;
    const double d0 = cp0 - c0, d1 = cp1 - cp0, d2 = c1 - cp1;
    const double eqn[] = {d0, (d1 - d0) * 2, d2 - d1 - d1 + d0};
    const int count = QuadCurve::solveQuadratic(eqn, ret);
    int kept = 0;
    for (int i = 0; i < count; ++i)
        if (ret[i] > 0 && ret[i] < 1)
            ret[kept++] = ret[i];
    return kept;
}

void Order3::split(double* coords, int pos, double t)
{
    splitBezier<4>(coords + pos, t);
}

double Order3::XforY(double y) const
{
    return y <= y0 ? x0 : y >= y1 ? x1 : XforT(TforY(y));
}

double Order3::TforY(double y) const
{
    if (y <= y0)
        return 0;
    if (y >= y1)
        return 1;
    if (y == cachedY1)
        return cachedT1;
    if (y == cachedY2)
        return cachedT2;
    if (y == cachedY3)
        return cachedT3;
    if (!(y > y0 && y < y1))
        throw QStringLiteral("bad y (%1, %2=>%3)").arg(y).arg(y0).arg(y1);
    double t = solveTforY(y);
    if (t < 0)
        t = bisectTforY(y);
    if (!(t >= 0 && t <= 1))
        throw QStringLiteral("bad t");
    cachedT3 = cachedT2;
    cachedY3 = cachedY2;
    cachedT2 = cachedT1;
    cachedY2 = cachedY1;
    cachedT1 = t;
    cachedY1 = y;
    return t;
}

/// Negative if the closed formulas lead nowhere.
double Order3::solveTforY(double y) const
{
    if (yPoly3 == 0) {
        const double eqn[] = {yPoly0 - y, yPoly1, yPoly2};
        double roots[2];
        const int count = QuadCurve::solveQuadratic(eqn, roots);
        const double t = firstValidRoot(roots, count);
        return t > 0 ? t : -1;
    }
    const double a = yPoly2 / yPoly3, b = yPoly1 / yPoly3, c = (yPoly0 - y) / yPoly3;
    const double q = (a * a - 3 * b) / 9;
    const double r = (2 * a * a * a - 9 * a * b + 27 * c) / 54;
    const double q3 = q * q * q;
    if (!(r * r < q3)) {
        const double root =
            std::pow(std::sqrt(r * r - q3) + std::abs(r), 0.3333333333333333) * (r < 0 ? 1 : -1);
        return refine(a, b, c, y, root + (root == 0 ? 0 : q / root) - a / 3);
    }
    const double theta = std::acos(r / std::sqrt(q3));
    const double m = -2 * std::sqrt(q);
    double t = -1;
    for (const double turn : {0.0, 2 * pi, -2 * pi})
        if (t < 0)
            t = refine(a, b, c, y, m * std::cos((theta + turn) / 3) - a / 3);
    return t;
}

double Order3::refine(double, double, double, double target, double t) const
{
    if (!(t >= -0.1 && t <= 1.1))
        return -1;
    double y = YforT(t);
    double low = y < target ? t : 0, high = y < target ? 1 : t;
    // Newton's steps only ever narrow the bracket, but can do so a grain at a time.
    for (int round = 0; round < 64 && y != target; ++round) {
        const double step = t + (target - y) / dYforT(t, 1);
        if (!(step > low && step < high) || step == t)
            break;
        t = step;
        y = YforT(t);
        (y < target ? low : high) = t;
    }
    while (y != target) {
        const double middle = (low + high) / 2;
        if (middle == low || middle == high)
            break;
        t = middle;
        y = YforT(t);
        (y < target ? low : high) = t;
    }
    return t > 1 ? -1 : t;
}

double Order3::bisectTforY(double y) const
{
    double low = 0, high = 1;
    for (;;) {
        const double t = (low + high) / 2;
        const double reached = YforT(t);
        if (t == low || t == high || reached == y)
            return t;
        (reached < y ? low : high) = t;
    }
}

double Order3::XforT(double t) const
{
    return ((xPoly3 * t + xPoly2) * t + xPoly1) * t + xPoly0;
}

double Order3::YforT(double t) const
{
    return ((yPoly3 * t + yPoly2) * t + yPoly1) * t + yPoly0;
}

double Order3::dXforT(double t, int degree) const
{
    return derivative<3>({xPoly0, xPoly1, xPoly2, xPoly3}, t, degree);
}

double Order3::dYforT(double t, int degree) const
{
    return derivative<3>({yPoly0, yPoly1, yPoly2, yPoly3}, t, degree);
}

double Order3::nextVertical(double t0, double t1) const
{
    const double eqn[] = {xPoly1, 2 * xPoly2, 3 * xPoly3};
    double roots[2];
    const int count = QuadCurve::solveQuadratic(eqn, roots);
    for (int i = 0; i < count; ++i)
        if (roots[i] > t0 && roots[i] < t1)
            t1 = roots[i];
    return t1;
}

void Order3::enlarge(Rectangle& r) const
{
    includePoint(r, x0, y0);
    includePoint(r, ctrlX0, ctrlY0);
    includePoint(r, ctrlX1, ctrlY1);
    includePoint(r, x1, y1);
}

Curve* Order3::getReversedCurve()
{
    return new Order3(x0, y0, ctrlX0, ctrlY0, ctrlX1, ctrlY1, x1, y1, -direction);
}

Curve* Order3::getSubCurve(double ystart, double yend, int dir)
{
    if (ystart <= y0 && yend >= y1)
        return dir == direction ? this : getReversedCurve();
    double coords[14] = {x0, y0, ctrlX0, ctrlY0, ctrlX1, ctrlY1, x1, y1};
    const double* const c = cutOut(*this, coords, ystart, yend);
    return new Order3(c[0], ystart, c[2], c[3], c[4], c[5], c[6], yend, dir);
}

int Order3::getSegment(double* coords) const
{
    const bool down = direction == Increasing;
    coords[0] = down ? ctrlX0 : ctrlX1;
    coords[1] = down ? ctrlY0 : ctrlY1;
    coords[2] = down ? ctrlX1 : ctrlX0;
    coords[3] = down ? ctrlY1 : ctrlY0;
    coords[4] = getX1();
    coords[5] = getY1();
    return 3;
}
} // namespace geometry
