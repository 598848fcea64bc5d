#include "zarlib/crash/api_hooker.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"
#include "zarlib/crash/api_modules.h"

#include <gmock/gmock.h>

#include <atomic>
#include <sstream>
#include <stdexcept>
#include <thread>

#ifndef _WIN32
#include <dlfcn.h>
#endif

namespace {

// What is hooked stays so, and a place where a module was is not looked at again: each test loads copies of its own, for good.
const harness::temporary_directory &copies() {
  static const harness::temporary_directory folder;
  return folder;
}

#ifdef _WIN32
const std::string suffix = ".dll";
HINSTANCE open_lazily(const std::string &path) { return LoadLibraryA(path.c_str()); }
void *symbol(HINSTANCE module, const char *name) { return reinterpret_cast<void *>(GetProcAddress(module, name)); }
/// The rights to all pages of a module.
std::string page_rights(HINSTANCE module) {
  std::ostringstream text;
  MEMORY_BASIC_INFORMATION region;
  for (auto *at = reinterpret_cast<char *>(module); VirtualQuery(at, &region, sizeof region); at += region.RegionSize) {
    if (region.AllocationBase != module) break;
    text << region.BaseAddress << ' ' << region.RegionSize << ' ' << region.Protect << '\n';
  }
  return text.str();
}
#else
const std::string suffix = ".so";
HINSTANCE open_lazily(const std::string &path) { return dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL); }
void *symbol(HINSTANCE module, const char *name) { return dlsym(module, name); }
/// The rights to all pages of all modules.
std::string page_rights(HINSTANCE) {
  std::string text;
  for (const std::string &line : harness::lines_of(harness::read_file("/proc/self/maps")))
    if (line.find('/') != std::string::npos) text += line + '\n';
  return text;
}
#endif

const std::string target = "hook_target" + suffix, late_target = "hook_late_target" + suffix;

/// A module that calls the function, never loaded before.
class caller {
public:
  explicit caller(const std::string &form) {
    static int number = 0;
    const std::string path = copies() / (std::to_string(++number) + suffix);
    std::filesystem::copy_file(harness::program_folder() + "hook_caller_" + form + suffix, path);
    m_module = open_lazily(path);
    if (!m_module) throw std::runtime_error("cannot load " + form);
  }

  HINSTANCE module() const { return m_module; }
  template <class Result, class... Arguments>
  Result call(const char *name, Arguments... arguments) const {
    return reinterpret_cast<Result (*)(Arguments...)>(symbol(m_module, name))(arguments...);
  }
  int operator()(int value) const { return call<int>("call_target", value); }

private:
  HINSTANCE m_module;
};

int plus_100(int value) { return value + 100; }
int plus_200(int value) { return value + 200; }
FARPROC pointer(int (*function)(int)) { return reinterpret_cast<FARPROC>(reinterpret_cast<void *>(function)); }

/// The forms in which calling modules were built, as the folder has them.
std::vector<std::string> forms(const std::string &prefix) {
  std::vector<std::string> result;
  for (const std::string &name : harness::list_directory(harness::program_folder()))
    if (const size_t at = name.rfind(suffix); name.starts_with(prefix) && at != std::string::npos)
      result.push_back(name.substr(prefix.size(), at - prefix.size()));
  return result;
}

const std::string usual_form = forms("hook_caller_").front() == "import" ? "import" : "lazy";

} // namespace

TEST(ApiHooker, FindsTheFunctionInModulesOfEveryFormAndLeavesTheRightsToTheirPages) {
  for (const std::string &form : forms("hook_caller_")) {
    if (form == "own" || form == "late") continue;
    SCOPED_TRACE(form);
    const caller called(form), uncalled(form);
    EXPECT_EQ(called(1), 2);
    apiHooker::ApplyAfterMoudleLoaded();
    const std::string rights = page_rights(called.module());
    FARPROC real = nullptr;
    {
      const apiHooker hook(target.c_str(), "hook_target", pointer(plus_100), &real);
      EXPECT_EQ(page_rights(called.module()), rights);
    }
    EXPECT_EQ(reinterpret_cast<int (*)(int)>(reinterpret_cast<void *>(real))(1), 2);
    EXPECT_EQ(called(1), 101);
    EXPECT_EQ(uncalled(1), 101);
    EXPECT_EQ(called(2), 102) << "bound back";
  }
}

TEST(ApiHooker, FindsTheFunctionInProgramsOfEveryForm) {
  int programs = 0;
  for (const std::string &name : harness::list_directory(harness::program_folder())) {
    if (!name.starts_with("hook_program")) continue;
    const std::string form = harness::program_folder() + "hook_caller_" + usual_form + suffix;
    EXPECT_EQ(harness::lines_of(harness::run(name, {target, form}).output), std::vector<std::string>{"101 101"})
        << name;
    ++programs;
  }
  EXPECT_GE(programs, 1);
}

TEST(ApiHooker, AppliesAWaitingHookWhenItsModuleHasCome) {
  FARPROC untouched = pointer(plus_200);
  std::string name = late_target;
  for (char &letter : name) letter = static_cast<char>(std::toupper(letter));
  const apiHooker waiting(name.c_str(), "hook_target", pointer(plus_100), &untouched);
  const apiHooker never(target.c_str(), "hook_missing", pointer(plus_100), &untouched);
  const caller late("late"), other(usual_form);
  EXPECT_EQ(late(1), 2);
  apiHooker::ApplyAfterMoudleLoaded();
  EXPECT_EQ(late(1), 101);
  EXPECT_EQ(other(1), 2) << "another module's function of that name";
  EXPECT_EQ(untouched, pointer(plus_200));
  const caller later("late");
  apiHooker::ApplyAfterMoudleLoaded();
  EXPECT_EQ(later(1), 101);
}

TEST(ApiHooker, ForgetsAllHooksWhenOneEnds) {
  const caller before(usual_form);
  apiHooker::ApplyAfterMoudleLoaded();
  const apiHooker oldest(target.c_str(), "hook_target", pointer(plus_100), nullptr);
  const apiHooker newest(target.c_str(), "hook_target", pointer(plus_200), nullptr);
  const caller between(usual_form);
  apiHooker::ApplyAfterMoudleLoaded();
  { const apiHooker ends("no module", "no function", nullptr, nullptr); }
  const caller after(usual_form);
  apiHooker::ApplyAfterMoudleLoaded();
  EXPECT_EQ(before(1), 101);
  EXPECT_EQ(between(1), 201);
  EXPECT_EQ(after(1), 2);
}

TEST(ApiHooker, ChangesWordsThatOtherThreadsCallThrough) {
  std::vector<caller> callers;
  for (int i = 0; i < 20; ++i) callers.emplace_back(usual_form);
  for (const caller &called : callers) called(1);
  apiHooker::ApplyAfterMoudleLoaded();
  std::atomic<int> wrong{0}, ready{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i)
    threads.emplace_back([&] {
      // Each must see all words change, and only once.
      for (size_t changed = 0; changed < callers.size(); ++ready) {
        changed = 0;
        for (const caller &called : callers) {
          const int answer = called(1);
          if (answer == 101)
            ++changed;
          else if (answer != 2)
            ++wrong;
        }
      }
    });
  while (ready < 3) std::this_thread::yield();
  const apiHooker hook(target.c_str(), "hook_target", pointer(plus_100), nullptr);
  for (auto &thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

TEST(ApiHooker, RemembersAsManyModulesAsThereIsRoomFor) {
  struct {
    apiModules modules{[](HINSTANCE *list, int capacity) { return list[capacity - 2] = HINSTANCE(), capacity - 1; }};
    HINSTANCE behind = nullptr;
  } full;
  int handles[3];
  for (int &handle : handles) full.modules.append(reinterpret_cast<HINSTANCE>(&handle));
  EXPECT_EQ(full.modules.end() - full.modules.begin(), 8192);
  EXPECT_TRUE(full.modules.contains(reinterpret_cast<HINSTANCE>(&handles[0])));
  EXPECT_FALSE(full.modules.contains(reinterpret_cast<HINSTANCE>(&handles[1])));
  EXPECT_EQ(full.behind, nullptr);
}

#ifndef _WIN32
TEST(ApiHooker, LeavesWordsAloneThatWouldNotCallTheFunction) {
  const caller own("own"), lazy("lazy");
  apiHooker::ApplyAfterMoudleLoaded();
  const apiHooker hook(target.c_str(), "hook_target", pointer(plus_100), nullptr);
  EXPECT_EQ(own(1), 3) << "the module's own function of that name";
  const apiHooker missing(target.c_str(), "hook_missing", pointer(plus_100), nullptr);
  EXPECT_EQ(lazy.call<int>("call_missing"), -1) << "a word of nothing";
  const apiHooker version("libc.so.6", "sched_setaffinity", pointer(plus_100), nullptr);
  EXPECT_EQ(lazy.call<int>("call_old_version"), -1) << "another version";
}
#endif

TEST(HookReport, CountsTheCallsOfEachModule) {
  const std::string module = "allocating_module" + suffix;
  const auto report = harness::run("hook_report", {harness::program_folder() + module, "allocate_thousand_times"});
  EXPECT_THAT(report.output, testing::ContainsRegex("1000 +" + module)) << report.error;
}
