// The system types used in the library's interface, with the same names on every target.
#pragma once

#if defined(_WIN32)

// Included once, lean, and without the macros that would break std::min and std::max.
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
// If a client has included the older winsock.h (part of a windows.h that is not lean), keep it: what the interface
// uses, sockaddr, in_addr and fd_set, is the same there, and so the exported names are the same too.
#ifndef _WINSOCKAPI_
#include <winsock2.h>
#endif
#include <windows.h>
//
#include <in6addr.h>

/// The system's select set. The library's own room for one holds 64 handles, whatever FD_SETSIZE a client has chosen.
using zar_fd_set = fd_set;

#else

#include <netinet/in.h>
#include <sys/socket.h>

/// A calendar time to the millisecond, in the layout that callers know from Windows.
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

/// The handles of a wait, in the layout that callers know from Windows.
struct zar_fd_set {
  unsigned fd_count;
  unsigned fd_array[64];
};

/// A function pointer whose real type the caller knows.
using FARPROC = void (*)();

/// A loaded module.
using HINSTANCE = void *;

#endif
