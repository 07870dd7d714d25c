#include "geometry/zylnurbsknot.h"

#include "curves.h"

#include <limits>

using namespace geometry;
using curves::Curve;

namespace
{
/// The points of the Bezier segments, read behind the points that the array has room for.
std::vector<float> bezier(const NurbsKnot& knot, const Curve<float>& c)
{
    std::vector<float> points(c.points);
    points.resize(std::size_t(std::max(c.count, knot.bezierCount()) * c.dim), -99);
    knot.insert(c.dim, points.data());
    points.resize(std::size_t(knot.bezierCount() * c.dim));
    return points;
}

/// Each segment against the curve, at and between its ends.
void expectSameCurve(const NurbsKnot& knot, const Curve<float>& c, float tolerance)
{
    const std::vector<float> points = bezier(knot, c);
    for (int s = 0; s < knot.spanCount(); ++s) {
        const float a = knot[unsigned(s)].value, b = knot[unsigned(s) + 1].value;
        Curve<float> piece{c.order, c.order, c.dim, {}, {}};
        piece.knots.assign(std::size_t(c.order), a);
        piece.knots.insert(piece.knots.end(), std::size_t(c.order), b);
        const auto first = points.begin() + s * (c.order - 1) * c.dim;
        piece.points.assign(first, first + c.order * c.dim);
        ASSERT_LT(curves::distance(piece, c, 16), tolerance) << "span " << s;
    }
}
} // namespace

TEST(NurbsKnot, TurnsCurvesIntoBezierSegments)
{
    std::mt19937 random(61);
    for (int order = 2; order <= 6; ++order) {
        for (int trial = 0; trial < 40; ++trial) {
            SCOPED_TRACE(testing::Message() << "order " << order << " trial " << trial);
            const Curve<float> c =
                curves::randomCurve<float>(random, order, order + trial % 9, 3, trial % 2);
            const NurbsKnot knot(order, order + c.count, c.knots.data());
            std::vector<float> inner(c.knots.begin() + order - 1, c.knots.begin() + c.count + 1);
            inner.erase(std::unique(inner.begin(), inner.end()), inner.end());
            ASSERT_EQ(knot.spanCount(), int(inner.size()) - 1);
            EXPECT_EQ(knot.last()->value, c.knots[std::size_t(c.count)]);
            expectSameCurve(knot, c, 2e-5f);
        }
    }
}

TEST(NurbsKnot, CountsOnPaper)
{
    const float knots[] = {0, 0, 0, 0, 1, 2, 2, 3, 3, 3, 3};
    const NurbsKnot clamped(4, 11, knots);
    EXPECT_EQ(clamped.spanCount(), 3);
    EXPECT_EQ(clamped.bezierCount(), 10);
    EXPECT_EQ(clamped.extra(), 0);
    EXPECT_EQ(clamped[0].multiplicity, 4);
    EXPECT_EQ(clamped[2].multiplicity, 2);
    const float uniform[] = {0, 1, 2, 3, 4, 5, 6, 7, 8};
    const NurbsKnot open(4, 9, uniform);
    EXPECT_EQ(open[0].value, 3);
    EXPECT_EQ(open.last()->value, 5);
    EXPECT_EQ(open.extra(), 2) << "order 4, one knot there";
    // The uniform cubic's Bezier points: thirds between the neighbours, sixths at the ends.
    float points[7] = {0, 6, 12, 0, 0};
    open.insert(1, points);
    EXPECT_THAT(points, testing::Pointwise(testing::FloatNear(1e-5f), {6, 8, 10, 9, 8, 4, 2}));
}

TEST(NurbsKnot, KnotsCloseTogetherAreOne)
{
    const float knots[] = {0, 0, 4e-6f, 1, 1 + 4e-6f, 2, 2, 2};
    const NurbsKnot knot(3, 8, knots);
    ASSERT_EQ(knot.spanCount(), 2);
    EXPECT_EQ(knot[0].multiplicity, 3);
    EXPECT_EQ(knot[1].multiplicity, 2);
    const Curve<float> c{3, 5, 1, {0, 0, 0, 1, 1, 2, 2, 2}, {1, 2, 3, 4, 5}};
    EXPECT_EQ(bezier(knot, c), c.points) << "all segments are there already";
}

TEST(NurbsKnot, DropsPointsWithoutAPart)
{
    // Knot 0 once and knot 1 twice too often for order 3.
    const Curve<float> c{3, 8, 1, {0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2}, {77, 1, 2, 3, 77, 3, 4, 5}};
    const NurbsKnot knot(3, 11, c.knots.data());
    EXPECT_EQ(bezier(knot, c), (std::vector<float>{1, 2, 3, 4, 5}));
}

TEST(NurbsKnot, RefusesWhatIsNoCurve)
{
    const float good[] = {0, 0, 0, 1, 1, 1}, descending[] = {0, 0, 0, 1, 0, 1};
    const float flat[] = {1, 1, 1, 1, 1, 1};
    const float unbounded[] = {0, 0, 0, 1, 1, std::numeric_limits<float>::infinity()};
    NurbsKnot knot(3, 6, good);
    EXPECT_EQ(knot.bezierCount(), 3);
    EXPECT_FALSE(knot.setValue(3, 5, good)) << "fewer points than the order";
    EXPECT_FALSE(knot.setValue(1, 6, good));
    EXPECT_FALSE(knot.setValue(3, -6, good));
    EXPECT_FALSE(knot.setValue(3, 6, nullptr));
    EXPECT_FALSE(knot.setValue(3, 6, descending));
    EXPECT_FALSE(knot.setValue(3, 6, unbounded));
    EXPECT_FALSE(knot.setValue(3, 6, flat));
    EXPECT_EQ(knot.bezierCount(), 0);
    EXPECT_EQ(knot.last(), nullptr);
    float points[] = {1, 2, 3};
    knot.insert(1, points);
    EXPECT_EQ(points[1], 2);
}
