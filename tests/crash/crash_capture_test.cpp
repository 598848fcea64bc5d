#include "zarlib/crash/crash_capture.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"

#include <gmock/gmock.h>

#include <csignal>
#include <regex>

using testing::IsEmpty;

namespace {

#ifdef _WIN32
constexpr bool is_windows = true;
const std::string program = "crashing_program.exe";
#else
constexpr bool is_windows = false;
const std::string program = "crashing_program";
#endif

/// A document folder, and the files that crashes leave in it.
struct crash_folder {
  harness::temporary_directory documents;
  const std::string log = documents / "log/";

  crash_folder() { std::filesystem::create_directory(log); }

  /// Makes the program crash, and checks that it dies of that signal, without delay.
  void crash(const std::string &how, int signal = SIGSEGV, const std::string &architecture = "x86") const {
    const std::map<std::string, std::string> environment = {{"PROCESSOR_ARCHITECTURE", architecture}};
    const auto result = harness::run("crashing_program", {how, documents.path()}, environment);
    EXPECT_LT(result.exit_code, 0) << how;
    EXPECT_EQ(result.signal, is_windows ? 0 : signal) << how;
    EXPECT_EQ(how == "throw", result.error.find("nobody catches this") != std::string::npos) << "the former handler";
  }

  std::string text() const { return harness::read_file(log + program + ".crash"); }

  std::vector<std::string> dumps() const {
    const std::regex name(program + "-[0-9]{8}-[0-9]{6}\\.dmp");
    std::vector<std::string> result;
    for (const auto &file : harness::list_directory(log))
      if (std::regex_match(file, name)) result.push_back(log + file);
    return result;
  }
};

/// Whether the text is one complete report whose stack matches the regular expression.
bool is_report(const std::string &text, const std::string &stack) {
  const std::string time = "Time at : 20[0-9]{2}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} = [0-9]+\\.[0-9]{6}\n";
  const std::string head = "Dump by crash\nPID=[0-9]+ TID=([0-9]+) \nname=\\1\n" + time;
  return std::regex_match(text, std::regex(head + stack + "Dump crash end\n"));
}

} // namespace

TEST(CrashCapture, RecordsTheFaultAndDiesOfIt) {
  const struct {
    const char *how;
    int signal;
    const char *stack;
    size_t dump_size = 1000;
  } cases[] = {
      {"read", SIGSEGV, "(.*read_nowhere.*\n){6}[^]*main[^]*"},
      {"divide", SIGFPE, ".*divide.*\n[^]*main[^]*"},
      {"call", SIGSEGV, " \n[^]*call_nowhere[^]*main[^]*"},
      {"illegal", SIGILL, ".*stop_here[^]*"},
      {"together", SIGSEGV, ".*read_nowhere[^]*"}, // many threads, one of which reports
#ifndef _WIN32
      {"sent", SIGBUS, ".*(kill|raise).*\n[^]*send_fault[^]*"},
      {"damaged", SIGSEGV, ".*damage_stack[^]*"},
      {"heap", SIGSEGV, ".*(malloc|take).*\n[^]*main[^]*"},
      {"throw", SIGABRT, "[^]*__cxa_throw[^]*throw_it[^]*main[^]*"},
      {"overflow", SIGSEGV, "(.*overflow.*\n){64}", 7 << 20}, // the dump holds the whole stack
      {"overflow_on_thread", SIGSEGV, "(.*overflow.*\n){64}", 7 << 20},
#endif
  };
  for (const auto &c : cases) {
    const crash_folder folder;
    folder.crash(c.how, c.signal);
    EXPECT_TRUE(is_report(folder.text(), c.stack)) << c.how << "\n" << folder.text();
    ASSERT_EQ(folder.dumps().size(), 1u) << c.how;
    const std::string dump = harness::read_file(folder.dumps()[0]);
    EXPECT_EQ(dump.substr(0, 4), "MDMP") << c.how;
    EXPECT_GT(dump.size(), c.dump_size) << c.how;
  }
}

TEST(CrashCapture, AppendsReportsAndLeavesOutWhatItCannotWrite) {
  const crash_folder folder;
  for (const char *harmless : {"none", "abort"}) harness::run("crashing_program", {harmless, folder.documents.path()});
  EXPECT_THAT(harness::list_directory(folder.log), IsEmpty());
  folder.crash("read");
  const std::string first = folder.text();
  folder.crash("read", SIGSEGV, "");
  EXPECT_EQ(folder.text().substr(0, first.size()), first);
  EXPECT_TRUE(is_report(folder.text().substr(first.size()), "")) << "one without a stack: " << folder.text();
  std::filesystem::remove_all(folder.log);
  folder.crash("read");
  EXPECT_THAT(harness::list_directory(folder.documents.path()), IsEmpty());
}

#ifndef _WIN32
TEST(CrashCapture, LeavesTheDeathOfAnUncaughtExceptionToTheProgramsOwnHandler) {
  const crash_folder folder;
  EXPECT_EQ(harness::run("crashing_program", {"throw_handled", folder.documents.path()}).exit_code, 3);
  EXPECT_TRUE(is_report(folder.text(), "[^]*throw_it[^]*main[^]*")) << folder.text();
}

TEST(CrashCapture, ADebuggerShowsTheStacksOfTheDump) {
  const crash_folder folder;
  folder.crash("beside");
  ASSERT_EQ(folder.dumps().size(), 1u);
  const std::string debugger = "$(ls /usr/bin/lldb /usr/bin/lldb-[0-9]* 2>/dev/null | tail -1)";
  const std::string command = debugger + " -b -o 'bt all' -c " + folder.dumps()[0] + " ";
  const auto lldb = harness::run("/bin/sh", {"-c", command + harness::program_folder() + program});
  if (lldb.exit_code == 127) GTEST_SKIP() << "no lldb";
  // The last thread waits for all signals itself: the dump holds the place where it waits, and the frames found from
  // there.
  EXPECT_THAT(lldb.output, testing::ContainsRegex("stop reason = signal SIGSEGV.*(read_nowhere\\(.*){6}`main.*`_start.*"
                                                  "(wait_for_ever\\(\\) at .*){3}thread #.*sigtimedwait"));
}
#endif
