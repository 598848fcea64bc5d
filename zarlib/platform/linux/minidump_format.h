// The minidump file format, as far as the library writes it; docs/formats/minidump.md describes it with an example.
//
// All numbers are little-endian; file offsets ("rva") are counted from the first byte.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zar::platform::minidump {

constexpr std::uint32_t signature = 0x504D444D; // "MDMP"
constexpr std::uint32_t version = 0xA793;

enum class stream_type : std::uint32_t {
  thread_list = 3,
  module_list = 4,
  memory_list = 5,
  exception = 6,
  system_info = 7,
  misc_info = 15,
  linux_proc_status = 0x47670004,
  linux_auxv = 0x47670008,
  linux_maps = 0x47670009,
  linux_dso_debug = 0x4767000A
};

#pragma pack(push, 4)

struct location {
  std::uint32_t size;
  std::uint32_t rva;
};

struct header {
  std::uint32_t signature;
  std::uint32_t version;
  std::uint32_t stream_count;
  std::uint32_t directory_rva;
  std::uint32_t checksum;
  std::uint32_t time; ///< seconds since 1970
  std::uint64_t flags;
};

struct directory_entry {
  stream_type type;
  location place;
};

struct memory_range {
  std::uint64_t address;
  location place;
};

struct thread {
  std::uint32_t id;
  std::uint32_t suspend_count;
  std::uint32_t priority_class;
  std::uint32_t priority;
  std::uint64_t environment_block;
  memory_range stack;
  location context;
};

struct module {
  std::uint64_t base;
  std::uint32_t size;
  std::uint32_t checksum;
  std::uint32_t time;
  std::uint32_t name_rva;
  std::uint32_t version_info[13];
  location code_view;
  location misc;
  std::uint64_t reserved[2];
};

/// The CodeView record of an ELF module: this mark, then the bytes of the build id.
constexpr std::uint32_t build_id_mark = 0x4270454C; // "LEpB"

struct exception {
  std::uint32_t thread;
  std::uint32_t unused;
  std::uint32_t code;  ///< the signal
  std::uint32_t flags; ///< its si_code
  std::uint64_t nested;
  std::uint64_t address;
  std::uint32_t parameter_count;
  std::uint32_t unused_too;
  std::uint64_t parameters[15];
  location context;
};

constexpr std::uint16_t architecture_amd64 = 9;
constexpr std::uint32_t platform_linux = 0x8201;

struct system_info {
  std::uint16_t architecture;
  std::uint16_t processor_level;
  std::uint16_t processor_revision;
  std::uint8_t processor_count;
  std::uint8_t product_type;
  std::uint32_t major_version;
  std::uint32_t minor_version;
  std::uint32_t build_number;
  std::uint32_t platform;
  std::uint32_t version_text_rva;
  std::uint32_t suites;
  std::uint32_t processor[6];
};

constexpr std::uint32_t misc_has_process_id = 1;

struct misc_info {
  std::uint32_t size;
  std::uint32_t flags;
  std::uint32_t process_id;
  std::uint32_t times[3];
};

constexpr std::uint32_t context_amd64_full = 0x10000F; // control, integer, segments, floating point

struct context_amd64 {
  std::uint64_t homes[6];
  std::uint32_t flags;
  std::uint32_t mxcsr;
  std::uint16_t cs, ds, es, fs, gs, ss;
  std::uint32_t eflags;
  std::uint64_t debug[6];
  std::uint64_t rax, rcx, rdx, rbx, rsp, rbp, rsi, rdi, r8, r9, r10, r11, r12, r13, r14, r15;
  std::uint64_t rip;
  std::uint8_t floating_point[512]; ///< in FXSAVE layout
  std::uint64_t vectors[52];
  std::uint64_t vector_control;
  std::uint64_t debug_control[5];
};

/// The loader's list of modules.
struct loader_debug {
  std::uint32_t version;
  std::uint32_t entries_rva;
  std::uint32_t entry_count;
  std::uint64_t breakpoint;
  std::uint64_t loader_base;
  std::uint64_t dynamic_section; ///< of the program, whose bytes follow this structure
};

struct loader_entry {
  std::uint64_t base;
  std::uint32_t name_rva;
  std::uint64_t dynamic_section;
};

#pragma pack(pop)

static_assert(sizeof(header) == 32 && sizeof(directory_entry) == 12 && sizeof(memory_range) == 16);
static_assert(sizeof(thread) == 48 && sizeof(module) == 108 && sizeof(exception) == 168);
static_assert(sizeof(system_info) == 56 && sizeof(misc_info) == 24);
static_assert(sizeof(context_amd64) == 1232 && offsetof(context_amd64, floating_point) == 256);
static_assert(sizeof(loader_debug) == 36 && sizeof(loader_entry) == 20);

} // namespace zar::platform::minidump
