#include "geometry/zylbspline.h"

#include "curves.h"

#include <limits>

using namespace geometry;
using curves::Curve;

namespace
{
constexpr double noNumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

template <class S>
class BSplineOf : public testing::Test
{
protected:
    // Sums of a few products of numbers of about 1.
    static constexpr double tolerance = 200 * double(std::numeric_limits<S>::epsilon());
};
using Numbers = testing::Types<float, double>;
TYPED_TEST_SUITE(BSplineOf, Numbers);
} // namespace

TEST(BSpline, FindsTheLastKnotAtOrBelow)
{
    const double knots[] = {0, 0, 0, 1, 2, 2, 5};
    struct Case {
        double t;
        int span, multiplicity;
    };
    for (const Case& c : {Case{-0.1, -1, 0}, Case{0, 2, 3}, Case{0.5, 2, 3}, Case{1, 3, 1},
                          Case{2, 5, 2}, Case{4.9, 5, 2}, Case{5, 6, 1}, Case{9, 6, 1},
                          Case{infinity, 6, 1}, Case{noNumber, -1, 0}}) {
        int multiplicity = -1;
        EXPECT_EQ(BSpline::findSpan(7, knots, c.t, &multiplicity), c.span) << c.t;
        EXPECT_EQ(multiplicity, c.multiplicity) << c.t;
    }
    EXPECT_EQ(BSpline::findSpan(0, knots, 1.0), -1);
    EXPECT_EQ(BSpline::findSpan(4, knots, 2.0), 3) << "only the first four count";
}

TEST(BSpline, InitialKnots)
{
    float knots[9];
    BSpline::initKnot(3, 6, false, knots);
    EXPECT_THAT(knots, testing::ElementsAre(0, 0, 0, 1, 2, 3, 4, 4, 4));
    BSpline::initKnot(3, 6, true, knots);
    EXPECT_THAT(knots, testing::ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8));
    double few[6];
    BSpline::initKnot(3, 3, false, few);
    EXPECT_THAT(few, testing::ElementsAre(0, 0, 0, 1, 1, 1));
    BSpline::initKnot(4, 2, false, few);
    EXPECT_THAT(few, testing::ElementsAre(0, 0, 0, 0, 1, 1)) << "nothing behind the array";
}

TEST(BSpline, BasisFunctionsAndDerivativesOfAKnownVector)
{
    // Degree 2 over 0 0 0 1 2 3 4 4 5 5 5 at 5/2: 1/8, 6/8, 1/8, slopes -1/2, 0, 1/2, bends 1,
    // -2, 1.
    const double knots[] = {0, 0, 0, 1, 2, 3, 4, 4, 5, 5, 5};
    double blend[8];
    std::fill_n(blend, 8, -9.0);
    EXPECT_EQ(BSpline::blendData(3, 8, knots, 2.5, blend), 4);
    EXPECT_THAT(blend, testing::ElementsAre(-9, -9, 0.125, 0.75, 0.125, -9, -9, -9));
    double rows[4 * 3];
    EXPECT_EQ(BSpline::derivatives(3, 8, knots, 2.5, 3, rows), 4);
    EXPECT_THAT(rows, testing::ElementsAre(0.125, 0.75, 0.125, -0.5, 0, 0.5, 1, -2, 1, 0, 0, 0));
}

TEST(BSpline, FindsTheSpanHoweverUnevenTheKnots)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<double> power(-6, 6);
    std::bernoulli_distribution isSame(0.2);
    for (int trial = 0; trial < 50; ++trial) {
        std::vector<double> knots{0};
        while (knots.size() < 40)
            knots.push_back(knots.back() + (isSame(random) ? 0 : std::exp(power(random))));
        constexpr int order = 3, count = 37;
        std::uniform_real_distribution<double> place(knots[order - 1], knots[count]);
        for (int i = 0; i < 80; ++i) {
            const double t = i < count - order ? knots[order + i] : place(random);
            int expected = order - 1;
            for (int k = order; k < count; ++k)
                if (knots[k] <= t && knots[k] < knots[count])
                    expected = k;
            double blend[count];
            ASSERT_EQ(BSpline::blendData(order, count, knots.data(), t, blend), expected)
                << "trial " << trial << " at " << t;
        }
    }
}

TEST(BSpline, BasisKeepsItsPlaceOutsideTheCurve)
{
    const double knots[] = {0, 1, 2, 3, 4, 5, 6, 7};
    double blend[4] = {-9, -9, -9, -9};
    EXPECT_EQ(BSpline::blendData(4, 4, knots, -5.0, blend), 3);
    EXPECT_EQ(BSpline::blendData(4, 4, knots, 99.0, blend), 3);
    EXPECT_EQ(BSpline::blendData(4, 4, knots, noNumber, blend), 3);
    EXPECT_EQ(BSpline::blendData(4, 3, knots, 2.0, blend), -1) << "too few points";
    EXPECT_EQ(BSpline::blendData(0, 3, knots, 2.0, blend), -1);
}

TYPED_TEST(BSplineOf, CurvesAreThoseOfDeBoor)
{
    using S = TypeParam;
    std::mt19937 random(41);
    for (int order = 2; order <= 7; ++order) {
        for (int trial = 0; trial < 12; ++trial) {
            const Curve<S> c =
                curves::randomCurve<S>(random, order, order + trial, 1 + trial % 5, trial % 2);
            const double low = c.knots[order - 1], high = c.knots[c.count];
            std::vector<S> out(c.dim), deriv(c.dim);
            for (int i = 0; i <= 20; ++i) {
                const S t = i == 20 ? S(high) : S(low + (high - low) * i / 20);
                ASSERT_TRUE(BSpline::evaluate(order, c.count, c.knots.data(), c.dim,
                                              c.points.data(), t, out.data(), deriv.data()));
                const curves::Point p = c.at(t);
                for (int k = 0; k < c.dim; ++k)
                    ASSERT_NEAR(out[k], p[k], this->tolerance)
                        << "order " << order << " trial " << trial << " at " << t;
                // Slopes against differences of the exact curve, away from corners and ends.
                const long double h = 1e-5L;
                if (c.spanBelow(t - h) != c.spanBelow(t + h) || t - h < low || t + h > high)
                    continue;
                const curves::Point before = c.at(t - h), after = c.at(t + h);
                for (int k = 0; k < c.dim; ++k)
                    ASSERT_NEAR(deriv[k], (after[k] - before[k]) / (2 * h),
                                1e-7 + 100 * this->tolerance)
                        << "order " << order << " trial " << trial << " at " << t;
            }
        }
    }
}

TEST(BSpline, DerivativesOfAPolynomial)
{
    // t^3 over uniform knots: each point is the product of its three inner knots.
    std::vector<double> knots, points;
    for (int i = 0; i < 12; ++i)
        knots.push_back(i);
    for (int i = 0; i < 8; ++i)
        points.push_back(knots[i + 1] * knots[i + 2] * knots[i + 3]);
    double out, derivs[5];
    for (const double t : {3.0, 4.5, 7.0, 8.0}) {
        ASSERT_TRUE(BSpline::evaluate(4, 8, knots.data(), 1, points.data(), t, &out, 5, derivs));
        EXPECT_NEAR(out, t * t * t, 1e-11);
        EXPECT_NEAR(derivs[0], 3 * t * t, 1e-11);
        EXPECT_NEAR(derivs[1], 6 * t, 1e-11);
        EXPECT_NEAR(derivs[2], 6, 1e-11);
        EXPECT_EQ(derivs[3], 0) << "beyond the degree";
        EXPECT_EQ(derivs[4], 0);
    }
}

TEST(BSpline, RationalCircleIsRound)
{
    // The full circle of seven points in thirds of a turn, with weights 1, 1/2, 1 ...
    const double r = std::sqrt(3.0) / 2;
    const double points[] = {r,   0.5 * 1, 1,  0, 1, 0.5,  -r,  0.5, 1,   -r, -0.5,
                             0.5, -0.0,    -1, 1, r, -0.5, 0.5, r,   0.5, 1};
    const double knots[] = {0, 0, 0, 1, 1, 2, 2, 3, 3, 3};
    for (int i = 0; i <= 300; ++i) {
        double p[3];
        ASSERT_TRUE(BSpline::evaluate(3, 7, knots, 3, points, i / 100.0, p));
        EXPECT_NEAR(std::hypot(p[0], p[1]) / p[2], 1, 1e-14) << i;
    }
}

TEST(BSpline, ParametersAreHeldToTheCurve)
{
    const double knots[] = {0, 0, 0, 1, 2, 2, 2}, points[] = {5, 1, 4, 3};
    double out;
    for (const double t : {-1.0, -infinity, 0.0}) {
        ASSERT_TRUE(BSpline::evaluate(3, 4, knots, 1, points, t, &out));
        EXPECT_EQ(out, 5) << t;
    }
    for (const double t : {2.0, 7.0, infinity}) {
        ASSERT_TRUE(BSpline::evaluate(3, 4, knots, 1, points, t, &out));
        EXPECT_EQ(out, 3) << t;
    }
    // More end knots than the order leave spans of no width before the end.
    const double surplus[] = {0, 0, 0, 2, 2, 2, 2};
    ASSERT_TRUE(BSpline::evaluate(3, 4, surplus, 1, points, 2, &out));
    EXPECT_EQ(out, 4);
}

TEST(BSpline, OrderOneIsTheFirstPoint)
{
    const float knots[] = {0, 1, 2}, points[] = {4, 5, 6, 7};
    float out[2], derivs[4] = {1, 1, 1, 1};
    ASSERT_TRUE(BSpline::evaluate(1, 2, knots, 2, points, 1.5, out, 2, derivs));
    EXPECT_EQ(out[0], 4);
    EXPECT_EQ(out[1], 5);
    EXPECT_THAT(derivs, testing::Each(0));
}

TEST(BSpline, BadCurvesNeitherReadBeyondTheirArraysNorHang)
{
    const double bad[] = {0, noNumber, -infinity, 1e308, -1e308, infinity, 0, 1e-308, 2, 1};
    std::mt19937 random(5);
    std::uniform_int_distribution<int> pick(0, 9);
    for (int trial = 0; trial < 400; ++trial) {
        const int order = 1 + trial % 6, count = trial % 9;
        std::vector<double> knots, points;
        for (int i = 0; i < order + count; ++i)
            knots.push_back(bad[pick(random)]);
        for (int i = 0; i < 2 * count; ++i)
            points.push_back(bad[pick(random)]);
        const double t = bad[pick(random)];
        const int room = 4 * (count + order);
        std::vector<double> newKnots(2 * room), newPoints(2 * room);
        double out[2], more[6], at;
        EXPECT_EQ(BSpline::evaluate(order, count, knots.data(), 2, points.data(), t, out, 3, more),
                  count >= order);
        BSpline::project(order, count, knots.data(), 2, points.data(), out, 0, &at, out);
        BSpline::insertKnot(order, count, knots.data(), 2, points.data(), t, 3, newKnots.data(),
                            newPoints.data());
        BSpline::removeKnot(order, count, knots.data(), 2, points.data(), t, 3, newKnots.data(),
                            newPoints.data());
        BSpline::elevate(order, count, knots.data(), 2, points.data(), 2, newKnots.data(),
                         newPoints.data());
        BSpline::reduce(order, count, knots.data(), 2, points.data(), 1, newKnots.data(),
                        newPoints.data());
    }
}

TEST(BSpline, ProjectsOntoALine)
{
    const double knots[] = {0, 0, 1, 1}, points[] = {0, 0, 4, 4};
    const double point[] = {0, 2};
    double t, out[2];
    ASSERT_TRUE(BSpline::project(2, 2, knots, 2, points, point, 1e-12, &t, out));
    EXPECT_NEAR(t, 0.25, 1e-12);
    EXPECT_NEAR(out[0], 1, 1e-12);
    EXPECT_NEAR(out[1], 1, 1e-12);
    const double beyond[] = {9, 6};
    ASSERT_TRUE(BSpline::project(2, 2, knots, 2, points, beyond, 1e-12, &t, out));
    EXPECT_EQ(t, 1) << "no further than the end";
    EXPECT_EQ(out[0], 4);
}

TYPED_TEST(BSplineOf, ProjectionFindsTheFootOfAPerpendicular)
{
    using S = TypeParam;
    std::mt19937 random(8);
    for (int trial = 0; trial < 60; ++trial) {
        const Curve<S> c = curves::randomCurve<S>(random, 4, 9, 3, trial % 2);
        const double low = c.knots[3], high = c.knots[9];
        const double where = low + (high - low) * (trial + 0.5) / 60;
        // A point a little off the curve, searched from near there.
        S point[3], slope[3], out[3], t;
        BSpline::evaluate(4, 9, c.knots.data(), 3, c.points.data(), S(where), point, slope);
        const S off = S(1e-3) / std::hypot(slope[0], slope[1]);
        point[0] += slope[1] * off;
        point[1] -= slope[0] * off;
        ASSERT_TRUE(BSpline::project(4, 9, c.knots.data(), 3, c.points.data(), point,
                                     S(where + 0.02), S(1e-9), &t, out));
        S distance = 0, foot[3];
        for (int k = 0; k < 3; ++k)
            distance += (out[k] - point[k]) * (out[k] - point[k]);
        EXPECT_LT(std::sqrt(distance), 1.001e-3) << trial;
        BSpline::evaluate(4, 9, c.knots.data(), 3, c.points.data(), t, foot);
        for (int k = 0; k < 3; ++k)
            EXPECT_EQ(foot[k], out[k]) << trial;
    }
}

TEST(BSpline, ProjectionStartsAtTheNearestControlPoint)
{
    // A zigzag with the point off its last corner: a start at the other end stays there.
    const float knots[] = {0, 0, 0, 1, 2, 3, 3, 3};
    const float points[] = {0, 0, 1, 4, 2, 0, 3, 4, 4, 0};
    const float point[] = {4.5f, -0.5f};
    float t, out[2];
    ASSERT_TRUE(BSpline::project(3, 5, knots, 2, points, point, 1e-6, &t, out));
    EXPECT_EQ(t, 3);
    const float here[] = {nanf(""), 0};
    EXPECT_TRUE(BSpline::project(3, 5, knots, 2, points, here, 1e-6, &t, out));
    EXPECT_TRUE(BSpline::project(1, 5, knots, 2, points, point, 1e-6, &t, out));
    EXPECT_EQ(t, 0) << "order 1 has its first point only";
    EXPECT_FALSE(BSpline::project(4, 3, knots, 2, points, point, 1e-6, &t, out));
}
