// chSystemTracerManager: the contents of the block "ipc_system_trace".
#pragma once

#include "zarlib/export.h"
#include "zarlib/frame/object_frame.h"
#include "zarlib/memory/chains.h"
#include "zarlib/memory/pool_alloc.h"
#include "zarlib/trace/output_option.h"

#include <cstddef>
#include <string>
#include <string_view>

/// The state shared by all users of the tracer: the system option, one option per process, and the line store.
///
/// The line store is a queue of texts in the pool of the block, oldest first. When the pool is full, the oldest lines
/// move to the spill text on the heap, which is unbounded: a process that stores lines that nobody reads grows without
/// limit.
///
/// docs/formats/trace-block.md shows the byte layout. An object lives at the start of a block of `block_size` bytes,
/// where an ipcObjectFrame constructs it; its destructor never runs. Every operation REQUIRES that the caller holds the
/// frame's mutex; the words of the options are atomic and may be read without it.
class ZAR_API chSystemTracerManager {
public:
  static constexpr int block_size = 0x200000;
  static constexpr int block_version = 0x1009;
  static constexpr const char *block_name = "ipc_system_trace";

  /// Formats the block, and reads the environment variable `systrace` into the system option.
  chSystemTracerManager();
  chSystemTracerManager(const chSystemTracerManager &) = delete;
  chSystemTracerManager &operator=(const chSystemTracerManager &) = delete;

  /// Compares the stamp at the start of the block, as ipcObjectHeader::AssertHeader() does.
  int AssertHeader(const std::string &name, int size, int version) const {
    return m_header.AssertHeader(name, size, version);
  }

  /// Level 2147483647 and the console, unless `systrace` says otherwise.
  TraceOutputOption &system_option() { return m_systemOption; }

  /// Removes the records of processes that have ended.
  void drop_dead_processes();

  /// Finds or makes the record of a process; an existing one is reset. @return Its option, both words -1; null if the
  /// pool is full and holds no line that could make room.
  TraceOutputOption *renew_process_option(unsigned long process);

  /// Appends a line to the store. @return Whether it was stored; not if it is larger than the whole pool, in which case
  /// all earlier lines have moved to the spill text.
  bool store_line(std::string_view text);

  /// Takes the whole spill text, each line terminated by a line feed.
  /// @param bytes  Receives the total length of the lines without the line feeds.
  /// @return Whether there was any; empty lines alone stay.
  bool take_spilled(std::string &text, int &bytes);

  /// Takes the oldest line out of the block. @return Whether there was one.
  bool take_line(std::string &text);

private:
  struct process_record : list_chain_offset {
    unsigned process;
    TraceOutputOption option;
  };

  /// The text follows the record.
  struct line_record : list_chain_offset {
    int length;
    char *text() { return reinterpret_cast<char *>(this + 1); }
  };

  static constexpr int pool_offset = 88;
  static constexpr int pool_size = block_size - pool_offset;

  static void check_layout();
  bool make_room(int bytes);
  void spill_oldest_line();
  line_record &oldest_line();
  void drop_line(line_record &line);

  ipcObjectHeader m_header;
  basePoolAlloc m_pool;
  TraceOutputOption m_systemOption;
  int m_processCount;
  list_chain_offset m_processes;
  unsigned char m_unused[4]; // part of the format, never written
  int m_lineCount;
  list_chain_offset m_lines;
  int m_spilledBytes;
  union {
    std::string *m_pSpilled; // null if there is none; a text never taken leaks with the block
    unsigned char m_spilledRoom[24];
  };
};
