#include "security/asnarray.h"

#include "security/asnvalue.h"
#include "tools/vptrvector.h"

#include <cmath>
#include <limits>
#include <random>

namespace
{
template <class T>
VMemArray<T> arrayOf(std::initializer_list<T> values)
{
    VMemArray<T> array;
    array.duplicate(values.begin(), unsigned(values.size()));
    return array;
}

template <class T>
QByteArray streamed(const VMemArray<T>& array)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << array;
    return bytes;
}

template <class T>
QByteArray encodedToStream(const T* values, unsigned size)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    asn::Array::encode(stream, values, size);
    return bytes;
}

/// Both encoders agree, and both decoders give the values back.
template <class T>
void expectRoundTrip(const VMemArray<T>& array)
{
    const QByteArray bytes = streamed(array);
    VMemArray<T> read = arrayOf<T>({7, 8});
    QDataStream stream(bytes);
    stream >> read;
    EXPECT_TRUE(stream.atEnd());
    EXPECT_TRUE(read == array);
    const QByteArray direct = encodedToStream(array.data(), array.size());
    EXPECT_TRUE(bytes.endsWith(direct));
    VMemArray<T> values(int(array.size()));
    QByteArray followed = direct + "next";
    QDataStream elements(followed);
    EXPECT_EQ(asn::Array::decode(elements, values.data(), values.size()), array.size());
    EXPECT_TRUE(values == array);
    EXPECT_EQ(elements.device()->readAll(), "next");
}

constexpr double infinity = std::numeric_limits<double>::infinity();
} // namespace

TEST(AsnArray, Octets)
{
    // The outer length, the count, then each number behind its length.
    EXPECT_EQ(streamed(arrayOf<int>({0, 1, -1, 128, -32769})).toHex(), "0d"
                                                                       "05"
                                                                       "00"
                                                                       "0101"
                                                                       "01ff"
                                                                       "020080"
                                                                       "03ff7fff");
    EXPECT_EQ(streamed(arrayOf<unsigned>({255, 0x80000000u})).toHex(), "0a"
                                                                       "02"
                                                                       "0200ff"
                                                                       "050080000000");
    EXPECT_EQ(streamed(arrayOf<float>({1.0f, 0.5f, -0.75f, 0.0f, -0.0f})).toHex(), "0f"
                                                                                   "05"
                                                                                   "03800001"
                                                                                   "0380ff01"
                                                                                   "03c0fe03"
                                                                                   "00"
                                                                                   "00");
    // 0.1f is 13421773 * 2^-27, the least double 2^-1074.
    EXPECT_EQ(streamed(arrayOf<float>({0.1f})).toHex(), "07"
                                                        "01"
                                                        "0580e5cccccd");
    EXPECT_EQ(streamed(arrayOf<double>({infinity, -infinity, 4.94065645841246544e-324})).toHex(),
              "0a"
              "03"
              "0140"
              "0141"
              "0481fbce01");
    EXPECT_EQ(streamed(VMemArray<int>()).toHex(), "0100");
}

TEST(AsnArray, RoundTrips)
{
    expectRoundTrip(arrayOf<int>({0, 1, -1, 127, 128, -128, -129, 2147483647, -2147483647 - 1}));
    expectRoundTrip(arrayOf<unsigned>({0, 1, 127, 128, 0x7fffffff, 0x80000000u, 0xffffffffu}));
    expectRoundTrip(arrayOf<float>({1e-45f, 1.17549435e-38f, 3.40282347e38f, -0.1f}));
    expectRoundTrip(
        arrayOf<double>({infinity, 2.2250738585072014e-308, 1e-310, 1.7976931348623157e308}));
    std::mt19937 random(20210417);
    VMemArray<int> ints(20000);
    VMemArray<double> reals(20000);
    for (unsigned i = 0; i < ints.size(); ++i) {
        ints[i] = int(random() >> (random() % 32));
        reals[i] = std::ldexp(double(random()), int(random() % 200) - 100);
    }
    expectRoundTrip(ints);
    expectRoundTrip(reals);
}

TEST(AsnArray, FewerPlacesThanElementsStillTakeAllFromTheStream)
{
    const int values[] = {1, 2, 3, 4};
    QByteArray bytes = encodedToStream(values, 4) + "next";
    QDataStream stream(bytes);
    int read[2] = {};
    EXPECT_EQ(asn::Array::decode(stream, read, 2), 2u);
    EXPECT_EQ(read[1], 2);
    EXPECT_EQ(stream.device()->readAll(), "next");
}

struct Hostile {
    const char* hex;
    std::vector<int> values;
};
class AsnArrayHostile : public testing::TestWithParam<Hostile>
{
};
TEST_P(AsnArrayHostile, GivesWhatIsThere)
{
    const QByteArray bytes = QByteArray::fromHex(GetParam().hex);
    const math::MSBArray octets(bytes.data(), unsigned(bytes.size()));
    EXPECT_LE(asn::Array::count(octets), unsigned(bytes.size()));
    std::vector<int> values(8, 99);
    values.resize(asn::Array::decode(octets, values.data(), 8));
    EXPECT_EQ(values, GetParam().values);
    QDataStream stream(bytes);
    values.assign(8, 99);
    values.resize(asn::Array::decode(stream, values.data(), 8));
    EXPECT_EQ(values, GetParam().values);
}
INSTANTIATE_TEST_SUITE_P(Forms, AsnArrayHostile,
                         testing::Values(Hostile{"", {}}, Hostile{"02", {}}, Hostile{"020101", {1}},
                                         Hostile{"02010102", {1}}, Hostile{"84ffffffff0101", {1}},
                                         Hostile{"85ffffffff0101", {}}, Hostile{"82ff", {}},
                                         Hostile{"0284ffffffff01", {}},
                                         Hostile{"02810101810102", {1, 2}},
                                         Hostile{"020500800000000101", {0, 1}},
                                         Hostile{"02800101", {0, 1}}));

TEST(AsnArray, ACountInAStreamIsHeldAgainstItsBytes)
{
    QDataStream stream(QByteArray::fromHex("0884ffffffff010102"));
    VMemArray<int> array;
    stream >> array;
    EXPECT_TRUE(array == arrayOf<int>({1}));
    QDataStream cut(QByteArray::fromHex("84ffffffff01010102"));
    cut >> array;
    EXPECT_EQ(array.size(), 0u);
}

namespace
{
class Numbers : public VPtrVector<int>
{
public:
    Numbers() { setAutoDelete(true); }
    ~Numbers() override { clear(); }

protected:
    QDataStream& read(QDataStream& stream, Item& item) override
    {
        qint16 value = 0;
        stream >> value;
        item = stream.status() == QDataStream::Ok ? new int(value) : nullptr;
        return stream;
    }
    QDataStream& write(QDataStream& stream, Item item) const override
    {
        return stream << qint16(*static_cast<int*>(item));
    }
};
} // namespace

TEST(AsnArray, VectorsAreACountAndTheirItems)
{
    Numbers numbers;
    numbers.resize(3);
    numbers.insert(0, new int(5));
    numbers.insert(2, new int(-2));
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    asn::Array::encode(out, numbers);
    EXPECT_EQ(bytes.toHex(), "02"
                             "0005"
                             "fffe");
    QDataStream in(bytes);
    asn::Array::decode(in, numbers);
    ASSERT_EQ(numbers.size(), 2u);
    EXPECT_EQ(*numbers[1], -2);
    QDataStream hostile(QByteArray::fromHex("84ffffffff0005"));
    asn::Array::decode(hostile, numbers);
    EXPECT_EQ(numbers.count(), 1u);
}
