#pragma once

#include "geometry/zylforward.h"
#include "tools/vptrvector.h"

#include <cstdint>

class QString;

namespace geometry
{
class Crossings;
class CurveVector;
class GeneralPath2f;
class Rectangle;

/// A piece of a path that is monotonic in y, kept from its top (the lower y) to its bottom.
///
/// Pieces are compared for which lies left of the other; see `Order0` to `Order3`. A piece stays on
/// one thread, since `Order3` keeps a cache.
class ZYL_EXPORT Curve
{
public:
    /// Whether the path runs down the piece, towards growing y, or was turned round to store it.
    enum Direction { Increasing = 1, Decreasing = -1 };

    explicit Curve(int pathDirection) : direction(pathDirection) {}

    /// The kind of piece: its order.
    virtual int getClassId() const = 0;
    virtual int getOrder() const = 0;
    virtual double getXTop() const = 0;
    virtual double getYTop() const = 0;
    virtual double getXBot() const = 0;
    virtual double getYBot() const = 0;
    /// Limits that hold for the control points too.
    virtual double getXMin() const = 0;
    virtual double getXMax() const = 0;
    // The ends in the path's own order.
    virtual double getX0() const = 0;
    virtual double getY0() const = 0;
    virtual double getX1() const = 0;
    virtual double getY1() const = 0;
    virtual double XforY(double y) const = 0;
    virtual double TforY(double y) const = 0;
    virtual double XforT(double t) const = 0;
    virtual double YforT(double t) const = 0;
    /// The derivative of a degree; 0 is the value itself.
    virtual double dXforT(double t, int degree) const = 0;
    virtual double dYforT(double t, int degree) const = 0;
    /// The first t after `t0` where the piece is upright, or `t1`.
    virtual double nextVertical(double t0, double t1) const = 0;
    virtual void enlarge(Rectangle& r) const = 0;
    /// A new piece of the other direction, or this one if it has none.
    virtual Curve* getReversedCurve() = 0;
    /// The part between two heights. A new piece, or this one if it already is that: compare before
    /// deleting.
    virtual Curve* getSubCurve(double ystart, double yend, int dir) = 0;
    /// Writes the points after the first in path order and returns the segment type; of a point,
    /// the point.
    virtual int getSegment(double* coords) const = 0;
    virtual ~Curve();

    Curve* getSubCurve(double ystart, double yend) { return getSubCurve(ystart, yend, direction); }
    /// The crossing that a ray from a point towards growing x makes with this piece, signed by the
    /// direction, or 0.
    int crossingsFor(double x, double y) const;
    /// Enters the piece where it passes left of the box. True if it comes into the box.
    bool accumulateCrossings(Crossings& c) const;
    /// Which of two pieces lies left from `yrange[0]` down: -1 this, 1 that, 0 where they coincide.
    /// Shortens `yrange[1]` to where the answer ends.
    ///
    /// Throws VException, or QString between two lines, when the pieces have no height in common
    /// below `yrange[0]`.
    int compareTo(const Curve& that, double* yrange) const;
    /// Cuts `yrange[1]` to the first height where the parts s0 to s1 of this and t0 to t1 of that
    /// piece cross. False if they don't.
    bool findIntersect(const Curve& that, double* yrange, double ymin, int slevel, int tlevel,
                       double s0, double xs0, double ys0, double s1, double xs1, double ys1,
                       double t0, double xt0, double yt0, double t1, double xt1, double yt1) const;
    /// The smallest t from `t` on whose height isn't above `y0`; `yt` is the height at `t`.
    double refineTforY(double t, double yt, double y0) const;
    /// Equal but for rounding. Nothing is fairly close to 0, not even 0.
    static bool fairlyClose(double a, double b);

    static void insertMove(CurveVector& curves, double x, double y);
    /// Level lines and level curves add nothing.
    static void insertLine(CurveVector& curves, double x0, double y0, double x1, double y1);
    static void insertQuad(CurveVector& curves, double x0, double y0, const double* coords);
    static void insertCubic(CurveVector& curves, double x0, double y0, const double* coords);

    // The signed crossings of the positive x axis by a segment with its points at x[i], y[i]: 1 for
    // each towards growing y. A segment that ends on the axis counts as ending beyond it.
    static int crossingsForLine(const float* x, const float* y);
    static int crossingsForQuad(const float* x, const float* y);
    static int crossingsForCubic(const float* x, const float* y);
    /// The signed crossings of a ray from a point with a path, its subpaths closed. 0 if the path's
    /// types need more points than there are.
    static int crossingsForPath(const GeneralPath2f& path, const Vector2f& p);

    static double round(double v) { return v; }
    /// The first of `n` roots within 0 to 1, or 0.
    static double firstValidRoot(const double* roots, int n);
    static int orderof(double a, double b) { return a < b ? -1 : a > b ? 1 : 0; }
    /// How many numbers further `a` is than `b`, for numbers of one sign.
    static std::int64_t signeddiffbits(double a, double b);
    static std::int64_t diffbits(double a, double b);
    static double prev(double v);
    static double next(double v);

    QString toString() const;
    QString controlPointString() const;

    int direction;

protected:
    int compareCurves(const Curve& that, double* yrange) const;
};

/// Pieces, which it owns.
class ZYL_EXPORT CurveVector : public VPtrVector<Curve>
{
public:
    CurveVector() { setAutoDelete(true); }
    CurveVector(const CurveVector&) = delete;
    CurveVector& operator=(const CurveVector&) = delete;
    ~CurveVector() override { VPtrVector<Curve>::clear(); }

    /// Puts a piece behind the others, doubling the slots when all are taken.
    void add(const Curve* curve);
};
} // namespace geometry
