#pragma once

#include "geometry/zylcurve.h"

namespace geometry
{
/// The point of a move.
class ZYL_EXPORT Order0 : public Curve
{
public:
    Order0(double px, double py) : Curve(Increasing), x(px), y(py) {}

    int getClassId() const override { return 0; }
    int getOrder() const override { return 0; }
    double getXTop() const override { return x; }
    double getYTop() const override { return y; }
    double getXBot() const override { return x; }
    double getYBot() const override { return y; }
    double getXMin() const override { return x; }
    double getXMax() const override { return x; }
    double getX0() const override { return x; }
    double getY0() const override { return y; }
    double getX1() const override { return x; }
    double getY1() const override { return y; }
    double XforY(double) const override { return x; }
    double TforY(double) const override { return 0; }
    double XforT(double) const override { return x; }
    double YforT(double) const override { return y; }
    double dXforT(double, int degree) const override { return degree == 0 ? x : 0; }
    double dYforT(double, int degree) const override { return degree == 0 ? y : 0; }
    double nextVertical(double, double t1) const override { return t1; }
    void enlarge(Rectangle& r) const override;
    Curve* getReversedCurve() override { return this; }
    using Curve::getSubCurve;
    Curve* getSubCurve(double, double, int) override { return this; }
    int getSegment(double* coords) const override;

    int crossingsFor(double, double) const { return 0; }
    bool accumulateCrossings(Crossings& c) const;

    double x, y;
};

/// What pieces with two ends share.
class ZYL_EXPORT EndedCurve : public Curve
{
public:
    double getXTop() const override { return x0; }
    double getYTop() const override { return y0; }
    double getXBot() const override { return x1; }
    double getYBot() const override { return y1; }
    double getXMin() const override { return xmin; }
    double getXMax() const override { return xmax; }
    double getX0() const override { return direction == Increasing ? x0 : x1; }
    double getY0() const override { return direction == Increasing ? y0 : y1; }
    double getX1() const override { return direction == Increasing ? x1 : x0; }
    double getY1() const override { return direction == Increasing ? y1 : y0; }

    double x0, y0, x1, y1, xmin, xmax;

protected:
    EndedCurve(double px0, double py0, double px1, double py1, int pathDirection);
    void includeX(double x);
};

class ZYL_EXPORT Order1 : public EndedCurve
{
public:
    Order1(double px0, double py0, double px1, double py1, int pathDirection)
        : EndedCurve(px0, py0, px1, py1, pathDirection)
    {
    }

    int getClassId() const override { return 1; }
    int getOrder() const override { return 1; }
    double XforY(double y) const override;
    double TforY(double y) const override;
    double XforT(double t) const override { return x0 + t * (x1 - x0); }
    double YforT(double t) const override { return y0 + t * (y1 - y0); }
    double dXforT(double t, int degree) const override;
    double dYforT(double t, int degree) const override;
    double nextVertical(double, double t1) const override { return t1; }
    void enlarge(Rectangle& r) const override;
    Curve* getReversedCurve() override;
    using Curve::getSubCurve;
    Curve* getSubCurve(double ystart, double yend, int dir) override;
    int getSegment(double* coords) const override;

    bool accumulateCrossings(Crossings& c) const;
    /// Two lines cross where their equations say; anything else goes the way of all curves.
    int compareTo(const Curve& that, double* yrange) const;
};

class ZYL_EXPORT Order2 : public EndedCurve
{
public:
    /// From the top to the bottom. The control point's height is held between the ends'.
    Order2(double px0, double py0, double cx0, double cy0, double px1, double py1,
           int pathDirection);

    /// Adds the one or two monotonic pieces of a curve in path order. The curve itself runs as
    /// told, `direction` says whether the path does too. `tmp` takes 10 numbers.
    static void insert(CurveVector& curves, double* tmp, double x0, double y0, double cx0,
                       double cy0, double x1, double y1, int direction);
    /// Writes where a coordinate turns, if it does strictly within 0 and 1, and returns how often.
    static int getHorizontalParams(double c0, double cp, double c1, double* ret);
    /// Splits the curve at `coords[pos]` in place into two that share the point between.
    static void split(double* coords, int pos, double t);
    /// A piece of six coordinates, turned to run down; null if its ends are level.
    static Order2* getInstance(const double* coords, int direction);

    int getClassId() const override { return 2; }
    int getOrder() const override { return 2; }
    double XforY(double y) const override;
    double TforY(double y) const override;
    double XforT(double t) const override;
    double YforT(double t) const override;
    double dXforT(double t, int degree) const override;
    double dYforT(double t, int degree) const override;
    double nextVertical(double t0, double t1) const override;
    void enlarge(Rectangle& r) const override;
    Curve* getReversedCurve() override;
    using Curve::getSubCurve;
    Curve* getSubCurve(double ystart, double yend, int dir) override;
    int getSegment(double* coords) const override;

    double ctrlX0, ctrlY0;
    double xPoly0, xPoly1, xPoly2, yPoly0, yPoly1, yPoly2;
};

class ZYL_EXPORT Order3 : public EndedCurve
{
public:
    /// From the top to the bottom. Neither control point's height may pass that of its own end.
    Order3(double px0, double py0, double cx0, double cy0, double cx1, double cy1, double px1,
           double py1, int pathDirection);

    /// As `Order2::insert`, with up to three pieces and 23 numbers in `tmp`.
    static void insert(CurveVector& curves, double* tmp, double x0, double y0, double cx0,
                       double cy0, double cx1, double cy1, double x1, double y1, int direction);
    /// Adds a piece of eight coordinates, turned to run down; nothing if its ends are level.
    static void addInstance(CurveVector& curves, const double* coords, int direction);
    static int getHorizontalParams(double c0, double cp0, double cp1, double c1, double* ret);
    static void split(double* coords, int pos, double t);

    int getClassId() const override { return 3; }
    int getOrder() const override { return 3; }
    double XforY(double y) const override;
    /// Throws QString for what isn't a height.
    double TforY(double y) const override;
    double XforT(double t) const override;
    double YforT(double t) const override;
    double dXforT(double t, int degree) const override;
    double dYforT(double t, int degree) const override;
    double nextVertical(double t0, double t1) const override;
    void enlarge(Rectangle& r) const override;
    Curve* getReversedCurve() override;
    using Curve::getSubCurve;
    Curve* getSubCurve(double ystart, double yend, int dir) override;
    int getSegment(double* coords) const override;

    /// Follows y from a root of its cubic equation near `t` to `target`; -1 if that lies outside 0
    /// to 1. The equation is t^3 + a t^2 + b t + c.
    double refine(double a, double b, double c, double target, double t) const;

    double ctrlX0, ctrlY0, ctrlX1, ctrlY1;
    double xPoly0, xPoly1, xPoly2, xPoly3, yPoly0, yPoly1, yPoly2, yPoly3;

private:
    double solveTforY(double y) const;
    double bisectTforY(double y) const;

    // The last answers of TforY, newest first: the same heights are asked for again and again.
    mutable double cachedT1, cachedY1, cachedT2, cachedY2, cachedT3, cachedY3;
};
} // namespace geometry
