#include "geometry/zylspline.h"

#include "geometry/zylhmatrix.h"

using namespace geometry;

TEST(Spline, HornerStartsFromTheHighestPower)
{
    // x = 2 t^2 - 3 t + 5, y = t^2 + 7
    const double coefficients[] = {2, 1, -3, 0, 5, 7};
    double out[2];
    Spline::evaluate(3, 2, coefficients, 3, out);
    EXPECT_EQ(out[0], 14);
    EXPECT_EQ(out[1], 16);
    Spline::evaluate(1, 2, coefficients, 3, out);
    EXPECT_EQ(out[0], 2);
    EXPECT_EQ(out[1], 1);
}

TEST(Spline, HermitBasisMeetsPointsAndSlopes)
{
    Matrix4f basis;
    Spline::setHermit(basis);
    // From 1 to 4 with slopes 5 and -2: 2 - 8 + 5 - 2 = -3, -3 + 12 - 10 + 2 = 1.
    const Vector4f c = basis * Vector4f(1, 4, 5, -2);
    EXPECT_EQ(c, Vector4f(-3, 1, 5, 1));
}

TEST(Spline, CardinalBasisPassesTheMiddlePoints)
{
    Matrix4d basis;
    const Vector4d y(1, 3, 2, 8);
    // Without tension the slopes are half the way between the neighbours.
    Spline::setCardinal(0, basis);
    const Vector4d c = basis * y;
    EXPECT_EQ(c.w, 3) << "starts at the second point";
    EXPECT_EQ(c.x + c.y + c.z + c.w, 2) << "and ends at the third";
    EXPECT_EQ(c.z, 0.5);
    EXPECT_EQ(3 * c.x + 2 * c.y + c.z, 2.5);
    Spline::setCardinal(1, basis);
    const Vector4d stopping = basis * y;
    EXPECT_EQ(stopping.z, 0);
    EXPECT_EQ(3 * stopping.x + 2 * stopping.y + stopping.z, 0);
}
