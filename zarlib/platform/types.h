// The system types that stand in the library's interface, the same words on every target.
#pragma once

#if defined(_WIN32)

// Once, lean, and without the macros that would break std::min and std::max.
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#else

/// A calendar moment to the millisecond, in the layout that callers know from their home system.
struct SYSTEMTIME {
  unsigned short wYear;
  unsigned short wMonth;     ///< 1 to 12
  unsigned short wDayOfWeek; ///< 0 is Sunday
  unsigned short wDay;       ///< 1 to 31
  unsigned short wHour;
  unsigned short wMinute;
  unsigned short wSecond;
  unsigned short wMilliseconds;
};

/// A function whose type the caller knows.
using FARPROC = void (*)();

/// A loaded module.
using HINSTANCE = void *;

#endif
