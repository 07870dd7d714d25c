#include "geometry/zylbezier.h"

#include "geometry/gvector.h"
#include "geometry/zylvectorarray.h"

#include <cmath>
#include <limits>
#include <random>

using namespace geometry;

namespace
{
constexpr double noNumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double pi = 3.14159265358979323846;

/// Bernstein coefficients of the product of (t - root), by multiplying the polynomials of one root.
std::vector<double> withRoots(const std::vector<double>& roots)
{
    std::vector<long double> c{1};
    for (const double root : roots) {
        const std::size_t n = c.size();
        std::vector<long double> next(n + 1, 0);
        for (std::size_t i = 0; i < n; ++i) {
            next[i] += c[i] * (-root) * (long double)(n - i) / (long double)(n);
            next[i + 1] += c[i] * (1 - root) * (long double)(i + 1) / (long double)(n);
        }
        c = next;
    }
    return std::vector<double>(c.begin(), c.end());
}

std::vector<double> solve(const std::vector<double>& coefficients, double tolerance = 1e-12)
{
    std::vector<double> roots(coefficients.size() + 1, noNumber);
    const int count =
        BezierCurve::solve(int(coefficients.size()), coefficients.data(), tolerance, roots.data());
    roots.resize(std::size_t(count));
    return roots;
}
} // namespace

TEST(BezierCurve, ValueAndSlopeAreThoseOfThePowers)
{
    // t^n has the single control value 1 at the end; the curve t^5 - t + 2 in the second number.
    const double points[] = {0, 2, 0, 1.8, 0, 1.6, 0, 1.4, 0, 1.2, 1, 2};
    for (const double t : {0.0, 0.25, 0.5, 0.8125, 1.0, 1.5, -0.5}) {
        double out[2], slope[2];
        BezierCurve::evaluate(6, 2, points, t, out, slope);
        const double scale = std::max(1.0, std::pow(std::abs(t), 5));
        EXPECT_NEAR(out[0], std::pow(t, 5), 1e-14 * scale) << t;
        EXPECT_NEAR(out[1], std::pow(t, 5) - t + 2, 1e-13 * scale) << t;
        EXPECT_NEAR(slope[0], 5 * std::pow(t, 4), 1e-13 * scale) << t;
        EXPECT_NEAR(slope[1], 5 * std::pow(t, 4) - 1, 1e-13 * scale) << t;
    }
}

TEST(BezierCurve, BelowOrderTwoIsItsPoint)
{
    const float point[] = {3, 4};
    float out[2] = {}, slope[2] = {9, 9};
    BezierCurve::evaluate(1, 2, point, 0.7, out, slope);
    EXPECT_EQ(out[0], 3);
    EXPECT_EQ(out[1], 4);
    EXPECT_EQ(slope[0], 0);
    EXPECT_EQ(slope[1], 0);
}

TEST(BezierCurve, SplitsInPlaceAndSharesThePoint)
{
    // Halving (0,0) (4,8) (8,-8) (12,0) on paper.
    const float expected[] = {0, 0, 2, 4, 4, 2, 6, 0, 8, -2, 10, -4, 12, 0};
    float points[14] = {0, 0, 4, 8, 8, -8, 12, 0};
    float apart[14];
    BezierCurve::split(4, 2, points, 0.5, apart);
    BezierCurve::split(4, 2, points, 0.5, points);
    for (int i = 0; i < 14; ++i) {
        EXPECT_EQ(apart[i], expected[i]) << i;
        EXPECT_EQ(points[i], expected[i]) << i;
    }
}

struct Roots {
    const char* what;
    std::vector<double> coefficients;
    std::vector<double> roots;
    double tolerance = 1e-11;
};
class BezierRoots : public testing::TestWithParam<Roots>
{
};

TEST_P(BezierRoots, AreFoundInOrder)
{
    const std::vector<double> found = solve(GetParam().coefficients);
    ASSERT_EQ(found.size(), GetParam().roots.size()) << GetParam().what;
    for (std::size_t i = 0; i < found.size(); ++i)
        EXPECT_NEAR(found[i], GetParam().roots[i], GetParam().tolerance) << GetParam().what;
}

INSTANTIATE_TEST_SUITE_P(
    Forms, BezierRoots,
    testing::Values(
        Roots{"a point", {-1}, {}}, Roots{"a line", {-1, 3}, {0.25}},
        Roots{"no sign change", {1, 2, 3}, {}}, Roots{"a touch", {1, -1, 1}, {}},
        Roots{"a touch where pieces meet", withRoots({0.25, 0.25}), {}},
        Roots{"a touch elsewhere", withRoots({0.34375, 0.34375}), {}},
        Roots{"zero at the start, then below", {0, -1, -2}, {0}},
        Roots{"zero at the start, then above", {0, 1, 2}, {}},
        Roots{"zero at the end, from below", {-3, -1, 0}, {1}},
        Roots{"zero at the end, from above", {3, 1, 0}, {}},
        Roots{"a run of zeros at the end", {-1, 0, 0, 0}, {1}},
        Roots{"a run of zeros at the start", {0, 0, 0, -1}, {0}},
        Roots{"a run of zeros within", {-1, 0, 0, 8}, {1. / 3}},
        Roots{"a root where the halves meet", withRoots({0.25, 0.5, 0.75}), {0.25, 0.5, 0.75}},
        Roots{"all at binary places", withRoots({0, 0.5, 1}), {0.5, 1}},
        Roots{"a flat root", withRoots({0.4, 0.4, 0.4}), {0.4}, 1e-5},
        Roots{"roots outside", withRoots({-0.5, 0.125, 1.5}), {0.125}},
        Roots{"many",
              withRoots({0.1, 0.2, 0.35, 0.5, 0.55, 0.8, 0.9}),
              {0.1, 0.2, 0.35, 0.5, 0.55, 0.8, 0.9}},
        Roots{"only zeros", {0, 0, 0, 0}, {}}, Roots{"not a number", {-1, noNumber, 1}, {}},
        Roots{"infinite", {-1, 0, infinity}, {}},
        Roots{"huge", {-1e308, 1e308, 1e308}, {0.2928932188134525}},
        Roots{"tiny", {-5e-324, 5e-324, -5e-324, 5e-324}, {0.5}}));

TEST(BezierCurve, SolveEndsWhateverTheTolerance)
{
    for (const double tolerance : {0.0, -1.0, noNumber, infinity, 1e-300}) {
        const std::vector<double> near = solve(withRoots({0.5, 0.5 + 1e-13, 0.75}), tolerance);
        EXPECT_LE(near.size(), 3u) << tolerance;
        const std::vector<double> far = solve(withRoots({0.2, 0.7}), tolerance);
        EXPECT_EQ(far.size(), tolerance == infinity ? 0u : 2u) << tolerance;
    }
    std::mt19937 random(77);
    std::uniform_real_distribution<double> noise(-1e-320, 1e-320);
    std::vector<double> flat(200);
    for (double& c : flat)
        c = noise(random);
    EXPECT_LT(solve(flat, 0).size(), 200u);
}

TEST(BezierCurve, SolveInSinglePrecision)
{
    const float legendre[] = {-1, 3, -3, 1}; // roots at 1/2 and (1 +- sqrt(3/5)) / 2
    float roots[3];
    ASSERT_EQ(BezierCurve::solve(4, legendre, 1e-6, roots), 3);
    EXPECT_NEAR(roots[0], 0.11270167f, 1e-6f);
    EXPECT_NEAR(roots[1], 0.5f, 1e-6f);
    EXPECT_NEAR(roots[2], 0.88729833f, 1e-6f);
}

TEST(BezierCurve, LengthOfKnownCurves)
{
    const double line[] = {0, 0, 3, 4};
    EXPECT_NEAR(BezierCurve::length(2, 2, line, false, 1e-9), 5, 1e-12);
    EXPECT_NEAR(BezierCurve::length(2, 2, line, false, 0.2, 0.6, 1e-9), 2, 1e-12);
    // y = x^2 from 0 to 1: sqrt(5) / 2 + asinh(2) / 4.
    const double parabola[] = {0, 0, 0.5, 0, 1, 1};
    EXPECT_NEAR(BezierCurve::length(3, 2, parabola, false, 1e-10),
                std::sqrt(5.0) / 2 + std::asinh(2.0) / 4, 1e-9);
    // A quarter circle with its weight as the last number, and its projection without.
    const double w = std::sqrt(0.5);
    const double quarter[] = {2, 0, 1, 2 * w, 2 * w, w, 0, 2, 1};
    EXPECT_NEAR(BezierCurve::length(3, 3, quarter, true, 1e-10), pi, 1e-8);
    EXPECT_GT(BezierCurve::length(3, 3, quarter, false, 1e-10), 2.8);
    // A cusp at the middle: x = 6 t^2 - 4 t^3 - ... turns back on itself.
    const double back[] = {0, 1, 0};
    EXPECT_NEAR(BezierCurve::length(3, 1, back, false, 1e-9), 1, 1e-8);
    const float point[] = {1, 2};
    EXPECT_EQ(BezierCurve::length(1, 2, point, false, 1e-6), 0);
}

TEST(BezierCurve, LengthEndsWhateverTheInput)
{
    const double cusp[] = {0, 0, 1, 1, 0, 1, 1, 0};
    for (const double tolerance : {0.0, -1.0, 1e-300}) {
        EXPECT_NEAR(BezierCurve::length(4, 2, cusp, false, tolerance),
                    BezierCurve::length(4, 2, cusp, false, 1e-10), 1e-8);
    }
    EXPECT_GT(BezierCurve::length(4, 2, cusp, false, noNumber), 0);
    const double bad[] = {0, 0, noNumber, 1, 0, infinity, 1, 0};
    EXPECT_TRUE(std::isnan(BezierCurve::length(4, 2, bad, false, 1e-9)));
    const double pole[] = {0, 1, 0, -1, 1, 1};
    BezierCurve::length(3, 2, pole, true, 0);
    const float poles[] = {1e6f, 1, -1, 3, -1e-3f, 5e5f, 7, 1e-3f, -1};
    BezierCurve::length(3, 3, poles, true, 1e-9);
    const float floats[] = {0, 0, 1, 1, 0, 1, 1, 0};
    EXPECT_NEAR(BezierCurve::length(4, 2, floats, false, 0),
                float(BezierCurve::length(4, 2, cusp, false, 1e-10)), 1e-4f);
}

TEST(BezierCurve, WalksInEvenSteps)
{
    const double cubic[] = {0, 0, 0, 1};
    double out[16];
    // A hundredth of steps beyond the end is no point, a rounded last one is.
    ASSERT_EQ(BezierCurve::evaluate(4, 1, cubic, 0, 1, 0.1, out), 11);
    EXPECT_NEAR(out[7], 0.343, 1e-15);
    EXPECT_EQ(out[10], 1);
    EXPECT_EQ(BezierCurve::evaluate(4, 1, cubic, 0, 0.98, 0.1, out), 10);
    const double quartic[] = {0, 0, 0, 0, 1}, square[] = {0, 0, 1};
    ASSERT_EQ(BezierCurve::evaluate(5, 1, quartic, 0.5, 1, 0.25, out), 3);
    EXPECT_NEAR(out[1], 0.31640625, 1e-15);
    ASSERT_EQ(BezierCurve::evaluate(3, 1, square, -1, 1, 1, out), 3);
    EXPECT_EQ(out[0], 1);
    EXPECT_EQ(out[1], 0);
    for (const double step : {0.0, -0.1, noNumber})
        EXPECT_EQ(BezierCurve::evaluate(4, 1, cubic, 0, 1, step, out), 0) << step;
    EXPECT_EQ(BezierCurve::evaluate(4, 1, cubic, 1, 0, 0.1, out), 0);
    EXPECT_EQ(BezierCurve::evaluate(4, 1, cubic, 0, infinity, 0.1, out), 0);
    EXPECT_EQ(BezierCurve::evaluate(4, 1, cubic, noNumber, 1, 0.1, out), 0);
    const float floats[] = {0, 0, 0, 1};
    float rounded[11];
    EXPECT_EQ(BezierCurve::cubic(1, floats, 0, 1, 0.1f, rounded), 11);
}

TEST(BezierCurve, AppendsStepsWithoutTheFirstPoint)
{
    const float points[] = {0, 0, 1, 2, 3, 0.1f};
    VectorBuffer buffer(0, 2, GVector::Float);
    const float before[] = {7, 7};
    buffer.append(reinterpret_cast<const char*>(before));
    ASSERT_EQ(BezierCurve::evaluate(3, points, 4, buffer), 4);
    ASSERT_EQ(buffer.count(), 5u);
    const float* all = reinterpret_cast<const float*>(buffer.data());
    EXPECT_EQ(all[0], 7);
    EXPECT_NEAR(all[2], 0.5625f, 1e-6f);
    EXPECT_NEAR(all[3], 0.75625f, 1e-6f);
    EXPECT_EQ(all[8], 3) << "the end is exact";
    EXPECT_EQ(all[9], 0.1f);
    EXPECT_EQ(BezierCurve::evaluate(1, points, 4, buffer), 1) << "one point is one point";
    EXPECT_EQ(BezierCurve::evaluate(3, points, 0, buffer), 0);
    EXPECT_EQ(buffer.count(), 6u);
}

TEST(BezierCurve, AppendsInTheTypeOfTheBuffer)
{
    const double quintic[] = {0, 10, 20, 30, 40, 50.9};
    VectorBuffer ints(0, 0, GVector::Int), bytes(0, 0, GVector::Bytes);
    ASSERT_EQ(BezierCurve::evaluate(6, quintic, 2, ints), 2);
    EXPECT_EQ(reinterpret_cast<const int*>(ints.data())[0], 25);
    EXPECT_EQ(reinterpret_cast<const int*>(ints.data())[1], 50);
    EXPECT_EQ(BezierCurve::evaluate(6, quintic, 2, bytes), -1);
    EXPECT_TRUE(bytes.isEmpty());
}
