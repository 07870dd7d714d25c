#include "geometry/zylcontour.h"
#include "geometryprinters.h"
#include "support/warnings.h"

#include <cmath>
#include <limits>

using namespace geometry;

namespace
{
using Outline = std::vector<Vector2f>;

Contour contourOf(const std::vector<Outline>& outlines, int rule)
{
    Contour contour;
    contour.setWindingRule(rule);
    for (const Outline& outline : outlines)
        contour.add(outline.data(), unsigned(outline.size()));
    return contour;
}

Vector3d pointOf(const Contour& contour, const ContourDecomposer& decomposer, int corner)
{
    const unsigned i = unsigned(corner), count = contour.vertices.size();
    if (i >= count)
        return Vector3d(decomposer.crossings()[i - count].point);
    const float* p = reinterpret_cast<const float*>(contour.vertices.data()) +
                     i * unsigned(contour.vertices.dimension());
    return Vector3d(p[0], p[1], contour.vertices.dimension() == 3 ? p[2] : 0);
}

/// The corners of all triangles, as OpenGL would take a strip apart.
std::vector<int> trianglesOf(const ContourDecomposer& decomposer)
{
    const int* const c = decomposer.corners();
    if (decomposer.stripCount() == 0)
        return {c, c + decomposer.cornerCount()};
    std::vector<int> triangles;
    unsigned begin = 0;
    for (unsigned strip = 0; strip < decomposer.stripCount(); ++strip) {
        const unsigned end = decomposer.stripEnds()[strip];
        for (unsigned i = begin + 2; i < end; ++i) {
            const bool isOdd = (i - begin) % 2 == 1;
            triangles.insert(triangles.end(),
                             {c[isOdd ? i - 1 : i - 2], c[isOdd ? i - 2 : i - 1], c[i]});
        }
        begin = end;
    }
    return triangles;
}

/// Twice the areas of all triangles as a vector; each has to face the way of `normal`, as far as
/// the digits of crossings go.
Vector3d areaOf(const Contour& contour, const ContourDecomposer& decomposer,
                const Vector3d& normal = Vector3d(0, 0, 1))
{
    Vector3d sum;
    const std::vector<int> corners = trianglesOf(decomposer);
    for (std::size_t i = 0; i + 2 < corners.size(); i += 3) {
        const Vector3d a = pointOf(contour, decomposer, corners[i]);
        const Vector3d area = cross(pointOf(contour, decomposer, corners[i + 1]) - a,
                                    pointOf(contour, decomposer, corners[i + 2]) - a);
        EXPECT_GT(dot(area, normal), -1e-7) << "triangle " << i / 3;
        sum += area;
    }
    return sum;
}

Outline square(float x, float y, float size, bool isTurned = false)
{
    Outline outline = {{x, y}, {x + size, y}, {x + size, y + size}, {x, y + size}};
    if (isTurned)
        std::reverse(outline.begin(), outline.end());
    return outline;
}

Outline pentagram()
{
    Outline outline;
    for (int i = 0; i < 5; ++i)
        outline.emplace_back(float(std::cos(i * 4 * M_PI / 5)), float(std::sin(i * 4 * M_PI / 5)));
    return outline;
}

struct Figure {
    const char* name;
    std::vector<Outline> outlines;
    int rule;
    double area;
    unsigned triangles;
    unsigned crossings = 0;
};

void PrintTo(const Figure& figure, std::ostream* out)
{
    *out << figure.name;
}

class ContourFigures : public testing::TestWithParam<Figure>
{
};

TEST_P(ContourFigures, AreCutIntoAsManyTrianglesOfTheirArea)
{
    const Figure& figure = GetParam();
    const Contour contour = contourOf(figure.outlines, figure.rule);
    ContourDecomposer decomposer;
    for (const auto output : {ContourDecomposer::Triangles, ContourDecomposer::Strips}) {
        ASSERT_TRUE(decomposer.decompose(contour, output));
        EXPECT_NEAR(areaOf(contour, decomposer).z / 2, figure.area, 1e-6);
        EXPECT_EQ(trianglesOf(decomposer).size() / 3, figure.triangles);
        EXPECT_EQ(decomposer.crossingCount(), figure.crossings);
    }
}

// A polygon of n corners and h holes that only meet in corners is n + 2h - 2 triangles.
INSTANTIATE_TEST_SUITE_P(
    Shapes, ContourFigures,
    testing::Values(
        Figure{"nothing", {}, 0, 0, 0}, Figure{"a point", {{{1, 1}}}, 0, 0, 0},
        Figure{"two points", {{{1, 1}, {2, 3}}}, 0, 0, 0},
        Figure{"a line there and back", {{{0, 0}, {4, 4}, {2, 2}}}, 1, 0, 0},
        Figure{"a square", {square(0, 0, 1)}, 0, 1, 2},
        Figure{"a square the other way round", {square(0, 0, 1, true)}, 1, 1, 2},
        Figure{"far out", {square(16777216, 0, 2)}, 0, 4, 2},
        Figure{"points on straight sides",
               {{{0, 0}, {1, 0}, {2, 0}, {2, 1}, {2, 2}, {1, 2}, {0, 2}, {0, 1}}},
               0,
               4,
               6},
        Figure{
            "repeated points", {{{0, 0}, {0, 0}, {1, 0}, {1, 1}, {1, 1}, {0, 1}, {0, 0}}}, 0, 1, 2},
        Figure{"an L", {{{0, 0}, {3, 0}, {3, 1}, {1, 1}, {1, 3}, {0, 3}}}, 0, 5, 4},
        Figure{"a comb",
               {{{0, 0}, {7, 0}, {7, 5}, {6, 1}, {5, 5}, {4, 1}, {3, 5}, {2, 1}, {1, 5}}},
               0,
               // the shoelace sum on paper
               20.5,
               7},
        Figure{"with a spike", {{{0, 0}, {2, 0}, {2, 2}, {1, 2}, {1, 5}, {1, 2}, {0, 2}}}, 0, 4, 3},
        Figure{"a hole, turned", {square(0, 0, 4), square(1, 1, 2, true)}, 0, 12, 8},
        Figure{"a hole, not turned", {square(0, 0, 4), square(1, 1, 2)}, 0, 12, 8},
        Figure{"a hole first, turned", {square(1, 1, 2, true), square(0, 0, 4)}, 1, 12, 8},
        Figure{"no hole by the non-zero rule", {square(0, 0, 4), square(1, 1, 2)}, 1, 16, 2},
        Figure{
            "an island in a hole", {square(0, 0, 6), square(1, 1, 4), square(2, 2, 2)}, 0, 24, 10},
        Figure{"holes that touch in a corner",
               {square(0, 0, 5), square(1, 1, 1), square(2, 2, 1)},
               0,
               23,
               12},
        Figure{
            "a hole that touches the side", {square(0, 0, 4), {{0, 2}, {1, 1}, {1, 3}}}, 0, 15, 6},
        Figure{"a hole along the side", {square(0, 0, 4), {{1, 0}, {3, 0}, {2, 1}}}, 0, 15, 5},
        Figure{"the same twice, odd", {square(0, 0, 1), square(0, 0, 1)}, 0, 0, 0},
        Figure{"the same twice, not zero", {square(0, 0, 1), square(0, 0, 1)}, 1, 1, 2},
        Figure{"neighbours", {square(0, 0, 1), square(1, 0, 1)}, 0, 2, 4},
        Figure{"a bow tie", {{{0, 0}, {2, 2}, {2, 0}, {0, 2}}}, 0, 2, 2, 1},
        Figure{"crossing squares, odd", {square(0, 0, 2), square(1, 1, 2)}, 0, 6, 8, 2},
        Figure{"crossing squares, not zero", {square(0, 0, 2), square(1, 1, 2)}, 1, 7, 6, 2},
        Figure{"the overlap of turned squares", {square(0, 0, 2), square(1, 0, 2, true)}, 1, 4, 4},
        // Ten triangles from the middle, each of half the sine of 36 degrees and the inner radius
        // 0.381966; the pentagon has 5/2 of the sine of 72 degrees and that radius squared.
        Figure{"a pentagram, not zero", {pentagram()}, 1, 1.1225699, 8, 5},
        Figure{"a pentagram, odd", {pentagram()}, 0, 0.7756768, 5, 5}));

double orientation(const Vector3d& a, const Vector3d& b, double x, double y)
{
    return (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
}

/// How often outlines wind about a point; false where it lies too near to one to say.
bool windings(const std::vector<Outline>& outlines, double x, double y, int& count)
{
    count = 0;
    for (const Outline& outline : outlines) {
        for (std::size_t i = 0; i < outline.size(); ++i) {
            const Vector3d a{Vector3f(outline[i])}, b{Vector3f(outline[(i + 1) % outline.size()])};
            const double side = orientation(a, b, x, y);
            if (std::abs(side) < 1e-4 * (b - a).length())
                return false;
            if (a.y <= y && y < b.y && side > 0)
                ++count;
            if (b.y <= y && y < a.y && side < 0)
                --count;
        }
    }
    return true;
}

TEST(ContourDecomposer, CoversWhatTheRuleSaysOnceWhateverCrosses)
{
    ContourDecomposer decomposer;
    for (unsigned start = 0; start < 150; ++start) {
        std::mt19937 random(start);
        // On a coarse grid much touches and overlaps, on a fine one much crosses.
        const unsigned grid = start % 3 == 0 ? 5 : start % 3 == 1 ? 20 : 100000;
        std::vector<Outline> outlines(1 + random() % 3);
        for (Outline& outline : outlines)
            for (unsigned count = random() % 15; count > 0; --count)
                outline.emplace_back(float(random() % grid) * 100 / float(grid),
                                     float(random() % grid) * 100 / float(grid));
        for (const int rule : {EvenOddRule, NonZeroRule}) {
            const Contour contour = contourOf(outlines, rule);
            ASSERT_TRUE(decomposer.decompose(contour)) << "start " << start;
            const std::vector<int> corners = trianglesOf(decomposer);
            for (int k = 0; k < 20; ++k) {
                const double x = double(random() % 1000003) / 1e4;
                const double y = double(random() % 1000003) / 1e4;
                int winding;
                if (!windings(outlines, x, y, winding))
                    continue;
                int covered = 0;
                bool isOnSide = false;
                for (std::size_t i = 0; i < corners.size(); i += 3) {
                    int left = 0;
                    for (std::size_t n = 0; n < 3; ++n) {
                        const double side = orientation(
                            pointOf(contour, decomposer, corners[i + n]),
                            pointOf(contour, decomposer, corners[i + (n + 1) % 3]), x, y);
                        left += side > 0;
                        isOnSide |= std::abs(side) < 1e-6;
                    }
                    covered += left == 3;
                }
                if (isOnSide)
                    continue;
                ASSERT_EQ(covered, rule == EvenOddRule ? winding & 1 : winding != 0)
                    << "start " << start << " rule " << rule << " at " << x << ", " << y;
            }
        }
    }
}

TEST(ContourDecomposer, KeepsTheAreaOfALongOutlineWithHoles)
{
    Contour contour;
    double area = 0;
    const auto add = [&](double x, double y, double radius, int count) {
        Outline outline;
        for (int i = 0; i < count; ++i) {
            const double a = i * 2 * M_PI / count;
            const double r = radius * (1 + 0.2 * std::sin(i * 1.7) * std::cos(i * 0.31));
            outline.emplace_back(float(x + r * std::cos(a)), float(y + r * std::sin(a)));
        }
        contour.add(outline.data(), unsigned(outline.size()));
        double sum = 0;
        for (int i = 0; i < count; ++i) {
            const Vector2d a(outline[std::size_t(i)]), b(outline[std::size_t((i + 1) % count)]);
            sum += (a.x * b.y - a.y * b.x) / 2;
        }
        area += area == 0 ? sum : -sum;
    };
    add(0, 0, 10, 4000);
    for (int i = 0; i < 9; ++i)
        add(3.5 * (i % 3 - 1), 3.5 * (i / 3 - 1), 1, 100);
    ContourDecomposer decomposer;
    ASSERT_TRUE(decomposer.decompose(contour, ContourDecomposer::Strips));
    EXPECT_EQ(decomposer.crossingCount(), 0u);
    EXPECT_EQ(trianglesOf(decomposer).size() / 3, 4900u + 2 * 9 - 2);
    EXPECT_NEAR(areaOf(contour, decomposer).z / 2, area, 1e-9 * area);
}

TEST(ContourDecomposer, MakesACrossingTheMeanOfItsSources)
{
    // The crossing lies three quarters up one line and two thirds along the other.
    const Contour contour = contourOf({{{0, 0}, {4, 4}, {4, 3}, {1, 3}}}, EvenOddRule);
    ContourDecomposer decomposer;
    ASSERT_TRUE(decomposer.decompose(contour));
    ASSERT_EQ(decomposer.crossingCount(), 1u);
    const ContourDecomposer::Crossing& crossing = decomposer.crossings()[0];
    EXPECT_EQ(crossing.point, Vector3f(3, 3, 0));
    for (int i = 0; i < 4; ++i) {
        const float expected[] = {1 / 8.0f, 3 / 8.0f, 1 / 3.0f, 1 / 6.0f}; // by vertex
        EXPECT_NEAR(crossing.weight[i], expected[crossing.source[i]], 1e-6);
    }
}

TEST(ContourDecomposer, FacesAlongTheNormalInSpace)
{
    // A square of 5 by 5 on the plane through (0, 3, 4), with a hole that runs the same way.
    const auto at = [](float u, float v) { return Vector3f(u, 3 * v, 4 * v); };
    const Vector3f outer[] = {at(0, 0), at(5, 0), at(5, 1), at(0, 1)};
    const Vector3f hole[] = {at(1, 0.2f), at(2, 0.2f), at(2, 0.6f)};
    for (const bool isTurned : {false, true}) {
        std::vector<Vector3f> outline(std::begin(outer), std::end(outer));
        if (isTurned)
            std::reverse(outline.begin(), outline.end());
        Contour contour(3);
        ASSERT_TRUE(contour.add(outline.data(), 4) && contour.add(hole, 3));
        ContourDecomposer decomposer;
        ASSERT_TRUE(decomposer.decompose(contour));
        const Vector3d sum = areaOf(contour, decomposer, contour.areaVector());
        EXPECT_NEAR(sum.length() / 2, 24, 1e-5); // 25 without 1 by 2, halved
        EXPECT_NEAR(sum.y, (isTurned ? 1 : -1) * 0.8 * 48, 1e-5);
    }
}

TEST(ContourDecomposer, GivesPlacesInTheIndices)
{
    const Vector3f points[] = {{9, 9, 9}, {1, 0, 1}, {0, 0, 0}, {1, 0, 0}, {0, 0, 1}};
    const int indices[] = {2, 3, 1, 4};
    const unsigned end = 4;
    ContourDecomposer decomposer;
    ASSERT_TRUE(decomposer.decompose(points, indices, &end, 1, Vector3f(0, -1, 0), EvenOddRule));
    ASSERT_EQ(decomposer.cornerCount(), 6u);
    Vector3d sum;
    for (int i = 0; i < 6; i += 3) {
        const auto at = [&](int k) {
            return Vector3d(points[indices[decomposer.corners()[i + k]]]);
        };
        sum += cross(at(1) - at(0), at(2) - at(0));
    }
    EXPECT_EQ(sum, Vector3d(0, -2, 0));
}

TEST(ContourDecomposer, WarnsOfWhatIsNoNumberAndMakesNothing)
{
    ContourDecomposer decomposer;
    for (const float bad :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        WarningCatcher warnings;
        const Contour contour = contourOf({{{0, 0}, {1, 0}, {bad, 1}}}, EvenOddRule);
        EXPECT_FALSE(decomposer.decompose(contour));
        EXPECT_EQ(warnings.text(),
                  QLatin1String("ContourDecomposer::decompose: A coordinate is not finite"));
        EXPECT_EQ(decomposer.cornerCount(), 0u);
    }
    const Vector2f points[3] = {{0, 0}, {1, 0}, {0, 1}};
    const unsigned backwards[] = {3, 1, 3};
    EXPECT_FALSE(decomposer.decompose(points, backwards, 3, EvenOddRule));
}

TEST(ContourDecomposer, StandsTheLargestAndSmallestNumbers)
{
    ContourDecomposer decomposer;
    for (const float size : {1e-40f, 1e38f}) {
        const Contour contour =
            contourOf({{{-size, -size}, {size, -size}, {size, size}, {-size, size}}}, 1);
        ASSERT_TRUE(decomposer.decompose(contour));
        EXPECT_EQ(decomposer.cornerCount(), 6u);
    }
}

TEST(Contour, TakesOnlyPointsOfItsDimensionAndLeavesCopiesAlone)
{
    Contour contour = contourOf({square(0, 0, 2), square(3, 0, 1, true)}, NonZeroRule);
    EXPECT_DOUBLE_EQ(contour.area(), 3);
    const Contour copy = contour;
    {
        WarningCatcher warnings;
        const Vector3f solid[3];
        EXPECT_FALSE(contour.add(solid, 3));
        EXPECT_EQ(warnings.text(),
                  QLatin1String("Contour::add: Points of 3 coordinates in a contour of 2"));
    }
    const Outline more = square(7, 7, 1);
    contour.add(more.data(), 4);
    Box3f box;
    copy.bounds(box);
    EXPECT_EQ(box, Box3f(0, 0, 0, 4, 2, 0));
    contour.bounds(box);
    EXPECT_EQ(box, Box3f(0, 0, 0, 8, 8, 0));
    contour.clear();
    EXPECT_EQ(contour.windingRule(), NonZeroRule);
    EXPECT_EQ(copy.outlineCount(), 2u);
}
} // namespace
