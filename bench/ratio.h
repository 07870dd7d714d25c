#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

/// Measures one thing against another in one run and prints the figures as lines that scripts can read:
/// `RATIO <name> <value> <wanted>`, lower always better. Ours and theirs take turns, and the median of the
/// ratios of the pairs counts, so that a drifting clock speed or a busy neighbour hits both.
namespace bench
{
/// Keeps a result alive without storing it anywhere.
template <class T>
inline void keep(const T& value)
{
    asm volatile("" : : "r,m"(value) : "memory");
}

/// Seconds that one call takes, from as many calls as fill `least` seconds.
template <class F>
double seconds(F&& call, double least = 0.02)
{
    using Clock = std::chrono::steady_clock;
    long calls = 1;
    for (;;) {
        const auto start = Clock::now();
        for (long i = 0; i < calls; ++i)
            call();
        const double spent = std::chrono::duration<double>(Clock::now() - start).count();
        if (spent >= least)
            return spent / double(calls);
        calls = spent <= least / 64 ? calls * 16 : long(double(calls) * least / spent * 1.2) + 1;
    }
}

inline double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + std::ptrdiff_t(values.size() / 2), values.end());
    return values[values.size() / 2];
}

/// Names are one word in the lines, so that they split at blanks.
inline void print(std::string name, double value, double wanted)
{
    std::replace(name.begin(), name.end(), ' ', '_');
    std::printf("RATIO %-44s %8.3f %6.2f\n", name.c_str(), value, wanted);
    std::fflush(stdout);
}

/// Prints the time of `ours` over the time of `theirs`, wanted at most `wanted`.
template <class Ours, class Theirs>
void compare(const std::string& name, double wanted, Ours&& ours, Theirs&& theirs, int pairs = 11)
{
    std::vector<double> ratios, times;
    for (int i = 0; i < pairs; ++i) {
        const double mine = seconds(ours);
        ratios.push_back(mine / seconds(theirs));
        times.push_back(mine);
    }
    std::printf("# %s: ours %.4g us\n", name.c_str(), median(times) * 1e6);
    print(name, median(ratios), wanted);
}

/// Prints the wanted rate over the measured one, for a call that handles `amount` units; 1 is the aim.
template <class F>
void rate(const std::string& name, double wantedPerSecond, double amount, F&& call, int runs = 9)
{
    std::vector<double> times;
    for (int i = 0; i < runs; ++i)
        times.push_back(seconds(call));
    const double measured = amount / median(times);
    std::printf("# %s: %.4g a second\n", name.c_str(), measured);
    print(name, wantedPerSecond / measured, 1.0);
}

/// Prints a plain figure, such as a size in bytes, over its limit.
inline void figure(const std::string& name, double value, double limit)
{
    std::printf("# %s: %.6g of %.6g\n", name.c_str(), value, limit);
    print(name, value / limit, 1.0);
}
} // namespace bench
