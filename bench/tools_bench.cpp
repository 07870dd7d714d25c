#include "tools/vmemarray.h"
#include "tools/vmembuffer.h"
#include "tools/vptrlist.h"
#include "tools/vsort.h"

#include "ratio.h"

#include <cstdlib>
#include <list>
#include <random>

namespace
{
template <class T>
int compareNumbers(const void* a, const void* b, void*)
{
    const T x = *static_cast<const T*>(a);
    const T y = *static_cast<const T*>(b);
    return (x > y) - (x < y);
}

/// Both sides sort a fresh copy of the same numbers.
template <class T>
void sorting(const std::string& name, const std::vector<T>& numbers)
{
    std::vector<T> work(numbers.size());
    bench::compare(
        "VSort::qsort of 1e6 " + name + " over qsort_r", 1.0,
        [&] {
            work = numbers;
            VSort::qsort(work.data(), unsigned(work.size()), sizeof(T), compareNumbers<T>, nullptr);
        },
        [&] {
            work = numbers;
            qsort_r(work.data(), work.size(), sizeof(T), compareNumbers<T>, nullptr);
        });
}

template <class T>
void sortings(const std::string& type)
{
    std::mt19937_64 random(20210417);
    std::vector<T> numbers(1000000);
    for (T& number : numbers)
        number = T(random());
    sorting("random " + type, numbers);
    for (T& number : numbers)
        number = T(random() % 100);
    sorting("repeated " + type, numbers);
}

// Functions of their own, so that the sums stay in registers whatever is done with them.
template <class Array>
[[gnu::noinline]] float gather(const Array& array, const std::vector<unsigned>& order)
{
    float sum = 0;
    for (const unsigned index : order)
        sum += array[index];
    return sum;
}

template <class Array>
[[gnu::noinline]] float sumUp(const Array& array)
{
    float sum = 0;
    for (unsigned i = 0, count = unsigned(array.size()); i < count; ++i)
        sum += array[i];
    return sum;
}

template <class Array>
[[gnu::noinline]] void scale(Array& array)
{
    for (float& value : array)
        value *= 1.0000001f;
}

void arrays()
{
    constexpr unsigned count = 4000; // stays in the nearest cache
    VMemArray<float> ours{int(count)};
    std::vector<float> theirs(count);
    bench::compare(
        "VMemArray fill over std::vector", 1.1,
        [&] {
            ours.fill(1.5f);
            bench::keep(ours.data());
        },
        [&] {
            std::fill(theirs.begin(), theirs.end(), 1.5f);
            bench::keep(theirs.data());
        });

    std::mt19937 random(20210417);
    std::vector<unsigned> order(count);
    for (unsigned& index : order)
        index = random() % count;
    bench::compare(
        "VMemArray gather by index over std::vector", 1.1,
        [&] { bench::keep(gather(ours, order)); }, [&] { bench::keep(gather(theirs, order)); });
    bench::compare(
        "VMemArray sum by index over std::vector", 1.1, [&] { bench::keep(sumUp(ours)); },
        [&] { bench::keep(sumUp(theirs)); });
    bench::compare(
        "VMemArray range-for over std::vector", 1.1, [&] { scale(ours); }, [&] { scale(theirs); });
}

template <class Buffer, class Append>
[[gnu::noinline]] void appendAll(Buffer& buffer, unsigned count, Append append)
{
    for (unsigned i = 0; i < count; ++i)
        append(buffer, double(i));
}

void buffers()
{
    for (const unsigned count : {100u, 10000u}) {
        bench::compare(
            "VMemBuffer append of " + std::to_string(count) + " over std::vector", 1.1,
            [&] {
                VMemBuffer<double> buffer;
                appendAll(buffer, count, [](auto& to, double value) { to.append(value); });
                bench::keep(buffer.data());
            },
            [&] {
                std::vector<double> buffer;
                appendAll(buffer, count, [](auto& to, double value) { to.push_back(value); });
                bench::keep(buffer.data());
            });
    }
}

void lists()
{
    std::vector<int> items(10000);
    VPtrList<int> ours;
    std::list<int*> theirs;
    for (int& item : items) {
        ours.append(&item);
        theirs.push_back(&item);
    }
    bench::compare(
        "VPtrList append over std::list", 1.2,
        [&] {
            VPtrList<int> list;
            for (int& item : items)
                list.append(&item);
            bench::keep(list.count());
        },
        [&] {
            std::list<int*> list;
            for (int& item : items)
                list.push_back(&item);
            bench::keep(list.size());
        });
    const auto walkStd = [&] {
        int sum = 0;
        for (const int* item : theirs)
            sum += *item;
        bench::keep(sum);
    };
    bench::compare(
        "VPtrList walk by next over std::list", 1.2,
        [&] {
            int sum = 0;
            for (const int* item = ours.first(); item; item = ours.next())
                sum += *item;
            bench::keep(sum);
        },
        walkStd);
    bench::compare(
        "VPtrListIterator walk over std::list", 1.2,
        [&] {
            int sum = 0;
            VPtrListIterator<int> it(ours);
            while (const int* item = it())
                sum += *item;
            bench::keep(sum);
        },
        walkStd);
}

/// Steps to and fro around the middle, far from both ends.
auto stepping(VPtrList<int>& list)
{
    const unsigned middle = list.count() / 2;
    return [&list, middle] {
        for (unsigned i = 0; i < 1000; ++i)
            bench::keep(list.at(middle + (i & 1)));
    };
}

void locating()
{
    int item = 0;
    VPtrList<int> large, small;
    while (large.count() < 1000000)
        large.append(&item);
    while (small.count() < 100)
        small.append(&item);
    bench::compare("VGList::locate(i+-1) of 1e6 over 100 nodes", 1.1, stepping(large),
                   stepping(small));
}
} // namespace

int main()
{
    sortings<qint32>("qint32");
    sortings<qint64>("qint64");
    arrays();
    buffers();
    lists();
    locating();
}
