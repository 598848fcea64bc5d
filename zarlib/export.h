// ZAR_API: what stands in the library's interface. Nothing else is visible in the built library. ZAR_LOCAL keeps out
// what stands inside a class that is exported.
#pragma once

#if defined(_WIN32)
#if defined(ZARLIB_BUILDING)
#define ZAR_API __declspec(dllexport)
#else
#define ZAR_API __declspec(dllimport)
#endif
#define ZAR_LOCAL
#else
#define ZAR_API __attribute__((visibility("default")))
#define ZAR_LOCAL __attribute__((visibility("hidden")))
#endif

/// Lets the compiler compare a printf-style format with its arguments; both counts start at 1.
#if defined(__MINGW32__)
#define ZAR_PRINTF(text, first) __attribute__((format(gnu_printf, text, first)))
#elif defined(__GNUC__)
#define ZAR_PRINTF(text, first) __attribute__((format(printf, text, first)))
#else
#define ZAR_PRINTF(text, first)
#endif
