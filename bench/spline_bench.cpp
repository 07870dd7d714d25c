#include "geometry/zylbezier.h"
#include "geometry/zylbspline.h"
#include "geometry/zylnurbsknot.h"
#include "ratio.h"

#include <random>

using namespace geometry;

namespace
{
constexpr int order = 4, dim = 3, count = 256, evaluations = 1024;
constexpr double wantedPerSecond = 20e6;
std::mt19937 random(20210417);

/// A clamped cubic in space with uneven knots, and parameters in no order.
template <class S>
struct Cubic {
    std::vector<S> knots, points, parameters, out;

    Cubic() : knots(order + count), points(count * dim), out(evaluations * dim * 4)
    {
        BSpline::initKnot(order, count, false, knots.data());
        std::uniform_real_distribution<double> number(-1, 1), nudge(0, 0.9);
        for (int i = order; i < count; ++i)
            knots[i] += S(nudge(random));
        for (S& coordinate : points)
            coordinate = S(number(random));
        std::uniform_real_distribution<double> place(0, double(knots.back()));
        for (int i = 0; i < evaluations; ++i)
            parameters.push_back(S(place(random)));
    }

    template <class Evaluate>
    void rate(const std::string& name, Evaluate evaluate)
    {
        bench::rate("spline: " + name, wantedPerSecond, evaluations, [&] {
            for (int i = 0; i < evaluations; ++i)
                evaluate(parameters[i], out.data() + i * dim * 4);
            bench::keep(out.data());
        });
    }

    void rates(const std::string& type)
    {
        const S* const k = knots.data();
        const S* const p = points.data();
        rate("evaluate cubic, " + type,
             [=](S t, S* to) { BSpline::evaluate(order, count, k, dim, p, t, to); });
        rate("evaluate cubic with slope, " + type,
             [=](S t, S* to) { BSpline::evaluate(order, count, k, dim, p, t, to, to + dim); });
        rate("evaluate cubic with 2 derivatives, " + type,
             [=](S t, S* to) { BSpline::evaluate(order, count, k, dim, p, t, to, 2, to + dim); });
        rate("evaluate Bezier cubic, " + type, [=](S t, S* to) {
            const S local = t - S(int(t));
            BezierCurve::evaluate(order, dim, p, local, to);
        });
    }
};

/// Turning the curve into Bezier form against evaluating as many points.
void conversion()
{
    Cubic<float> cubic;
    const NurbsKnot ready(order, order + count, cubic.knots.data());
    const int made = ready.bezierCount();
    std::vector<float> points(std::size_t(made) * dim), out(points);
    const auto evaluate = [&] {
        for (int i = 0; i < made; ++i)
            BSpline::evaluate(order, count, cubic.knots.data(), dim, cubic.points.data(),
                              cubic.parameters[i], out.data() + i * dim);
        bench::keep(out.data());
    };
    bench::compare(
        "spline: NurbsKnot insert / evaluate", 1.0,
        [&] {
            std::copy(cubic.points.begin(), cubic.points.end(), points.begin());
            ready.insert(dim, points.data());
            bench::keep(points.data());
        },
        evaluate);
    bench::compare(
        "spline: NurbsKnot setValue and insert / evaluate", 1.0,
        [&] {
            const NurbsKnot knot(order, order + count, cubic.knots.data());
            std::copy(cubic.points.begin(), cubic.points.end(), points.begin());
            knot.insert(dim, points.data());
            bench::keep(points.data());
        },
        evaluate);
}
} // namespace

int main()
{
    Cubic<float>().rates("float");
    Cubic<double>().rates("double");
    conversion();
}
