#pragma once

#include "toolkit/zylexport.h"

/// The functions that free the lazily built tables of the process, run by the application's global object.
/// The list stands below the kernel so that tables of the lower folders can register too.
namespace postroutines
{
using Routine = void (*)();

/// Puts a routine in front, so that the last one added runs first.
ZYL_EXPORT void add(Routine routine);

/// Takes out every entry equal to `routine`.
ZYL_EXPORT void remove(Routine routine);

/// Runs and removes the first routine until none is left, those that a routine adds while it runs included.
ZYL_EXPORT void run();
} // namespace postroutines
