#include "tools/vsort.h"

#include <cmath>
#include <cstring>
#include <functional>
#include <numeric>
#include <random>

namespace
{
// Elements are written "5a": a digit that is compared and a letter that tells equal ones apart.
int compareDigits(const void* a, const void* b, void*)
{
    return *static_cast<const char*>(a) - *static_cast<const char*>(b);
}

/// Sorts the elements in a form of `size` bytes each, whose further bytes repeat the letter.
std::string sorted(const std::string& text, unsigned size)
{
    std::string elements;
    for (std::size_t i = 0; i < text.size(); i += 3)
        elements += text[i] + std::string(size - 1, text[i + 1]);
    VSort::qsort(elements.data(), unsigned(elements.size() / size), size, compareDigits, nullptr);
    std::string result;
    for (std::size_t i = 0; i < elements.size(); i += size) {
        const std::string letters = elements.substr(i + 1, size - 1);
        EXPECT_EQ(letters, std::string(size - 1, letters[0])) << "torn element";
        result += std::string(i > 0, ' ') + elements[i] + letters[0];
    }
    return result;
}

struct TiedCase {
    const char* name;
    const char* input;
    const char* output;
};

int compareInts(const void* a, const void* b, void* compares)
{
    if (compares)
        ++*static_cast<long*>(compares);
    const int x = *static_cast<const int*>(a);
    const int y = *static_cast<const int*>(b);
    return (x > y) - (x < y);
}
} // namespace

class VSortTies : public testing::TestWithParam<TiedCase>
{
};

TEST_P(VSortTies, EndInTheOrderWorkedOutByHand)
{
    for (const unsigned size : {2u, 4u, 8u, 12u, 16u, 23u})
        EXPECT_EQ(sorted(GetParam().input, size), GetParam().output) << "elements of " << size;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, VSortTies,
    testing::Values(
        TiedCase{"Pair", "1a 1b", "1b 1a"}, TiedCase{"OrderedPair", "1a 2a", "1a 2a"},
        TiedCase{"FirstOfTheGreatestGoesToTheTop", "2a 2b 1a 2c", "1a 2b 2c 2a"},
        TiedCase{"EightEqualRotate", "1a 1b 1c 1d 1e 1f 1g 1h", "1b 1c 1d 1e 1f 1g 1h 1a"},
        TiedCase{"NineEqualStay", "1a 1b 1c 1d 1e 1f 1g 1h 1i", "1a 1b 1c 1d 1e 1f 1g 1h 1i"},
        TiedCase{"EqualRunEndsTheLowerPart", "5a 5b 7a 1a 5c 8a 5d 2a 5e",
                 "1a 2a 5b 5a 5c 5d 5e 7a 8a"},
        TiedCase{"PivotMovesWithTheSwap", "4a 9a 4b 9b 4c 8a 8b 8c 8d",
                 "4a 4c 4b 8c 8a 8b 8d 9a 9b"},
        TiedCase{"MedianOfThreeIsOrderedFirst", "9a 1a 1b 1c 5a 1d 1e 1f 3a",
                 "1a 1b 1c 1f 1d 1e 3a 5a 9a"}),
    [](const auto& test) { return test.param.name; });

TEST(VSort, LeavesEmptyAndSingleArraysAndZeroSizesAlone)
{
    char bytes[] = "ba";
    VSort::qsort(bytes, 0, 1, compareDigits, nullptr);
    VSort::qsort(bytes, 1, 1, compareDigits, nullptr);
    VSort::qsort(bytes, 2, 0, compareDigits, nullptr);
    VSort::qsort(nullptr, 0, 4, compareDigits, nullptr);
    EXPECT_STREQ(bytes, "ba");
}

struct Pattern {
    const char* name;
    int (*value)(int i, int count);
};

class VSortPatterns : public testing::TestWithParam<Pattern>
{
};

TEST_P(VSortPatterns, SortInComparisonsOfOrderNLogN)
{
    for (const int count : {8, 9, 10, 17, 100, 1023, 20000}) {
        std::vector<int> values;
        for (int i = 0; i < count; ++i)
            values.push_back(GetParam().value(i, count));
        std::vector<int> expected = values;
        std::sort(expected.begin(), expected.end());
        long compares = 0;
        VSort::qsort(values.data(), unsigned(count), sizeof(int), compareInts, &compares);
        EXPECT_EQ(values, expected) << count;
        EXPECT_LE(double(compares), 4 * count * std::log2(count)) << count;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Patterns, VSortPatterns,
    testing::Values(Pattern{"Sorted", [](int i, int) { return i; }},
                    Pattern{"Reversed", [](int i, int) { return -i; }},
                    Pattern{"AllEqual", [](int, int) { return 7; }},
                    Pattern{"OrganPipe", [](int i, int n) { return std::min(i, n - i); }},
                    Pattern{"Valley", [](int i, int n) { return std::max(i, n - i); }},
                    Pattern{"Sawtooth", [](int i, int) { return i % 7; }},
                    Pattern{"TwoRuns", [](int i, int n) { return i % (n / 2); }},
                    Pattern{"Rotated", [](int i, int n) { return (i + 1) % n; }},
                    Pattern{"Scattered",
                            [](int i, int) { return int(unsigned(i) * 2654435761u); }}),
    [](const auto& test) { return test.param.name; });

namespace
{
/// Decides the order of the numbers 0 to n - 1 while they are sorted, always to the sorter's
/// disadvantage: a number gets a value, above those given before, only when one of two undecided
/// ones must.
struct Adversary {
    explicit Adversary(int count) : values(std::size_t(count), undecided) {}

    static int compare(const void* a, const void* b, void* argument)
    {
        auto& self = *static_cast<Adversary*>(argument);
        const auto x = std::size_t(*static_cast<const int*>(a));
        const auto y = std::size_t(*static_cast<const int*>(b));
        ++self.compares;
        if (self.values[x] == undecided && self.values[y] == undecided)
            self.values[x == self.candidate ? x : y] = self.decided++;
        if (self.values[x] == undecided)
            self.candidate = x;
        else if (self.values[y] == undecided)
            self.candidate = y;
        return self.values[x] < self.values[y] ? -1 : self.values[x] > self.values[y];
    }

    static constexpr int undecided = 1 << 30;
    std::vector<int> values;
    std::size_t candidate = 0;
    int decided = 0;
    long compares = 0;
};
} // namespace

TEST(VSort, AnOrderMadeAgainstItsPivotsStaysFromNSquared)
{
    constexpr int count = 20000;
    Adversary adversary(count);
    std::vector<int> numbers(count);
    std::iota(numbers.begin(), numbers.end(), 0);
    VSort::qsort(numbers.data(), count, sizeof(int), Adversary::compare, &adversary);
    EXPECT_LE(double(adversary.compares), 40 * count * std::log2(count));
    for (std::size_t i = 1; i < count; ++i)
        ASSERT_LE(adversary.values[std::size_t(numbers[i - 1])],
                  adversary.values[std::size_t(numbers[i])]);
}

TEST(VSort, AComparatorThatContradictsItselfLosesNoElement)
{
    std::mt19937 random(20210417);
    const std::vector<VSort::Compare> comparators = {
        [](const void*, const void*, void*) { return 1; },
        [](const void*, const void*, void*) { return -1; },
        [](const void*, const void*, void* source) {
            return int((*static_cast<std::mt19937*>(source))() % 3) - 1;
        },
    };
    for (const VSort::Compare compare : comparators) {
        std::vector<int> numbers(1000);
        std::iota(numbers.begin(), numbers.end(), 0);
        VSort::qsort(numbers.data(), 1000, sizeof(int), compare, &random);
        std::sort(numbers.begin(), numbers.end());
        for (int i = 0; i < 1000; ++i)
            ASSERT_EQ(numbers[std::size_t(i)], i);
    }
}

struct Search {
    std::vector<int> values;
    int key;
    int found; // index, or -1
    int span;
};

class VSortSearch : public testing::TestWithParam<Search>
{
};

TEST_P(VSortSearch, FindsTheElementOrTheOneBelow)
{
    // Foreign neighbours, so that an index beyond either end would still be a valid element.
    std::vector<int> memory = GetParam().values;
    memory.insert(memory.begin(), 99);
    memory.push_back(-99);
    const int* base = memory.data() + 1;
    const auto count = unsigned(GetParam().values.size());
    const int* key = &GetParam().key;
    const auto keyComesFirst = [](const void* a, const void* b, void* expected) {
        EXPECT_EQ(a, expected);
        return compareInts(a, b, nullptr);
    };
    void* argument = const_cast<int*>(key);
    auto found =
        static_cast<int*>(VSort::bsearch(key, base, count, sizeof(int), keyComesFirst, argument));
    EXPECT_EQ(found ? found - base : -1, GetParam().found);
    auto span = static_cast<int*>(
        VSort::findSpan(key, base, int(count), sizeof(int), keyComesFirst, argument));
    EXPECT_EQ(span - base, GetParam().span);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, VSortSearch,
    testing::Values(Search{{10, 20, 30}, 5, -1, -1}, Search{{10, 20, 30}, 10, 0, 0},
                    Search{{10, 20, 30}, 15, -1, 0}, Search{{10, 20, 30}, 20, 1, 1},
                    Search{{10, 20, 30}, 25, -1, 1}, Search{{10, 20, 30}, 30, 2, 2},
                    Search{{10, 20, 30}, 35, -1, 2}, Search{{}, 5, -1, -1}, Search{{10}, 9, -1, -1},
                    Search{{10}, 11, -1, 0}, Search{{1, 2, 2, 2, 3}, 2, 2, 2},
                    Search{{2, 2, 2, 2}, 2, 2, 2}));

TEST(VSort, FindSpanTakesANegativeCountForEmpty)
{
    const int values[] = {1, 2, 3};
    const int key = 2;
    EXPECT_EQ(VSort::findSpan(&key, values + 1, -5, sizeof(int), compareInts, nullptr), values);
}
