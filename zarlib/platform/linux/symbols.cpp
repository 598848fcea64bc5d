#include "zarlib/platform/symbols.h"

#include "zarlib/platform/fault.h"

#include <atomic>
#include <backtrace.h>
#include <cstdio>
#include <cstdlib>
#include <cxxabi.h>
#include <link.h>
#include <mutex>

namespace zar::platform {

namespace {

// libbacktrace maps its memory itself and takes no lock, so that a dying process may use it.
std::atomic<backtrace_state *> s_state{nullptr};
std::atomic<unsigned long long> s_generation{0};

/// Counts the loadings and unloadings of modules up to now.
unsigned long long module_generation() {
  unsigned long long generation = 0;
  const auto visit = [](dl_phdr_info *info, size_t, void *result) {
    *static_cast<unsigned long long *>(result) = info->dlpi_adds + info->dlpi_subs;
    return 1;
  };
  dl_iterate_phdr(visit, &generation);
  return generation;
}

void ignore_error(void *, const char *, int) {}

// Made anew when modules have come or gone: a state knows those of its first use. The old one cannot be given back.
void make_state() { s_state = backtrace_create_state(nullptr, 1, ignore_error, nullptr); }

/// The readable form. A name that cannot be read, or no more, since the heap of a dying process is damaged, stays as it is.
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

/// Called for the inlined functions at an address from the inside out; the last one is the function of the frame.
int on_place(void *data, uintptr_t, const char *file, int line, const char *function) {
  auto &found = *static_cast<symbol *>(data);
  found.file[0] = 0;
  // Line 0 marks what the compiler has added.
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

} // namespace

bool open_symbols(const char *) {
  s_generation = module_generation();
  make_state();
  return s_state.load() != nullptr;
}

bool refresh_modules() {
  const unsigned long long generation = module_generation();
  if (s_generation.exchange(generation) == generation) return false;
  make_state();
  return true;
}

void describe_address(unsigned long long address, symbol &found) {
  found.file[0] = found.name[0] = 0;
  found.line = 0;
  backtrace_state *const state = s_state;
  backtrace_pcinfo(state, address, on_place, ignore_error, &found);
  if (!*found.name) backtrace_syminfo(state, address, on_symbol, ignore_error, &found);
}

} // namespace zar::platform
