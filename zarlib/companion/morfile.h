// A buffered file for writing, and reading and writing whole files.
#pragma once

#include "zarlib/export.h"

#include <cstdio>
#include <initializer_list>
#include <string>
#include <string_view>

/// A file for writing, such as logs and dumps.
///
/// Bytes collect in a 64 KiB buffer until Flush(), Close(), the destructor, or a record that does not fit. A record is
/// what one call of WriteString(), Write() or WriteRecord() passes; it is never split between two writes to the system,
/// so once flushed the file survives the death of the process at any instant, with whole records only.
///
/// A write that the system refuses loses the bytes of that write and nothing else: they are not retried, and
/// any part of them already written is removed again if the file is a regular one. Later writes proceed as if
/// nothing had happened.
///
/// | State  | Open         | Write..., Flush | GetPosition | Close      |
/// |--------|--------------|-----------------|-------------|------------|
/// | closed | opened or as is | false        | -1          | nothing    |
/// | opened | closes first | as documented   | a number    | closed     |
///
/// An object belongs to one thread at a time. Files opened here are not inherited by child processes.
class ZAR_API chFileStdio {
public:
  /// The two open modes; no other is accepted.
  static constexpr unsigned mode_anew = 0x1000;   ///< created, or truncated if it exists
  static constexpr unsigned mode_append = 0x3000; ///< created if missing; every write goes to the end

  /// Takes ownership of a stream, which is closed with the object; null (the default) is the closed state.
  chFileStdio(std::FILE *stream = nullptr);
  /// Like Open().
  chFileStdio(const std::string &path, unsigned mode);
  chFileStdio(const chFileStdio &) = delete;
  chFileStdio &operator=(const chFileStdio &) = delete;
  ~chFileStdio();

  /// Closes what is open and opens `path`.
  /// @return Whether the file is now open. False also for any other mode, and then nothing is created.
  bool Open(const std::string &path, unsigned mode);

  /// Flushes and closes; harmless when nothing is open.
  void Close();

  bool IsFileOpened() const { return m_stream != nullptr; }

  /// Writes the bytes of `text` verbatim.
  /// @return False when nothing is open, or when the system refused bytes during this call.
  bool WriteString(const std::string &text);

  /// Writes `size` times `count` bytes. A negative number, or a product beyond the address space, is refused.
  bool Write(const void *data, int size, int count);

  /// Writes several texts as one record. Costs a copy into the buffer, and no system call while there is room.
  bool WriteRecord(std::initializer_list<std::string_view> parts);

  /// Passes the buffered bytes to the system, in one write. They are not forced to disk.
  bool Flush();

  /// @return The position in bytes, including buffered ones; in mode_append a file is opened at its end. 2147483647
  ///         when it is beyond that; -1 when nothing is open or the file has no position.
  int GetPosition() const;

private:
  friend class chFileTrace;

  /// @return The stream, with the buffer flushed, for a record that should not be copied; null when nothing is open.
  std::FILE *UnbufferedStream();

  std::FILE *m_stream;
  std::string m_pending; ///< not yet passed to the system
};

/// @return The whole content of a file as bytes; empty when it cannot be read.
ZAR_API std::string zarDumpTextFileA(const std::string &path);

/// Creates or replaces a file with `size` bytes and returns when they are on disk.
/// @return False when the file cannot be opened, or the bytes cannot be written or forced to disk. The file is never
///         removed: what could be written stays. A negative size, or null `data` with a positive size, is refused
///         before the file is touched.
ZAR_API bool zarWriteBinFile(const std::string &path, const void *data, int size);
