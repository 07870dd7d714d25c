#include "geometry/zylquadcurve.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace geometry
{
namespace
{
constexpr double pi = 3.14159265358979323846;

/// Keeps the parameters in range and replaces them by the curve's value. `eqn` is the curve, and
/// `inflect` the equation that the parameters solve.
template <int degree>
int evaluateRoots(double* vals, int n, bool include0, bool include1, const double* inflect,
                  const double* eqn)
{
    int count = 0;
    for (int i = 0; i < n; ++i) {
        const double t = vals[i];
        if (!(include0 ? t >= 0 : t > 0) || !(include1 ? t <= 1 : t < 1))
            continue;
        if (inflect) {
            double slope = 0;
            for (int k = degree; k > 0; --k)
                slope = slope * t + k * inflect[k];
            if (slope == 0)
                continue;
        }
        vals[count++] = CubicCurve::solveEqn(eqn, degree, t);
    }
    return count;
}
} // namespace

void QuadCurve::fillEqn(double* eqn, double val, double c1, double cp, double c2)
{
    eqn[0] = c1 - val;
    eqn[1] = 2 * (cp - c1);
    eqn[2] = c1 - 2 * cp + c2;
}

int QuadCurve::solveQuadratic(const double* eqn, double* res)
{
    const double a = eqn[2], b = eqn[1], c = eqn[0];
    if (a == 0) {
        if (b == 0)
            return -1;
        res[0] = -c / b;
        return 1;
    }
    const double d = b * b - 4 * a * c;
    if (d < 0)
        return 0;
    // The sum of two numbers of one sign loses no digits; the other root follows from the product.
    const double q = (b + (b < 0 ? -std::sqrt(d) : std::sqrt(d))) / -2;
    res[0] = q / a;
    if (q == 0)
        return 1;
    res[1] = c / q;
    return 2;
}

int QuadCurve::evalQuadratic(double* vals, int n, bool include0, bool include1,
                             const double* inflect, double c1, double cp, double c2)
{
    double eqn[3];
    fillEqn(eqn, 0, c1, cp, c2);
    return evaluateRoots<2>(vals, n, include0, include1, inflect, eqn);
}

int QuadCurve::getTag(double coord, double low, double high)
{
    if (coord <= low)
        return coord < low ? -2 : -1;
    if (coord >= high)
        return coord > high ? 2 : 1;
    return 0;
}

bool QuadCurve::inwards(int pttag, int opt1tag, int opt2tag)
{
    switch (pttag) {
    case -1:
        return opt1tag >= 0 || opt2tag >= 0;
    case 0:
        return true;
    case 1:
        return opt1tag <= 0 || opt2tag <= 0;
    default:
        return false;
    }
}

void CubicCurve::fillEqn(double* eqn, double val, double c1, double cp1, double cp2, double c2)
{
    eqn[0] = c1 - val;
    eqn[1] = 3 * (cp1 - c1);
    eqn[2] = 3 * (cp2 - 2 * cp1 + c1);
    eqn[3] = 3 * (cp1 - cp2) + c2 - c1;
}

double CubicCurve::solveEqn(const double* eqn, int order, double t)
{
    double value = eqn[order];
    while (order-- > 0)
        value = value * t + eqn[order];
    return value;
}

int CubicCurve::solveCubic(const double* eqn, double* res)
{
    const double d = eqn[3];
    if (d == 0)
        return solveQuadratic(eqn, res);
    const double a = eqn[2] / d, b = eqn[1] / d, c = eqn[0] / d;
    const double q = (a * a - 3 * b) / 9;
    const double r = (2 * a * a * a - 9 * a * b + 27 * c) / 54;
    const double q3 = q * q * q;
    if (r * r < q3) {
        const double equation[] = {eqn[0], eqn[1], eqn[2], eqn[3]};
        const double theta = std::acos(r / std::sqrt(q3));
        const double m = -2 * std::sqrt(q);
        res[0] = m * std::cos(theta / 3) - a / 3;
        res[1] = m * std::cos((theta + 2 * pi) / 3) - a / 3;
        res[2] = m * std::cos((theta - 2 * pi) / 3) - a / 3;
        fixRoots(equation, res);
        return 3;
    }
    const double root =
        std::pow(std::sqrt(r * r - q3) + std::abs(r), 0.3333333333333333) * (r < 0 ? 1 : -1);
    res[0] = root + (root == 0 ? 0 : q / root) - a / 3;
    return 1;
}

void CubicCurve::fixRoots(const double* eqn, double* res)
{
    constexpr double near = 1e-10;
    for (int i = 0; i < 3; ++i)
        for (const double target : {0.0, 1.0})
            if (std::abs(res[i] - target) < near) {
                res[i] = findZero(res[i], target, eqn);
                break;
            }
}

double CubicCurve::findZero(double t, double target, const double* eqn)
{
    constexpr double least = std::numeric_limits<double>::min();
    const double slopes[] = {eqn[1], 2 * eqn[2], 3 * eqn[3]};
    const double start = t;
    const double firstSlope = solveEqn(slopes, 2, t);
    // Between two extremes the steps can go round for ever.
    for (int round = 0; round < 64; ++round) {
        const double slope = solveEqn(slopes, 2, t);
        if (slope == 0)
            return t;
        const double value = solveEqn(eqn, 3, t);
        if (value == 0)
            return t;
        const double delta = -value / slope;
        if (t == target)
            return delta > 0 ? target + least : target - least;
        if (t < target ? delta < 0 : delta > 0)
            return t;
        const double next = t + delta;
        if (next == t)
            return t;
        if (solveEqn(slopes, 2, next) * firstSlope < 0) {
            if (getTag(target, std::min(t, next), std::max(t, next)) == 0)
                return (start + next) / 2;
            t = target;
        } else {
            t = next;
        }
    }
    return t;
}

int CubicCurve::evalCubic(double* vals, int n, bool include0, bool include1, const double* inflect,
                          double c1, double cp1, double cp2, double c2)
{
    double eqn[4];
    fillEqn(eqn, 0, c1, cp1, cp2, c2);
    return evaluateRoots<3>(vals, n, include0, include1, inflect, eqn);
}
} // namespace geometry
