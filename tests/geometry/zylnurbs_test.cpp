#include "geometry/zylnurbs.h"

#include "curves.h"
#include "geometry/zylbspline.h"
#include "geometry/zylhmatrix.h"
#include "geometry/zylnurbssurface.h"
#include "geometry/zyltransform.h"
#include "support/warnings.h"

#include <numeric>

using namespace geometry;

namespace
{
template <class T>
QByteArray written(const T& value)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << value;
    return bytes;
}

template <class T>
QDataStream::Status read(const QByteArray& bytes, T& value)
{
    QDataStream stream(bytes);
    stream >> value;
    return stream.status();
}

template <class S>
NurbsCurve parabola()
{
    const S points[] = {0, 0, 1, 2, 2, 0, 4, 1}, knots[] = {0, 0, 0, 1, 3, 3, 3};
    return NurbsCurve(3, GVectorArray(points, 4, 2), knots);
}

std::vector<double> doubles(const GVectorArray& array)
{
    std::vector<double> numbers(array.GVector::size());
    array.toDouble(numbers.data(), int(numbers.size()));
    return numbers;
}

template <class S>
std::vector<S> numbers(const KnotVector& knots)
{
    return std::vector<S>(knots.as<S>(), knots.as<S>() + knots.size() / sizeof(S));
}

template <class S>
curves::Curve<S> shape(const NurbsCurve& c)
{
    const S* points = reinterpret_cast<const S*>(c.vertices.data());
    return {c.order, int(c.vertices.size()), c.vertices.dimension(), numbers<S>(c.knots),
            std::vector<S>(points, points + c.vertices.GVector::size())};
}

constexpr char tooFew[] = "NurbsCurve::check: no enough control points";
} // namespace

TEST(KnotVector, DuplicatesOnlyWhatIsThere)
{
    const float knots[] = {1, 2, 3};
    KnotVector a(knots, sizeof(knots));
    EXPECT_TRUE(a.duplicate(nullptr, 8));
    EXPECT_TRUE(a.duplicate(knots, 0));
    EXPECT_EQ(numbers<float>(a), (std::vector<float>{1, 2, 3}));
    const KnotVector b = a;
    EXPECT_EQ(b.data(), a.data()) << "copies share";
    ASSERT_TRUE(a.resize(8));
    EXPECT_EQ(numbers<float>(a), (std::vector<float>{1, 2}));
    EXPECT_EQ(numbers<float>(b), (std::vector<float>{1, 2, 3})) << "but don't lose";
}

TEST(KnotVector, EncodesByTheTypeOfTheVertices)
{
    const float floats[] = {0.5f, 3};
    const double doubles[] = {0.1, 3};
    float f[3] = {9, 9, 9};
    double d[1];
    EXPECT_EQ(KnotVector::decode_knots(KnotVector::encode_knots(GVector::Float, floats, 2),
                                       GVector::Float, f, 3),
              2u);
    EXPECT_THAT(f, testing::ElementsAre(0.5f, 3, 9));
    EXPECT_EQ(KnotVector::decode_knots(KnotVector::encode_knots(GVector::Double, doubles, 2),
                                       GVector::Double, d, 1),
              1u);
    EXPECT_EQ(d[0], 0.1);
    EXPECT_EQ(KnotVector::decode_knots(math::MSBArray("\x7f\x01", 2), GVector::Float, f, 3), 0u);
}

TEST(NurbsCurve, SharesUntilItIsElevated)
{
    NurbsCurve a = parabola<double>(), b = a;
    EXPECT_EQ(b.vertices.data(), a.vertices.data());
    EXPECT_EQ(b.knots.data(), a.knots.data());
    const std::vector<double> before = doubles(a.vertices);
    b.elevate(2);
    EXPECT_EQ(doubles(a.vertices), before);
    EXPECT_EQ(a.knots.size(), 7 * sizeof(double));
    EXPECT_EQ(b.order, 5);
    EXPECT_EQ(b.vertices.size(), 8u) << "4 points, 2 spans, twice";
    EXPECT_EQ(b.vertices.dimension(), 2);
    EXPECT_EQ(b.knots.size(), 13 * sizeof(double));
    EXPECT_LT(curves::distance(shape<double>(a), shape<double>(b)), 1e-13);
    b = a;
    EXPECT_EQ(b.knots.data(), a.knots.data());
}

TEST(NurbsCurve, ElevatesInSinglePrecision)
{
    NurbsCurve a = parabola<float>(), b = a;
    b.elevate(1);
    EXPECT_EQ(b.order, 4);
    EXPECT_LT(curves::distance(shape<float>(a), shape<float>(b)), 1e-5);
}

TEST(NurbsCurve, ElevatesAPolylineOfNoOrder)
{
    const float points[] = {0, 3, 9};
    NurbsCurve line(0, GVectorArray(points, 3, 1));
    line.elevate(1);
    EXPECT_EQ(line.order, 3) << "from 2";
    EXPECT_EQ(doubles(line.vertices), (std::vector<double>{0, 1.5, 3, 6, 9}));
    EXPECT_EQ(numbers<float>(line.knots), (std::vector<float>{0, 0, 0, 1, 1, 2, 2, 2}));
}

TEST(NurbsCurve, ElevatingWhatCannotBeChangesNothing)
{
    const int whole[] = {1, 2, 3};
    const double flat[] = {1, 1, 1, 1, 1, 1, 1}, points[] = {1, 2, 3, 4};
    NurbsCurve cases[] = {NurbsCurve(), NurbsCurve(2, GVectorArray(whole, 3, 1)),
                          NurbsCurve(5, GVectorArray(points, 4, 1)),
                          NurbsCurve(3, GVectorArray(points, 4, 1), flat)};
    for (NurbsCurve& curve : cases) {
        const std::vector<double> before = doubles(curve.vertices);
        const int order = curve.order;
        for (const int times : {-1, 0, 1, 1 << 30})
            curve.elevate(times);
        EXPECT_EQ(doubles(curve.vertices), before);
        EXPECT_EQ(curve.order, order);
    }
}

TEST(NurbsCurve, StreamRoundTrip)
{
    const double points[] = {0.1, 1};
    for (const NurbsCurve& curve : {parabola<float>(), parabola<double>(), NurbsCurve(),
                                    NurbsCurve(4, GVectorArray(points, 2, 1))}) {
        NurbsCurve copy = parabola<float>();
        ASSERT_EQ(read(written(curve), copy), QDataStream::Ok);
        EXPECT_EQ(copy.order, curve.order);
        EXPECT_EQ(copy.vertices.flags(), curve.vertices.flags());
        EXPECT_EQ(doubles(copy.vertices), doubles(curve.vertices));
        EXPECT_EQ(numbers<char>(copy.knots), numbers<char>(curve.knots));
    }
}

TEST(NurbsCurve, DamagedStreamsLeaveTheCurve)
{
    const QByteArray good = written(parabola<float>());
    const QByteArray bare = written(NurbsCurve(3, parabola<float>().vertices));
    QByteArray otherOrder = good;
    const int at = int(bare.size()) - 3; // in front of an empty octet string
    ASSERT_EQ(otherOrder[at], 3) << "the order";
    otherOrder[at] = 4;
    QByteArray negative = bare;
    negative[at] = char(-1);
    std::vector<QByteArray> bad = {otherOrder, negative};
    for (int length = 0; length < good.size(); ++length)
        bad.push_back(good.left(length));
    for (const QByteArray& bytes : bad) {
        NurbsCurve curve = parabola<double>();
        EXPECT_NE(read(bytes, curve), QDataStream::Ok) << bytes.toHex().toStdString();
        EXPECT_EQ(curve.knots.size(), 56u);
        EXPECT_EQ(curve.vertices.size(), 4u);
    }
}

TEST(NurbsCurveVector, OwnsAndStoresItsCurves)
{
    NurbsCurveVector curves;
    curves.resize(3);
    curves.insert(0, new NurbsCurve(parabola<double>()));
    curves.insert(2, new NurbsCurve(parabola<float>()));
    NurbsCurveVector copy = curves;
    EXPECT_NE(copy[0], curves[0]);
    EXPECT_EQ(copy[1], nullptr);
    copy[2]->order = 7;
    EXPECT_EQ(curves[2]->order, 3);
    copy = curves;
    EXPECT_EQ(copy[2]->order, 3);

    NurbsCurveVector again;
    ASSERT_EQ(read(written(curves), again), QDataStream::Ok);
    ASSERT_EQ(again.count(), 2u) << "empty slots aren't stored";
    EXPECT_EQ(again[0]->vertices.type(), GVector::Double);
    EXPECT_EQ(again[1]->knots.size(), 28u);
    QByteArray cut = written(curves);
    cut.chop(1);
    EXPECT_NE(read(cut, again), QDataStream::Ok);
    EXPECT_EQ(again.count(), 1u) << "up to the damage";
}

TEST(NurbsFace, StreamRoundTrip)
{
    NurbsFace face;
    const float knotsU[] = {0, 0, 1, 1}, knotsV[] = {0, 0, 0, 1, 1, 1};
    face.vertices = GVectorArray(6, 3, GVector::Float);
    std::iota(reinterpret_cast<float*>(face.vertices.data()),
              reinterpret_cast<float*>(face.vertices.data()) + 18, 0.5f);
    face.orderV = 3;
    face.knotsU.duplicate(knotsU, sizeof(knotsU));
    face.knotsV.duplicate(knotsV, sizeof(knotsV));
    NurbsFaceVector faces, again;
    faces.insertExpand(0, new NurbsFace(face));
    ASSERT_EQ(read(written(faces), again), QDataStream::Ok);
    ASSERT_EQ(again.count(), 1u);
    EXPECT_EQ(again[0]->orderU, 2);
    EXPECT_EQ(again[0]->orderV, 3);
    EXPECT_EQ(doubles(again[0]->vertices), doubles(face.vertices));
    EXPECT_EQ(numbers<float>(again[0]->knotsV), numbers<float>(face.knotsV));
    face.orderU = 3; // one row of three for six vertices
    NurbsFace unchanged;
    EXPECT_EQ(read(written(face), unchanged), QDataStream::ReadCorruptData);
    EXPECT_TRUE(unchanged.vertices.isEmpty());
}

TEST(NurbsMesh, CopiesItsFaces)
{
    NurbsMesh mesh;
    NurbsFaceVector faces;
    faces.insertExpand(0, new NurbsFace);
    mesh.setFaces(faces);
    EXPECT_NE(mesh.faces()[0], faces[0]);
    VMemArray<int> indices(4);
    mesh.setFaceUVs(indices);
    mesh.clearFaceUVs();
    EXPECT_TRUE(mesh.faceUVs().isEmpty());
    EXPECT_EQ(indices.size(), 4u) << "cleared for the mesh only";
}

TEST(NurbsCurveInfo, ClosesAPeriodicCurve)
{
    const float points[] = {0, 0, 4, 0, 4, 4, 0, 4};
    NurbsCurveInfo info(4, nullptr, points, 0);
    ASSERT_TRUE(info.check(4, 8, 3));
    ASSERT_EQ(info.count, 7);
    ASSERT_EQ(info.knotCount, 11);
    EXPECT_EQ(info.points[8], 0);
    EXPECT_EQ(info.points[10], 4) << "the second point again";
    EXPECT_EQ(info.points[13], 4) << "and the third";
    for (int i = 0; i < 11; ++i)
        EXPECT_EQ(info.knots[i], float(i));
    float start[4], end[4];
    BSpline::evaluate(4, info.count, info.knots, 2, info.points, 3, start, start + 2);
    BSpline::evaluate(4, info.count, info.knots, 2, info.points, 7, end, end + 2);
    for (int k = 0; k < 4; ++k)
        EXPECT_NEAR(start[k], end[k], 1e-5f) << "value and slope";
}

TEST(NurbsCurveInfo, WrapsFewPointsMoreThanOnce)
{
    const float points[] = {5, 6};
    const float knots[] = {0, 0, 0, 9, 9, 9, 9};
    NurbsCurveInfo info(2, knots, points, 7);
    ASSERT_TRUE(info.check(6, 4, 3));
    EXPECT_EQ(info.count, 7);
    EXPECT_EQ(std::vector<float>(info.points, info.points + 7),
              (std::vector<float>{5, 6, 5, 6, 5, 6, 5}));
    EXPECT_EQ(info.knotCount, 13) << "never fewer than points and order together";
    EXPECT_EQ(info.knots[12], 12);
}

TEST(NurbsCurveInfo, MakesMissingKnotsOnly)
{
    const double points[] = {1, 2, 3, 4}, own[] = {0, 0, 0, 5, 6, 6, 6};
    DNurbsCurveInfo clamped(4, nullptr, points, 0),
        uniform = DNurbsCurveInfo(4, nullptr, points, 0);
    ASSERT_TRUE(clamped.check(3, 8, 2));
    EXPECT_EQ(std::vector<double>(clamped.knots, clamped.knots + 7),
              (std::vector<double>{0, 0, 0, 1, 2, 2, 2}));
    ASSERT_TRUE(uniform.check(3, 8, 1));
    EXPECT_EQ(uniform.knots[6], 6);
    EXPECT_EQ(uniform.points, points);
    DNurbsCurveInfo ready(4, own, points, 7), few(4, own, points, 6);
    EXPECT_TRUE(ready.check(3, 8, 0));
    EXPECT_EQ(ready.knots, own);
    EXPECT_FALSE(few.check(3, 8, 0)) << "fewer knots than the curve takes";
}

TEST(NurbsCurveInfo, WarnsOfTooFewPoints)
{
    const float points[] = {1, 2, 3};
    WarningCatcher catcher;
    EXPECT_FALSE(NurbsCurveInfo(3, nullptr, points, 0).check(4, 4, 0));
    EXPECT_EQ(catcher.text(), QLatin1String(tooFew));
    EXPECT_FALSE(NurbsCurveInfo(0, nullptr, nullptr, 0).check(4, 4, 3));
    EXPECT_EQ(catcher.text(), QLatin1String(tooFew));
    EXPECT_FALSE(NurbsCurveInfo(3, nullptr, points, 0).check(0, 4, 0));
    EXPECT_FALSE(NurbsCurveInfo(3, nullptr, points, 0).check(2147483647, 4, 3)) << "no memory";
    EXPECT_TRUE(catcher.isEmpty());
    EXPECT_TRUE(NurbsCurveInfo(3, nullptr, points, 0).check(3, 4, 0));
}

TEST(FindTransform, MapsPointsOfEachKind)
{
    Matrix4d m;
    m.translate(1, 2, 3);
    int flat[] = {10, 20};
    find_transform(2, GVector::Int, false, false)(flat, 1, m);
    EXPECT_THAT(flat, testing::ElementsAre(11, 22));
    float rational[] = {2, 2, 2, 2}; // the point (1, 1, 1)
    find_transform(3, GVector::Float, true, false)(rational, 1, m);
    EXPECT_THAT(rational, testing::ElementsAre(4, 6, 8, 2));
    find_transform(3, GVector::Float, true, true)(rational, 1, Matrix4d());
    EXPECT_THAT(rational, testing::ElementsAre(2, 3, 4, 1));
    // A perspective whose weight is z.
    Matrix4d view;
    view.m[2][3] = 1;
    view.m[3][3] = 0;
    double space[] = {8, 6, 2, 8, 6, 0};
    find_transform(3, GVector::Double, false, true)(space, 2, view);
    EXPECT_THAT(space, testing::ElementsAre(4, 3, 1, 8, 6, 0)) << "weight 0 divides nothing";
    EXPECT_EQ(find_transform(4, GVector::Float, false, false), nullptr);
    EXPECT_EQ(find_transform(3, GVector::Bytes, false, false), nullptr);
}
