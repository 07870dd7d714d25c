#include "geometry/zylbezier.h"
#include "geometry/zylbox.h"
#include "geometry/zylcrossings.h"
#include "geometry/zylcurveorders.h"
#include "geometry/zylgeneralpath.h"
#include "geometry/zylrectangle.h"
#include "geometryprinters.h"
#include "support/warnings.h"
#include "tools/vexception.h"

#include <memory>

using namespace geometry;

namespace
{
std::vector<double> rangesOf(const Crossings& crossings)
{
    return {crossings.ranges(), crossings.ranges() + crossings.limit()};
}

struct Entry {
    double from, to;
    int direction;
};
struct Recorded {
    std::vector<Entry> entries;
    std::vector<double> ranges;
};
} // namespace

class EvenOddRanges : public testing::TestWithParam<Recorded>
{
};
TEST_P(EvenOddRanges, AreTheSymmetricDifference)
{
    EvenOdd crossings(Box2f(0, 0, 1, 10));
    for (const Entry& entry : GetParam().entries)
        crossings.record(entry.from, entry.to, entry.direction);
    EXPECT_EQ(rangesOf(crossings), GetParam().ranges);
}
INSTANTIATE_TEST_SUITE_P(
    Orders, EvenOddRanges,
    testing::Values(Recorded{{{1, 3, 1}, {5, 7, 1}, {2, 6, -1}}, {1, 2, 3, 5, 6, 7}},
                    Recorded{{{5, 7, 1}, {1, 5, -1}}, {1, 7}}, Recorded{{{1, 3, 1}, {1, 3, 1}}, {}},
                    Recorded{{{1, 5, 1}, {2, 3, 1}}, {1, 2, 3, 5}},
                    Recorded{{{3, 3, 1}, {5, 4, 1}, {NAN, 4, 1}}, {}}));

class NonZeroRanges : public testing::TestWithParam<Recorded>
{
};
TEST_P(NonZeroRanges, KeepCounts)
{
    NonZero crossings(Box2f(0, 0, 1, 10));
    for (const Entry& entry : GetParam().entries)
        crossings.record(entry.from, entry.to, entry.direction);
    EXPECT_EQ(rangesOf(crossings), GetParam().ranges);
}
INSTANTIATE_TEST_SUITE_P(
    Steps, NonZeroRanges,
    testing::Values(Recorded{{{1, 3, 1}, {3, 5, 1}}, {1, 5}},
                    Recorded{{{3, 5, 1}, {1, 3, 1}}, {1, 5}}, Recorded{{{1, 3, 1}, {1, 3, -1}}, {}},
                    Recorded{{{1, 5, 1}, {2, 3, -1}}, {1, 2, 3, 5}},
                    Recorded{{{1, 5, 1}, {2, 3, 1}}, {1, 2, 2, 3, 3, 5}},
                    // Only one pair is visited: what is left lies over the next.
                    Recorded{{{0, 1, 1}, {2, 3, 1}, {0, 3, -1}}, {1, 3, 2, 3}},
                    Recorded{{{1, 2, 1}, {3, 4, 1}, {2, 3, 1}}, {1, 4}}));

TEST(Crossings, CoverOnlyWithoutAGap)
{
    EvenOdd odd(Box2f(0, 0, 1, 10));
    NonZero sum(Box2f(0, 0, 1, 10));
    EXPECT_FALSE(odd.covers(2, 2));
    EXPECT_FALSE(sum.covers(2, 2));
    for (Crossings* const crossings :
         {static_cast<Crossings*>(&odd), static_cast<Crossings*>(&sum)}) {
        crossings->record(1, 3, 1);
        EXPECT_TRUE(crossings->covers(1, 3));
        EXPECT_TRUE(crossings->covers(2, 2));
        EXPECT_FALSE(crossings->covers(4, 4));
        crossings->record(4, 6, 1);
        EXPECT_FALSE(crossings->covers(2, 5));
    }
    EXPECT_FALSE(odd.covers(1, 2)) << "two ranges";
    EXPECT_TRUE(sum.covers(1, 2));
    sum.record(3, 4, -1);
    EXPECT_TRUE(sum.covers(2, 5)) << "whatever the sums are";
}

TEST(Crossings, RangesSortThemselvesInManySubpaths)
{
    EvenOdd crossings(Box2f(0, 0, 1, 10));
    constexpr int count = 50000;
    for (int i = 0; i < count; ++i) {
        const double y = double((quint64(unsigned(i)) * 7919) % count);
        crossings.record(y, y + 0.5, i & 1 ? 1 : -1);
    }
    EXPECT_EQ(crossings.limit(), 2 * count);
    for (int i = 0; i < count; ++i)
        crossings.record(i + 0.5, i + 1, 1);
    EXPECT_TRUE(crossings.covers(0, count));
}

TEST(Crossings, LevelEdgesAreSeenUnlessTheyClose)
{
    EvenOdd crossings(Box2f(2, 2, 4, 4));
    EXPECT_TRUE(crossings.accumulateLine(0, 3, 3, 3));
    EXPECT_FALSE(crossings.accumulateLine(0, 3, 1, 3));
    EXPECT_FALSE(crossings.accumulateLine(5, 0, 5, 9)) << "right of the box";
    EXPECT_FALSE(crossings.accumulateLine(2, 0, 2, 9)) << "along its left side";
    EXPECT_EQ(rangesOf(crossings), (std::vector<double>{2, 4}));
    EXPECT_TRUE(crossings.accumulateLine(0, 0, 5, 5));

    // The close from (10, 3) back to (0, 3) leads through the box unseen.
    GeneralPath2f path;
    const float points[][2] = {{0, 3}, {0, 9}, {10, 9}, {10, 3}};
    path.moveTo(points[0]);
    for (const auto& point : points)
        path.lineTo(point);
    GeneralPathIterator i(path);
    const std::unique_ptr<Crossings> found(Crossings::findCrossings(i, Box2f(2, 2, 4, 4)));
    ASSERT_TRUE(found);
    EXPECT_EQ(rangesOf(*found), (std::vector<double>{3, 4}));
}

TEST(Crossings, SteepCurvesOfAnyDegreeGiveUpOnlyNearby)
{
    const double far[] = {-1, 1, -2, 2, -1, 3, -2, 4}, near[] = {-1, 1, 3, 2, -1, 3, -2, 4};
    EvenOdd crossings(Box2f(0, 0, 1, 10));
    EXPECT_FALSE(crossings.accumulateCurve(-1, 0.5, far, 4));
    EXPECT_EQ(rangesOf(crossings), (std::vector<double>{0.5, 4}));
    EXPECT_TRUE(crossings.accumulateCurve(-1, 0.5, near, 4));
}

TEST(Curve, InsertsMonotonicPiecesInPathOrder)
{
    CurveVector curves;
    Curve::insertLine(curves, 0, 1, 5, 1);
    EXPECT_EQ(curves.count(), 0u);
    const double arch[] = {2, -4, 4, 0}; // from (0, 0) up to (2, -2) and back
    Curve::insertQuad(curves, 0, 0, arch);
    ASSERT_EQ(curves.count(), 2u);
    EXPECT_EQ(curves[0]->direction, Curve::Decreasing);
    EXPECT_EQ(curves[0]->getX0(), 0);
    EXPECT_EQ(curves[1]->direction, Curve::Increasing);
    EXPECT_EQ(curves[1]->getXTop(), 2);
    EXPECT_EQ(curves[1]->getYTop(), -2);
    curves.clear();
    const double wave[] = {1, 6, 2, -5, 3, 1}; // turns twice
    Curve::insertCubic(curves, 0, 0, wave);
    ASSERT_EQ(curves.count(), 3u);
    for (unsigned i = 0; i < 3; ++i) {
        EXPECT_EQ(curves[i]->direction, i == 1 ? -1 : 1);
        if (i > 0) {
            EXPECT_EQ(curves[i]->getX0(), curves[i - 1]->getX1());
            EXPECT_EQ(curves[i]->getY0(), curves[i - 1]->getY1());
        }
    }
    EXPECT_EQ(curves[2]->getX1(), 3);
}

TEST(Order3, FindsEveryHeight)
{
    // The second bends hard; the third is all but a quadratic curve, which unsettles the formula.
    for (const Order3& curve :
         {Order3(0, 0, 1, 1, 2, 2, 3, 3, 1), Order3(0, 0, 9, 0, -9, 1, 3, 1, 1),
          Order3(0, 0, 1, 2.0 / 3, 2, 5.0 / 3 + 1e-9, 3, 3, 1)})
        for (int i = 0; i <= 1000; ++i) {
            const double y = curve.y0 + (curve.y1 - curve.y0) * i / 1000;
            EXPECT_NEAR(curve.YforT(curve.TforY(y)), y, 1e-14);
        }
    const Order3 curve(0, 0, 1, 1, 2, 2, 3, 3, 1);
    EXPECT_EQ(curve.TforY(0), 0);
    EXPECT_EQ(curve.TforY(3), 1);
    EXPECT_THROW(curve.TforY(NAN), QString);
}

TEST(Order2, SubCurvesKeepToTheCurve)
{
    Order2 curve(0, 0, 4, 1, 1, 4, 1);
    EXPECT_EQ(curve.getSubCurve(0, 4), &curve);
    const std::unique_ptr<Curve> part(curve.getSubCurve(1, 3, -1));
    EXPECT_EQ(part->direction, -1);
    for (double y = 1; y <= 3; y += 0.25)
        EXPECT_NEAR(part->XforY(y), curve.XforY(y), 1e-14) << y;
    double coords[4];
    EXPECT_EQ(part->getSegment(coords), 2);
    EXPECT_EQ(coords[3], 1) << "it ends at its top";
}

struct Lines {
    double top, bottom; // of the second line, in x
    double from;
    int order;
    double end;
};
class LineOrder : public testing::TestWithParam<Lines>
{
};
TEST_P(LineOrder, HoldsToTheCrossing)
{
    const Order1 line(0, 0, 10, 10, 1), other(GetParam().top, 0, GetParam().bottom, 10, 1);
    double yrange[] = {GetParam().from, 20};
    EXPECT_EQ(line.compareTo(other, yrange), GetParam().order);
    EXPECT_DOUBLE_EQ(yrange[1], GetParam().end);
}
INSTANTIATE_TEST_SUITE_P(Pairs, LineOrder,
                         testing::Values(Lines{10, 0, 0, -1, 5}, Lines{10, 0, 5, 1, 10},
                                         Lines{10, 0, 7, 1, 10}, Lines{1, 11, 0, -1, 10},
                                         Lines{-1, 9, 0, 1, 10}, Lines{0, 10, 0, 0, 10},
                                         Lines{20, 30, 0, -1, 10}));

TEST(Curve, ComparesCurvesToTheirCrossing)
{
    // x = 4 t (1 - t) against x = 1 - y: they cross where 4y - 4y^2 = 1 - y, first at y = 1/4.
    const Order2 bow(0, 0, 2, 0.5, 0, 1, 1);
    const Order1 line(1, 0, 0, 1, 1);
    double yrange[] = {0, 1};
    EXPECT_EQ(bow.compareTo(line, yrange), -1);
    EXPECT_NEAR(yrange[1], 0.25, 1e-6);
    yrange[1] = 1;
    EXPECT_EQ(static_cast<const Curve&>(line).compareTo(bow, yrange), 1);
    EXPECT_NEAR(yrange[1], 0.25, 1e-6);
}

TEST(Curve, CoincidentCurvesComeToAnEnd)
{
    const double sizes[] = {1e-300, 1e-12, 1, 1e12, 1e150};
    for (const double size : sizes) {
        const Order3 curve(size, 0, 3 * size, size, 2 * size, 2 * size, size, 3 * size, 1);
        const Order3 same = curve;
        double yrange[] = {0, 3 * size};
        EXPECT_EQ(curve.compareTo(same, yrange), 0) << size;
        EXPECT_EQ(yrange[1], 3 * size);
    }
    const Order3 odd(0, 0, INFINITY, 1, 2, NAN, 1, INFINITY, 1);
    double yrange[] = {0, INFINITY};
    try {
        odd.compareTo(odd, yrange);
    } catch (const QString&) {
    } catch (const VException&) {
    }
}

TEST(Curve, ThrowsWhenTheRangeGoesBack)
{
    const Order1 line(0, 0, 10, 10, 1);
    const Order2 curve(0, 0, 1, 1, 10, 10, 1);
    double yrange[] = {12, 20};
    EXPECT_THROW(line.compareTo(line, yrange), QString);
    double empty[] = {5, 5};
    try {
        line.compareTo(line, empty);
        ADD_FAILURE();
    } catch (const QString& text) {
        EXPECT_EQ(text, QStringLiteral("yrange already screwed up..."));
    }
    WarningCatcher warnings;
    double back[] = {12, 20};
    try {
        curve.compareTo(curve, back);
        ADD_FAILURE();
    } catch (const VException& error) {
        EXPECT_EQ(error.message(), QStringLiteral("backstepping from 12 to 10"));
    }
    const QStringList texts = warnings.take();
    ASSERT_EQ(texts.size(), 3);
    EXPECT_TRUE(texts[0].startsWith(QLatin1String("this == 0x")));
    EXPECT_EQ(texts[2], QStringLiteral("target range = 12.000000=>20.000000"));
}

TEST(Curve, NothingIsCloseToZero)
{
    EXPECT_FALSE(Curve::fairlyClose(0, 0));
    EXPECT_TRUE(Curve::fairlyClose(1, 1 + 9e-11));
    EXPECT_FALSE(Curve::fairlyClose(1, 1 + 2e-10));
    EXPECT_EQ(Curve::signeddiffbits(Curve::next(Curve::next(2.5)), 2.5), 2);
    EXPECT_EQ(Curve::diffbits(Curve::prev(2.5), 2.5), 1);
    const double roots[] = {-0.5, 1.5, 0.25, 0.75};
    EXPECT_EQ(Curve::firstValidRoot(roots, 4), 0.25);
    EXPECT_EQ(Curve::firstValidRoot(roots, 2), 0);
}

TEST(BezierCurve, SolvesPassesButNoTouches)
{
    struct Row {
        std::vector<double> coefficients, roots;
    };
    // Bernstein forms of products of (t - r).
    for (const Row& row :
         {Row{{-1, 1}, {0.5}}, Row{{0.1875, -0.3125, 0.1875}, {0.25, 0.75}},
          Row{{0.25, -0.25, 0.25}, {}}, Row{{1, 0, 1}, {}}, Row{{0, -1, -1}, {0}},
          Row{{-1, -1, 0}, {1}}, Row{{-1, 1, -1, 1}, {0.5}},
          Row{{-0.09375, 0.135416666666667, -0.135416666666667, 0.09375}, {0.25, 0.5, 0.75}}}) {
        double roots[8];
        const int count =
            BezierCurve::solve(int(row.coefficients.size()), row.coefficients.data(), 1e-9, roots);
        ASSERT_EQ(count, int(row.roots.size())) << testing::PrintToString(row.coefficients);
        for (int i = 0; i < count; ++i)
            EXPECT_NEAR(roots[i], row.roots[std::size_t(i)], 1e-8);
    }
}
