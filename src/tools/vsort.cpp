#include "tools/vsort.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace
{
/// Elements of a size known to the compiler: one load and store each instead of a loop over bytes.
template <std::size_t Size>
struct FixedElement {
    explicit FixedElement(unsigned) {}
    static constexpr std::ptrdiff_t size() { return Size; }
    static void swap(char* a, char* b)
    {
        char spare[Size];
        std::memcpy(spare, a, Size);
        std::memcpy(a, b, Size);
        std::memcpy(b, spare, Size);
    }
};

struct AnyElement {
    explicit AnyElement(unsigned size) : m_size(size) {}
    std::ptrdiff_t size() const { return m_size; }
    void swap(char* a, char* b) const { std::swap_ranges(a, a + m_size, b); }

private:
    std::ptrdiff_t m_size;
};

template <class Element>
class QuickSort
{
public:
    QuickSort(unsigned size, VSort::Compare compare, void* argument)
        : m_element(size), m_compare(compare), m_argument(argument)
    {
    }

    void run(char* low, char* high)
    {
        // The smaller part is always sorted first, so that even 2^32 elements need fewer.
        Range stack[30];
        int depth = 0;
        // Common patterns stay below 4 n log n. Only an order made against this very choice of
        // pivots costs n squared; what is left of such a one when the allowance is spent goes to a
        // heap.
        const std::ptrdiff_t total = (high - low) / size() + 1;
        std::ptrdiff_t allowance = 16 * total * std::ilogb(total);
        for (;;) {
            const std::ptrdiff_t count = (high - low) / size() + 1;
            if (count < selectionLimit) {
                sortBySelection(low, high);
            } else if ((allowance -= count) < 0) {
                sortByHeap(low, count);
            } else {
                const Range parts = partition(low, high, count);
                const bool lowerIsLarger = parts.low - low >= high - parts.high;
                const Range larger =
                    lowerIsLarger ? Range{low, parts.low} : Range{parts.high, high};
                const Range smaller =
                    lowerIsLarger ? Range{parts.high, high} : Range{low, parts.low};
                const bool bothAreLeft = smaller.low < smaller.high;
                if (bothAreLeft)
                    stack[depth++] = larger;
                const Range next = bothAreLeft ? smaller : larger;
                if (next.low < next.high) {
                    low = next.low;
                    high = next.high;
                    continue;
                }
            }
            if (depth == 0)
                return;
            --depth;
            low = stack[depth].low;
            high = stack[depth].high;
        }
    }

private:
    /// From one element to another, both included.
    struct Range {
        char* low;
        char* high;
    };

    static constexpr std::ptrdiff_t selectionLimit = 9;

    std::ptrdiff_t size() const { return m_element.size(); }
    int order(const char* a, const char* b) const { return m_compare(a, b, m_argument); }

    void sortBySelection(char* low, char* high) const
    {
        for (; high > low; high -= size()) {
            char* greatest = low;
            for (char* p = low + size(); p <= high; p += size())
                if (order(p, greatest) > 0)
                    greatest = p;
            if (greatest != high)
                m_element.swap(greatest, high);
        }
    }

    [[gnu::cold, gnu::noinline]] void sortByHeap(char* base, std::ptrdiff_t count) const
    {
        for (std::ptrdiff_t root = count / 2; root-- > 0;)
            sink(base, root, count);
        while (--count > 0) {
            m_element.swap(base, base + count * size());
            sink(base, 0, count);
        }
    }

    /// Restores the heap of `count` elements when only its element `root` may be too small.
    void sink(char* base, std::ptrdiff_t root, std::ptrdiff_t count) const
    {
        for (;;) {
            std::ptrdiff_t child = 2 * root + 1;
            if (child >= count)
                return;
            char* place = base + child * size();
            if (child + 1 < count && order(place + size(), place) > 0) {
                ++child;
                place += size();
            }
            char* parent = base + root * size();
            if (order(place, parent) <= 0)
                return;
            m_element.swap(place, parent);
            root = child;
        }
    }

    void swapUnlessOrdered(char* a, char* b) const
    {
        if (order(a, b) > 0)
            m_element.swap(a, b);
    }

    /// Splits a range into one from `low` to the result's low and one from the result's high to
    /// `high`, all inclusive; what lies between equals the pivot.
    Range partition(char* low, char* high, std::ptrdiff_t count) const
    {
        char* pivot = low + count / 2 * size();
        swapUnlessOrdered(low, pivot);
        swapUnlessOrdered(low, high);
        swapUnlessOrdered(pivot, high);

        char* left = low;
        char* right = high;
        for (;;) {
            // An element is never compared with itself, and the bounds hold for any comparator.
            do
                left += size();
            while (left < high && (left == pivot || order(left, pivot) <= 0));
            do
                right -= size();
            while (right > pivot && order(right, pivot) > 0);
            if (right < left)
                break;
            m_element.swap(left, right);
            // The pivot is compared where it lies, so its address follows it.
            if (right == pivot)
                pivot = left;
        }
        // A run of equal elements belongs to neither part, which keeps many equal keys from costing
        // n squared.
        right += size();
        do
            right -= size();
        while (right > low && (right == pivot || order(right, pivot) == 0));
        return {right, left};
    }

    Element m_element;
    VSort::Compare m_compare;
    void* m_argument;
};

struct SearchResult {
    void* found;
    std::size_t above; // without a match, the index of the first element above the key
};

SearchResult search(const void* key, const void* base, std::size_t count, unsigned size,
                    VSort::Compare compare, void* argument)
{
    const char* elements = static_cast<const char*>(base);
    std::size_t low = 0;
    std::size_t high = count;
    while (low < high) {
        const std::size_t middle = (low + high) / 2;
        const char* element = elements + middle * size;
        const int order = compare(key, element, argument);
        if (order == 0)
            return {const_cast<char*>(element), middle};
        if (order < 0)
            high = middle;
        else
            low = middle + 1;
    }
    return {nullptr, high};
}
} // namespace

void VSort::qsort(void* base, unsigned count, unsigned size, Compare compare, void* argument)
{
    if (count < 2 || size == 0)
        return;
    char* low = static_cast<char*>(base);
    char* high = low + std::size_t(count - 1) * size;
    switch (size) {
    case 4:
        return QuickSort<FixedElement<4>>(size, compare, argument).run(low, high);
    case 8:
        return QuickSort<FixedElement<8>>(size, compare, argument).run(low, high);
    case 16:
        return QuickSort<FixedElement<16>>(size, compare, argument).run(low, high);
    default:
        return QuickSort<AnyElement>(size, compare, argument).run(low, high);
    }
}

void* VSort::bsearch(const void* key, const void* base, unsigned count, unsigned size,
                     Compare compare, void* argument)
{
    return search(key, base, count, size, compare, argument).found;
}

void* VSort::findSpan(const void* key, const void* base, int count, unsigned size, Compare compare,
                      void* argument)
{
    const auto [found, above] =
        search(key, base, std::size_t(std::max(count, 0)), size, compare, argument);
    if (found)
        return found;
    // As a number, for there may be no array at all to point before.
    const auto address = reinterpret_cast<std::uintptr_t>(base);
    return reinterpret_cast<void*>(address + std::uintptr_t(above) * size - size);
}
