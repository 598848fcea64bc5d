// Crash capture: what a process leaves behind when it faults.
//
// Once armed, the library writes two files into the folder "log" below the document path (zarSetAppDocPath()) when the
// process faults, and then lets it die of that fault as usual:
//
//   <document path>/log/<program>-YYYYMMDD-HHMMSS.dmp   a minidump, one per crash; of two within one second, the later
//   <document path>/log/<program>.crash                 a text with the stack, appended to at each crash
//
// <program> is the file name of the executable with its extension. The folder must exist; a file that cannot be opened
// is silently omitted. docs/crash-reports.md explains how to read the files.
#pragma once

#include "zarlib/export.h"

/// Arms crash capture for the process. The tracer does so at its first use; another call is harmless, and reinstalls
/// the hooks, so that this library is again the one notified of faults.
///
/// Windows: an unhandled-exception filter that finally passes the exception on. Linux: handlers for SIGSEGV, SIGBUS,
/// SIGFPE, SIGILL, SIGTRAP and SIGSYS, and a terminate handler for uncaught C++ exceptions; the process then dies of
/// the same signal (SIGABRT for an exception), with a core dump if those are enabled. Existing hooks are replaced,
/// except a terminate handler, which is called after the report; a SIGABRT handler still sees the abort that follows. A
/// plain abort() leaves no report on either system.
///
/// Stack overflow is reported only on threads that have called this function or traced; others have no alternate stack
/// for the report and die without one. A smaller alternate stack of the thread is replaced until the thread ends.
///
/// Any thread may call it; it takes some microseconds. Symbols are not read until a fault occurs.
ZAR_API void zarHookCrashSignal();
