#include "tools/vmembuffer.h"

#include "support/warnings.h"

#include <functional>

TEST(VByteBuffer, GrowsToTwiceItsCapacityAndOne)
{
    VByteBuffer buffer(0);
    std::vector<unsigned> capacities;
    for (char c = 0; c < 100; ++c) {
        ASSERT_TRUE(buffer.append(c));
        if (capacities.empty() || capacities.back() != buffer.capacity())
            capacities.push_back(buffer.capacity());
    }
    EXPECT_EQ(capacities, (std::vector<unsigned>{1, 3, 7, 15, 31, 63, 127}));
    for (unsigned i = 0; i < 100; ++i)
        ASSERT_EQ(buffer[i], char(i));
}

TEST(VIntegerBuffer, KeepsItsElementsThroughEverySizeOfBlock)
{
    VIntegerBuffer buffer(10);
    EXPECT_EQ(buffer.capacity(), 10u);
    for (int i = 0; i < 5000; ++i)
        ASSERT_TRUE(buffer.append(i * 3));
    EXPECT_EQ(buffer.count(), 5000u);
    int expected = -3;
    for (const int value : buffer)
        ASSERT_EQ(value, expected += 3);
    EXPECT_EQ(expected, 4999 * 3);
}

TEST(VMemBuffer, AppendsOneOfItsOwn)
{
    VMemBuffer<double> buffer;
    buffer.append(1.5);
    while (buffer.count() < 2000)
        ASSERT_TRUE(buffer.append(buffer[0]));
    EXPECT_EQ(std::count(buffer.begin(), buffer.end(), 1.5), 2000);
}

struct BufferCase {
    const char* name;
    std::function<bool(VIntegerBuffer&)> change; // of a buffer with 1 to 5 and room for 8
    bool result;
    unsigned capacity;
    unsigned count;
    bool warns = false;
};

class VGBufferChange : public testing::TestWithParam<BufferCase>
{
};

TEST_P(VGBufferChange, SetsCapacityAndCount)
{
    const BufferCase& test = GetParam();
    VIntegerBuffer buffer(8);
    for (int i = 1; i <= 5; ++i)
        buffer.append(i);
    WarningCatcher warnings;
    EXPECT_EQ(test.change(buffer), test.result);
    EXPECT_EQ(buffer.capacity(), test.capacity);
    EXPECT_EQ(buffer.count(), test.count);
    EXPECT_EQ(buffer.data() == nullptr, test.capacity == 0);
    EXPECT_EQ(!warnings.isEmpty(), test.warns);
    for (unsigned i = 0; i < std::min(test.count, 5u); ++i)
        EXPECT_EQ(buffer[i], int(i) + 1);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Operations, VGBufferChange,
    testing::Values(
        BufferCase{"Revoke", [](VIntegerBuffer& b) { b.revoke(2); return true; }, true, 8, 3},
        BufferCase{"RevokeTooMany", [](VIntegerBuffer& b) { b.revoke(6); return true; }, true, 8, 0},
        BufferCase{"Clear", [](VIntegerBuffer& b) { b.clear(); return true; }, true, 0, 0},
        BufferCase{"Grow", [](VIntegerBuffer& b) { return b.resize(1000); }, true, 1000, 5},
        BufferCase{"Cut", [](VIntegerBuffer& b) { return b.resize(3); }, true, 3, 3},
        BufferCase{"ResizeToNone", [](VIntegerBuffer& b) { return b.resize(0); }, true, 0, 0},
        BufferCase{"TooManyElements", [](VIntegerBuffer& b) { return b.VGBuffer::resize(0x80000000, 1); }, false, 0, 0, true},
        BufferCase{"TooManyBytes", [](VIntegerBuffer& b) { return b.resize(0x40000001); }, false, 0, 0, true},
        BufferCase{"RawAppend", [](VIntegerBuffer& b) { const int six = 6; return b.VGBuffer::append(&six, 4) && b[5] == 6; }, true, 8, 6}),
    [](const auto& test) { return test.param.name; });
// clang-format on

TEST(VGBuffer, ANegativeCapacityAllocatesNothing)
{
    VMemBuffer<double> buffer(-3);
    EXPECT_EQ(buffer.capacity(), 0u);
    EXPECT_TRUE(buffer.append(2.5));
    EXPECT_EQ(buffer.capacity(), 1u);
}

static_assert(sizeof(VGBuffer) == 24 && sizeof(VMemBuffer<double>) == 24 &&
              sizeof(VByteBuffer) == 24);
