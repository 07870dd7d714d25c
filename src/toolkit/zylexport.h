#pragma once

/// Marks what the shared library shows to programs. Class templates carry it too: a weak symbol that is hidden
/// in one object and visible in another gives a program two type identities for one type.
#if defined(__GNUC__)
#define ZYL_EXPORT __attribute__((visibility("default")))
#else
#define ZYL_EXPORT
#endif
