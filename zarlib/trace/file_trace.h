// chFileTrace: a log in numbered, rotating files.
#pragma once

#include "zarlib/companion/morfile.h"
#include "zarlib/export.h"
#include "zarlib/memory/dymic_alloc.h"
#include "zarlib/memory/polymorphic_frame.h"

#include <cstdio>
#include <string>
#include <string_view>

namespace zar {

class line_text;

} // namespace zar

/// A log file with rotation.
///
/// The files of a base name are base-0.log, base-1.log and so on; a higher number is newer. Lines go to the current
/// file. Once it has reached its size limit, the next number is used; when all numbers are in use, the oldest file is
/// removed and the others move down by one. With a limit of three files:
///
///     base-2.log full:  base-0.log is removed, base-1.log becomes base-0.log, base-2.log becomes base-1.log,
///                       and the line goes to a new base-2.log
///
/// Each line ends in CR LF on every target. A line is never split, so a file may exceed its limit by up to one line;
/// and line ends are not counted, so the real size grows two bytes per line faster than the count.
///
/// Once WriteLogLine() has returned, the line has been passed to the system in a single write: it survives the death of
/// the process at any instant, but not a machine failure. A line that cannot be written is lost, that line only and
/// without a report; the next one tries again, so logging resumes by itself.
///
/// | State  | OpenFileTrace       | WriteLogLine...                      | Flush     | last handle destroyed |
/// |--------|---------------------|--------------------------------------|-----------|-----------------------|
/// | closed | stays closed        | opens the current file, if possible  | no effect | no effect             |
/// | open   | closes              | writes; stays open across rotations  | flushes   | closes                |
///
/// Not thread-safe: an object and all its copies, which share one open file, belong to one thread at a time.
class ZAR_API chFileTrace : public baseDymicAlloc {
public:
  /// 400 KiB, 5 files, and a base name below the document path that has the executable's full path after "/log/":
  /// callers set their own with OpenFileTrace(). Until then files of an earlier run are not looked for, and the first
  /// line goes to number 0.
  chFileTrace();

  /// A copy shares the source's file, unless neither a line nor OpenFileTrace() has set one up yet, and takes its name,
  /// limits and counts; from then on each object counts for itself. The move forms clear the source's name and leave it
  /// its share of the file.
  chFileTrace(const chFileTrace &) = default;
  chFileTrace(chFileTrace &&other) noexcept;
  chFileTrace &operator=(const chFileTrace &) = default;
  chFileTrace &operator=(chFileTrace &&other) noexcept;
  ~chFileTrace() = default;

  /// Closes the file and prepares to continue with the newest existing one, that is, the last before the first gap in
  /// the numbers. Files in excess of `count` are removed, oldest first, and the rest move down to number 0.
  /// Costs one existence check per file.
  /// @param name    The base name; empty keeps the current one.
  /// @param sizeKB  The size limit of a file in KiB, capped at 2147483647 bytes; 0 keeps the current one. Below 0,
  ///                every line rotates.
  /// @param count   The number of files; 0 keeps the current one.
  /// REQUIRES: `count` not below 0.
  /// @return 1, always, like every operation here.
  int OpenFileTrace(const std::string &name, int sizeKB, int count);

  /// Writes one line and passes it to the system: one system call; a rotation takes one per file.
  int WriteLogLine(const std::string &line);

  /// Writes prefix and line as one line, with nothing in between.
  /// @param prefix  NUL-terminated; null counts as empty.
  int WriteLogLine(const char *prefix, const std::string &line);

  /// The same for bursts, buffered: no system call until Flush() or 64 KiB. Lines are still never split.
  int WriteLogLineRaw(const char *prefix, const std::string &line);

  /// Passes buffered lines to the system.
  int Flush();

private:
  friend class uCTraceHelper;

  std::string GetFileName(int index) const;
  // Opens, rotates, counts, and appends the line end. @return The stream, or null if none could be opened. The caller
  // itself writes the line to it, in one write, because a return from a function entered before a system call is slow.
  std::FILE *PrepareForLine(zar::line_text &line);
  void CountLine(size_t bytes);
  bool OpenCurrentFile();
  void MeasureCurrentFile();
  void Rotate();
  void WriteRecord(std::string_view prefix, std::string_view line);

  polymorphic_frame<chFileStdio> m_file;
  std::string m_baseName;
  int m_nMaxSize;
  int m_nMaxFiles;
  int m_nCurrentIndex;
  int m_nCurrentSize; ///< as counted here
};
