// Crash capture: what a process leaves behind when it faults.
//
// Armed once, the library writes two files into the folder "log" below the document path (zarSetAppDocPath()) when the process
// faults, and then lets it die of the fault as it would have done:
//
//   <document path>/log/<program>-YYYYMMDD-HHMMSS.dmp   a minidump, one per crash; two within one second are one file, the later
//   <document path>/log/<program>.crash                 a text with the stack, appended to at each crash
//
// <program> is the file name of the executable with its extension. The folder must exist; where it does not, or a file cannot be
// opened, that file is left out in silence. docs/crash-reports.md tells how to read them.
#pragma once

#include "zarlib/export.h"

/// Arms crash capture for the process. The tracer does so at its first use; calling it again is harmless, installs the same
/// hooks anew, and makes this library the one that hears of faults.
///
/// Windows: an unhandled-exception filter that ends by passing the exception on. Linux: handlers for SIGSEGV, SIGBUS, SIGFPE,
/// SIGILL, SIGTRAP and SIGSYS, and a terminate handler for uncaught C++ exceptions; the process then dies of the same signal
/// (SIGABRT for an exception), with a core dump where those are enabled. The hooks found there are replaced, except for a
/// terminate handler, which is called after the report; a handler of SIGABRT hears of the death that follows. abort() leaves no
/// report on either system.
///
/// The overflow of a stack is reported on threads that called this function or traced; the others have no second stack for
/// the report, and die without one.
///
/// Any thread may call it; it takes some microseconds. Reading of symbols waits until there is a fault.
ZAR_API void zarHookCrashSignal();
