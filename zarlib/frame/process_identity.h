// Process and thread identity and liveness, sleeping, atomic counters, local time.
//
// All functions may be called from any thread.
#pragma once

#include "zarlib/export.h"
#include "zarlib/platform/types.h"

ZAR_API unsigned long zarGetCurrentProcessId();

/// The system's id of the calling thread. No system call after the first on each thread.
ZAR_API unsigned long zarGetCurrentThreadId();
/// zarGetCurrentThreadId() under another name.
ZAR_API unsigned long zarGetCurrentTaskId();

/// @return 1 when the id belongs to a process that has not ended, else 0. Id 0 (0) and this process (1) are answered
///         without a system call. On Windows a process that ended with exit code 259 reads as alive.
ZAR_API int zarIsValidProcessID(unsigned long id);

/// @return 1 when the id belongs to a thread, of any process, that has not ended, else 0. Id 0 (0) and this thread (1)
///         are answered without a system call. On Windows a thread that ended with exit code 259 reads as alive.
ZAR_API int zarIsValidThreadID(unsigned long id);
/// zarIsValidThreadID() under another name.
ZAR_API int zarIsValidTaskID(unsigned long id);

/// Sleeps for at least that many milliseconds. 0 yields the rest of the time slice, -1 sleeps for ever, any other
/// number is taken as unsigned.
ZAR_API void zarDelay(int ms);
/// zarDelay() under another name.
ZAR_API void zarSleep(int ms);

/// Yields to another thread; if none was ready, sleeps for a millisecond.
ZAR_API void zarSwitchToThread();

/// Atomically adds or subtracts 1, sequentially consistent; wraps in 32 bits. @return The new value.
ZAR_API int zarInterlockedIncrement(int &value);
ZAR_API int zarInterlockedDecrement(int &value);

/// Ends the process like abort(), without a message and without a crash report.
[[noreturn]] ZAR_API void zarAbort();

/// The wall clock in the local time zone, to the millisecond.
ZAR_API void zarGetLocalTime(SYSTEMTIME *time);
