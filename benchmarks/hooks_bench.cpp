// Hooking a function in a hundred modules, against a hand-written walk that infers page protection from the module's
// layout; and calls through hooked slots, against unhooked slots and function pointers.
#include "zarlib/crash/api_hooker.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <link.h>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

/// Looked up by name, so that a hook can be reversed.
extern "C" int bench_replacement(int value) { return value + 100; }

namespace {

int stays(int value) { return value + 200; }

namespace fs = std::filesystem;
using function = int (*)(int);

constexpr int copies = 100;
constexpr const char *target_name = "libbench_hook_target.so";

fs::path program() { return fs::read_symlink("/proc/self/exe"); }

/// Loads `count` modules that call the function; they stay loaded. @return The calling function of each.
std::vector<function> load_copies(const std::string &form, int count, const std::string &use) {
  std::string folder = (fs::temp_directory_path() / (use + "_XXXXXX")).string();
  if (!mkdtemp(folder.data())) std::abort();
  std::vector<function> result;
  for (int i = 0; i < count; ++i) {
    const fs::path path = fs::path(folder) / (std::to_string(i) + ".so");
    fs::copy_file(program().parent_path() / ("libbench_hook_" + form + ".so"), path);
    void *const module = dlopen(path.c_str(), RTLD_LAZY);
    if (!module) std::abort();
    result.push_back(reinterpret_cast<function>(dlsym(module, "call_target")));
    result.back()(1);
  }
  fs::remove_all(folder);
  return result;
}

FARPROC original() {
  return reinterpret_cast<FARPROC>(dlsym(dlopen(target_name, RTLD_LAZY | RTLD_NOLOAD), "hook_target"));
}

/// Two changes: hook and restore.
void hook_ours(benchmark::State &state) {
  static const std::string name = program().filename();
  for (auto _ : state) {
    const apiHooker there(target_name, "hook_target", reinterpret_cast<FARPROC>(bench_replacement), nullptr);
    const apiHooker back(name.c_str(), "bench_replacement", original(), nullptr);
  }
  state.SetItemsProcessed(2 * state.iterations());
}

struct walk {
  const char *name;
  void *replacement;
};

/// By name, in the PLT relocations only; pages that are read-only after binding are unprotected and protected again.
int walk_module(dl_phdr_info *info, size_t, void *argument) {
  const auto &wanted = *static_cast<const walk *>(argument);
  if (!std::strstr(info->dlpi_name, "bench_walked")) return 0;
  const ElfW(Dyn) *dynamic = nullptr;
  ElfW(Addr) closed = 0, closed_end = 0;
  for (int i = 0; i < info->dlpi_phnum; ++i) {
    const auto &segment = info->dlpi_phdr[i];
    if (segment.p_type == PT_DYNAMIC) dynamic = reinterpret_cast<const ElfW(Dyn) *>(info->dlpi_addr + segment.p_vaddr);
    if (segment.p_type != PT_GNU_RELRO) continue;
    closed = info->dlpi_addr + segment.p_vaddr;
    closed_end = closed + segment.p_memsz;
  }
  const ElfW(Rela) *calls = nullptr;
  const ElfW(Sym) *symbols = nullptr;
  const char *names = nullptr;
  size_t bytes = 0;
  for (; dynamic && dynamic->d_tag != DT_NULL; ++dynamic) {
    if (dynamic->d_tag == DT_JMPREL) calls = reinterpret_cast<const ElfW(Rela) *>(dynamic->d_un.d_ptr);
    if (dynamic->d_tag == DT_PLTRELSZ) bytes = dynamic->d_un.d_val;
    if (dynamic->d_tag == DT_SYMTAB) symbols = reinterpret_cast<const ElfW(Sym) *>(dynamic->d_un.d_ptr);
    if (dynamic->d_tag == DT_STRTAB) names = reinterpret_cast<const char *>(dynamic->d_un.d_ptr);
  }
  for (size_t i = 0; calls && i < bytes / sizeof *calls; ++i) {
    if (std::strcmp(names + symbols[ELF64_R_SYM(calls[i].r_info)].st_name, wanted.name) != 0) continue;
    const ElfW(Addr) slot = info->dlpi_addr + calls[i].r_offset;
    void *const page = reinterpret_cast<void *>(slot & ~ElfW(Addr){4095});
    const bool is_closed = slot >= closed && slot < closed_end;
    if (is_closed) mprotect(page, 4096, PROT_READ | PROT_WRITE);
    *reinterpret_cast<void *volatile *>(slot) = wanted.replacement;
    if (is_closed) mprotect(page, 4096, PROT_READ);
  }
  return 0;
}

void hook_peer(benchmark::State &state) {
  walk there = {"hook_target", reinterpret_cast<void *>(bench_replacement)};
  walk back = {"hook_target", reinterpret_cast<void *>(original())};
  for (auto _ : state) {
    dl_iterate_phdr(walk_module, &there);
    dl_iterate_phdr(walk_module, &back);
  }
  state.SetItemsProcessed(2 * state.iterations());
}

function volatile pointer;
[[gnu::noinline]] int call_pointer(int value) { return pointer(value); }

void call(benchmark::State &state, function called) {
  int value = 0;
  for (auto _ : state) benchmark::DoNotOptimize(value = called(value));
}

} // namespace

int main(int argc, char **argv) {
  // One module that stays hooked, and one that is not; then some of each kind, as in a real process.
  const function hooked = load_copies("now", 1, "bench_called")[0];
  { const apiHooker hook(target_name, "hook_target", reinterpret_cast<FARPROC>(stays), nullptr); }
  const function unhooked = load_copies("now", 1, "bench_called")[0];
  load_copies("now", copies / 2, "bench_walked");
  load_copies("lazy", copies / 2, "bench_walked");
  apiHooker::ApplyAfterMoudleLoaded();
  if (hooked(0) != 200 || unhooked(0) != 1) std::abort();
  pointer = stays;

  benchmark::RegisterBenchmark("BM_HookHundredModules/ours", hook_ours);
  benchmark::RegisterBenchmark("BM_HookHundredModules/hand-written-walk", hook_peer);
  benchmark::RegisterBenchmark("BM_Call/ours", call, hooked);
  benchmark::RegisterBenchmark("BM_Call/not-hooked", call, unhooked);
  benchmark::RegisterBenchmark("BM_Call/function-pointer", call, function{call_pointer});
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
