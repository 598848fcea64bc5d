#include "zarlib/platform/symbols.h"

#include "zarlib/platform/fault.h"

#include <algorithm>
#include <atomic>
#include <backtrace.h>
#include <cstdio>
#include <cstdlib>
#include <cxxabi.h>
#include <link.h>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace zar::platform {

namespace {

// Nothing is opened before the first look-up, which reads the symbols of all modules. libbacktrace maps its own memory
// and takes no lock, so a dying process may use it. It knows only the modules present at its first use, and cannot be
// freed.
std::atomic<backtrace_state *> s_state{nullptr};
std::atomic<unsigned long long> s_state_generation{0};

void ignore_error(void *, const char *, int) {}

/// The number of module loads and unloads so far.
unsigned long long module_generation() {
  unsigned long long generation = 0;
  const auto visit = [](dl_phdr_info *info, size_t, void *result) {
    *static_cast<unsigned long long *>(result) = info->dlpi_adds + info->dlpi_subs;
    return 1;
  };
  dl_iterate_phdr(visit, &generation);
  return generation;
}

backtrace_state *make_state() {
  s_state_generation = module_generation();
  // Through the thread's own entry: the process's leads nowhere once its main thread has ended.
  return s_state = backtrace_create_state("/proc/thread-self/exe", 1, ignore_error, nullptr);
}

/// A module and where it is loaded. One that comes back unchanged has the same symbols.
struct module_place {
  unsigned long long start, end;
  std::string file;
  ino_t number;
  time_t changed;

  bool operator==(const module_place &) const = default;
  bool overlaps(const module_place &other) const { return start < other.end && other.start < end; }
};

module_place place_of(const dl_phdr_info &info) {
  module_place place = {~0ull, 0, info.dlpi_name, 0, 0};
  for (int i = 0; i < info.dlpi_phnum; ++i) {
    const auto &segment = info.dlpi_phdr[i];
    if (segment.p_type != PT_LOAD) continue;
    place.start = std::min<unsigned long long>(place.start, info.dlpi_addr + segment.p_vaddr);
    place.end = std::max<unsigned long long>(place.end, info.dlpi_addr + segment.p_vaddr + segment.p_memsz);
  }
  struct stat found;
  if (stat(place.file.c_str(), &found) == 0) place.number = found.st_ino, place.changed = found.st_mtime;
  return place;
}

std::vector<module_place> current_modules() {
  std::vector<module_place> modules;
  const auto visit = [](dl_phdr_info *info, size_t, void *result) {
    static_cast<std::vector<module_place> *>(result)->push_back(place_of(*info));
    return 0;
  };
  dl_iterate_phdr(visit, &modules);
  return modules;
}

/// Stores the demangled name. A name that cannot be demangled, or any name once the heap of a dying process has proved
/// damaged, is stored as it is.
void set_name(symbol &found, const char *name) {
  std::snprintf(found.name, sizeof found.name, "%s", name);
  static std::atomic<bool> heap_is_lost{false};
  if (heap_is_lost) return;
  auto demangle = [&found, name] {
    int status = 0;
    char *const readable = abi::__cxa_demangle(name, nullptr, nullptr, &status);
    if (readable) std::snprintf(found.name, sizeof found.name, "%s", readable);
    std::free(readable);
  };
  if (!run_guarded(500, demangle)) heap_is_lost = true;
}

/// Called for the functions inlined at an address, innermost first; the last is the frame's own function.
int on_place(void *data, uintptr_t, const char *file, int line, const char *function) {
  auto &found = *static_cast<symbol *>(data);
  found.file[0] = 0;
  // Line 0 marks compiler-generated code.
  if (file && line > 0) {
    std::snprintf(found.file, sizeof found.file, "%s", file);
    found.line = line;
  }
  if (function) set_name(found, function);
  return 0;
}

void on_symbol(void *data, uintptr_t, const char *name, uintptr_t, uintptr_t) {
  if (name) set_name(*static_cast<symbol *>(data), name);
}

void look_up(backtrace_state *state, unsigned long long address, symbol &found) {
  backtrace_pcinfo(state, address, on_place, ignore_error, &found);
  if (!*found.name) backtrace_syminfo(state, address, on_symbol, ignore_error, &found);
}

} // namespace

bool open_symbols(const char *) { return true; }

// A new module needs nothing: the first look-up of an address in it discovers it. Old answers are wrong only if one
// module has taken the place of another.
bool refresh_modules() {
  static unsigned long long s_generation = 0;
  static auto &s_known = *new std::vector<module_place>;
  const unsigned long long generation = module_generation();
  if (generation == s_generation) return false;
  s_generation = generation;

  bool replaced = false;
  for (const module_place &module : current_modules()) {
    if (std::find(s_known.begin(), s_known.end(), module) != s_known.end()) continue;
    replaced =
        replaced || std::any_of(s_known.begin(), s_known.end(), [&](auto &other) { return other.overlaps(module); });
    s_known.push_back(module);
  }
  if (!replaced) return false;
  s_known = current_modules();
  make_state();
  return true;
}

void describe_address(unsigned long long address, symbol &found) {
  found.file[0] = found.name[0] = 0;
  found.line = 0;
  backtrace_state *state = s_state;
  if (!state) state = make_state();
  look_up(state, address, found);
  if (!*found.name && module_generation() != s_state_generation) look_up(make_state(), address, found);
}

} // namespace zar::platform
