#include "geometry/gvector.h"
#include "geometry/gvectoroperation.h"
#include "geometry/zylvectorarray.h"
#include "geometryprinters.h"
#include "support/warnings.h"

#include <cstdlib>

using namespace geometry;

namespace
{
constexpr int most = std::numeric_limits<int>::max(), least = std::numeric_limits<int>::min();
constexpr double infinity = std::numeric_limits<double>::infinity();

template <class T>
GVector numbers(const std::vector<T>& values)
{
    return GVector(values.data(), int(values.size()));
}

std::vector<int> ints(const GVector& vector)
{
    std::vector<int> values(vector.size());
    vector.toInt(values.data(), int(values.size()));
    return values;
}

std::vector<double> doubles(const GVector& vector)
{
    std::vector<double> values(vector.size());
    vector.toDouble(values.data(), int(values.size()));
    return values;
}
} // namespace

TEST(GVector, FlagsTravelWithTheSharedData)
{
    GVector a(3, 0x30012), b = a;
    EXPECT_EQ(a.size(), 3u);
    EXPECT_EQ(a.VGArray::size(), 12u);
    b.setFlags(3);
    EXPECT_EQ(a.flags(), 3u);
    EXPECT_EQ(a.size(), 1u) << "eight bytes to a number";
    GVector c;
    c.duplicate(a);
    c.setFlags(2);
    EXPECT_EQ(a.flags(), 3u);
    EXPECT_EQ(a.nrefs(), 2u);
    b = c;
    EXPECT_EQ(a.nrefs(), 1u);
    EXPECT_EQ(b.flags(), 2u);
}

TEST(GVector, TakesOverABlock)
{
    int* block = static_cast<int*>(std::malloc(8));
    block[0] = 7;
    block[1] = 9;
    GVector a, b = a;
    b.assign(block, 2, GVector::Int);
    EXPECT_EQ(ints(b), (std::vector<int>{7, 9}));
    EXPECT_TRUE(a.isEmpty()) << "the other handle keeps its own record";
}

TEST(GVector, IndexPastTheEndWarnsAndGivesTheFirst)
{
    const GVector vector = numbers<double>({1, 2});
    WarningCatcher catcher;
    EXPECT_EQ(vector.at(2), vector.data());
    EXPECT_EQ(catcher.text(), QStringLiteral("VGArray::at: Absolute index 16 out of range"));
    EXPECT_EQ(GVectorArray(3, 2, GVector::Float).at(2) - vector.data() == 0, false);
    EXPECT_TRUE(catcher.isEmpty());
    EXPECT_EQ(GVector().at(0), nullptr);
    EXPECT_EQ(catcher.text(), QStringLiteral("VGArray::at: Absolute index 0 out of range"));
    GVector(-1, GVector::Int);
    EXPECT_EQ(catcher.text(),
              QStringLiteral("VGArray: Cannot allocate array with negative length"));
}

TEST(GVector, ConvertsAsManyAsThereAre)
{
    const GVector vector = numbers<double>({1.75, -2.75, 1e10});
    EXPECT_EQ(vector.toVector2i(), Vector2i(1, -2));
    EXPECT_EQ(vector.toVector4f(), Vector4f(1.75f, -2.75f, 1e10f, 0));
    EXPECT_EQ(numbers<int>({5}).toVector3d(), Vector3d(5, 0, 0));
    EXPECT_EQ(GVector(12, GVector::Bytes).toVector2f(), Vector2f());
    int out[] = {9, 9, 9, 9};
    EXPECT_EQ(numbers<double>({infinity, std::nan("")}).toInt(out, 4), 2);
    EXPECT_THAT(out, testing::ElementsAre(most, 0, 9, 9));
    EXPECT_EQ(vector.toInt(out, -1), 0);
    EXPECT_EQ(GVector(Vector3f(1, 2, 3)).toVector3f(), Vector3f(1, 2, 3));
}

TEST(GVector, SumsKeepTheirOwnType)
{
    GVector whole = numbers<int>({1, -1, most, most, least});
    whole += numbers<double>({0.75, -0.75, 10, -0.5, -infinity});
    EXPECT_EQ(ints(whole), (std::vector<int>{1, -1, most, most - 1, least}));
    whole -= numbers<int>({1, 1});
    EXPECT_EQ(ints(whole), (std::vector<int>{0, -2, most, most - 1, least}));
    GVector wrapped = numbers<int>({most, least});
    wrapped += numbers<int>({1, -1});
    EXPECT_EQ(ints(wrapped), (std::vector<int>{least, most}));
    GVector real = numbers<float>({0.5f});
    real += numbers<int>({3, 4});
    EXPECT_EQ(doubles(real), std::vector<double>{3.5});
    real += GVector(4, GVector::Bytes);
    EXPECT_EQ(doubles(real), std::vector<double>{3.5});
    real += real;
    EXPECT_EQ(doubles(real), std::vector<double>{7});
}

TEST(GVector, FactorsAreCutToTheOwnType)
{
    GVector whole = numbers<int>({3, -7, least});
    whole *= 2.9;
    EXPECT_EQ(ints(whole), (std::vector<int>{6, -14, 0}));
    whole /= -4.5;
    EXPECT_EQ(ints(whole), (std::vector<int>{-1, 3, 0}));
    whole /= 0.9;
    EXPECT_EQ(ints(whole), (std::vector<int>{-1, 3, 0})) << "the divisor is cut to 0";
    GVector low = numbers<int>({least});
    low /= -1;
    EXPECT_EQ(ints(low), std::vector<int>{least});
    low *= std::nan("");
    EXPECT_EQ(ints(low), std::vector<int>{0});
    GVector real = numbers<double>({1, -2});
    real /= 8;
    EXPECT_EQ(doubles(real), (std::vector<double>{0.125, -0.25}));
    GVector raw;
    raw.duplicate("abc", 3, GVector::Bytes);
    raw *= 2;
    EXPECT_EQ(*raw.at(1), 'b');
}

TEST(GVector, SumOfUnlikeVectorsIsEmpty)
{
    const GVector a = numbers<float>({1, 2}), b = numbers<float>({10, 20});
    EXPECT_EQ(doubles(a + b), (std::vector<double>{11, 22}));
    EXPECT_EQ(doubles(a - b), (std::vector<double>{-9, -18}));
    EXPECT_EQ(doubles(a), (std::vector<double>{1, 2}));
    EXPECT_TRUE((a + numbers<int>({1, 2})).isEmpty());
    EXPECT_TRUE((a + numbers<float>({1})).isEmpty());
    EXPECT_TRUE((GVector(4, 0) + GVector(4, 0)).isEmpty());
    GVector marked = b;
    marked.setFlags(GVector::Float | GVector::homogeneous);
    EXPECT_TRUE((a + marked).isEmpty());
}

TEST(GVectorArray, CountsInVectors)
{
    GVectorArray array(2, 3, GVector::Float);
    EXPECT_EQ(array.flags(), 0x30002u);
    EXPECT_EQ(array.size(), 2u);
    EXPECT_EQ(array.at(1) - array.data(), 12);
    EXPECT_TRUE(array.resize(5));
    EXPECT_EQ(array.VGArray::size(), 60u);
    array.setDimension(0);
    EXPECT_EQ(array.dimension(), 1);
    EXPECT_EQ(array.size(), 15u);
    const GVectorArray plain(4, 0, GVector::Int);
    EXPECT_EQ(plain.size(), 4u);
    EXPECT_EQ(plain.flags(), 1u);
}

TEST(GVectorArray, ConvertingKeepsTheOtherFlags)
{
    const double values[] = {1.5, -2.5, 3, 4};
    GVectorArray array(values, 2, 2);
    array.setFlags(array.flags() | GVector::homogeneous | 4);
    EXPECT_EQ(array.toDoubleArray().data(), array.data()) << "shared";
    const GVectorArray whole = array.toIntArray();
    EXPECT_EQ(whole.flags(), 0x20015u);
    EXPECT_EQ(ints(whole), (std::vector<int>{1, -2, 3, 4}));
    EXPECT_EQ(array.type(), GVector::Double);
    EXPECT_TRUE(GVectorArray(4, 1, GVector::Bytes).toFloatArray().isEmpty());
}

TEST(GVectorArray, TranslationRespectsWeights)
{
    const float values[] = {1, 2, 1, 1, 2, 0, 1, 2, 4};
    const float offset[] = {10, 20, 30};
    GVectorArray rational(values, 3, 3);
    rational.translate(offset, 2);
    EXPECT_EQ(doubles(rational), (std::vector<double>{11, 22, 1, 11, 22, 0, 41, 82, 4}));
    GVectorArray plain(values, 3, 3);
    plain.translate(offset, 3);
    EXPECT_EQ(doubles(plain), (std::vector<double>{11, 22, 31, 11, 22, 30, 11, 22, 34}));
    const double other[] = {1, 1, 1};
    plain.translate(other, 3);
    plain.translate(offset, 1);
    EXPECT_EQ(doubles(plain)[0], 11) << "neither another type nor another dimension";
}

TEST(GVectorArray, ReversingKeepsVectorsWhole)
{
    const int values[] = {1, 2, 3, 4, 5, 6};
    GVectorArray array(values, 3, 2);
    array.reverse();
    EXPECT_EQ(ints(array), (std::vector<int>{5, 6, 3, 4, 1, 2}));
    char text[] = "abcdef";
    GVectorArray::reverse(text, 1, 6);
    EXPECT_STREQ(text, "fedcba");
    GVectorArray::reverse(text, 2, 3);
    EXPECT_STREQ(text, "badcfe");
    GVectorArray().reverse();
}

TEST(VectorArray, ProjectsAsRows)
{
    Matrix3f moved;
    moved.translate(1, 2);
    Vector2fArray flat(1);
    flat[0] = Vector2f(5, 6);
    flat.project(moved);
    EXPECT_EQ(flat[0], Vector2f(6, 8));

    Vector3fArray widened(flat);
    EXPECT_EQ(widened[0], Vector3f(6, 8, 0));
    Matrix4f turned;
    turned.translate(1, 0, 0);
    turned.zrotate(0, 1);
    widened.project(turned);
    EXPECT_EQ(widened[0], Vector3f(-7, 6, 0));

    turned.m[0][3] = 1;
    WarningCatcher catcher;
    widened.project(turned);
    EXPECT_EQ(catcher.take().size(), 1);
    const Vector4f homogeneous(1, 2, 3, 1);
    Vector4fArray four(&homogeneous, 1);
    four.project(turned);
    EXPECT_TRUE(catcher.isEmpty());
    EXPECT_EQ(four[0], Vector4f(-1, 1, 3, 2));
}

TEST(VectorArray, ProjectedWholeNumbersAreRounded)
{
    Matrix3d m;
    m.rotate(1.5707963267948966);
    Vector2iArray points(3);
    points[0] = Vector2i(100, 50);
    points[1] = Vector2i(-3, 5);
    points[2] = Vector2i(most, 1);
    points.project(m);
    EXPECT_EQ(points[0], Vector2i(-50, 100));
    EXPECT_EQ(points.boundingBox(), Box2i(-50, -3, -1, most));
    Matrix3d half;
    half.scale(0.5, 1e300);
    points.project(half);
    EXPECT_EQ(points[1], Vector2i(-3, least)) << "-2.5 rounds away from zero";
}

TEST(VectorArray, TranslationByAnElementUsesItsFirstValue)
{
    Vector2fArray points(2);
    points[0] = Vector2f(1, 2);
    points[1] = Vector2f(3, 4);
    points.translate(points[0]);
    EXPECT_EQ(points[1], Vector2f(4, 6));
    Vector2fArray::reverse(points.data(), 2);
    EXPECT_EQ(points[1], Vector2f(2, 4));
}

TEST(VectorArray, BoundsDivideByAWeightOtherThanZeroAndOne)
{
    const Vector3f flat[] = {{1, 2, 0}, {3, 4, 1}, {10, -20, 2}};
    Box2f box;
    Vector3fArray::boundingBox(box, flat, 3);
    EXPECT_EQ(box, Box2f(1, -10, 5, 4));
    EXPECT_EQ(Vector3fArray(flat, 3).boundingBox(), Box3f(1, -20, 0, 10, 4, 2));
    const Vector4f space[] = {{1, 2, 3, 0}, {4, 8, 12, -2}};
    EXPECT_EQ(Vector4fArray(space, 2).boundingBox(), Box3f(-2, -4, -6, 1, 2, 3));
    Vector3fArray::boundingBox(box, flat, 0);
    EXPECT_EQ(box, Box2f());
}

TEST(VectorBuffer, GrowsByWholeItems)
{
    VectorBuffer buffer(0, 3, GVector::Double);
    const double item[] = {1, 2, 3};
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(buffer.append(reinterpret_cast<const char*>(item)));
    EXPECT_EQ(buffer.count(), 4u);
    EXPECT_EQ(buffer.capacity(), 7u);
    EXPECT_EQ(buffer.at(3) - buffer.data(), 72);
    EXPECT_EQ(VectorBuffer(2, 0, GVector::Int).itemSize(), 4);
    Vector3fBuffer points(1);
    EXPECT_TRUE(points.append(Vector3f(1, 2, 3)) && points.append(points[0]));
    EXPECT_EQ(points[1], Vector3f(1, 2, 3));
}

TEST(GVectorOperation, RationalPointsDivideTheirWeightsOut)
{
    const float a[] = {4, 6, 8, 2}, b[] = {1, 2, 3, 0};
    float out[] = {9, 9, 9, 9};
    const GVectorOperation plain(2, false), rational(3, true);
    plain.subtract(out, a, b);
    EXPECT_THAT(out, testing::ElementsAre(3, 4, 9, 9));
    EXPECT_EQ(plain.length(out), 5);
    rational.subtract(out, a, b); // (2, 3, 4) - (1, 2, 3), a zero weight being 1
    EXPECT_THAT(out, testing::ElementsAre(1, 1, 1, 9));
    EXPECT_EQ(rational.dot(a, b), 4 + 12 + 24);
    rational.assign(out, a);
    EXPECT_THAT(out, testing::ElementsAreArray(a));
    EXPECT_EQ(GVectorOperation(4, false).assign, nullptr);
    EXPECT_EQ(GVectorOperation(1, true).length, nullptr);
}
