#pragma once

#include "toolkit/zylexport.h"

/// Sorting and searching of raw element arrays.
///
/// The comparator is called as `compare(a, b, argument)`, gets the addresses of two elements (or of
/// the key) and tells by sign how `a` stands to `b`.
class ZYL_EXPORT VSort
{
public:
    using Compare = int (*)(const void* a, const void* b, void* argument);

    /// Sorts in place by median-of-three quicksort. Not stable, but equal elements end in an order
    /// that depends on nothing but the input. A comparator that contradicts itself gives some order
    /// and never leaves the array.
    static void qsort(void* base, unsigned count, unsigned size, Compare compare, void* argument);

    /// Returns an element equal to `key`, or null; of several equal ones, the one met first. The
    /// key comes first in each comparison.
    [[nodiscard]] static void* bsearch(const void* key, const void* base, unsigned count,
                                       unsigned size, Compare compare, void* argument);

    /// Returns an element equal to `key`, or the greatest one below it. For a key below every
    /// element, and for an empty array, that is the address one element before `base`, which the
    /// caller must test for.
    [[nodiscard]] static void* findSpan(const void* key, const void* base, int count, unsigned size,
                                        Compare compare, void* argument);
};
