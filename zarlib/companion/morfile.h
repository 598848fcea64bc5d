// A file written through a buffer, and whole files at once.
#pragma once

#include "zarlib/export.h"

#include <cstdio>
#include <initializer_list>
#include <string>
#include <string_view>

/// A file that is written: log files and dumps.
///
/// Bytes gather in a buffer of 64 KiB until Flush(), Close(), the destructor, or a record that finds no more room. A
/// record is what one call of WriteString(), Write() or WriteRecord() hands over; it is never torn between two writes
/// to the system, so that after Flush() the file survives the death of the process at any instant with whole records
/// only.
///
/// A write that the system refuses loses the bytes of that write and nothing else: they are not tried again later, and
/// what had arrived of them is taken back where the file is a regular one. Later writes go on as if nothing had been.
///
/// | State  | Open         | Write..., Flush | GetPosition | Close      |
/// |--------|--------------|-----------------|-------------|------------|
/// | closed | opened or as is | false        | -1          | nothing    |
/// | opened | closes first | as told         | a number    | closed     |
///
/// An object belongs to one thread at a time. A file opened here is not inherited by child processes.
class ZAR_API chFileStdio {
public:
  /// The two ways to open a file; no other mode is known.
  static constexpr unsigned mode_anew = 0x1000;   ///< created, or emptied if it is there
  static constexpr unsigned mode_append = 0x3000; ///< created if missing; every write lands at the end

  /// Takes over a stream, which is closed with the object; null (the default) is the closed state.
  chFileStdio(std::FILE *stream = nullptr);
  /// As Open().
  chFileStdio(const std::string &path, unsigned mode);
  chFileStdio(const chFileStdio &) = delete;
  chFileStdio &operator=(const chFileStdio &) = delete;
  ~chFileStdio();

  /// Closes what is open and opens `path`.
  /// @return Whether the file is open now. False also for any other mode, and then nothing is created.
  bool Open(const std::string &path, unsigned mode);

  /// Flushes and closes; harmless when nothing is open.
  void Close();

  bool IsFileOpened() const { return m_stream != nullptr; }

  /// Writes the bytes of `text`, adding and changing nothing.
  /// @return False when nothing is open, or when the system refused bytes during this call.
  bool WriteString(const std::string &text);

  /// Writes `size` times `count` bytes. A negative number, or a product beyond the address space, is refused.
  bool Write(const void *data, int size, int count);

  /// Writes several texts as one record. Costs a copy into the buffer, no system call as long as there is room.
  bool WriteRecord(std::initializer_list<std::string_view> parts);

  /// Hands the buffered bytes to the system, in one write. They are not forced to the disk.
  bool Flush();

  /// @return The position in bytes, buffered ones counted; in mode_append a file is opened at its end. 2147483647 when
  ///         it is beyond; -1 when nothing is open or the file has no position.
  int GetPosition() const;

private:
  friend class chFileTrace;

  /// @return The stream, with nothing buffered any more, for a record that is not to be copied; null when nothing is open.
  std::FILE *UnbufferedStream();

  std::FILE *m_stream;
  std::string m_pending; ///< not yet with the system
};

/// @return The whole content of a file as bytes; empty when it cannot be read.
ZAR_API std::string zarDumpTextFileA(const std::string &path);

/// Creates or replaces a file with `size` bytes and returns when they are on the disk.
/// @return False when the file cannot be opened, or the bytes not be written or forced out. The file is never removed:
///         what could be written stays. A negative size, or bytes that are null, are refused before the file is
///         touched.
ZAR_API bool zarWriteBinFile(const std::string &path, const void *data, int size);
