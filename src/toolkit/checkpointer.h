#pragma once

#include "toolkit/zylexport.h"

/// Warns "In file %s, line %d: Out of memory" when `isNull` is set and lets the caller go on. Always true.
/// `file` is a stable source name such as "kernel/vobject", not a path.
ZYL_EXPORT bool qt_check_pointer(bool isNull, const char* file, int line);
