#pragma once

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

/// Curves for the tests, and their points by another way than the library's.
namespace curves
{
using Point = std::vector<long double>;

template <class S>
struct Curve {
    int order = 0, count = 0, dim = 0;
    std::vector<S> knots, points;

    /// The place of the last knot below `t`, so that both ends of the curve count.
    int spanBelow(long double t) const
    {
        int span = order - 1;
        for (int i = order; i < count; ++i)
            if (knots[i] < t)
                span = i;
        return span;
    }

    /// De Boor's recursion as it is defined, point by point.
    Point at(long double t) const { return corner(spanBelow(t), order - 1, t); }

    Point corner(int i, int level, long double t) const
    {
        if (level == 0)
            return Point(points.begin() + i * dim, points.begin() + (i + 1) * dim);
        const Point a = corner(i - 1, level - 1, t), b = corner(i, level - 1, t);
        const long double low = knots[i], high = knots[i + order - level];
        const long double share = (t - low) / (high - low);
        Point mean(a.size());
        for (std::size_t k = 0; k < a.size(); ++k)
            mean[k] = (1 - share) * a[k] + share * b[k];
        return mean;
    }
};

/// The largest difference of a coordinate between two curves over the first one's range.
template <class S>
long double distance(const Curve<S>& a, const Curve<S>& b, int steps = 41)
{
    const long double start = a.knots[a.order - 1], end = a.knots[a.count];
    long double most = 0;
    for (int i = 0; i <= steps; ++i) {
        const long double t = start + (end - start) * i / steps;
        const Point p = a.at(t), q = b.at(t);
        for (std::size_t k = 0; k < p.size(); ++k)
            most = std::max(most, std::abs(p[k] - q[k]));
    }
    return most;
}

/// A curve through random points of -1 to 1. Knots are up to twice as far apart as others, and some
/// coincide, but not more than order - 1 of them within.
template <class S>
Curve<S> randomCurve(std::mt19937& random, int order, int count, int dim, bool isClamped)
{
    std::uniform_real_distribution<double> coordinate(-1, 1), step(0.5, 1);
    std::bernoulli_distribution isDouble(0.25);
    Curve<S> curve;
    curve.order = order;
    curve.count = count;
    curve.dim = dim;
    for (int i = 0; i < count * dim; ++i)
        curve.points.push_back(S(coordinate(random)));
    double t = 0;
    int run = 1;
    for (int i = 0; i < order + count; ++i) {
        const bool isEnd = i < order || i > count;
        const bool staysPut =
            isEnd ? isClamped : i > order && i < count && run < order - 1 && isDouble(random);
        if (i > 0 && !staysPut) {
            t += step(random);
            run = 0;
        }
        ++run;
        curve.knots.push_back(S(t));
    }
    return curve;
}
} // namespace curves
