// uCTraceHelper: the tracer of the process, which decides what is written and where.
//
// It is configured by two environment variables of the form level:output:file:sizeKB:count, for example
//
//     trace=5:log:/tmp/x:100:3      lines up to level 5 into /tmp/x-0.log and so on, 3 files of 100 KiB each
//     trace=7                       lines up to level 7; the output stays the system's
//     systrace=3:share              for every process without a setting of its own
//
// `trace` is read once, at the first line of the process, `systrace` once, when the tracer is constructed; with
// `systrace` the fields after "log" are ignored, and each process writes to its default name. Outputs: null; stdout or
// console; log, with a base name, a limit in KiB and a number of files, each defaulting to chFileTrace's; share or
// system, the line store. Empty fields are dropped, output words must match exactly, an unknown one changes nothing,
// and a level without digits is 0. No field can contain ":", the separator: set a Windows path with a drive letter by
// RedirectToFileTrace().
#pragma once

#include "zarlib/export.h"
#include "zarlib/frame/local_objects.h"
#include "zarlib/frame/object_frame.h"
#include "zarlib/trace/output_option.h"
#include "zarlib/trace/tracer_block.h"

#include <cstdarg>
#include <string>
#include <string_view>

class chFileTrace;

namespace zar {

class line_text;

/// Formats and writes a line with its prefix; the functions of trace.h are built on this.
void trace_formatted(const char *module, const char *format, va_list args);

} // namespace zar

/// The tracer singleton of a process. Any thread may call any operation.
///
/// It lives from the first trace call until static destruction. Lines traced after that, by destructors that run later
/// still, go to the console. Lines of different threads stay whole in every output. Nothing here filters by level: the
/// callers in trace.h do.
///
/// A forked child continues with its parent's setting, in the parent's record, and with the parent's file, where each
/// process counts sizes for itself: give the child its own file with RedirectToFileTrace(). A child forked while
/// another thread traces may find the outputs locked for ever; it must not trace.
class ZAR_API uCTraceHelper : public ipcObjectFrame<chSystemTracerManager, chMapFile_Local, chMutex_Local> {
public:
  /// The first call constructs the tracer, which also arms crash capture (zarHookCrashSignal()). Other threads
  /// meanwhile wait in steps of 50 ms; re-entry on the constructing thread ends the process with a message.
  static uCTraceHelper &getInstance();

  uCTraceHelper(const uCTraceHelper &) = delete;
  uCTraceHelper &operator=(const uCTraceHelper &) = delete;

  /// The level in force: that of the process or, if that is -1, of the system. No lock after the first call.
  int GetOutputLevel();
  /// The output method in force, likewise: 0 none, 1 console, 2 log file, 3 line store.
  int GetOutputMethod();

  /// Sets the level of the process; -1 defers to the system's. @return 1, always.
  int ResetTraceLevel(int level);

  /// Set the output of the process. @return 1, always.
  int RedirectToNull();
  int RedirectToConsole();
  int RedirectToShareMemory();
  /// Log files name-0.log and so on; arguments as for chFileTrace::OpenFileTrace(). No file is opened before the first
  /// line, and a failure to open it is not reported.
  int RedirectToFileTrace(const std::string &name, int sizeKB, int count);

  /// Writes a line with its prefix to the output in force. @param module  Null or empty means "D:Who?".
  void TraceOutString(const char *module, const std::string &text);

  /// Writes a text to the output in force unchanged, without a prefix.
  void TraceConstString(const std::string &text);

  /// Write to one output. The console ends the text at its first NUL byte. A text larger than the line store is lost.
  void TraceToConsole(const std::string &text);
  void TraceToFileTrace(const std::string &text);
  void TraceToShareMemory(const std::string &text);

  /// Takes the oldest text out of the line store, for a reader in this process.
  ///
  /// Spilled lines come first, all in one text: a line "Write %d bytes first." with their byte count and the prefix of
  /// the module "M:TraceHelper", then the lines themselves, every line terminated by a line feed. Other lines have no
  /// terminator.
  /// @return 1; 0 if the store is empty, with `text` unchanged.
  int ReadShareMemoryString(std::string &text);

  /// The nesting depth of the calling thread's scopes: push increments it, @return the previous depth; pop decrements
  /// it, @return the new depth, which is -1 for the first pop without a push.
  int push_trace_level();
  int pop_trace_level();

private:
  friend void zar::trace_formatted(const char *module, const char *format, va_list args);

  uCTraceHelper();
  ~uCTraceHelper();

  TraceOutputOption &GetProcessTraceOption();
  TraceOutputOption &read_process_option();
  int redirect(int method);
  void deliver(zar::line_text &line);
  void write_to_file(zar::line_text &line);
  void write_to_store(std::string_view line);

  chFileTrace *m_pFileTrace;
};
