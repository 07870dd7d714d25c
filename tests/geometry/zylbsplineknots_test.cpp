#include "geometry/zylbspline.h"

#include "curves.h"

#include <limits>

using namespace geometry;
using curves::Curve;

namespace
{
using Edit = int (*)(int, int, const double*, int, const double*, double, int, double*, double*);
constexpr Edit insertKnot = &BSpline::insertKnot<double>;
constexpr Edit removeKnot = &BSpline::removeKnot<double>;

/// Edits a curve in place or into other arrays; `change` is what a success does to the counts.
int edit(Edit function, Curve<double>& c, double t, int times, int change, bool inPlace)
{
    Curve<double> made = c;
    made.knots.resize(c.knots.size() + std::size_t(times), -99);
    made.points.resize(c.points.size() + std::size_t(times * c.dim), -99);
    const Curve<double>& from = inPlace ? made : c;
    const int done = function(c.order, c.count, from.knots.data(), c.dim, from.points.data(), t,
                              times, made.knots.data(), made.points.data());
    made.count += change * done;
    made.knots.resize(std::size_t(made.order + made.count));
    made.points.resize(std::size_t(made.count * made.dim));
    c = made;
    return done;
}

template <class Change>
int changed(Change change, Curve<double>& c, int times)
{
    const int most = c.count + (c.count - c.order + 1) * times;
    Curve<double> made = c;
    made.knots.resize(std::size_t(most + c.order + times), -99);
    made.points.resize(std::size_t(most * c.dim), -99);
    made.count = change(c.order, c.count, made.knots.data(), c.dim, made.points.data(), times,
                        made.knots.data(), made.points.data());
    return c = made, made.count;
}

int elevate(Curve<double>& c, int times)
{
    const int count = changed(&BSpline::elevate<double>, c, times);
    c.order += times;
    c.knots.resize(std::size_t(c.order + count));
    c.points.resize(std::size_t(count * c.dim));
    return count;
}

int reduce(Curve<double>& c, int times)
{
    const int count = changed(&BSpline::reduce<double>, c, times);
    c.order -= times;
    c.knots.resize(std::size_t(c.order + count));
    c.points.resize(std::size_t(count * c.dim));
    return count;
}

bool isSorted(const Curve<double>& c)
{
    return std::is_sorted(c.knots.begin(), c.knots.end());
}
} // namespace

TEST(BSpline, InsertingLeavesTheCurveAndRemovingUndoesIt)
{
    std::mt19937 random(17);
    std::uniform_real_distribution<double> place(0, 1);
    for (int order = 2; order <= 6; ++order) {
        for (int trial = 0; trial < 40; ++trial) {
            SCOPED_TRACE(testing::Message() << "order " << order << " trial " << trial);
            const Curve<double> before =
                curves::randomCurve<double>(random, order, order + trial % 7, 2, trial % 2);
            const double low = before.knots[order - 1], high = before.knots[before.count];
            const int times = 1 + trial % order;
            // Every third time at a knot that is there.
            const double t = trial % 3 == 0 && before.count > order
                                 ? before.knots[order + trial % (before.count - order)]
                                 : low + (high - low) * place(random);
            int there = int(std::count(before.knots.begin(), before.knots.end(), t));
            Curve<double> after = before;
            const int done = edit(insertKnot, after, t, times, 1, trial % 4 < 2);
            EXPECT_EQ(done, std::min(times, order - there));
            EXPECT_EQ(std::count(after.knots.begin(), after.knots.end(), t), there + done);
            EXPECT_TRUE(isSorted(after));
            EXPECT_LT(curves::distance(before, after), 1e-13);
            if (t == low || done == 0)
                continue;
            EXPECT_EQ(edit(removeKnot, after, t, done, -1, trial % 4 < 2), done);
            EXPECT_EQ(after.knots, before.knots);
            for (std::size_t i = 0; i < before.points.size(); ++i)
                EXPECT_NEAR(after.points[i], before.points[i], 1e-9) << i;
        }
    }
}

TEST(BSpline, InsertsAtUnclampedEndsToo)
{
    std::mt19937 random(23);
    const Curve<double> before = curves::randomCurve<double>(random, 4, 6, 1, false);
    for (const double t : {before.knots[3], before.knots[6]}) {
        Curve<double> after = before;
        EXPECT_EQ(edit(insertKnot, after, t, 9, 1, true), 3);
        Curve<double> inner = after; // its range starts and ends at other indices
        const int start =
            int(std::upper_bound(after.knots.begin(), after.knots.end(), before.knots[3]) -
                after.knots.begin()) -
            4;
        inner.knots.erase(inner.knots.begin(), inner.knots.begin() + start);
        inner.points.erase(inner.points.begin(), inner.points.begin() + start);
        inner.count -= start;
        EXPECT_LT(curves::distance(before, inner), 1e-14) << t;
    }
}

TEST(BSpline, InsertsOnPaper)
{
    // 1/2 into a parabola: its halves' points.
    Curve<double> c{3, 3, 1, {0, 0, 0, 1, 1, 1}, {0, 8, 4}};
    EXPECT_EQ(edit(insertKnot, c, 0.5, 1, 1, false), 1);
    EXPECT_EQ(c.points, (std::vector<double>{0, 4, 6, 4}));
    EXPECT_EQ(edit(insertKnot, c, 0.5, 5, 1, false), 2) << "no more than the order";
    EXPECT_EQ(c.points, (std::vector<double>{0, 4, 5, 5, 6, 4}));
    EXPECT_EQ(edit(insertKnot, c, 0.5, 1, 1, false), 0);
    EXPECT_EQ(edit(insertKnot, c, 0, 1, 1, false), 0) << "a full end";
    EXPECT_EQ(edit(insertKnot, c, 1.5, 1, 1, false), 0) << "outside";
    EXPECT_EQ(edit(insertKnot, c, 0.25, 0, 1, false), 0);
    EXPECT_EQ(c.points, (std::vector<double>{0, 4, 5, 5, 6, 4})) << "copied all the same";
}

TEST(BSpline, RemovesOnlyWithin)
{
    Curve<double> c{3, 5, 1, {0, 0, 0, 1, 2, 3, 3, 3}, {0, 1, 5, 2, 3}};
    const Curve<double> before = c;
    for (const double t : {0.0, 3.0, 1.5, -1.0, 9.0}) {
        EXPECT_EQ(edit(removeKnot, c, t, 1, -1, false), 0) << t;
        EXPECT_EQ(c.points, before.points) << t;
    }
    EXPECT_EQ(edit(removeKnot, c, 1, 3, -1, false), 1) << "as often as it is there";
    EXPECT_EQ(c.knots, (std::vector<double>{0, 0, 0, 2, 3, 3, 3}));
    EXPECT_EQ(c.points.front(), 0);
    EXPECT_EQ(c.points.back(), 3) << "the ends stay";
}

TEST(BSpline, RemovesKnotsBeyondTheOrder)
{
    // Two separate pieces with idle points of 77 between.
    Curve<double> c{2, 6, 1, {0, 0, 1, 1, 1, 1, 2, 2}, {0, 4, 77, 77, 4, 8}};
    EXPECT_EQ(edit(removeKnot, c, 1, 2, -1, true), 2);
    EXPECT_EQ(c.points, (std::vector<double>{0, 4, 4, 8}));
    EXPECT_EQ(edit(removeKnot, c, 1, 2, -1, true), 2);
    EXPECT_EQ(c.points, (std::vector<double>{0, 8}));
}

TEST(BSpline, ElevatingLeavesTheCurveAndReducingUndoesIt)
{
    std::mt19937 random(29);
    for (int order = 2; order <= 6; ++order) {
        for (int trial = 0; trial < 30; ++trial) {
            SCOPED_TRACE(testing::Message() << "order " << order << " trial " << trial);
            const bool isClamped = trial % 3 > 0;
            const Curve<double> before =
                curves::randomCurve<double>(random, order, order + trial % 8, 2, isClamped);
            const int times = 1 + trial % 3;
            Curve<double> after = before;
            const int count = elevate(after, times);
            EXPECT_LE(count, before.count + (before.count - order + 1) * times);
            ASSERT_GE(count, after.order);
            EXPECT_TRUE(isSorted(after));
            EXPECT_EQ(after.knots[0], before.knots[order - 1]);
            EXPECT_EQ(after.knots[count], after.knots.back());
            EXPECT_LT(curves::distance(before, after), 1e-12);
            EXPECT_GT(reduce(after, times), 0);
            if (isClamped) {
                EXPECT_EQ(after.knots, before.knots);
            }
            EXPECT_EQ(after.count, before.count);
            EXPECT_LT(curves::distance(before, after), 1e-9);
        }
    }
}

TEST(BSpline, ElevatesSimpleKnotsToTheBound)
{
    Curve<double> c{3, 6, 1, {0, 0, 0, 1, 2, 3, 4, 4, 4}, {0, 3, 1, 4, 1, 5}};
    EXPECT_EQ(elevate(c, 2), 6 + 4 * 2);
    EXPECT_EQ(c.order, 5);
    // A line becomes its thirds.
    Curve<double> line{2, 2, 1, {0, 0, 1, 1}, {3, 9}};
    EXPECT_EQ(elevate(line, 2), 4);
    for (int i = 0; i < 4; ++i)
        EXPECT_NEAR(line.points[std::size_t(i)], 3 + 2 * i, 1e-14);
}

TEST(BSpline, ElevatingKeepsAGap)
{
    // Knots as many as the order part the curve.
    Curve<double> c{2, 4, 1, {0, 0, 1, 1, 2, 2}, {0, 1, 5, 6}};
    EXPECT_EQ(elevate(c, 1), 6);
    EXPECT_EQ(c.points, (std::vector<double>{0, 0.5, 1, 5, 5.5, 6}));
    EXPECT_EQ(reduce(c, 1), 4);
    EXPECT_EQ(c.points, (std::vector<double>{0, 1, 5, 6}));
}

TEST(BSpline, ElevatesKnotsOfVeryUnequalSteps)
{
    Curve<double> c{4, 7, 1, {0, 0, 0, 0, 1e-6, 1, 1 + 1e-6, 2, 2, 2, 2}, {0, 1, -1, 1, 0, 1, 0}};
    const Curve<double> before = c;
    elevate(c, 1);
    EXPECT_LT(curves::distance(before, c, 1001), 1e-9);
}

TEST(BSpline, ReducingApproximatesAndKeepsTheEnds)
{
    // x = t^3, y = t on one span: the best a parabola can do is 1/32 away.
    Curve<double> c{4, 4, 2, {0, 0, 0, 0, 1, 1, 1, 1}, {0, 0, 0, 1. / 3, 0, 2. / 3, 1, 1}};
    const Curve<double> before = c;
    EXPECT_EQ(reduce(c, 1), 3);
    EXPECT_EQ(c.points[0], 0);
    EXPECT_EQ(c.points[4], 1);
    EXPECT_EQ(c.points[5], 1);
    EXPECT_LT(curves::distance(before, c), 0.05);
    // A smooth spline keeps its knots, and so its shape.
    Curve<double> wave{
        4, 9, 1, {0, 0, 0, 0, 1, 2, 3, 4, 5, 6, 6, 6, 6}, {0, 1, 2, 1, 0, 1, 2, 1, 0}};
    const Curve<double> smooth = wave;
    EXPECT_EQ(reduce(wave, 1), 8);
    EXPECT_LT(curves::distance(smooth, wave), 0.3);
}

TEST(BSpline, DegreesThatCannotBe)
{
    Curve<double> c{3, 4, 1, {0, 0, 0, 1, 2, 2, 2}, {0, 1, 2, 3}};
    Curve<double> copy = c;
    EXPECT_EQ(reduce(copy, 2), 0) << "an order below 2";
    copy = c;
    EXPECT_EQ(changed(&BSpline::elevate<double>, copy, 0), 0);
    double knots[16] = {1, 1, 1, 1, 1, 1, 1}, points[16] = {};
    EXPECT_EQ(BSpline::elevate(3, 4, knots, 1, points, 1, knots, points), 0) << "no width";
    EXPECT_EQ(BSpline::elevate(3, 4, c.knots.data(), 1, points, std::numeric_limits<int>::max(),
                               knots, points),
              0);
}
