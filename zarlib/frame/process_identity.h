// Who this is, who still lives, and the small services that all code may use: identity, sleeping, atomic counters, local time.
//
// All functions may be called from any thread.
#pragma once

#include "zarlib/export.h"
#include "zarlib/platform/types.h"

ZAR_API unsigned long zarGetCurrentProcessId();

/// The system's id of the calling thread. No system call after the first on a thread.
ZAR_API unsigned long zarGetCurrentThreadId();
/// zarGetCurrentThreadId() under another name.
ZAR_API unsigned long zarGetCurrentTaskId();

/// @return 1 when the id belongs to a process that has not ended, else 0. 0 for id 0 and 1 for this process without asking the
///         system. On Windows a process that ended with the exit code 259 reads as alive.
ZAR_API int zarIsValidProcessID(unsigned long id);

/// @return 1 when the id belongs to a thread, of any process, that has not ended, else 0. 0 for id 0 and 1 for this thread
///         without asking the system. On Windows a thread that ended with the exit code 259 reads as alive.
ZAR_API int zarIsValidThreadID(unsigned long id);
/// zarIsValidThreadID() under another name.
ZAR_API int zarIsValidTaskID(unsigned long id);

/// Sleeps at least so many milliseconds. 0 gives the rest of the time slice away, -1 sleeps without end, any other number counts
/// as unsigned.
ZAR_API void zarDelay(int ms);
/// zarDelay() under another name.
ZAR_API void zarSleep(int ms);

/// Lets another thread run; where none was ready, sleeps for a millisecond.
ZAR_API void zarSwitchToThread();

/// Adds 1 or takes 1 away in one step that no other thread can divide, sequentially consistent; wraps in
/// 32 bits. @return The new value.
ZAR_API int zarInterlockedIncrement(int &value);
ZAR_API int zarInterlockedDecrement(int &value);

/// Ends the process as abort() does, without a message and without a crash report.
[[noreturn]] ZAR_API void zarAbort();

/// The wall clock in the local time zone, to the millisecond.
ZAR_API void zarGetLocalTime(SYSTEMTIME *time);
