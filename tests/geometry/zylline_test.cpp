#include "geometry/zylline.h"
#include "geometry/zylrectangle.h"
#include "geometryprinters.h"
#include "support/warnings.h"

#include <memory>

using namespace geometry;

namespace
{
using Floats = std::vector<float>;

/// All segments of a shape: each its type, then `dimension` floats where it has a point. 99 marks a
/// float left alone.
template <class Shape>
std::vector<Floats> segments(const Shape& shape, unsigned dimension)
{
    std::vector<Floats> all;
    const std::unique_ptr<PathIterator> i(shape.getPathIterator());
    EXPECT_EQ(i->windingRule(), NonZeroRule);
    for (; !i->isDone(); i->next()) {
        Floats coords(4, 99);
        const int type = i->currentSegment(coords.data(), dimension);
        EXPECT_EQ(type, i->currentType());
        coords.insert(coords.begin(), float(type));
        all.push_back(coords);
    }
    EXPECT_EQ(i->currentType(), CloseSegment);
    return all;
}
} // namespace

struct Side {
    Vector2f point;
    int side;
};
class LineSide : public testing::TestWithParam<Side>
{
};
TEST_P(LineSide, IsTold)
{
    EXPECT_EQ(Line2f(0, 0, 2, 2).relativeCCW(GetParam().point), GetParam().side);
}
INSTANTIATE_TEST_SUITE_P(Points, LineSide,
                         testing::Values(Side{{0, 1}, 1}, Side{{1, 0}, -1}, Side{{1, 1}, 0},
                                         Side{{0, 0}, 0}, Side{{2, 2}, 0}, Side{{3, 3}, 1},
                                         Side{{-1, -1}, -1}, Side{{NAN, 0}, 0}));

TEST(Line2f, SegmentsThatTouchIntersect)
{
    const Line2f line(0, 0, 4, 0);
    EXPECT_TRUE(line.intersects(Line2f(2, -1, 2, 1)));
    EXPECT_TRUE(line.intersects(Line2f(4, 0, 5, 5)));
    EXPECT_TRUE(line.intersects(Line2f(3, 0, 9, 0))) << "overlapping on one line";
    EXPECT_FALSE(line.intersects(Line2f(5, 0, 9, 0)));
    EXPECT_FALSE(line.intersects(Line2f(2, 0.1f, 2, 1)));
}

TEST(Line2f, DistancesToSegmentAndLineDifferBeyondTheEnds)
{
    const Line2f line(1, 1, 5, 1);
    EXPECT_EQ(line.ptSegDist(Vector2f(3, 4)), 3);
    EXPECT_EQ(line.ptSegDist(Vector2f(8, 5)), 5);
    EXPECT_EQ(line.ptSegDistSq(Vector2f(-2, 1)), 9);
    EXPECT_EQ(line.ptLineDist(Vector2f(8, 5)), 4);
    EXPECT_EQ(Line2f(1, 1, 1, 1).ptSegDist(Vector2f(4, 5)), 5) << "no length";
}

TEST(Line2f, ContainsNothingButHasBounds)
{
    const Line2f line(4, 1, 0, 3);
    EXPECT_EQ(line.bounds(), Box2f(0, 1, 4, 3));
    EXPECT_FALSE(line.contains(Vector2f(2, 2)));
    EXPECT_FALSE(line.contains(Box2f(2, 2, 2, 2)));
    const Line3f space(4, 1, 0, 0, 3, 2);
    EXPECT_EQ(space.bounds(), Box3f(0, 1, 0, 4, 3, 2));
    EXPECT_FALSE(space.contains(Vector3f(4, 1, 0)));
    EXPECT_FALSE(space.intersects(space.bounds()));
}

TEST(Line2f, IteratorCopiesOnIntoTheNextFloats)
{
    const Line2f flat(1, 2, 3, 4);
    EXPECT_EQ(segments(flat, 2), (std::vector<Floats>{{0, 1, 2, 99, 99}, {1, 3, 4, 99, 99}}));
    EXPECT_EQ(segments(flat, 1), segments(flat, 2)) << "two floats at the least";
    EXPECT_EQ(segments(flat, 3), (std::vector<Floats>{{0, 1, 2, 3, 99}, {1, 3, 4, 0, 99}}));
    const Line3f space(1, 2, 3, 4, 5, 6);
    EXPECT_EQ(segments(space, 2), (std::vector<Floats>{{0, 1, 2, 3, 99}, {1, 4, 5, 6, 99}}));
    EXPECT_EQ(segments(space, 4), (std::vector<Floats>{{0, 1, 2, 3, 4}, {1, 4, 5, 6, 0}}));
}

TEST(PathIterator, ReadingPastTheEndWarns)
{
    const Line3f line;
    const Rectangle rectangle(0, 0, 1, 1);
    Line3fIterator lines(line);
    RectIterator rectangles(rectangle);
    for (int i = 0; i < 5; ++i) {
        lines.next();
        rectangles.next();
    }
    float coords[4];
    WarningCatcher catcher;
    EXPECT_EQ(lines.currentSegment(coords, 2), -1);
    EXPECT_EQ(catcher.text(), QStringLiteral("line iterator out of bounds"));
    EXPECT_EQ(rectangles.currentSegment(coords, 2), -1);
    EXPECT_EQ(catcher.text(), QStringLiteral("rect iterator out of bounds"));
}

TEST(Rectangle, IteratorGoesRoundAndCloses)
{
    EXPECT_EQ(segments(Rectangle(1, 2, 3, 4), 3), (std::vector<Floats>{{0, 1, 2, 99, 99},
                                                                       {1, 4, 2, 99, 99},
                                                                       {1, 4, 6, 99, 99},
                                                                       {1, 1, 6, 99, 99},
                                                                       {-1, 99, 99, 99, 99}}));
    EXPECT_TRUE(segments(Rectangle(1, 2, -3, 4), 2).empty());
    EXPECT_EQ(segments(Rectangle(1, 2, 0, 0), 2).size(), 5u);
}

TEST(Rectangle, OutcodesNameTheSides)
{
    const Rectangle r(0, 0, 4, 2);
    const std::pair<Vector2f, int> cases[] = {{{2, 1}, 0},  {{0, 2}, 0},  {{-1, 1}, 1},
                                              {{5, 1}, 2},  {{2, -1}, 4}, {{-1, 3}, 9},
                                              {{5, 3}, 10}, {{5, -1}, 6}};
    for (const auto& [point, code] : cases)
        EXPECT_EQ(r.outcode(point), code) << testing::PrintToString(point);
    EXPECT_EQ(Rectangle(0, 0, 0, 2).outcode(Vector2f(0, 1)), 3);
    EXPECT_EQ(Rectangle(0, 0, 4, -1).outcode(Vector2f(5, 0)), 14);
}

TEST(Rectangle, ContainsIsClosedAndIntersectsIsOpen)
{
    const Rectangle r(0, 0, 4, 2);
    EXPECT_TRUE(r.contains(Vector2f(4, 2)));
    EXPECT_TRUE(r.contains(Box2f(0, 0, 4, 2)));
    EXPECT_TRUE(r.contains(Box2f(1, 1, 1, 2))) << "a flat box is not empty";
    EXPECT_FALSE(r.contains(Box2f(0, 0, 4, 2.1f)));
    EXPECT_FALSE(r.contains(Box2f()));
    EXPECT_FALSE(r.intersects(Box2f(4, 0, 5, 2)));
    EXPECT_TRUE(r.intersects(Box2f(3.9f, -5, 5, 9)));
    EXPECT_FALSE(r.intersects(Box2f()));
    const Rectangle negative(4, 2, -4, -2);
    EXPECT_TRUE(negative.bounds().isEmpty());
    EXPECT_FALSE(negative.contains(Vector2f(1, 1)));
    EXPECT_FALSE(negative.intersects(Box2f(0, 0, 9, 9)));
}

TEST(Rectangle, ClipsLines)
{
    const Rectangle r(0, 0, 4, 2);
    EXPECT_TRUE(r.intersects(Line2f(1, 1, 2, 1))) << "inside";
    EXPECT_TRUE(r.intersects(Line2f(-1, -1, 5, 3))) << "through";
    EXPECT_TRUE(r.intersects(Line2f(-1, 1, 1, -1))) << "touching a corner";
    EXPECT_FALSE(r.intersects(Line2f(-1, 0.9f, 0.9f, -1))) << "past a corner";
    EXPECT_FALSE(r.intersects(Line2f(-1, 3, 5, 2.1f)));
    EXPECT_TRUE(r.intersects(Line2f(2, -9, 2, 9)));
    EXPECT_FALSE(Rectangle(0, 0, 0, 2).intersects(Line2f(-1, 1, 1, 1))) << "no width";
    EXPECT_TRUE(Line2f(-1, 1, 5, 1).intersects(Box2f(0, 0, 4, 2)));
    EXPECT_FALSE(Line2f(-1, 1, 5, 1).intersects(Box2f()));
}

TEST(Rectangle, ClippingAgreesWithTheSidesOfTheLine)
{
    const Rectangle r(-1, -1, 2, 2);
    Numbers random;
    for (int round = 0; round < 2000; ++round) {
        const Line2f line(float(random(-3, 3)), float(random(-3, 3)), float(random(-3, 3)),
                          float(random(-3, 3)));
        // Corners on both sides of the line, and the ends not both beyond one side.
        int sides = 0;
        const double dx = double(line.p2.x) - line.p1.x, dy = double(line.p2.y) - line.p1.y;
        for (const double x : {-1.0, 1.0})
            for (const double y : {-1.0, 1.0})
                sides |= dx * (y - line.p1.y) - dy * (x - line.p1.x) > 0 ? 1 : 2;
        const Box2f ends = line.bounds();
        const bool overlaps =
            ends.min.x <= 1 && ends.max.x >= -1 && ends.min.y <= 1 && ends.max.y >= -1;
        ASSERT_EQ(r.intersects(line), sides == 3 && overlaps) << "round " << round;
    }
}

TEST(Rectangle, ClippingEndsForNumbersThatAreNone)
{
    const float odd[] = {NAN, INFINITY, -INFINITY, 3.4e38f, -3.4e38f, 1e-45f, 0, 1};
    for (const float x : odd)
        for (const float y : odd)
            for (const float size : odd) {
                const Rectangle r(x, y, size, y);
                r.intersects(Line2f(y, size, x, x));
                EXPECT_EQ(r.contains(Vector2f(NAN, 0)), false);
            }
}

TEST(Rectangle, SpansAndGrows)
{
    Rectangle r;
    r.setCoords(Vector2f(5, 1), Vector2f(2, 7));
    EXPECT_EQ(r.bounds(), Box2f(2, 1, 5, 7));
    EXPECT_EQ(r.center(), Vector2f(3.5f, 4));
    r.include(Vector2f(0, 9));
    EXPECT_EQ(r.bounds(), Box2f(0, 1, 5, 9));
    r.include(Rectangle(-1, 0, 1, 1));
    r.include(Rectangle(50, 50, -1, 0));
    EXPECT_EQ(r.bounds(), Box2f(-1, 0, 5, 9));
}
