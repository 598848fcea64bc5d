#include "zarlib/crash/api_hooker.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"
#include "zarlib/text/environment.h"

#include <gmock/gmock.h>

#include <atomic>
#include <list>
#include <thread>

#ifndef _WIN32
#include <dlfcn.h>
#endif

namespace {

/// The page protection of all modules.
std::string page_rights() {
  std::string text;
#ifdef _WIN32
  MEMORY_BASIC_INFORMATION region;
  for (const char *at = nullptr; VirtualQuery(at, &region, sizeof region); at += region.RegionSize)
    text += region.Type == MEM_IMAGE ? std::to_string(region.RegionSize + region.Protect) + '\n' : "";
#else
  for (const std::string &line : harness::lines_of(harness::read_file("/proc/self/maps")))
    text += line.find('/') != line.npos ? line + '\n' : "";
#endif
  return text;
}

#ifdef _WIN32
const std::string suffix = ".dll", early = "hook_caller_import.dll", lazy = "hook_caller_stub.dll";
#else
const std::string suffix = ".so", early = "hook_caller_now.so", lazy = "hook_caller_lazy.so";
#endif
const std::string target = "hook_target" + suffix, late_target = "HOOK_late_TARGET" + suffix;

/// A module that calls the function, in a copy never loaded before, as hooked slots stay hooked. It stays loaded to
/// the end, as modules loaded later at its address would be skipped.
struct caller {
  explicit caller(const std::string &name) {
    static const harness::temporary_directory folder;
    static std::list<chDynamicModule> loaded;
    const std::string path = folder / (std::to_string(loaded.size()) + name);
    module = &loaded.emplace_back();
    std::filesystem::copy_file(harness::program_folder() + name, path);
#ifndef _WIN32
    dlopen(path.c_str(), RTLD_LAZY);
#endif
    EXPECT_TRUE(module->OpenDynamicModule(path)) << name;
    apiHooker::ApplyAfterMoudleLoaded();
  }
  int call(const char *name, int value) const { return reinterpret_cast<int (*)(int)>(module->GetMethod(name))(value); }
  int operator()(int value) const { return call("call_target", value); }

  chDynamicModule *module;
};

FARPROC pointer(int (*function)(int)) { return reinterpret_cast<FARPROC>(reinterpret_cast<void *>(function)); }
const FARPROC plus_100 = pointer([](int value) { return value + 100; });
const FARPROC plus_200 = pointer([](int value) { return value + 200; });

} // namespace

TEST(ApiHooker, FindsTheFunctionInModulesOfEveryFormAndLeavesTheRightsToTheirPages) {
  for (const std::string &name : harness::list_directory(harness::program_folder())) {
    if (!name.starts_with("hook_caller_") || !name.ends_with(suffix)) continue;
    const caller called(name), uncalled(name);
    EXPECT_EQ(called(1), 2);
    const std::string rights = page_rights();
    FARPROC real = nullptr;
    const apiHooker hook(target.c_str(), "hook_target", plus_100, &real);
    EXPECT_EQ(page_rights(), rights) << name;
    EXPECT_EQ(called(1), 101) << name;
    EXPECT_EQ(uncalled(1) + uncalled(2), 203) << name;
    EXPECT_EQ(reinterpret_cast<int (*)(int)>(reinterpret_cast<void *>(real))(1), 2);
  }
}

TEST(ApiHooker, FindsTheFunctionInProgramsOfEveryForm) {
  for (const std::string &name : harness::list_directory(harness::program_folder())) {
    if (!name.starts_with("hook_program")) continue;
    const auto result = harness::run(name, {target, harness::program_folder() + lazy});
    EXPECT_THAT(result.output, testing::HasSubstr("101 101")) << name;
  }
}

TEST(ApiHooker, AppliesAWaitingHookWhenItsModuleHasCome) {
  FARPROC untouched = plus_200;
  const apiHooker waiting(late_target.c_str(), "hook_target", plus_100, &untouched);
  const caller late("hook_late_caller" + suffix), later("hook_late_caller" + suffix), other(lazy);
  EXPECT_EQ(late(1) + later(2), 203);
  EXPECT_EQ(other(1), 2) << "another module's function of that name";
  EXPECT_EQ(untouched, plus_200);
}

TEST(ApiHooker, ForgetsAllHooksWhenOneEnds) {
  const caller before(lazy);
  const apiHooker oldest(target.c_str(), "hook_target", plus_100, nullptr);
  const apiHooker newest(target.c_str(), "hook_target", plus_200, nullptr);
  EXPECT_EQ(caller(lazy)(1), 201);
  { const apiHooker ends("no module", "no function", nullptr, nullptr); }
  EXPECT_EQ(caller(lazy)(1), 2);
  EXPECT_EQ(before(1), 101);
}

TEST(ApiHooker, ChangesWordsThatOtherThreadsCallThrough) {
  const caller called(early); // in write-protected pages
  std::atomic<int> ready{0};
  std::vector<std::thread> threads;
  while (threads.size() < 3)
    threads.emplace_back([&] {
      for (int answer = 2; answer != 101; ++ready) EXPECT_THAT(answer = called(1), testing::AnyOf(2, 101));
    });
  while (ready < 3) std::this_thread::yield();
  const apiHooker hook(target.c_str(), "hook_target", plus_100, nullptr);
  for (auto &thread : threads) thread.join();
}

#ifndef _WIN32
TEST(ApiHooker, LeavesWordsAloneThatWouldNotCallTheFunction) {
  const caller own("hook_own_caller.so"), other(lazy);
  const apiHooker hook(target.c_str(), "hook_target", plus_100, nullptr);
  const apiHooker missing(target.c_str(), "hook_missing", plus_100, nullptr);
  const apiHooker version("libc.so.6", "sched_setaffinity", plus_100, nullptr);
  EXPECT_EQ(own(1), 2) << "the module's own function of that name";
  EXPECT_EQ(other.call("call_missing", 1), 0) << "a word of nothing";
  EXPECT_EQ(other.call("call_old_version", 0), -1) << "another version";
}
#endif

TEST(HookReport, CountsTheCallsOfEachModule) {
  const auto report = harness::run("hook_report", {harness::program_folder() + lazy, "allocate_thousand_times"});
  EXPECT_THAT(report.output, testing::ContainsRegex("1000 +" + lazy)) << report.error;
}
