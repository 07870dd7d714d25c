#pragma once

#include "toolkit/zylexport.h"

namespace geometry
{
/// Warns of a broken condition as "ASSERT: "condition" in source (line)".
ZYL_EXPORT void warnAssertion(const char* condition, const char* source, int line);

/// Reports a condition that does not hold, and goes on with the values as they are. `source` is a
/// stable name such as "geometry/zylhmatrix", not a path.
inline void check(bool holds, const char* condition, const char* source,
                  int line = __builtin_LINE())
{
    if (__builtin_expect(!holds, 0))
        warnAssertion(condition, source, line);
}
} // namespace geometry
