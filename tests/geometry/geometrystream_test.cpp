#include "geometry/gvector.h"
#include "geometry/zylvectorarray.h"
#include "geometryprinters.h"

#include <algorithm>

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
T read(const QByteArray& bytes, T value = T())
{
    QDataStream stream(bytes);
    stream >> value;
    return value;
}

template <class T>
void expectSame(const T& value)
{
    EXPECT_EQ(read<T>(written(value)), value);
}

GVector ints(const std::vector<int>& values)
{
    return GVector(values.data(), int(values.size()));
}
} // namespace

// A number is a length and the octets of a DER INTEGER, or of a REAL: sign and base, exponent,
// mantissa.
TEST(GeometryStream, VectorsAreArraysOfNumbers)
{
    EXPECT_EQ(written(Vector3f(1, 0, -2)).toHex(' '), "0a 03 03 80 00 01 00 03 c0 01 01");
    EXPECT_EQ(written(Vector2i(1, -300)).toHex(' '), "06 02 01 01 02 fe d4");
    EXPECT_EQ(written(Vector2d(0.75, 0)).toHex(' '), "06 02 03 80 fe 03 00");
}

TEST(GeometryStream, EveryTypeComesBack)
{
    Numbers random;
    expectSame(Vector4d(random.vector3<double>(), 1e-300));
    expectSame(Vector2f(3.4028235e38f, -1e-45f));
    expectSame(random.matrix4<float>());
    expectSame(random.matrix4<double>());
    expectSame(Matrix3f(1, 2, 3, 4, 5, 6, 7, 8, 9));
    expectSame(random.rotation<double>());
    expectSame(Box3f(1, 2, 3, 4, 5, 6));
    expectSame(Box2i());
    expectSame(Box3d());
    EXPECT_EQ(written(Matrix4f(0)), QByteArray("\x11\x10", 2) + QByteArray(16, 0));
    EXPECT_EQ(written(Box2f(1, 0, 0, 1)), written(Vector2f(1, 0)) + written(Vector2f(0, 1)));
}

TEST(GeometryStream, MissingNumbersStayAsTheyWere)
{
    const QByteArray two = written(Vector2f(1, 2));
    EXPECT_EQ(read(two, Vector4f(9, 9, 9, 9)), Vector4f(1, 2, 9, 9));
    EXPECT_EQ(read(written(Vector4f(1, 2, 3, 4)), Vector2f()), Vector2f(1, 2));
    EXPECT_EQ(read(two.left(3), Vector2f(9, 9)), Vector2f(9, 9));
}

TEST(GeometryStream, ArraysAreFlatAndWhole)
{
    const Vector2i points[] = {{1, -300}, {0, 5}};
    EXPECT_EQ(written(Vector2iArray(points, 2)).toHex(' '), "09 04 01 01 02 fe d4 00 01 05");
    Vector3fArray array(0);
    for (unsigned i = 0; i < 100; ++i)
        array.setExpand(i, Vector3f(float(i), 0.5f, -1 / (1 + float(i))));
    const auto back = read<Vector3fArray>(written(array));
    EXPECT_TRUE(back == array);
    // Three points of the plane are two in space, and none is made of a rest.
    Vector2fArray flat(3);
    flat.fill(Vector2f(1, 2));
    EXPECT_EQ(read<Vector3fArray>(written(flat)).size(), 2u);
    EXPECT_EQ(read<Vector4fArray>(written(Vector3f(1, 2, 3))).size(), 0u);
    // The count in front says a thousand million, the octets hold two.
    const QByteArray hostile = QByteArray::fromHex("0984 3b9aca00 0101 0102");
    EXPECT_EQ(read<Vector2iArray>(hostile).size(), 1u);
}

TEST(GeometryStream, RunTimeVectorsCarryTheirFlags)
{
    EXPECT_EQ(written(ints({1, -300})).toHex(' '), "04 09 02 01 01 02 01 01 02 fe d4");
    GVector raw;
    raw.duplicate("ab", 2, GVector::Bytes);
    EXPECT_EQ(written(raw).toHex(' '), "04 05 02 01 00 61 62");
    raw.setFlags(0x80000000);
    EXPECT_EQ(written(raw).toHex(' '), "04 09 02 05 00 80 00 00 00 61 62");
    EXPECT_EQ(read<GVector>(written(raw)).flags(), 0x80000000u);
    EXPECT_EQ(*read<GVector>(written(raw)).at(1), 'b');

    const float values[] = {1.5f, -2, 0, 1e30f, 5, 6};
    const GVectorArray array(values, 2, 3);
    const auto back = read<GVectorArray>(written(array));
    EXPECT_EQ(back.flags(), 0x30002u);
    EXPECT_TRUE(back == array);
    EXPECT_TRUE(read<GVector>(written(GVector()), ints({1, 2})).isEmpty());
}

struct Broken {
    const char* name;
    const char* hex;
};
class BrokenVector : public testing::TestWithParam<Broken>
{
};
TEST_P(BrokenVector, LeavesTheTargetAsItWas)
{
    QDataStream stream(QByteArray::fromHex(GetParam().hex));
    GVector vector = ints({7, 8});
    stream >> vector;
    EXPECT_NE(stream.status(), QDataStream::Ok);
    EXPECT_EQ(vector.flags(), 1u);
    EXPECT_EQ(vector.toVector2i(), Vector2i(7, 8));
}
INSTANTIATE_TEST_SUITE_P(
    Streams, BrokenVector,
    testing::Values(Broken{"empty", ""}, Broken{"sequence", "30 05 02 01 01 01 00"},
                    Broken{"no flags", "04 00"}, Broken{"flags cut", "04 02 02 04"},
                    Broken{"flags of text", "04 03 13 01 41"},
                    Broken{"negative flags", "04 03 02 01 ff"},
                    Broken{"flags of five octets", "04 07 02 05 01 00 00 00 02"},
                    Broken{"cut", "04 09 02 01 01 02 01 01"}),
    [](const auto& given) {
        std::string name = given.param.name;
        std::replace(name.begin(), name.end(), ' ', '_');
        return name;
    });

TEST(GeometryStream, CountsAreHeldToTheOctetsThatAreLeft)
{
    const auto huge = read<GVector>(QByteArray::fromHex("04 0a 02 01 03 84 7fffffff 01 00"));
    EXPECT_EQ(huge.type(), GVector::Double);
    EXPECT_LE(huge.size(), 2u);
    EXPECT_EQ(read<GVector>(QByteArray::fromHex("04 06 02 01 02 02 03 80")).size(), 0u)
        << "the first number is cut short";
}
