#include "geometry/zylarc.h"
#include "geometry/zylbox.h"
#include "geometry/zylcurve2f.h"
#include "geometry/zylgeneralpath.h"
#include "geometry/zylroundrect.h"
#include "geometryprinters.h"
#include "support/warnings.h"

#include <memory>

using namespace geometry;

namespace
{
struct Segment {
    int type;
    std::vector<Vector2f> points;
};

std::vector<Segment> segmentsOf(const Shape2f& shape)
{
    std::vector<Segment> all;
    const std::unique_ptr<PathIterator> i(shape.getPathIterator());
    EXPECT_EQ(i->windingRule(), NonZeroRule);
    for (; !i->isDone(); i->next()) {
        Vector2f points[3];
        const int type = i->currentSegment(&points[0].x, 2);
        EXPECT_EQ(type, i->currentType());
        all.push_back({type, {points, points + std::max(type == 0 ? 1 : type, 0)}});
    }
    EXPECT_EQ(i->currentType(), -1);
    return all;
}

std::string typesOf(const Shape2f& shape)
{
    std::string text;
    for (const Segment& segment : segmentsOf(shape))
        text += segment.type < 0 ? 'z' : char('0' + segment.type);
    return text;
}

Vector2f bezierAt(const std::vector<Vector2f>& p, float t)
{
    std::vector<Vector2f> row = p;
    for (std::size_t n = row.size(); n > 1; --n)
        for (std::size_t k = 0; k + 1 < n; ++k)
            row[k] = row[k] * (1 - t) + row[k + 1] * t;
    return row[0];
}
} // namespace

TEST(Arc2f, DegreesAreNormalizedInThreeWays)
{
    struct Row {
        double told, normal;
    };
    for (const Row& row :
         {Row{180, 180}, Row{-180, 180}, Row{-179, -179}, Row{181, -179}, Row{540, 180},
          Row{-539, -179}, Row{-540, 180}, Row{600, 240}, Row{-700, -340}, Row{720, 0}})
        EXPECT_EQ(Arc2f::normalizeDegrees(row.told), row.normal) << row.told;
}

struct Angles {
    float start, extent, angle;
    bool contains;
};
class ArcAngle : public testing::TestWithParam<Angles>
{
};
TEST_P(ArcAngle, EndsBeforeTheEnd)
{
    const auto [start, extent, angle, contains] = GetParam();
    EXPECT_EQ(Arc2f(Rectangle(0, 0, 2, 2), start, extent, Arc2f::Open).containsAngle(angle),
              contains);
}
INSTANTIATE_TEST_SUITE_P(Angles, ArcAngle,
                         testing::Values(Angles{0, 90, 0, true}, Angles{0, 90, 90, false},
                                         Angles{0, -90, 0, true}, Angles{0, -90, -89, true},
                                         Angles{0, -90, 1, false}, Angles{170, 30, -165, true},
                                         Angles{0, 0, 0, false}, Angles{10, -360, 200, true}));

struct ArcPath {
    float extent;
    Arc2f::Type type;
    const char* types;
};
class ArcSegments : public testing::TestWithParam<ArcPath>
{
};
TEST_P(ArcSegments, FollowTheCircle)
{
    const Arc2f arc(Rectangle(1, 2, 8, 8), 30, GetParam().extent, GetParam().type);
    EXPECT_EQ(typesOf(arc), GetParam().types);
    const std::vector<Segment> segments = segmentsOf(arc);
    Vector2f last = segments[0].points[0];
    EXPECT_CLOSE(last, arc.startPoint(), 1e-5f);
    for (const Segment& segment : segments) {
        if (segment.type != 3)
            continue;
        std::vector<Vector2f> curve = segment.points;
        curve.insert(curve.begin(), last);
        last = curve.back();
        for (float t = 0; t <= 1; t += 0.125f)
            EXPECT_NEAR((bezierAt(curve, t) - arc.center()).length(), 4, 4 * 3e-4)
                << "of a quarter";
    }
    if (GetParam().extent != 0) {
        EXPECT_CLOSE(last, std::abs(GetParam().extent) < 360 ? arc.endPoint() : arc.startPoint(),
                     2e-5f);
    }
}
INSTANTIATE_TEST_SUITE_P(
    Extents, ArcSegments,
    testing::Values(ArcPath{90, Arc2f::Open, "03"}, ArcPath{91, Arc2f::Open, "033"},
                    ArcPath{-200, Arc2f::Chord, "0333z"}, ArcPath{60, Arc2f::Pie, "031z"},
                    ArcPath{1000, Arc2f::Open, "03333"}, ArcPath{0, Arc2f::Open, "0"},
                    ArcPath{1e-7f, Arc2f::Open, "03"}));

TEST(Arc2f, EmptyFramesHaveNothing)
{
    const Arc2f arc(Rectangle(0, 0, -1, 4), 0, 360, Arc2f::Pie);
    EXPECT_TRUE(arc.bounds().isEmpty());
    EXPECT_EQ(typesOf(arc), "");
    EXPECT_FALSE(arc.contains(Vector2f(-0.5f, 2)));
    EXPECT_FALSE(arc.intersects(Box2f(-1, 0, 1, 4)));
}

TEST(Arc2f, TangentArcRoundsTheCornerOff)
{
    Arc2f arc(Arc2f::Pie);
    arc.setArcByTangent(Vector2f(1, 0), Vector2f(0, 0), Vector2f(0, 1), 0.25f);
    EXPECT_NEAR(arc.start, -90, 1e-4);
    EXPECT_NEAR(arc.extent, -90, 1e-4);
    EXPECT_CLOSE(arc.startPoint(), Vector2f(0.25f, 0), 1e-5f);
    EXPECT_CLOSE(arc.endPoint(), Vector2f(0, 0.25f), 1e-5f);
    EXPECT_EQ(arc.type, Arc2f::Pie);
}

TEST(Arc2f, AnglesGoFromPointToPoint)
{
    Arc2f arc(Rectangle(-1, -1, 2, 2), 0, 0, Arc2f::Open);
    arc.setAngles(Vector2f(0, 3), Vector2f(5, 0));
    EXPECT_NEAR(arc.start, 90, 1e-4);
    EXPECT_NEAR(arc.extent, 270, 1e-4);
    arc.setAngles(Vector2f(1, 0), Vector2f(1, 0));
    EXPECT_NEAR(arc.extent, 360, 1e-4) << "a turn of nothing is a whole one";
}

TEST(Arc2f, BoundsReachTheExtremesPassed)
{
    EXPECT_CLOSE(Arc2f(Rectangle(0, 0, 4, 2), 45, 90, Arc2f::Open).bounds().max,
                 Vector2f(3.41421f, 2), 1e-4f);
    EXPECT_CLOSE(Arc2f(Rectangle(0, 0, 4, 2), 45, 90, Arc2f::Open).bounds().min,
                 Vector2f(0.585786f, 1.70711f), 1e-4f);
    EXPECT_CLOSE(Arc2f(Rectangle(0, 0, 4, 2), 45, 90, Arc2f::Pie).bounds().min,
                 Vector2f(0.585786f, 1), 1e-4f);
}

TEST(Arc2f, InsideOfPiesAndSegments)
{
    const Rectangle frame(-1, -1, 2, 2);
    const Arc2f pie(frame, 0, 90, Arc2f::Pie), segment(frame, 0, 90, Arc2f::Chord);
    EXPECT_TRUE(pie.contains(Vector2f(0.1f, 0.1f)));
    EXPECT_FALSE(segment.contains(Vector2f(0.1f, 0.1f)));
    EXPECT_TRUE(segment.contains(Vector2f(0.6f, 0.6f)));
    EXPECT_FALSE(pie.contains(Vector2f(0.8f, 0.8f)));
    // More than half a turn either way: the chord's side is inside too.
    for (const float extent : {-270.0f, 270.0f}) {
        const Arc2f large(frame, extent < 0 ? 0 : 90, extent, Arc2f::Chord);
        EXPECT_TRUE(large.contains(Vector2f(0.1f, 0.1f)));
        EXPECT_FALSE(large.contains(Vector2f(0.6f, 0.6f)));
        // A box over the notch of a pie has all corners inside.
        const Arc2f notched(frame, extent < 0 ? -45 : 45, extent, Arc2f::Pie);
        EXPECT_FALSE(notched.contains(Box2f(-0.1f, -0.5f, 0.4f, 0.5f)) &&
                     notched.contains(Vector2f(0.3f, 0)));
    }
    // The same segment away from the origin is measured against the chord at the origin.
    const Arc2f away(Rectangle(9, 9, 2, 2), 0, 90, Arc2f::Chord);
    EXPECT_TRUE(away.contains(Vector2f(10.6f, 10.6f)));
    EXPECT_TRUE(away.contains(Vector2f(10.1f, 10.1f)));
}

TEST(Arc2f, BoxesMeetTheArcAtItsAngles)
{
    const Arc2f arc(Rectangle(-2, -1, 4, 2), 20, 50, Arc2f::Open);
    EXPECT_TRUE(arc.intersects(Box2f(1, 0.5f, 3, 3)));
    EXPECT_FALSE(arc.intersects(Box2f(-3, 0.5f, -1, 3))) << "the other side of the ellipse";
    // An edge through the center asks for the radians of the top as if they were degrees.
    EXPECT_FALSE(
        Arc2f(Rectangle(-1, -1, 2, 2), 85, 20, Arc2f::Open).intersects(Box2f(0, 1, 3, 1.5f)));
    EXPECT_TRUE(
        Arc2f(Rectangle(-1, -1, 2, 2), 0, 3, Arc2f::Open).intersects(Box2f(0, 0.99f, 3, 1.5f)));
}

TEST(RoundRect, CornersAreQuartersOfEllipses)
{
    const RoundRect r(0, 0, 10, 6, 4, 2);
    EXPECT_EQ(typesOf(r), "013131313z");
    const std::vector<Segment> segments = segmentsOf(r);
    EXPECT_EQ(segments[0].points[0], Vector2f(0, 1));
    EXPECT_EQ(segments[1].points[0], Vector2f(0, 5));
    EXPECT_EQ(segments[2].points[2], Vector2f(2, 6));
    EXPECT_EQ(segments[8].points[2], Vector2f(0, 1));
    const GeneralPath2f path{r};
    Numbers numbers;
    for (int i = 0; i < 2000; ++i) {
        const float x = float(numbers(-1, 11));
        const Vector2f p(x, float(numbers(-1, 7)));
        // The curves leave the ellipse by 3e-4 of a radius of 2.
        Vector2f d(std::max(std::abs(p.x - 5) - 3, 0.0f) / 2,
                   std::max(std::abs(p.y - 3) - 2, 0.0f));
        if (std::abs(d.length() - 1) > 1e-3f) {
            EXPECT_EQ(path.contains(p), r.contains(p)) << testing::PrintToString(p);
        }
    }
}

struct Boxed {
    Box2f box;
    bool contains, intersects;
};
class RoundRectBox : public testing::TestWithParam<Boxed>
{
};
TEST_P(RoundRectBox, IsJudgedAtTheNearestCorner)
{
    const RoundRect r(0, 0, 10, 10, -4, 4); // the sign of an arc doesn't matter
    EXPECT_EQ(r.contains(GetParam().box), GetParam().contains);
    EXPECT_EQ(r.intersects(GetParam().box), GetParam().intersects);
}
INSTANTIATE_TEST_SUITE_P(
    Places, RoundRectBox,
    testing::Values(Boxed{{3, 3, 7, 7}, true, true}, Boxed{{-1, -1, 0.5f, 0.5f}, false, false},
                    Boxed{{-1, -1, 0.7f, 0.7f}, false, true},
                    Boxed{{9.5f, 9.5f, 12, 12}, false, false},
                    Boxed{{9.3f, 9.3f, 12, 12}, false, true}, Boxed{{-1, -1, 11, 11}, false, true},
                    Boxed{{0.5f, 0.5f, 9, 9}, false, true}, Boxed{{-1, 4, 0, 5}, false, false}));

TEST(RoundRect, PastTheEndIteratorsWarn)
{
    WarningCatcher warnings;
    const RoundRect negative(0, 0, -1, 1, 1, 1);
    const std::unique_ptr<PathIterator> i(negative.getPathIterator());
    EXPECT_TRUE(i->isDone());
    float coords[6];
    EXPECT_EQ(i->currentSegment(coords, 2), -1);
    EXPECT_EQ(warnings.text(), QStringLiteral("roundrect iterator out of bounds"));
}

TEST(QuadCurve, SolvesStably)
{
    // x^2 - 1e8 x + 1: the small root is 1e-8 and would be lost in a difference.
    const double far[] = {1, -1e8, 1};
    double roots[2];
    ASSERT_EQ(QuadCurve::solveQuadratic(far, roots), 2);
    EXPECT_NEAR(std::min(roots[0], roots[1]), 1e-8, 1e-22);
    const double constant[] = {1, 0, 0}, linear[] = {3, -2, 0}, none[] = {1, 0, 1};
    EXPECT_EQ(QuadCurve::solveQuadratic(constant, roots), -1);
    ASSERT_EQ(QuadCurve::solveQuadratic(linear, roots), 1);
    EXPECT_EQ(roots[0], 1.5);
    EXPECT_EQ(QuadCurve::solveQuadratic(none, roots), 0);
}

TEST(CubicCurve, SolvesInPlace)
{
    double eqn[] = {-6, 11, -6, 1}; // (t - 1)(t - 2)(t - 3)
    ASSERT_EQ(CubicCurve::solveCubic(eqn, eqn), 3);
    std::sort(eqn, eqn + 3);
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(eqn[i], i + 1, 1e-12);
    double one[] = {-8, 0, 0, 1};
    ASSERT_EQ(CubicCurve::solveCubic(one, one), 1);
    EXPECT_NEAR(one[0], 2, 1e-12);
}

TEST(CubicCurve, EvaluationDropsEndsAndTouches)
{
    // y = (2t - 1)^2 touches 0; its values in x from 0 to 3.
    double eqn[4], vals[] = {0.5, 0, 1};
    CubicCurve::fillEqn(eqn, 0, 1, -1.0 / 3, -1.0 / 3, 1);
    EXPECT_EQ(CubicCurve::evalCubic(vals, 3, false, true, eqn, 0, 1, 2, 3), 1);
    EXPECT_EQ(vals[0], 3);
}

TEST(QuadCurve2f, TagsTellOnWhichSideOfAnEdge)
{
    EXPECT_EQ(QuadCurve::getTag(0, 1, 2), -2);
    EXPECT_EQ(QuadCurve::getTag(1, 1, 2), -1);
    EXPECT_EQ(QuadCurve::getTag(1.5, 1, 2), 0);
    EXPECT_EQ(QuadCurve::getTag(2, 1, 2), 1);
    EXPECT_EQ(QuadCurve::getTag(3, 1, 2), 2);
    EXPECT_TRUE(QuadCurve::inwards(-1, -2, 0));
    EXPECT_FALSE(QuadCurve::inwards(1, 1, 2));
    EXPECT_FALSE(QuadCurve::inwards(-2, 0, 0));
}

TEST(CubicCurve2f, HalvesMeetOnTheCurve)
{
    const CubicCurve2f curve({0, 0}, {0, 4}, {4, 4}, {4, 0});
    CubicCurve2f left, right;
    curve.subdivide(&left, &right);
    EXPECT_EQ(left.p1, Vector2f(2, 3));
    EXPECT_EQ(left.c2, Vector2f(1, 3));
    EXPECT_EQ(right.p0, Vector2f(2, 3));
    EXPECT_EQ(right.c2, Vector2f(4, 2));
    EXPECT_EQ(curve.flatness(), 4);
    curve.subdivide(nullptr, nullptr);
}

namespace
{
/// Whether the box and the area between curve and chord meet, by many places; none if too close.
template <class C>
void expectBoxes(unsigned start)
{
    Numbers numbers(start);
    const auto point = [&] {
        const float x = float(numbers(-3, 3));
        return Vector2f(x, float(numbers(-3, 3)));
    };
    int met = 0, within = 0;
    for (int n = 0; n < 400; ++n) {
        std::vector<Vector2f> points;
        for (int i = 0; i <= C::degree; ++i)
            points.push_back(point());
        const C curve(points.data());
        // Every other box is small and close to the middle of the area.
        const bool isSmall = n % 2 == 0;
        const Vector2f corner = isSmall ? (points[0] + points[1] + points[2]) / 3.0f : point();
        const double most = isSmall ? 0.3 : 2;
        const Vector2f size(float(numbers(0.1, most)), float(numbers(0.1, most)));
        const Box2f box(corner, corner + size);
        int inside = 0, clear = 0;
        constexpr int steps = 24;
        for (int i = 0; i <= steps; ++i)
            for (int k = 0; k <= steps; ++k) {
                const Vector2f p = box.min + Vector2f((box.max.x - box.min.x) * float(i) / steps,
                                                      (box.max.y - box.min.y) * float(k) / steps);
                ++(curve.contains(p) ? inside : clear);
            }
        // An area that is met only between the places is too thin to decide.
        if (inside > 8) {
            EXPECT_TRUE(curve.intersects(box)) << n;
            ++met;
        } else if (inside == 0) {
            EXPECT_FALSE(curve.contains(box)) << n;
        }
        if (clear > 8) {
            EXPECT_FALSE(curve.contains(box)) << n;
        }
        within += curve.contains(box);
    }
    EXPECT_GT(met, 50);
    EXPECT_GT(within, 3);
}
} // namespace

TEST(QuadCurve2f, BoxesMeetTheAreaOfTheChord)
{
    expectBoxes<QuadCurve2f>(1);
}

TEST(CubicCurve2f, BoxesMeetTheAreaOfTheChord)
{
    expectBoxes<CubicCurve2f>(2);
}

TEST(CubicCurve2f, OddCoordinatesMeetNothing)
{
    const CubicCurve2f curve({0, NAN}, {0, 4}, {4, 4}, {4, 0});
    EXPECT_FALSE(curve.intersects(Box2f(0, 0, 4, 4)));
    EXPECT_FALSE(curve.contains(Box2f(1, 1, 2, 2)));
    const QuadCurve2f good({0, 0}, {2, 4}, {4, 0});
    EXPECT_FALSE(good.intersects(Box2f()));
    EXPECT_TRUE(good.contains(Vector2f(2, 1)));
    EXPECT_FALSE(good.contains(Vector2f(2, NAN)));
    EXPECT_EQ(typesOf(good), "02");
    EXPECT_EQ(typesOf(curve), "03");
}
