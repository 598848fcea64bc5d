// ZAR_API marks the library's public interface; nothing else is visible in the built library. ZAR_LOCAL hides a member
// of an exported class.
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

/// Lets the compiler check a printf-style format against its arguments; both indices start at 1.
#if defined(__MINGW32__)
#define ZAR_PRINTF(text, first) __attribute__((format(gnu_printf, text, first)))
#elif defined(__GNUC__)
#define ZAR_PRINTF(text, first) __attribute__((format(printf, text, first)))
#else
#define ZAR_PRINTF(text, first)
#endif
