#include "geometryprinters.h"
#include "support/warnings.h"

using namespace geometry;

namespace
{
constexpr double halfPi = 1.5707963267948966;

DQuaternion about(double x, double y, double z, double angle)
{
    return DQuaternion().setValue(Vector3d(x, y, z), angle);
}
} // namespace

TEST(Quaternion, ProductIsHamiltons)
{
    constexpr DQuaternion i(1, 0, 0, 0), j(0, 1, 0, 0), k(0, 0, 1, 0);
    static_assert(i * j == k && j * k == i && k * i == j && j * i == DQuaternion(0, 0, -1, 0));
    static_assert(DQuaternion(1, 2, 3, 4) * DQuaternion(5, 6, 7, 8) == DQuaternion(24, 48, 48, -6));
}

TEST(Quaternion, EulerAnglesTurnAboutXThenYThenZ)
{
    Numbers random;
    for (int round = 0; round < 100; ++round) {
        const double a = random(-3, 3), b = random(-1.5, 1.5), c = random(-3, 3);
        const DQuaternion q = DQuaternion().setValue(a, b, c);
        EXPECT_CLOSE(q, about(0, 0, 1, c) * about(0, 1, 0, b) * about(1, 0, 0, a), 1e-15);
        double a2, b2, c2;
        q.getValue(a2, b2, c2);
        EXPECT_CLOSE(Vector3d(a2, b2, c2), Vector3d(a, b, c), 1e-13);
    }
}

TEST(Quaternion, EulerAnglesAtThePolesKeepTheTurn)
{
    for (const double pole : {-1.0, 1.0}) {
        // w = x and y = +-z in eighths make t exactly +-1.
        const DQuaternion q(0.5, pole * 0.5, -pole * 0.5, 0.5);
        const DQuaternion quarter(0, pole * std::sqrt(0.5), 0, std::sqrt(0.5));
        double a, b, c;
        q.getValue(a, b, c);
        EXPECT_EQ(b, pole * halfPi);
        EXPECT_EQ(c, 0);
        EXPECT_NEAR(a, pole * std::atan2(pole, 0), 1e-15);
        (quarter * about(0, 0, 1, 0)).getValue(a, b, c);
        EXPECT_NEAR(b, pole * halfPi, 3e-8);
    }
}

TEST(Quaternion, AxisAndAngleComeBack)
{
    Vector3f axis;
    float angle = 1;
    Quaternion().getValue(axis, angle);
    EXPECT_EQ(axis, Vector3f(0, 0, 1));
    EXPECT_EQ(angle, 0);
    Quaternion().setValue(Vector3f(0, 3, 4), 1.2f).getValue(axis, angle);
    EXPECT_CLOSE(axis, Vector3f(0, 0.6f, 0.8f), 1e-6f);
    EXPECT_NEAR(angle, 1.2f, 1e-6f);
    EXPECT_TRUE(std::isnan(Quaternion().setValue(Vector3f(), 1.0f).x))
        << "a zero axis is not guarded";
}

TEST(Quaternion, ShortestArcTurnsOneDirectionIntoTheOther)
{
    Numbers random;
    for (int round = 0; round < 100; ++round) {
        const Vector3d from = random.vector3<double>(), to = random.vector3<double>();
        const DQuaternion q = DQuaternion().setValue(from, to);
        EXPECT_CLOSE(q.rotate(normalize(from)), normalize(to), 1e-13);
        EXPECT_NEAR(dot(Vector3d(q.x, q.y, q.z), from), 0, 1e-14);
    }
    EXPECT_EQ(Quaternion().setValue(Vector3f(1, 1, 0), Vector3f(2, 2.001f, 0)), Quaternion());
}

TEST(Quaternion, OpposedDirectionsTakeAFallbackAxis)
{
    // x is crossed with (0, 1, 0), anything else with (1, 0, 0).
    EXPECT_EQ(Quaternion().setValue(Vector3f(1, 0, 0), Vector3f(-2, 0, 0)), Quaternion(0, 0, 1, 0));
    EXPECT_EQ(Quaternion().setValue(Vector3f(0, 1, 0), Vector3f(0, -1, 0)),
              Quaternion(0, 0, -1, 0));
    EXPECT_EQ(Quaternion().setValue(Vector3f(0, 0, 1), Vector3f(0, 0, -1)), Quaternion(0, 1, 0, 0));
}

TEST(Quaternion, ExponentialAndLogarithmKeepZUnsquared)
{
    // l = sqrt(0.25) = 0.5; sin and cos of 0.5 and atan(0.5) from tables.
    EXPECT_CLOSE(DQuaternion(0, 0, 0.25, 7).exp(),
                 DQuaternion(0, 0, 0.2397127693021015, 0.8775825618903728), 1e-15);
    EXPECT_CLOSE(DQuaternion(0, 0, 0.25, 1).log(), DQuaternion(0, 0, 0.2318238045004031, 0), 1e-15);
    EXPECT_CLOSE(Quaternion(0.3f, 0.4f, 0, 0).exp(),
                 Quaternion(0.28765532f, 0.38354043f, 0, 0.87758256f), 1e-7f);
    EXPECT_TRUE(std::isnan(Quaternion(0, 0, -1, 0).exp().w));
    EXPECT_EQ(Quaternion(0, 0, 0, 1).exp(), Quaternion(0, 0, 0, 1));
    EXPECT_EQ(Quaternion(0, 0, 0, 1).log(), Quaternion(0, 0, 0, 0));
}

TEST(Quaternion, InverseDividesByTheSquare)
{
    EXPECT_EQ(Quaternion(1, 1, 1, 1).invert(), Quaternion(-0.25f, -0.25f, -0.25f, 0.25f));
    WarningCatcher catcher;
    EXPECT_TRUE(std::isnan(Quaternion(0, 0, 0, 0).invert().w));
    EXPECT_TRUE(catcher.text().startsWith(
        QLatin1String("ASSERT: \"n > 0.0f\" in geometry/zylquaternion (")));
    DQuaternion(0, 0, 0, 0).invert();
    EXPECT_TRUE(catcher.text().startsWith(
        QLatin1String("ASSERT: \"n > 0.0\" in geometry/zyldquaternion (")));
}

TEST(Quaternion, RotateAgreesWithTheMatrix)
{
    Numbers random;
    for (int round = 0; round < 50; ++round) {
        const DQuaternion q = random.rotation<double>();
        const Vector3d v = random.vector3<double>();
        Matrix4d m;
        m.rotate(q);
        EXPECT_CLOSE(q.rotate(v), v * m, 1e-14);
    }
    EXPECT_EQ(Quaternion(0, 0, 2, 0).rotate(Vector3f(1, 2, 3)), Vector3f(-4, -8, 12));
}

TEST(Quaternion, ArcDoublesTheAngle)
{
    const double angle = 0.3;
    EXPECT_CLOSE(arc(Vector3d(1, 0, 0), Vector3d(std::cos(angle), std::sin(angle), 0)),
                 about(0, 0, 1, 2 * angle), 1e-15);
}

TEST(Quaternion, InterpolationGoesTheShorterWay)
{
    const DQuaternion a = about(0, 0, 1, 0.2), b = about(0, 0, 1, 1.4);
    const DQuaternion opposite(-b.x, -b.y, -b.z, -b.w);
    for (const double t : {0.0, 0.25, 1.0}) {
        EXPECT_CLOSE(lerp(a, b, t), about(0, 0, 1, 0.2 + 1.2 * t), 1e-15);
        EXPECT_CLOSE(lerp(a, opposite, t), about(0, 0, 1, 0.2 + 1.2 * t), 1e-15);
    }
    // So close together that the sine would divide by nearly nothing: a straight line.
    EXPECT_EQ(lerp(Quaternion(0, 0, 0, 1), Quaternion(0, 0, 1e-4f, 1), 0.5),
              Quaternion(0, 0, 5e-5f, 1));
}
