// uCTraceHelper: the tracer of the process, which decides what is written and where to.
//
// The choice is made by two environment variables of one form, level:output:file:sizeKB:count, for example
//
//     trace=5:log:/tmp/x:100:3      lines up to level 5 into /tmp/x-0.log and so on, 3 files of 100 KiB each
//     trace=7                       lines up to level 7; the output stays the system's
//     systrace=3:share              for every process that has no choice of its own
//
// `trace` is read once, at the first line of the process, `systrace` once, when the tracer is built; with `systrace` nothing behind "log"
// counts, and each process writes to its default name. Outputs: null; stdout or
// console; log, with a base name, a limit in KiB and a number of files, each missing one meaning chFileTrace's default; share or
// system, the line store. Empty fields do not count, words are exact, and what is not understood changes nothing. As ":" separates,
// no field can hold one: a Windows path with a drive letter is given by RedirectToFileTrace().
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

/// Formats and writes a line with its prefix; what trace.h offers stands on this.
void trace_formatted(const char *module, const char *format, va_list args);

} // namespace zar

/// The one tracer of a process. Any thread may call any operation, unless told otherwise.
///
/// It lives from the first trace call to the end of the process's static objects. What is traced after that, by destructors that run
/// later still, goes to the console. Lines of several threads stay whole in every output. Nothing here filters by level: that is
/// done by the callers, in trace.h.
///
/// A forked child goes on with its parent's choice, in the record that the parent made, and in the parent's file, where each
/// counts sizes for itself: give it a file of its own by RedirectToFileTrace(). Forked while another thread traces, it may find the
/// outputs locked for ever; such a child must not trace.
class ZAR_API uCTraceHelper : public ipcObjectFrame<chSystemTracerManager, chMapFile_Local, chMutex_Local> {
public:
  /// Builds the tracer at the first call, which also arms crash capture (zarHookCrashSignal()). Other threads wait for it in steps
  /// of 50 ms; coming back on the building thread ends the process with a message.
  static uCTraceHelper &getInstance();

  uCTraceHelper(const uCTraceHelper &) = delete;
  uCTraceHelper &operator=(const uCTraceHelper &) = delete;

  /// The level in force: the process's, or the system's where that is -1. No lock after the first call.
  int GetOutputLevel();
  /// The method in force, in the same way: 0 none, 1 console, 2 log file, 3 line store.
  int GetOutputMethod();

  /// Sets the level of the process; -1 gives the choice back to the system. @return 1, always.
  int ResetTraceLevel(int level);

  /// Set the output of the process. @return 1, always.
  int RedirectToNull();
  int RedirectToConsole();
  int RedirectToShareMemory();
  /// Log files named name-0.log and so on, as chFileTrace::OpenFileTrace() takes its arguments. Nothing is opened before the first
  /// line, and nothing tells whether it could be.
  int RedirectToFileTrace(const std::string &name, int sizeKB, int count);

  /// Writes a line with its prefix to the output in force. @param module  Null or empty means "D:Who?".
  void TraceOutString(const char *module, const std::string &text);

  /// Writes a text to the output in force as it stands.
  void TraceConstString(const std::string &text);

  /// The outputs, each by itself. The console ends the text at its first NUL byte. A text larger than the line store is lost.
  void TraceToConsole(const std::string &text);
  void TraceToFileTrace(const std::string &text);
  void TraceToShareMemory(const std::string &text);

  /// Takes the oldest text out of the line store; for a reader in this process.
  ///
  /// Lines that had to make room come first and all at once: a line "Write %d bytes first." with a prefix of the module
  /// "M:TraceHelper" and the number of their bytes, then each of them, every one ended by a line feed. Other lines have no end.
  /// @return 1; 0 for an empty store, and `text` is left as it is.
  int ReadShareMemoryString(std::string &text);

  /// The depth of the calling thread's nested scopes: one deeper, @return the depth before; one less deep, @return the depth
  /// after, which is -1 for the first pop without a push.
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
