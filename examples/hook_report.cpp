// Counts this process's calls of malloc by module: hook_report [MODULE FUNCTION]
//
// It hooks malloc in all loaded modules, then loads MODULE and calls its FUNCTION, which takes and
// returns nothing. At the end it prints the number of calls from each module:
//
//     hook_report ./libplugin.so plugin_start
#include <zarlib/crash/api_hooker.h>
#include <zarlib/text/environment.h>
#include <zarlib/text/paths.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#ifndef _WIN32
#include <dlfcn.h>
#endif

// Everything up to report() runs inside malloc, so it must not allocate.

static void *(*real_malloc)(size_t) = std::malloc;

/// The calls with one return address. Hash collisions are rare and cost one more step.
struct place {
  std::atomic<std::uintptr_t> address{0};
  std::atomic<unsigned long> calls{0};
};
static place places[65536];

static void count(void *return_address) {
  const auto address = reinterpret_cast<std::uintptr_t>(return_address);
  constexpr size_t room = sizeof places / sizeof *places;
  for (size_t step = 0; step < room; ++step) {
    place &found = places[(address * 2654435761u + step) % room];
    std::uintptr_t owner = 0;
    if (!found.address.compare_exchange_strong(owner, address) && owner != address) continue;
    found.calls.fetch_add(1, std::memory_order_relaxed);
    return;
  }
}

static void *counting_malloc(size_t bytes) {
  count(__builtin_return_address(0));
  return real_malloc(bytes);
}

#ifdef _WIN32

static const char *home_of_malloc() { return "msvcrt.dll"; }

static std::string module_of(std::uintptr_t address) {
  HMODULE module = nullptr;
  char path[MAX_PATH] = "";
  GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<const char *>(address), &module);
  GetModuleFileNameA(module, path, sizeof path);
  return path;
}

#else

/// Not always the C library: another allocator may be interposed.
static const char *home_of_malloc() {
  Dl_info found = {};
  dladdr(reinterpret_cast<void *>(std::malloc), &found);
  const char *const slash = found.dli_fname ? std::strrchr(found.dli_fname, '/') : nullptr;
  return slash ? slash + 1 : "libc.so.6";
}

static std::string module_of(std::uintptr_t address) {
  Dl_info found = {};
  dladdr(reinterpret_cast<void *>(address), &found);
  return found.dli_fname ? found.dli_fname : "";
}

#endif

static apiHooker hook(home_of_malloc(), "malloc", reinterpret_cast<FARPROC>(reinterpret_cast<void *>(counting_malloc)),
                      reinterpret_cast<FARPROC *>(&real_malloc));

static void report() {
  std::map<std::string, unsigned long> counts;
  for (const place &found : places)
    if (found.calls != 0) counts[pathGetLastPart(module_of(found.address))] += found.calls;
  for (const auto &[module, calls] : counts) std::printf("%10lu  %s\n", calls, module.c_str());
  if (counts.empty()) std::puts("no module called malloc");
}

int main(int argc, char **argv) {
  if (argc != 1 && argc != 3) {
    std::fprintf(stderr, "usage: hook_report [MODULE FUNCTION]\n");
    return 2;
  }
  chDynamicModule late;
  if (argc == 3) {
    late.OpenDynamicModule(argv[1]);
    apiHooker::ApplyAfterMoudleLoaded();
    const auto function = reinterpret_cast<void (*)()>(late.GetMethod(argv[2]));
    if (!function) {
      std::fprintf(stderr, "hook_report: cannot find %s in %s\n", argv[2], argv[1]);
      return 1;
    }
    function();
  }
  report();
  if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return 0;
  std::fprintf(stderr, "hook_report: cannot write to standard output\n");
  return 1;
}
