#include "geometryprinters.h"
#include "support/warnings.h"

using namespace geometry;

namespace
{
/// The text of an assertion up to its line.
QString assertion(const char* condition, const char* source)
{
    return QString::asprintf("ASSERT: \"%s\" in %s (", condition, source);
}

template <class F>
void expectAssertion(const char* condition, const char* source, F&& call)
{
    WarningCatcher catcher;
    call();
    const QStringList texts = catcher.take();
    ASSERT_EQ(texts.size(), 1);
    EXPECT_TRUE(texts[0].startsWith(assertion(condition, source))) << texts[0].toStdString();
}

constexpr char turnText[] = "-1.00001<c && c<1.00001 && -1.00001<s && s<1.00001";
constexpr char rowText[] = "m.m[0][3]==0.0 && m.m[1][3]==0.0 && m.m[2][3]==0.0 && m.m[3][3]==1.0";
constexpr char columnText[] =
    "m.m[3][0]==0.0 && m.m[3][1]==0.0 && m.m[3][2]==0.0 && m.m[3][3]==1.0";

const Matrix4f counting(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16);
} // namespace

template <class S>
class MatrixOf : public testing::Test
{
};
using Scalars = testing::Types<float, double>;
TYPED_TEST_SUITE(MatrixOf, Scalars);

TYPED_TEST(MatrixOf, ProductsSumAlongRowAndColumn)
{
    using S = TypeParam;
    Numbers random;
    const Matrix4<S> a = random.matrix4<S>(), b = random.matrix4<S>();
    const Matrix4<S> product = a * b;
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            long double sum = 0;
            for (int k = 0; k < 4; ++k)
                sum += static_cast<long double>(a.m[i][k]) * b.m[k][j];
            EXPECT_NEAR(product.m[i][j], double(sum), 8 * std::numeric_limits<S>::epsilon());
        }
    }
    const Vector4<S> v(1, 2, 3, 4);
    const Matrix4<S> m(counting);
    EXPECT_EQ(v * m, Vector4<S>(90, 100, 110, 120));
    EXPECT_EQ(m * v, Vector4<S>(30, 70, 110, 150));
    Matrix4<S> self = m;
    self *= self;
    EXPECT_EQ(self.m[3][0], 426);
}

TYPED_TEST(MatrixOf, ElementwiseOperatorsTouchEveryNumber)
{
    using S = TypeParam;
    const Matrix4<S> m(counting);
    Matrix4<S> sum = m + m * S(2) - Matrix4<S>(1);
    sum /= S(2);
    EXPECT_EQ(sum.m[0][0], 1);
    EXPECT_EQ(sum.m[3][3], 23.5);
    EXPECT_EQ((S(48) / m).m[2][3], 4);
    EXPECT_EQ((-m).m[1][2], -7);
}

TYPED_TEST(MatrixOf, PerspectiveProductsDivideByTheFourthComponent)
{
    using S = TypeParam;
    const Matrix4<S> m(counting);
    Vector3<S> p(1, 0, 1);
    m.multVecMatrix(p, p); // (23, 26, 29) / 32
    EXPECT_EQ(p, Vector3<S>(23 / S(32), 26 / S(32), 29 / S(32)));
    p = Vector3<S>(1, 0, 1);
    m.multMatrixVec(p, p); // (8, 20, 32) / 44
    EXPECT_EQ(p, Vector3<S>(8 / S(44), 20 / S(44), 32 / S(44)));
}

TYPED_TEST(MatrixOf, InverseOfIntegersIsExact)
{
    using S = TypeParam;
    // A zero pivot at the start makes rows change places.
    const Matrix4<S> m(0, 2, 0, 0, 4, 0, 0, 0, 0, 0, 0, -1, 1, 0, 8, 2);
    const Matrix4<S> expected(0, S(0.25), 0, 0, S(0.5), 0, 0, 0, 0, S(-0.03125), S(0.25), S(0.125),
                              0, 0, -1, 0);
    EXPECT_EQ(m.invert(), expected);
    EXPECT_EQ(m.det4(), -64); // by cofactors along the first row
    EXPECT_EQ(m.transpose().m[3][2], -1);
}

TYPED_TEST(MatrixOf, InverseUndoesRandomMatrices)
{
    using S = TypeParam;
    Numbers random;
    for (int round = 0; round < 200; ++round) {
        const Matrix4<S> m = random.matrix4<S>();
        if (std::abs(m.det4()) < 0.01)
            continue;
        ASSERT_CLOSE(m * m.invert(), Matrix4<S>(), S(2e4) * std::numeric_limits<S>::epsilon());
    }
}

TEST(Matrix4, SingularInverseWarnsAndGoesOn)
{
    Matrix4f flat;
    flat.m[1][1] = 0;
    expectAssertion("pvv != 0.0f", "geometry/zylhmatrix",
                    [&] { EXPECT_FALSE(std::isfinite(flat.invert().m[1][1])); });
    expectAssertion("pvv != 0.0", "geometry/zyldhmatrix",
                    [&] { EXPECT_FALSE(std::isfinite(Matrix4d(flat).invert().m[1][1])); });
}

TEST(Matrix4, InverseNeverPicksNaNForAPivot)
{
    Matrix4f m;
    m.m[0][0] = 0;
    m.m[2][0] = std::nanf("");
    expectAssertion("pvv != 0.0f", "geometry/zylhmatrix", [&] { m.invert(); });
    m.m[3][0] = 1e-30f; // greater than 0, and what comes after it isn't greater
    WarningCatcher catcher;
    EXPECT_TRUE(std::isnan(m.invert().m[0][0]));
    EXPECT_TRUE(catcher.isEmpty());
}

TEST(Matrix4, InverseTakesTheGreatestPivot)
{
    // With 1e-8 for a pivot the others would lose all their digits.
    const Matrix4f m(1e-8f, 1, 0, 0, 1, 1, 0, 0, 0, 0, 1e-8f, 2, -2, 0, 1, 1);
    EXPECT_CLOSE(m * m.invert(), Matrix4f(), 1e-6f);
}

TEST(Matrix4, FlagsTellTranslationFromTheRest)
{
    Matrix4f m;
    EXPECT_EQ(m.flags(), 0);
    m.translate(0, 0, 1e-30f);
    EXPECT_EQ(m.flags(), 1);
    for (int i = 0; i < 12; ++i) {
        Matrix4f changed = m;
        changed.m[i / 4][i % 4] += 1;
        EXPECT_EQ(changed.flags(), 7) << i;
    }
    m.m[3][0] = std::nanf("");
    EXPECT_EQ(m.flags(), 1);
}

TEST(Matrix4, AffineProductsTestTheirOwnEdge)
{
    Matrix4f moved;
    moved.translate(1, 2, 3);
    EXPECT_EQ(Vector3f(1, 1, 1) * moved, Vector3f(2, 3, 4));
    expectAssertion(columnText, "geometry/zylhmatrix",
                    [&] { EXPECT_EQ(moved * Vector3f(1, 1, 1), Vector3f(1, 1, 1)); });
    const Matrix4d turned(moved.transpose());
    EXPECT_EQ(turned * Vector3d(1, 1, 1), Vector3d(2, 3, 4));
    expectAssertion(rowText, "geometry/zyldhmatrix",
                    [&] { EXPECT_EQ(Vector3d(1, 1, 1) * turned, Vector3d(1, 1, 1)); });
}

TYPED_TEST(MatrixOf, TransformationsActBeforeWhatIsThere)
{
    using S = TypeParam;
    Matrix4<S> m;
    m.translate(1, 2, 3);
    m.scale(2, 3, 4);
    EXPECT_EQ((Vector3<S>(1, 1, 1) * m), Vector3<S>(3, 5, 7));
    Matrix4<S> full(counting);
    full.scale(2, 3, 5);
    full.translate(1, 1, 1);
    EXPECT_EQ(full.row(0)[3], 8);
    EXPECT_EQ(full.row(2)[0], 45);
    EXPECT_EQ(full.row(3)[1], 14 + 4 + 18 + 50);
}

TYPED_TEST(MatrixOf, QuarterTurnsFollowTheRightHand)
{
    using S = TypeParam;
    const Vector3<S> x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
    const S quarter = S(1.5707963267948966);
    struct Turn {
        void (Matrix4<S>::*byAngle)(S);
        void (Matrix4<S>::*bySine)(S, S);
        Vector3<S> axis, from, to;
    };
    const Turn turns[] = {{&Matrix4<S>::xrotate, &Matrix4<S>::xrotate, x, y, z},
                          {&Matrix4<S>::yrotate, &Matrix4<S>::yrotate, y, z, x},
                          {&Matrix4<S>::zrotate, &Matrix4<S>::zrotate, z, x, y}};
    for (const Turn& turn : turns) {
        Matrix4<S> byAngle, bySine, byAxis, byQuaternion;
        (byAngle.*turn.byAngle)(quarter);
        (bySine.*turn.bySine)(0, 1);
        byAxis.rotate(turn.axis * S(9), quarter);
        byQuaternion.rotate(BasicQuaternion<S>().setValue(turn.axis, quarter));
        for (const Matrix4<S>& m : {byAngle, bySine, byAxis, byQuaternion}) {
            EXPECT_CLOSE(turn.from * m, turn.to, S(3e-7));
            EXPECT_CLOSE(turn.to * m, -turn.from, S(3e-7));
            EXPECT_CLOSE(turn.axis * m, turn.axis, S(3e-7));
        }
    }
}

TEST(Matrix4, RotationMultipliesFromTheLeftInEveryForm)
{
    Numbers random;
    for (int round = 0; round < 50; ++round) {
        const Vector3d axis = random.vector3<double>(), point = random.vector3<double>();
        const double angle = random(-4, 4);
        const Matrix4d before = random.matrix4<double>();
        Matrix4d byAxis = before, byQuaternion = before;
        byAxis.rotate(axis, angle);
        byQuaternion.rotate(DQuaternion().setValue(axis, angle));
        // Rodrigues' formula
        const Vector3d unit = normalize(axis);
        const Vector3d turned = point * std::cos(angle) + cross(unit, point) * std::sin(angle) +
                                unit * (dot(unit, point) * (1 - std::cos(angle)));
        ASSERT_CLOSE(Vector4d(point, 1) * byAxis, Vector4d(turned, 1) * before, 1e-14);
        ASSERT_CLOSE(byAxis, byQuaternion, 1e-14);
    }
}

TEST(Matrix4, TurnsWarnOutsideTheOpenBounds)
{
    Matrix4f m;
    expectAssertion(turnText, "geometry/zylhmatrix", [&] { m.xrotate(1.00001f, 0); });
    expectAssertion(turnText, "geometry/zylhmatrix", [&] { m.yrotate(0, -1.00001f); });
    WarningCatcher catcher;
    m.zrotate(1.000005f, -1.000005f);
    EXPECT_TRUE(catcher.isEmpty());
}

TEST(Matrix4, ZeroAxisTurnsNothingButIsTested)
{
    Matrix4d m(counting);
    expectAssertion(turnText, "geometry/zyldhmatrix",
                    [&] { m.rotate(Vector3d(0, 1e-16, 0), 2, 0); });
    m.rotate(Vector3d(), 0, 1);
    EXPECT_EQ(m, Matrix4d(counting));
}

TYPED_TEST(MatrixOf, ProjectionsMapTheirCornersToTheCube)
{
    using S = TypeParam;
    Matrix4<S> ortho;
    ortho.ortho(-1, 3, 2, 4, 1, 5);
    EXPECT_CLOSE((Vector3<S>(-1, 2, -1) * ortho), Vector3<S>(-1, -1, -1), S(1e-6));
    EXPECT_CLOSE((Vector3<S>(3, 4, -5) * ortho), Vector3<S>(1, 1, 1), S(1e-6));
    Matrix4<S> frustum;
    frustum.frustum(-1, 3, 2, 4, 1, 5);
    EXPECT_CLOSE(frustum.multVecMatrix(Vector3<S>(-1, 2, -1)), Vector3<S>(-1, -1, -1), S(1e-6));
    EXPECT_CLOSE(frustum.multVecMatrix(Vector3<S>(15, 20, -5)), Vector3<S>(1, 1, 1), S(1e-6));
    for (const auto project : {&Matrix4<S>::ortho, &Matrix4<S>::frustum}) {
        Matrix4<S> alone, after(counting);
        (alone.*project)(-1, 3, 2, 4, 1, 5);
        (after.*project)(-1, 3, 2, 4, 1, 5);
        EXPECT_CLOSE(after, alone * Matrix4<S>(counting), S(1e-5));
    }
}

TEST(Matrix4, ProjectionsWarnOfFlatVolumes)
{
    expectAssertion("rl && tb && yh", "geometry/zylhmatrix",
                    [] { Matrix4f().ortho(1, 1, 0, 1, 0, 1); });
    expectAssertion("0.0<hither && hither<yon", "geometry/zylhmatrix",
                    [] { Matrix4f().frustum(0, 1, 0, 1, 2, 1); });
    WarningCatcher catcher;
    Matrix4d().frustum(0, 0, 0, 1, -1, 1);
    const QStringList texts = catcher.take();
    ASSERT_EQ(texts.size(), 2);
    EXPECT_TRUE(texts[0].contains(QLatin1String("hither<yon")));
    EXPECT_TRUE(texts[1].startsWith(assertion("rl && tb", "geometry/zyldhmatrix")));
}

TEST(Matrix4, LookMultipliesFromTheRight)
{
    const Vector3d eye(1, 2, 3);
    Matrix4d view;
    view.look(eye, Vector3d(1, 2, -4), Vector3d(0, 5, 1));
    EXPECT_CLOSE(eye * view, Vector3d(), 1e-15);
    EXPECT_CLOSE(Vector3d(1, 2, -4) * view, Vector3d(0, 0, -7), 1e-15);
    EXPECT_CLOSE(Vector3d(2, 3, 3) * view, Vector3d(1, 1, 0), 1e-15);

    const Vector3d toward(0, 1, 1), up(1, 0, 0);
    Matrix4d alone, full(counting);
    alone.look(eye, toward, up);
    full.look(eye, toward, up);
    EXPECT_CLOSE(full, Matrix4d(counting) * alone, 1e-13);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(full.m[i][3], double(counting.m[i][3]));
}

TEST(Matrix4, LeftNegatesTheThirdRow)
{
    Matrix4f m = counting;
    m.left();
    EXPECT_EQ(m.m[2][3], -12);
    EXPECT_EQ(m.m[3][2], 15);
}

TEST(Matrix4, RotationComesBackFromEveryBranch)
{
    const double r = std::sqrt(0.5);
    // Half turns about each axis and between two take the branch of the largest diagonal element.
    std::vector<DQuaternion> cases = {{0, 0, 0, 1},      {1, 0, 0, 0},     {0, 1, 0, 0},
                                      {0, 0, 1, 0},      {r, r, 0, 0},     {0, r, r, 0},
                                      {0.9, .3, .1, .3}, {.1, .9, .3, .3}, {.3, .1, .9, .3}};
    Numbers random;
    for (int i = 0; i < 100; ++i)
        cases.push_back(random.rotation<double>());
    for (const DQuaternion& given : cases) {
        Vector4d v(given.x, given.y, given.z, given.w);
        v.normalize();
        const DQuaternion q(v.x, v.y, v.z, v.w), opposite(-v.x, -v.y, -v.z, -v.w);
        Matrix4d m;
        m.rotate(q);
        const DQuaternion back = m.getRotation();
        EXPECT_TRUE(isNear(back, q, 1e-12) || isNear(back, opposite, 1e-12))
            << testing::PrintToString(q) << testing::PrintToString(back);
    }
}

TYPED_TEST(MatrixOf, JacobiFindsTheEigenvectorsInColumns)
{
    using S = TypeParam;
    const Matrix4<S> m(2, 1, 0, 9, 1, 2, 0, 9, 0, 0, 5, 9, 9, 9, 9, 9);
    S values[3];
    Vector3<S> vectors[3];
    int rotations = 0;
    m.jacobi3(values, vectors, rotations);
    const S r = std::sqrt(S(0.5)), tolerance = 4 * std::numeric_limits<S>::epsilon();
    EXPECT_NEAR(values[0], 1, tolerance);
    EXPECT_NEAR(values[1], 3, tolerance);
    EXPECT_EQ(values[2], 5);
    EXPECT_NEAR(std::abs(vectors[0].x), r, tolerance);
    EXPECT_NEAR(vectors[1].x, -vectors[0].x, tolerance);
    EXPECT_NEAR(vectors[1].y, vectors[0].x, tolerance);
    EXPECT_EQ(rotations, 3); // one sweep visits the three pairs, though one rotates
    Matrix4<S>().jacobi3(values, vectors, rotations);
    EXPECT_EQ(rotations, 0);
}

TYPED_TEST(MatrixOf, FactorSplitsScaleFromRotation)
{
    using S = TypeParam;
    const S tolerance = 100 * std::numeric_limits<S>::epsilon();
    Numbers random;
    for (int round = 0; round < 100; ++round) {
        const double mirror = round % 2 ? -1 : 1;
        Matrix4<S> m;
        m.translate(1, 2, 3);
        m.rotate(random.rotation<S>());
        m.scale(S(random(0.5, 2)), S(mirror * random(0.5, 2)), S(random(0.5, 2)));
        m.rotate(random.rotation<S>());
        Matrix4<S> r, u, proj(0);
        Vector3<S> s, t;
        ASSERT_TRUE(m.factor(r, s, u, t, proj));
        ASSERT_EQ(t, Vector3<S>(1, 2, 3));
        ASSERT_TRUE(proj.isIdentity());
        ASSERT_CLOSE(u * u.transpose(), Matrix4<S>(), tolerance);
        ASSERT_GT(u.det4(), 0);
        ASSERT_EQ(s.x < 0 && s.y < 0 && s.z < 0, mirror < 0);
        Matrix4<S> scale;
        scale.scale(s);
        Matrix4<S> product = r * scale * r.transpose() * u;
        product.m[3][0] = 1;
        product.m[3][1] = 2;
        product.m[3][2] = 3;
        ASSERT_CLOSE(product, m, tolerance);
    }
}

TEST(Matrix4, FactorKeepsASmallScaleBesideALargeOne)
{
    Matrix4f m;
    m.rotate(Vector3f(1, 2, 3), 0.7f);
    m.scale(1, 1e-5f, 1e-6f);
    Matrix4f r, u, proj;
    Vector3f s, t;
    ASSERT_TRUE(m.factor(r, s, u, t, proj));
    EXPECT_NEAR(s.x * s.y * s.z, 1e-11, 1e-14);
    EXPECT_CLOSE(u * u.transpose(), Matrix4f(), 0.05f);
}

TEST(Matrix4, SingularFactorLeavesAllButTranslationAndProjection)
{
    Matrix4f m;
    m.translate(4, 5, 6);
    m.scale(1, 1, 1e-13f);
    Matrix4f r = counting, u = counting, proj(0);
    Vector3f s(7, 8, 9), t;
    EXPECT_FALSE(m.factor(r, s, u, t, proj));
    EXPECT_EQ(r, counting);
    EXPECT_EQ(u, counting);
    EXPECT_EQ(s, Vector3f(7, 8, 9));
    EXPECT_EQ(t, Vector3f(4, 5, 6));
    EXPECT_TRUE(proj.isIdentity());

    Vector3f translation, scale;
    Quaternion rotation(1, 0, 0, 0), axes(1, 0, 0, 0);
    m.getTransform(translation, rotation, scale, axes);
    EXPECT_EQ(translation, Vector3f(4, 5, 6));
    EXPECT_EQ(scale, Vector3f(1, 1, 1));
    EXPECT_EQ(rotation, Quaternion());
    EXPECT_EQ(axes, Quaternion());
}

TEST(Matrix4, SetTransformTurnsTheScaleAxesTwice)
{
    const Vector3d translation(1, 2, 3), center(4, 5, 6), scale(2, 3, 4);
    const DQuaternion rotation = DQuaternion().setValue(Vector3d(1, 0, 0), 0.3);
    const DQuaternion axes = DQuaternion().setValue(Vector3d(0, 1, 0), 0.4);
    Matrix4d m(counting), expected;
    m.setTransform(translation, rotation, scale, axes, center);
    expected.translate(translation + center);
    expected.rotate(Vector3d(1, 0, 0), 0.3);
    expected.yrotate(0.4);
    expected.scale(scale);
    expected.yrotate(0.4);
    expected.translate(-center);
    EXPECT_CLOSE(m, expected, 1e-14);
    m.setTransform(translation, DQuaternion(), Vector3d(1, 1, 1), axes);
    EXPECT_EQ(Vector3d() * m, translation);
    EXPECT_EQ(Vector3d(1, 0, 0) * m, Vector3d(2, 2, 3)) << "a scale of one needs no axes";
}

TEST(Matrix4, TransformComesBackWithItsCenter)
{
    Numbers random;
    for (int round = 0; round < 50; ++round) {
        const Vector3d translation = random.vector3<double>(), center = random.vector3<double>();
        const DQuaternion rotation = random.rotation<double>();
        const double scale = random(0.5, 2);
        Matrix4d m, again;
        m.setTransform(translation, rotation, Vector3d(scale, scale, scale), DQuaternion(), center);
        Vector3d t, s;
        DQuaternion q, axes;
        m.getTransform(t, q, s, axes, center);
        EXPECT_CLOSE(s, Vector3d(scale, scale, scale), 1e-13);
        again.setTransform(t, q, s, DQuaternion(), center);
        // The conjugation takes the center off on one side and adds it on the other.
        Matrix4d back, about;
        back.translate(-center);
        about = m * back;
        about.translate(center);
        EXPECT_CLOSE(t, Vector3d(about.m[3][0], about.m[3][1], about.m[3][2]), 1e-13);
        m.getTransform(t, q, s, axes);
        again.setTransform(t, q, s, DQuaternion());
        EXPECT_CLOSE(again, m, 1e-12);
    }
}

TEST(Matrix3, TransformationsActBeforeWhatIsThere)
{
    Matrix3d m;
    m.translate(3, 4);
    m.scale(2, 5);
    EXPECT_EQ(Vector2d(1, 1) * m, Vector2d(5, 9));
    Matrix3d turned;
    turned.rotate(Vector2d(1, 2), 1.5707963267948966);
    EXPECT_CLOSE(Vector2d(1, 2) * turned, Vector2d(1, 2), 1e-15);
    EXPECT_CLOSE(Vector2d(3, 2) * turned, Vector2d(1, 4), 1e-15);
    Matrix3f sheared;
    sheared.shear(0.5f, 2);
    EXPECT_EQ(Vector2f(1, 0) * sheared, Vector2f(1, 2));
    EXPECT_EQ(Vector2f(0, 1) * sheared, Vector2f(0.5f, 1));
}

TEST(Matrix3, ColumnFormWarnsForTheMatricesItTranslatesWith)
{
    constexpr char text[] = "m.m[0][2]==0.0 && m.m[1][2]==0.0 && m.m[2][2]==1.0";
    const Matrix3f column(1, 0, 5, 0, 1, 6, 0, 0, 1);
    expectAssertion(text, "geometry/zylmatrix",
                    [&] { EXPECT_EQ(column * Vector2f(1, 1), Vector2f(6, 7)); });
    expectAssertion(text, "geometry/zyldmatrix",
                    [&] { EXPECT_EQ(Vector2d(1, 1) * Matrix3d(column), Vector2d(1, 1)); });
    WarningCatcher catcher;
    EXPECT_EQ(column.transpose() * Vector2f(1, 1), Vector2f(1, 1));
    EXPECT_TRUE(catcher.isEmpty());
}

TEST(Matrix3, InverseAndDeterminantOfIntegers)
{
    const Matrix3d m(0, 2, 0, 4, 1, 0, 2, 3, 2);
    EXPECT_EQ(m.det(), -16);
    EXPECT_EQ(m.invert() * Vector3d(2, 5, 7), Vector3d(1, 1, 1)); // m * (1, 1, 1)
    EXPECT_EQ(Vector3d(6, 6, 2) * m.invert(), Vector3d(1, 1, 1)); // (1, 1, 1) * m
    for (const char* source : {"geometry/zylmatrix", "geometry/zyldmatrix"})
        expectAssertion("pvv != 0.0f", source, [&] {
            if (source[12] == 'd')
                Matrix3d(0.0).invert();
            else
                Matrix3f(Vector3f(1, 0, 0), Vector3f(0, 1, 0), Vector3f()).invert();
        });
}
