#include "zarlib/platform/process_dump.h"

#include "zarlib/platform/fault.h"
#include "zarlib/platform/linux/fault_context.h"
#include "zarlib/platform/linux/memory_map.h"
#include "zarlib/platform/linux/minidump_modules.h"
#include "zarlib/platform/linux/safe_memory.h"
#include "zarlib/platform/linux/stopped_threads.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/auxv.h>
#include <sys/utsname.h>
#include <unistd.h>

// All of this runs in a dying process: only system calls, arithmetic, and room reserved outside the heap.

namespace zar::platform {

using namespace minidump;

namespace {

constexpr int time_limit = 20000; // milliseconds
constexpr size_t ranges_max = 8194;

// The faulting thread's stack is dumped as far as it is in use, up to this limit; of other stacks, the most telling
// part.
constexpr std::uint64_t own_stack_max = 64u << 20;
constexpr std::uint64_t other_stack_max = 256u << 10;

// How far below its stack an overflow may point: a frame may be larger than a guard page.
constexpr std::uint64_t overflow_max = 16u << 20;
constexpr std::uint64_t red_zone = 128;
constexpr std::uint64_t code_before = 128, code_around = 256;

context_amd64 registers_of(const ucontext_t &context) {
  const greg_t *const words = context.uc_mcontext.gregs;
  const auto word = [words](int index) { return static_cast<std::uint64_t>(words[index]); };
  context_amd64 result = {};
  result.flags = context_amd64_full;
  result.eflags = static_cast<std::uint32_t>(word(REG_EFL));
  result.cs = static_cast<std::uint16_t>(word(REG_CSGSFS));
  result.gs = static_cast<std::uint16_t>(word(REG_CSGSFS) >> 16);
  result.fs = static_cast<std::uint16_t>(word(REG_CSGSFS) >> 32);
  result.ss = static_cast<std::uint16_t>(word(REG_CSGSFS) >> 48);
  result.rax = word(REG_RAX);
  result.rcx = word(REG_RCX);
  result.rdx = word(REG_RDX);
  result.rbx = word(REG_RBX);
  result.rsp = word(REG_RSP);
  result.rbp = word(REG_RBP);
  result.rsi = word(REG_RSI);
  result.rdi = word(REG_RDI);
  result.r8 = word(REG_R8);
  result.r9 = word(REG_R9);
  result.r10 = word(REG_R10);
  result.r11 = word(REG_R11);
  result.r12 = word(REG_R12);
  result.r13 = word(REG_R13);
  result.r14 = word(REG_R14);
  result.r15 = word(REG_R15);
  result.rip = word(REG_RIP);
  if (context.uc_mcontext.fpregs) {
    result.mxcsr = context.uc_mcontext.fpregs->mxcsr;
    std::memcpy(result.floating_point, context.uc_mcontext.fpregs, sizeof result.floating_point);
  }
  return result;
}

context_amd64 registers_of(const stopped_thread &thread) {
  if (const ucontext_t *const context = thread.context) return registers_of(*context);
  context_amd64 result = {};
  result.flags = context_amd64_full;
  result.rip = thread.pc;
  result.rsp = thread.sp;
  return result;
}

/// The threads, and the memory dumped for them.
class thread_writer {
public:
  thread_writer(minidump_file &file, const memory_map &map)
      : m_file(file), m_map(map), m_threads(reserve_array<thread>(ranges_max / 2)),
        m_ranges(reserve_array<memory_range>(ranges_max)) {}

  bool has_room() const { return m_threads && m_ranges && m_thread_count < ranges_max / 2; }

  /// @return The location of the registers in the file.
  /// REQUIRES: has_room()
  location add(pid_t id, const context_amd64 &registers, std::uint64_t stack_max) {
    thread &entry = m_threads[m_thread_count++];
    entry.id = static_cast<std::uint32_t>(id);
    entry.context = m_file.append(registers);
    entry.stack = add_stack(registers.rsp, stack_max);
    add_code(registers.rip);
    return entry.context;
  }

  void finish() {
    m_file.add_stream(stream_type::thread_list, m_file.append_list(m_threads, m_thread_count));
    m_file.add_stream(stream_type::memory_list, m_file.append_list(m_ranges, m_range_count));
  }

private:
  /// From the stack pointer to the end of its region; for an overflowed stack, from its lowest byte. The first thread's
  /// stack ends below the command line and the environment.
  memory_range add_stack(std::uint64_t sp, std::uint64_t most) {
    const memory_region *region = m_map.at_or_above(sp);
    while (region != m_map.end() && !(region->readable && region->writable)) ++region;
    if (region == m_map.end() || region->start > sp + overflow_max) return {sp, {0, 0}};
    const std::uint64_t start = std::max(region->start, (sp - std::min(sp, red_zone)) & ~std::uint64_t{15});
    const std::uint64_t length = std::min(region->end - start, getauxval(AT_RANDOM) - start);
    return add_range(start, std::min({length, most, m_file.room()}));
  }

  /// What a debugger needs to show the instruction if it lacks the program.
  void add_code(std::uint64_t pc) {
    const memory_region *const region = m_map.at_or_above(pc);
    if (region == m_map.end() || region->start > pc || !region->readable) return;
    const std::uint64_t start = std::max(region->start, pc - std::min(pc, code_before));
    add_range(start, std::min(region->end - start, code_around));
  }

  memory_range add_range(std::uint64_t start, std::uint64_t length) {
    return m_ranges[m_range_count++] = {start, m_file.append(reinterpret_cast<const void *>(start), length)};
  }

  minidump_file &m_file;
  const memory_map &m_map;
  thread *m_threads;
  memory_range *m_ranges;
  size_t m_thread_count = 0;
  size_t m_range_count = 0;
};

void write_system(minidump_file &file) {
  utsname system = {};
  uname(&system);
  system_info info = {};
  info.architecture = architecture_amd64;
  info.processor_count = static_cast<std::uint8_t>(std::clamp(sysconf(_SC_NPROCESSORS_ONLN), 1L, 255L));
  std::sscanf(system.release, "%u.%u.%u", &info.major_version, &info.minor_version, &info.build_number);
  info.platform = platform_linux;
  char text[3 * sizeof system.release];
  std::snprintf(text, sizeof text, "%s %s %s", system.sysname, system.release, system.version);
  info.version_text_rva = file.append_text(text);
  file.add_stream(stream_type::system_info, file.append(info));

  const misc_info misc = {sizeof misc, misc_has_process_id, static_cast<std::uint32_t>(getpid()), {}};
  file.add_stream(stream_type::misc_info, file.append(misc));
}

void write_exception(minidump_file &file, const fault &fault, location context) {
  exception record = {};
  record.thread = static_cast<std::uint32_t>(fault.thread);
  record.code = static_cast<std::uint32_t>(fault.info->si_signo);
  record.flags = static_cast<std::uint32_t>(fault.info->si_code);
  // A signal that was sent has no address; that field holds the sender's ids.
  if (fault.info->si_code > 0) record.address = reinterpret_cast<std::uintptr_t>(fault.info->si_addr);
  record.context = context;
  file.add_stream(stream_type::exception, file.append(record));
}

bool write_all(const char *path, const fault *fault) {
  minidump_file file(path);
  if (!file.is_open()) return false;
  const stopped_threads others = stop_other_threads();
  const memory_map map;

  write_system(file);
  thread_writer threads(file, map);
  if (!threads.has_room()) return false;
  ucontext_t here;
  getcontext(&here);
  const location own = threads.add(gettid(), registers_of(fault ? *fault->context : here), own_stack_max);
  if (fault) write_exception(file, *fault, own);
  for (const stopped_thread &other : others)
    if (threads.has_room()) threads.add(other.id, registers_of(other), other_stack_max);
  threads.finish();

  write_module_list(file, map);
  // The environment and the command line are left out: they may hold secrets.
  file.add_stream(stream_type::linux_maps, file.append_file("/proc/thread-self/maps"));
  file.add_stream(stream_type::linux_proc_status, file.append_file("/proc/self/status"));
  file.add_stream(stream_type::linux_auxv, file.append_file("/proc/thread-self/auxv"));
  write_loader_list(file);
  return file.finish();
}

} // namespace

bool write_process_dump(const char *path, const fault *fault) {
  bool written = false;
  run_guarded(time_limit, [&] { written = write_all(path, fault); });
  // Even after an aborted write.
  release_other_threads();
  return written;
}

} // namespace zar::platform
