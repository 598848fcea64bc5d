// chFileTrace: a log in numbered files that rotate.
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
/// The files of a base name are base-0.log, base-1.log and so on, a higher number being newer. Lines go to the current
/// file; when it has reached its limit the next number is taken, and when all numbers are taken the oldest file goes
/// and the others move down by one. With a limit of three files:
///
///     base-2.log full:  base-0.log is removed, base-1.log becomes base-0.log, base-2.log becomes base-1.log,
///                       and a new base-2.log takes the line
///
/// Each line ends in carriage return and line feed on every target. It is written whole, so a file ends over its limit
/// by up to one line; and line ends are not counted, so the real size runs ahead by two bytes a line.
///
/// A line whose WriteLogLine() has returned is with the system, by one write: it survives the death of the process at
/// any instant, not the failure of the machine. A line that cannot be written is lost, that line alone and without a
/// report; the next one tries again, so logging resumes by itself.
///
/// | State  | OpenFileTrace       | WriteLogLine...                      | Flush     | last handle destroyed |
/// |--------|---------------------|--------------------------------------|-----------|-----------------------|
/// | closed | stays closed        | opens the current file, if that goes | nothing   | nothing               |
/// | open   | closes              | writes; stays open through rotations | as told   | closes                |
///
/// The class has no lock: an object, and all its copies, which share the one open file, belong to one thread at a time.
class ZAR_API chFileTrace : public baseDymicAlloc {
public:
  /// 400 KiB, 5 files, and a base name below the document path, which carries the executable's whole path behind
  /// "/log/": callers give one of their own by OpenFileTrace(). Until then nobody looks for files of an earlier run,
  /// and the first line goes to number 0.
  chFileTrace();

  /// Share the file from its first line on, and take name and numbers; each counts on for itself. The forms that move
  /// empty the source's name and leave the source its share.
  chFileTrace(const chFileTrace &) = default;
  chFileTrace(chFileTrace &&other) noexcept;
  chFileTrace &operator=(const chFileTrace &) = default;
  chFileTrace &operator=(chFileTrace &&other) noexcept;
  ~chFileTrace() = default;

  /// Closes the file and prepares to go on with the newest of the files that are there. The newest is the last before
  /// the first gap in the numbers. Older ones than `count` allows are removed, and the rest move down to number 0.
  /// Costs one look for each file.
  /// @param name    The base name; empty keeps the one set before.
  /// @param sizeKB  The limit of a file in KiB, up to 2147483647 bytes; 0 keeps the one set before. Below 0, every line
  ///                rotates.
  /// @param count   The number of files; 0 keeps the one set before.
  /// REQUIRES: `count` not below 0.
  /// @return 1, whatever happened, as all operations here.
  int OpenFileTrace(const std::string &name, int sizeKB, int count);

  /// Writes one line and hands it to the system. Costs that one system call; a rotation, one for each file.
  int WriteLogLine(const std::string &line);

  /// Writes prefix and line as one line; nothing comes between the two.
  /// @param prefix  Up to its NUL; null is an empty one.
  int WriteLogLine(const char *prefix, const std::string &line);

  /// The same for bursts, into a buffer: no system call until Flush() or 64 KiB. Lines still leave whole.
  int WriteLogLineRaw(const char *prefix, const std::string &line);

  /// Hands buffered lines to the system.
  int Flush();

private:
  friend class uCTraceHelper;

  std::string GetFileName(int index) const;
  // Opens, rotates, counts, and ends the line. What is left is to hand it to the stream in one write, unless that is
  // null: by the caller, because a return from a function entered before a system call is slow.
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
