#include "geometry/zylcurve.h"

#include "geometry/zylcrossings.h"
#include "geometry/zylcurveorders_p.h"
#include "tools/vexception.h"

#include <qlogging.h>
#include <qstring.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace geometry
{
namespace
{
std::int64_t bitsOf(double v)
{
    std::int64_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    return bits;
}

double fromBits(std::uint64_t bits)
{
    double v;
    std::memcpy(&v, &bits, sizeof v);
    return v;
}

QString backstepping(double from, double to)
{
    return QStringLiteral("backstepping from %1 to %2").arg(from).arg(to);
}

/// The middle of a part that is to be halved. Throws when no number lies between its ends.
double middleOf(double from, double to, const char* fromName, const char* toName,
                const char* failure)
{
    const double middle = (from + to) / 2;
    if (middle == from || middle == to) {
        qDebug("%s = %lf", fromName, from);
        qDebug("%s = %lf", toName, to);
        throw VException(failure);
    }
    return middle;
}
} // namespace

Curve::~Curve() = default;

int Curve::crossingsFor(double x, double y) const
{
    if (getClassId() == 0)
        return 0;
    if (y >= getYTop() && y < getYBot())
        if (x < getXMax() && (x < getXMin() || x < XforY(y)))
            return direction;
    return 0;
}

bool Curve::accumulateCrossings(Crossings& c) const
{
    if (getClassId() == 0)
        return static_cast<const Order0*>(this)->accumulateCrossings(c);
    if (getClassId() == 1)
        return static_cast<const Order1*>(this)->accumulateCrossings(c);
    if (getXMin() >= c.xhi())
        return false;
    double ystart = getYTop(), tstart = 0;
    if (ystart < c.ylo()) {
        if (getYBot() <= c.ylo())
            return false;
        ystart = c.ylo();
        tstart = TforY(ystart);
    } else if (ystart >= c.yhi()) {
        return false;
    }
    double yend = getYBot(), tend = 1;
    if (yend > c.yhi()) {
        yend = c.yhi();
        tend = TforY(yend);
    }
    bool hitLeft = false, hitRight = false;
    for (double t = tstart;;) {
        const double x = XforT(t);
        if (x < c.xhi()) {
            if (hitRight || x > c.xlo())
                return true;
            hitLeft = true;
        } else {
            if (hitLeft)
                return true;
            hitRight = true;
        }
        if (!(t < tend))
            break;
        t = nextVertical(t, tend);
    }
    if (hitLeft)
        c.record(ystart, yend, direction);
    return false;
}

int Curve::compareTo(const Curve& that, double* yrange) const
{
    if (getClassId() == 1)
        return static_cast<const Order1*>(this)->compareTo(that, yrange);
    return compareCurves(that, yrange);
}

int Curve::compareCurves(const Curve& that, double* yrange) const
{
    const double y0 = yrange[0];
    const double y1 = std::min({yrange[1], getYBot(), that.getYBot()});
    if (!(y1 > y0)) {
        qWarning("this == %p", static_cast<const void*>(this));
        qWarning("that == %p", static_cast<const void*>(&that));
        qDebug("target range = %lf=>%lf", yrange[0], yrange[1]);
        throw VException(backstepping(y0, y1));
    }
    yrange[1] = y1;
    if (getXMax() <= that.getXMin())
        return getXMin() == that.getXMax() ? 0 : -1;
    if (getXMin() >= that.getXMax())
        return 1;

    const auto parameter = [y0](const Curve& curve, double y) {
        const double t = curve.TforY(y), reached = curve.YforT(t);
        return reached < y0 ? curve.refineTforY(t, reached, y0) : t;
    };
    double s0 = parameter(*this, y0);
    const double s1 = parameter(*this, y1);
    double t0 = parameter(that, y0);
    const double t1 = parameter(that, y1);
    double xs0 = XforT(s0), ys0 = YforT(s0);
    double xt0 = that.XforT(t0), yt0 = that.YforT(t0);
    const double scale = std::max(std::abs(y0), std::abs(y1));
    const double ymin = std::max(scale * 1e-14, 1e-300);

    if (fairlyClose(xs0, xt0)) {
        const auto areClose = [&](double y) { return fairlyClose(XforY(y), that.XforY(y)); };
        const double maxbump = std::min(ymin * 1e13, (y1 - y0) * 0.1);
        double bump = ymin;
        double y = y0 + bump;
        while (y <= y1) {
            if (areClose(y)) {
                bump = std::min(bump * 2, maxbump);
            } else {
                y -= bump;
                for (bump /= 2; y + bump > y; bump /= 2)
                    if (areClose(y + bump))
                        y += bump;
                break;
            }
            if (!(y + bump > y))
                break;
            y += bump;
        }
        if (y > y0) {
            if (y < y1)
                yrange[1] = y;
            return 0;
        }
    }
    if (ymin <= 0)
        qDebug("ymin = %lf", ymin);

    while (s0 < s1 && t0 < t1) {
        const double sh = nextVertical(s0, s1), th = that.nextVertical(t0, t1);
        const double xsh = XforT(sh), ysh = YforT(sh);
        const double xth = that.XforT(th), yth = that.YforT(th);
        try {
            if (findIntersect(that, yrange, ymin, 0, 0, s0, xs0, ys0, sh, xsh, ysh, t0, xt0, yt0,
                              th, xth, yth))
                break;
        } catch (const VException& error) {
            qDebug("Error: %s", error.what());
            qDebug("y range was %lf=>%lf", yrange[0], yrange[1]);
            qDebug("s y range is %lf=>%lf", ys0, ysh);
            qDebug("t y range is %lf=>%lf", yt0, yth);
            qDebug("ymin is %lf", ymin);
            return 0;
        }
        const double yh = ysh < yth ? ysh : yth;
        if (yh > yrange[0]) {
            yrange[1] = std::min(yrange[1], yh);
            break;
        }
        if (ysh < yth) {
            s0 = sh;
            xs0 = xsh;
            ys0 = ysh;
        } else {
            t0 = th;
            xt0 = xth;
            yt0 = yth;
        }
    }
    const double ymid = (yrange[0] + yrange[1]) / 2;
    return orderof(XforY(ymid), that.XforY(ymid));
}

bool Curve::findIntersect(const Curve& that, double* yrange, double ymin, int slevel, int tlevel,
                          double s0, double xs0, double ys0, double s1, double xs1, double ys1,
                          double t0, double xt0, double yt0, double t1, double xt1,
                          double yt1) const
{
    constexpr double straight = 0.001;
    if (ys0 > yt1 || yt0 > ys1)
        return false;
    if (std::min(xs0, xs1) > std::max(xt0, xt1) || std::max(xs0, xs1) < std::min(xt0, xt1))
        return false;

    const bool halveS = s1 - s0 > straight, halveT = t1 - t0 > straight;
    if (halveS || halveT) {
        double s = 0, xs = 0, ys = 0, t = 0, xt = 0, yt = 0;
        if (halveS) {
            s = middleOf(s0, s1, "s0", "s1", "no s progress!");
            xs = XforT(s);
            ys = YforT(s);
        }
        if (halveT) {
            t = middleOf(t0, t1, "t0", "t1", "no t progress!");
            xt = that.XforT(t);
            yt = that.YforT(t);
        }
        enum Part { First, Second, Whole };
        const auto meet = [&](Part sPart, Part tPart) {
            return findIntersect(
                that, yrange, ymin, slevel + (sPart != Whole), tlevel + (tPart != Whole),
                sPart == Second ? s : s0, sPart == Second ? xs : xs0, sPart == Second ? ys : ys0,
                sPart == First ? s : s1, sPart == First ? xs : xs1, sPart == First ? ys : ys1,
                tPart == Second ? t : t0, tPart == Second ? xt : xt0, tPart == Second ? yt : yt0,
                tPart == First ? t : t1, tPart == First ? xt : xt1, tPart == First ? yt : yt1);
        };
        if (halveS && halveT)
            return (ys >= yt0 && yt >= ys0 && meet(First, First)) ||
                   (ys >= yt && meet(First, Second)) || (yt >= ys && meet(Second, First)) ||
                   (ys1 >= yt && yt1 >= ys && meet(Second, Second));
        if (halveS)
            return (ys >= yt0 && meet(First, Whole)) || (yt1 >= ys && meet(Second, Whole));
        return (yt >= ys0 && meet(Whole, First)) || (ys1 >= yt && meet(Whole, Second));
    }

    const double xlk = xs1 - xs0, ylk = ys1 - ys0;
    const double xnm = xt1 - xt0, ynm = yt1 - yt0;
    const double xmk = xt0 - xs0, ymk = yt0 - ys0;
    const double det = xnm * ylk - ynm * xlk;
    if (det == 0)
        return false;
    double s = (xnm * ymk - ynm * xmk) / det;
    double t = (xlk * ymk - ylk * xmk) / det;
    if (!(s >= 0 && s <= 1 && t >= 0 && t <= 1))
        return false;
    s = s0 + s * (s1 - s0);
    t = t0 + t * (t1 - t0);
    if (s < 0 || s > 1 || t < 0 || t > 1)
        qDebug("Uh oh!");
    const double y = (YforT(s) + that.YforT(t)) / 2;
    if (!(y <= yrange[1] && y > yrange[0]))
        return false;
    yrange[1] = y;
    return true;
}

double Curve::refineTforY(double t, double, double y0) const
{
    double t1 = 1;
    for (;;) {
        const double middle = (t + t1) / 2;
        if (middle == t || middle == t1)
            return t1;
        const double y = YforT(middle);
        if (y == y0)
            return middle;
        (y < y0 ? t : t1) = middle;
    }
}

bool Curve::fairlyClose(double a, double b)
{
    return std::abs(a - b) < std::max(std::abs(a), std::abs(b)) * 1e-10;
}

int Order1::compareTo(const Curve& that, double* yrange) const
{
    if (that.getClassId() != 1)
        return compareCurves(that, yrange);
    const Order1& other = static_cast<const Order1&>(that);
    if (!(yrange[1] > yrange[0]))
        throw QStringLiteral("yrange already screwed up...");
    yrange[1] = std::min({yrange[1], y1, other.y1});
    if (!(yrange[1] > yrange[0]))
        throw backstepping(yrange[0], yrange[1]);
    if (xmax <= other.xmin)
        return xmin == other.xmax ? 0 : -1;
    if (xmin >= other.xmax)
        return 1;
    const double dx = x1 - x0, dy = y1 - y0;
    const double otherDx = other.x1 - other.x0, otherDy = other.y1 - other.y0;
    const double denom = dy * otherDx - dx * otherDy;
    if (denom == 0) {
        const double y = std::max(y0, other.y0);
        return orderof(XforY(y), other.XforY(y));
    }
    const double y =
        ((x0 - other.x0) * dy * otherDy - y0 * dx * otherDy + other.y0 * otherDx * dy) / denom;
    // Above the crossing the line that runs further left as it goes down lies right. The sign of
    // denom is that of the difference of the slopes, whose two divisions would round.
    const int slopes = orderof(0, denom);
    if (!(y > yrange[0]))
        return slopes;
    yrange[1] = std::min(yrange[1], y);
    return -slopes;
}

void Curve::insertMove(CurveVector& curves, double x, double y)
{
    curves.add(new Order0(x, y));
}

void Curve::insertLine(CurveVector& curves, double x0, double y0, double x1, double y1)
{
    if (y0 < y1)
        curves.add(new Order1(x0, y0, x1, y1, Increasing));
    else if (y1 < y0)
        curves.add(new Order1(x1, y1, x0, y0, Decreasing));
}

void Curve::insertQuad(CurveVector& curves, double x0, double y0, const double* coords)
{
    double tmp[10];
    pieces::ofPathQuad(tmp, x0, y0, coords, [&](const double* c, int dir) {
        if (const Order2* piece = Order2::getInstance(c, dir))
            curves.add(piece);
        return false;
    });
}

void Curve::insertCubic(CurveVector& curves, double x0, double y0, const double* coords)
{
    double tmp[23];
    pieces::ofPathCubic(tmp, x0, y0, coords, [&](const double* c, int dir) {
        Order3::addInstance(curves, c, dir);
        return false;
    });
}

double Curve::firstValidRoot(const double* roots, int n)
{
    const double* const root =
        std::find_if(roots, roots + std::max(n, 0), [](double t) { return t >= 0 && t <= 1; });
    return root == roots + std::max(n, 0) ? 0 : *root;
}

std::int64_t Curve::signeddiffbits(double a, double b)
{
    return std::int64_t(std::uint64_t(bitsOf(a)) - std::uint64_t(bitsOf(b)));
}

std::int64_t Curve::diffbits(double a, double b)
{
    const std::int64_t difference = signeddiffbits(a, b);
    return difference < 0 ? std::int64_t(-std::uint64_t(difference)) : difference;
}

double Curve::prev(double v)
{
    return fromBits(std::uint64_t(bitsOf(v)) - 1);
}

double Curve::next(double v)
{
    return fromBits(std::uint64_t(bitsOf(v)) + 1);
}

QString Curve::controlPointString() const
{
    double coords[6];
    const int order = getSegment(coords);
    QString text;
    for (int i = 0; i + 1 < order; ++i)
        text += QStringLiteral("(%1, %2), ").arg(coords[2 * i]).arg(coords[2 * i + 1]);
    return text;
}

QString Curve::toString() const
{
    return QStringLiteral("Curve[%1, (%2, %3), ").arg(getOrder()).arg(getX0()).arg(getY0()) +
           controlPointString() +
           QStringLiteral("(%1, %2), %3]")
               .arg(getX1())
               .arg(getY1())
               .arg(QLatin1Char(direction == Increasing ? 'D' : 'U'));
}

void CurveVector::add(const Curve* curve)
{
    const unsigned used = count();
    if (used == size() && !resize(size() ? 2 * size() : 8)) {
        delete curve;
        return;
    }
    insert(used, const_cast<Curve*>(curve));
}
} // namespace geometry
