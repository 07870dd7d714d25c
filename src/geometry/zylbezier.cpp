#include "geometry/zylbezier.h"

#include "geometry/gvector.h"
#include "geometry/zylnumber.h"
#include "geometry/zylscratch_p.h"
#include "geometry/zylvectorarray.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace geometry
{
namespace
{
/// The curve of the points `point(i, k)` by growing binomial factors, which needs no powers.
template <class S, class Point>
void bernstein(int order, int dim, Point point, S t, S* out)
{
    if (order < 2) {
        for (int k = 0; k < dim; ++k)
            out[k] = point(0, k);
        return;
    }
    const S rest = 1 - t;
    S c = t * S(order - 1);
    for (int k = 0; k < dim; ++k)
        out[k] = c * point(1, k) + rest * point(0, k);
    for (int i = 2; i < order; ++i) {
        c = S(order - i) / S(i) * t * c;
        for (int k = 0; k < dim; ++k)
            out[k] = c * point(i, k) + rest * out[k];
    }
}

/// The same for a fixed order, by its basis functions.
template <int Order, class S>
void weigh(int dim, const S* points, S t, S* out)
{
    static_assert(Order == 3 || Order == 4);
    const S u = 1 - t;
    const S* const a = points;
    const S* const b = a + dim;
    const S* const c = b + dim;
    if constexpr (Order == 3) {
        const S w0 = u * u, w1 = 2 * u * t, w2 = t * t;
        for (int k = 0; k < dim; ++k)
            out[k] = w0 * a[k] + w1 * b[k] + w2 * c[k];
    } else {
        const S* const d = c + dim;
        const S w0 = u * u * u, w1 = 3 * u * u * t, w2 = 3 * u * t * t, w3 = t * t * t;
        for (int k = 0; k < dim; ++k)
            out[k] = w0 * a[k] + w1 * b[k] + w2 * c[k] + w3 * d[k];
    }
}

/// Calls `evaluate(t, out)` for a range in even steps.
template <class S, class Evaluate>
int walk(int dim, S t0, S t1, S step, S* out, Evaluate evaluate)
{
    if (!(step > 0))
        return 0;
    const double steps = std::floor((double(t1) - double(t0)) / double(step) + 0.001);
    if (!(steps >= 0 && steps < std::numeric_limits<int>::max()))
        return 0;
    const int count = int(steps) + 1;
    for (int i = 0; i < count; ++i, out += dim)
        evaluate(t0 + S(i) * step, out);
    return count;
}

/// Appends a point in the buffer's own type.
template <class S>
bool append(VectorBuffer& buffer, int dim, const S* point, char* item)
{
    const auto convert = [&](auto* numbers) {
        using T = std::remove_pointer_t<decltype(numbers)>;
        for (int k = 0; k < dim; ++k)
            numbers[k] = toNumber<T>(point[k]);
        return buffer.append(item);
    };
    switch (buffer.flags() & GVector::typeMask) {
    case GVector::Int:
        return convert(reinterpret_cast<int*>(item));
    case GVector::Float:
        return convert(reinterpret_cast<float*>(item));
    case GVector::Double:
        return convert(reinterpret_cast<double*>(item));
    default:
        return false;
    }
}

template <class S, class Evaluate>
int appendSteps(int order, const S* points, int steps, VectorBuffer& buffer, Evaluate evaluate)
{
    if ((buffer.flags() & GVector::typeMask) == GVector::Bytes)
        return -1;
    const int dim = std::max(1, buffer.dimension());
    const int last = std::max(order, 1) - 1;
    if (last == 0)
        steps = 1;
    if (steps < 1)
        return 0;
    // Grown at once, but never by less than the buffer itself would grow.
    const unsigned needed = buffer.count() + unsigned(steps);
    if (needed > buffer.capacity() && !buffer.resize(std::max(needed, 2 * buffer.capacity() + 1)))
        return -1;
    const auto width = std::size_t(dim);
    Scratch<S, 16> point(width);
    Scratch<double, 16> item(width); // as wide as the widest type
    if (!point || !item)
        return -1;
    char* const bytes = reinterpret_cast<char*>(static_cast<double*>(item));
    for (int i = 1; i < steps; ++i) {
        evaluate(dim, S(i) / S(steps), point);
        if (!append<S>(buffer, dim, point, bytes))
            return -1;
    }
    return append(buffer, dim, points + std::ptrdiff_t(last) * dim, bytes) ? steps : -1;
}

/// Divides the polynomial of one coordinate or more; the right half grows out of a copy.
template <class S>
void splitTo(int order, int dim, S t, S* left, S* right)
{
    const S rest = 1 - t;
    for (int level = 0; level < order; ++level) {
        std::copy_n(right, dim, left + std::ptrdiff_t(level) * dim);
        const std::ptrdiff_t length = std::ptrdiff_t(order - 1 - level) * dim;
        for (std::ptrdiff_t i = 0; i < length; ++i)
            right[i] = rest * right[i] + t * right[i + dim];
    }
}

// The sign of a coefficient is that of the test y < 0, so that a zero belongs to one side and a
// root where two pieces meet is found in one of them.
template <class S>
bool isNegative(S y)
{
    return y < 0;
}

/// Counts the changes of sign; `at` is the index in front of the last.
template <class S>
int signChanges(int order, const S* c, int& at)
{
    int changes = 0;
    for (int i = 0; i + 1 < order; ++i) {
        if (isNegative(c[i]) != isNegative(c[i + 1])) {
            ++changes;
            at = i;
        }
    }
    return changes;
}

/// Follows the only root of a piece by Newton's rule, in the piece's own parameter. Steps that
/// leave the piece, or have no slope to go by, halve what is left of it.
template <class S>
S polish(int order, const S* c, S t, S tolerance)
{
    constexpr S slack = 4 * std::numeric_limits<S>::epsilon();
    const bool startSign = isNegative(c[0]);
    S low = 0, high = 1;
    for (int round = 0; round < 64; ++round) {
        S value, slope;
        BezierCurve::evaluate(order, 1, c, t, &value, &slope);
        if (value == 0)
            break;
        (isNegative(value) == startSign ? low : high) = t;
        S next = t - value / slope;
        if (!std::isfinite(slope) || !(next >= low - slack && next <= high + slack))
            next = low + (high - low) / 2;
        next = std::clamp(next, S(0), S(1));
        const S step = std::abs(next - t);
        t = next;
        if (step <= tolerance)
            break;
    }
    return t;
}

/// The root of a piece with one change of sign behind coefficient `at`.
template <class S>
S rootOf(int order, const S* c, int at, S tolerance)
{
    int first = at, last = at + 1;
    if (c[at] == 0) {
        while (first > 0 && c[first - 1] == 0)
            --first;
        if (first == 0)
            return 0;
        last = at;
    } else if (c[at + 1] == 0) {
        while (last + 1 < order && c[last + 1] == 0)
            ++last;
        if (last == order - 1)
            return 1;
        first = at + 1;
    }
    // Between the two coefficients, or in the middle of a run of zeros.
    return polish(order, c, S(0.5) / S(order - 1) * S(first + last), tolerance);
}

/// The length of the derivative of a plain curve.
template <class S>
S speed(int order, int dim, const S* points, S t, S* scratch)
{
    BezierCurve::evaluate(order, dim, points, t, scratch, scratch + dim);
    S sum = 0;
    for (int k = 0; k < dim; ++k)
        sum += scratch[dim + k] * scratch[dim + k];
    return std::sqrt(sum);
}

/// The same with the weight, the last number, divided out.
template <class S>
S rationalSpeed(int order, int dim, const S* points, S t, S* scratch)
{
    BezierCurve::evaluate(order, dim, points, t, scratch, scratch + dim);
    const S weight = scratch[dim - 1], weightSlope = scratch[2 * dim - 1];
    S sum = 0;
    for (int k = 0; k < dim - 1; ++k) {
        const S part = (scratch[dim + k] - scratch[k] / weight * weightSlope) / weight;
        sum += part * part;
    }
    return std::sqrt(sum);
}
} // namespace

template <class S>
void BezierCurve::evaluate(int order, int dim, const S* points, Argument<S> t, S* out)
{
    bernstein(
        order, dim, [=](int i, int k) { return points[std::ptrdiff_t(i) * dim + k]; }, t, out);
}

template <class S>
void BezierCurve::evaluate(int order, int dim, const S* points, Argument<S> t, S* out, S* deriv)
{
    evaluate(order, dim, points, t, out);
    if (order < 2) {
        std::fill_n(deriv, std::max(dim, 0), S(0));
        return;
    }
    const S degree = S(order - 1);
    bernstein(
        order - 1, dim,
        [=](int i, int k) {
            const S* const point = points + std::ptrdiff_t(i) * dim + k;
            return degree * (point[dim] - *point);
        },
        t, deriv);
}

template <class S>
void BezierCurve::split(int order, int dim, const S* points, Argument<S> t, S* out)
{
    if (order < 1 || dim < 1)
        return;
    S* const right = out + std::ptrdiff_t(order - 1) * dim;
    std::copy_backward(points, points + std::ptrdiff_t(order) * dim,
                       right + std::ptrdiff_t(order) * dim);
    splitTo(order, dim, S(t), out, right);
}

template <class S>
int BezierCurve::solve(int order, const S* coefficients, Argument<S> tolerance, S* roots)
{
    if (order < 2 ||
        !std::all_of(coefficients, coefficients + order, [](S c) { return std::isfinite(c); }))
        return 0;
    int at = 0;
    const int changes = signChanges(order, coefficients, at);
    if (changes == 0)
        return 0;
    if (changes == 1) {
        roots[0] = rootOf(order, coefficients, at, S(tolerance));
        return 1;
    }

    // Each split puts the left half on top of what is left of the right ones, so that roots come in
    // order and the stack is no higher than the narrowest piece is deep.
    constexpr double narrowest = 1.0 / (quint64(1) << 52);
    constexpr int height = 54;
    struct Piece {
        double start, width;
    };
    Piece pieces[height];
    Scratch<S, height * 8> stack(std::size_t(height) * std::size_t(order));
    if (!stack)
        return 0;
    std::copy_n(coefficients, order, static_cast<S*>(stack));
    pieces[0] = {0, 1};
    int count = 0;
    // Rounding may invent changes of sign in a flat polynomial; no true one needs more splits.
    int splitsLeft = 64 * std::min(order, 1 << 20);
    for (int top = 0; top >= 0 && count < order - 1;) {
        S* const c = stack + std::ptrdiff_t(top) * order;
        Piece& piece = pieces[top];
        const int found = signChanges(order, c, at);
        if (found > 1 && piece.width > narrowest && !(piece.width <= double(tolerance))) {
            if (splitsLeft-- == 0)
                break;
            piece.width /= 2;
            pieces[top + 1] = piece;
            piece.start += piece.width;
            splitTo(order, 1, S(0.5), c + order, c);
            ++top;
            continue;
        }
        const S local = S(double(tolerance) / piece.width);
        if (found == 1)
            roots[count++] = S(piece.start + piece.width * double(rootOf(order, c, at, local)));
        else if (isNegative(c[0]) != isNegative(c[order - 1]))
            roots[count++] = S(piece.start + piece.width * double(polish(order, c, S(0.5), local)));
        --top;
    }
    return count;
}

template <class S>
S BezierCurve::length(int order, int dim, const S* points, bool rational, Argument<S> t0,
                      Argument<S> t1, Argument<S> tolerance)
{
    if (order < 2 || dim < 1)
        return 0;
    Scratch<S, 16> scratch(2 * std::size_t(dim));
    if (!scratch)
        return 0;
    const auto norm = rational ? &rationalSpeed<S> : &speed<S>;
    S fastest = 0;
    const auto sample = [&](S t) {
        const S value = norm(order, dim, points, t, scratch);
        fastest = std::max(fastest, value);
        return value;
    };

    constexpr int deepest = 48;
    struct Panel {
        S start, end, f[5];
        int depth;
    };
    Panel panels[deepest + 1]; // a split leaves one half and goes on with the other
    const S quarter = (t1 - t0) / 4;
    panels[0] = {t0,
                 t1,
                 {sample(t0), sample(t0 + quarter), sample(t0 + 2 * quarter), sample(t1 - quarter),
                  sample(t1)},
                 0};
    // Near a weight of zero rounding grows without measure; no curve proper needs as many.
    int splitsLeft = 1 << 14;
    double sum = 0;
    for (int top = 0; top >= 0;) {
        Panel& panel = panels[top];
        const S* const f = panel.f;
        const S width = panel.end - panel.start;
        const S middle = panel.start + width / 2;
        const S fine = width / 12 * (f[0] + 4 * f[1] + 2 * f[2] + 4 * f[3] + f[4]);
        const S coarse = width / 6 * (f[0] + 4 * f[2] + f[4]);
        const S difference = std::abs(coarse - fine);
        // What rounding alone can make of it never gets smaller by halving, nor does NaN.
        const S noise = 8 * std::numeric_limits<S>::epsilon() * fastest * std::abs(width);
        if (!(difference > tolerance) || !(difference > noise) || panel.depth == deepest ||
            middle == panel.start || middle == panel.end || splitsLeft-- <= 0) {
            sum += double(fine);
            --top;
            continue;
        }
        const S eighth = width / 8;
        const Panel right = {
            middle,
            panel.end,
            {f[2], sample(middle + eighth), f[3], sample(panel.end - eighth), f[4]},
            panel.depth + 1};
        const Panel left = {
            panel.start,
            middle,
            {f[0], sample(panel.start + eighth), f[1], sample(middle - eighth), f[2]},
            panel.depth + 1};
        panel = right;
        panels[++top] = left;
    }
    return S(sum);
}

template <class S>
int BezierCurve::evaluate(int order, int dim, const S* points, Argument<S> t0, Argument<S> t1,
                          Argument<S> step, S* out)
{
    if (order == 3)
        return quadratic(dim, points, t0, t1, step, out);
    if (order == 4)
        return cubic(dim, points, t0, t1, step, out);
    return walk(dim, S(t0), S(t1), S(step), out,
                [=](S t, S* point) { evaluate(order, dim, points, t, point); });
}

template <class S>
int BezierCurve::quadratic(int dim, const S* points, Argument<S> t0, Argument<S> t1,
                           Argument<S> step, S* out)
{
    return walk(dim, S(t0), S(t1), S(step), out,
                [=](S t, S* point) { weigh<3>(dim, points, t, point); });
}

template <class S>
int BezierCurve::cubic(int dim, const S* points, Argument<S> t0, Argument<S> t1, Argument<S> step,
                       S* out)
{
    return walk(dim, S(t0), S(t1), S(step), out,
                [=](S t, S* point) { weigh<4>(dim, points, t, point); });
}

template <class S>
int BezierCurve::evaluate(int order, const S* points, int steps, VectorBuffer& buffer)
{
    if (order == 3)
        return quadratic(points, steps, buffer);
    if (order == 4)
        return cubic(points, steps, buffer);
    return appendSteps(order, points, steps, buffer,
                       [=](int dim, S t, S* point) { evaluate(order, dim, points, t, point); });
}

template <class S>
int BezierCurve::quadratic(const S* points, int steps, VectorBuffer& buffer)
{
    return appendSteps(3, points, steps, buffer,
                       [=](int dim, S t, S* point) { weigh<3>(dim, points, t, point); });
}

template <class S>
int BezierCurve::cubic(const S* points, int steps, VectorBuffer& buffer)
{
    return appendSteps(4, points, steps, buffer,
                       [=](int dim, S t, S* point) { weigh<4>(dim, points, t, point); });
}

#define INSTANTIATE(S)                                                                             \
    template void BezierCurve::evaluate(int, int, const S*, S, S*);                                \
    template void BezierCurve::evaluate(int, int, const S*, S, S*, S*);                            \
    template void BezierCurve::split(int, int, const S*, S, S*);                                   \
    template int BezierCurve::solve(int, const S*, S, S*);                                         \
    template S BezierCurve::length(int, int, const S*, bool, S, S, S);                             \
    template int BezierCurve::evaluate(int, int, const S*, S, S, S, S*);                           \
    template int BezierCurve::quadratic(int, const S*, S, S, S, S*);                               \
    template int BezierCurve::cubic(int, const S*, S, S, S, S*);                                   \
    template int BezierCurve::evaluate(int, const S*, int, VectorBuffer&);                         \
    template int BezierCurve::quadratic(const S*, int, VectorBuffer&);                             \
    template int BezierCurve::cubic(const S*, int, VectorBuffer&);
INSTANTIATE(float)
INSTANTIATE(double)
#undef INSTANTIATE
} // namespace geometry
