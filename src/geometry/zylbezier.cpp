#include "geometry/zylbezier.h"

#include "tools/vmembuffer.h"

#include <algorithm>
#include <cmath>

namespace geometry
{
namespace
{
/// A part of the interval 0 to 1 that is still to be searched.
template <class T>
struct Piece {
    T from, width;
};

/// Counts the changes between negative and not negative, and tells the index before the first.
template <class T>
int signChanges(int order, const T* c, int& before)
{
    int changes = 0;
    for (int i = 0; i + 1 < order; ++i)
        if ((c[i] < 0) != (c[i + 1] < 0) && changes++ == 0)
            before = i;
    return changes;
}

/// Splits one dimension at the middle. `left` may be the coefficients themselves.
template <class T>
void halve(int order, const T* c, T* left, T* right)
{
    std::copy(c, c + order, right);
    for (int level = 0; level < order; ++level) {
        left[level] = right[0];
        for (int i = 0; i + level + 1 < order; ++i)
            right[i] = (right[i] + right[i + 1]) / 2;
    }
}

/// The place in 0 to 1 where a piece of one sign change passes 0.
template <class T>
T passOf(int order, const T* c, int before, T tolerance)
{
    const int last = order - 1;
    if (before == 0 && c[0] == 0)
        return 0;
    if (before + 1 == last && c[last] == 0)
        return 1;
    T t = T(0.5) / T(last) * T(2 * before + 1);
    if (c[before] == 0)
        t = T(before) / T(last);
    else if (c[before + 1] == 0)
        t = T(before + 1) / T(last);
    const bool startsBelow = c[0] < 0;
    T low = 0, high = 1;
    for (int round = 0; round < 64; ++round) {
        T value, slope;
        BezierCurve::evaluate(order, 1, c, t, &value, &slope);
        if (value == 0 || slope == 0)
            break;
        ((value < 0) == startsBelow ? low : high) = t;
        T next = t - value / slope;
        if (!(next >= low && next <= high))
            next = (low + high) / 2;
        const bool isClose = !(std::abs(next - t) > tolerance);
        t = next;
        if (isClose)
            break;
    }
    return t;
}
} // namespace

template <class T>
void BezierCurve::evaluate(int order, int dim, const T* points, T t, T* out)
{
    if (order < 2) {
        std::copy(points, points + dim, out);
        return;
    }
    // c is the binomial of the point times the power of t; the powers of 1 - t gather in out.
    const T u = 1 - t;
    T c = t * T(order - 1);
    for (int k = 0; k < dim; ++k)
        out[k] = c * points[dim + k] + u * points[k];
    for (int i = 2; i < order; ++i) {
        c *= T(order - i) / T(i) * t;
        for (int k = 0; k < dim; ++k)
            out[k] = c * points[i * dim + k] + u * out[k];
    }
}

template <class T>
void BezierCurve::evaluate(int order, int dim, const T* points, T t, T* out, T* deriv)
{
    evaluate(order, dim, points, t, out);
    if (order < 2) {
        std::fill(deriv, deriv + dim, T(0));
        return;
    }
    // The derivative is the curve of the differences, one degree lower.
    const T u = 1 - t;
    const auto difference = [&](int i, int k) {
        return (points[(i + 1) * dim + k] - points[i * dim + k]) * T(order - 1);
    };
    for (int k = 0; k < dim; ++k)
        deriv[k] = difference(0, k);
    T c = 1;
    for (int i = 1; i < order - 1; ++i) {
        c *= T(order - 1 - i) / T(i) * t;
        for (int k = 0; k < dim; ++k)
            deriv[k] = c * difference(i, k) + u * deriv[k];
    }
}

template <class T>
int BezierCurve::solve(int order, const T* coefficients, T tolerance, T* roots)
{
    int before = 0;
    const int changes = signChanges(order, coefficients, before);
    if (changes == 0)
        return 0;
    if (changes == 1) {
        roots[0] = passOf(order, coefficients, before, tolerance);
        return 1;
    }
    // The pieces still to be searched lie on a stack, the leftmost on top, their coefficients on
    // another.
    const T least = std::max(tolerance, T(1) / T(4503599627370496));
    VMemBuffer<Piece<T>> stack(16);
    VMemBuffer<T> pieces(16 * order);
    const auto push = [&](T from, T width, const T* c) {
        bool isDone = stack.append({from, width});
        for (int i = 0; i < order && isDone; ++i)
            isDone = pieces.append(c[i]);
        return isDone;
    };
    if (!push(0, 1, coefficients))
        return 0;
    int count = 0;
    while (!stack.isEmpty() && count < order - 1) {
        const unsigned top = stack.count() - 1;
        const Piece<T> piece = stack[top];
        T* const c = pieces.end() - order;
        const int found = signChanges(order, c, before);
        if (found > 1 && piece.width > least) {
            const T half = piece.width / 2;
            stack[top] = {piece.from + half, half};
            if (!push(piece.from, half, c))
                return 0;
            T* const left = pieces.end() - order;
            halve(order, left, left, left - order);
            continue;
        }
        if (found == 1)
            roots[count++] =
                piece.from + piece.width * passOf(order, c, before, tolerance / piece.width);
        else if (found > 1 && (c[0] < 0) != (c[order - 1] < 0))
            roots[count++] = piece.from;
        stack.revoke(1);
        pieces.revoke(unsigned(order));
    }
    return count;
}

template void BezierCurve::evaluate(int, int, const float*, float, float*);
template void BezierCurve::evaluate(int, int, const double*, double, double*);
template void BezierCurve::evaluate(int, int, const float*, float, float*, float*);
template void BezierCurve::evaluate(int, int, const double*, double, double*, double*);
template int BezierCurve::solve(int, const float*, float, float*);
template int BezierCurve::solve(int, const double*, double, double*);
} // namespace geometry
