#pragma once

#include "toolkit/zylexport.h"

namespace geometry
{
/// Helpers for the equation of a quadratic curve in one coordinate; coefficients stand from the
/// constant up.
class ZYL_EXPORT QuadCurve
{
public:
    static constexpr int degree = 2;

    /// The coefficients of the curve minus `val`.
    static void fillEqn(double* eqn, double val, double c1, double cp, double c2);
    /// Writes the real roots, which may go over the equation, and returns their count: -1 for a
    /// constant.
    static int solveQuadratic(const double* eqn, double* res);
    /// Replaces the parameters from 0 to 1 by the curve's values there and drops the others; the
    /// flags say whether 0 and 1 stay. With the equation in `inflect` those where it only touches
    /// go too. Returns the count.
    static int evalQuadratic(double* vals, int n, bool include0, bool include1,
                             const double* inflect, double c1, double cp, double c2);

    /// Where a coordinate lies: -2 below, -1 at the low end, 0 between, 1 at the high end, 2 above.
    static int getTag(double coord, double low, double high);
    /// Whether a point with one tag is inside, or on the edge with one of two others further in.
    static bool inwards(int pttag, int opt1tag, int opt2tag);
};

/// The same of a cubic curve.
class ZYL_EXPORT CubicCurve : public QuadCurve
{
public:
    static constexpr int degree = 3;

    static void fillEqn(double* eqn, double val, double c1, double cp1, double cp2, double c2);
    /// The value of a polynomial of degree `order`.
    static double solveEqn(const double* eqn, int order, double t);
    /// As `solveQuadratic`.
    static int solveCubic(const double* eqn, double* res);
    /// Moves those of three roots that lie within 1e-10 of 0 or 1 to the side that they belong to.
    static void fixRoots(const double* eqn, double* res);
    /// Follows the equation from `t` to a root near `target`, without passing it.
    static double findZero(double t, double target, const double* eqn);
    static int evalCubic(double* vals, int n, bool include0, bool include1, const double* inflect,
                         double c1, double cp1, double cp2, double c2);
};
} // namespace geometry
