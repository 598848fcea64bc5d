#include "zarlib/crash/crash_capture.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <regex>

#ifndef _WIN32
#include <csignal>
#else
constexpr int SIGBUS = 0, SIGTRAP = 0;
#endif

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

#ifdef _WIN32
constexpr bool is_windows = true;
constexpr const char *program = "crashing_program.exe";
#else
constexpr bool is_windows = false;
constexpr const char *program = "crashing_program";
#endif

/// The folder of one program's crashes.
class crash_folder {
public:
  crash_folder() { std::filesystem::create_directory(m_folder / "log"); }

  harness::child_result crash(const std::string &how,
                              const std::map<std::string, std::string> &environment = {}) const {
    auto result = harness::run("crashing_program", {how, m_folder.path()}, environment, 60000);
    EXPECT_FALSE(result.timed_out) << how;
    return result;
  }

  std::string text() const { return harness::read_file(m_folder / "log/" + program + ".crash"); }

  std::vector<std::string> dumps() const {
    const std::regex name(std::string(program) + "-[0-9]{8}-[0-9]{6}\\.dmp");
    std::vector<std::string> result;
    for (const auto &file : harness::list_directory(m_folder / "log"))
      if (std::regex_match(file, name)) result.push_back(m_folder / "log/" + file);
    return result;
  }

  const harness::temporary_directory &folder() const { return m_folder; }

private:
  harness::temporary_directory m_folder;
};

/// Checks the fixed lines of a text that holds one whole report. @return The lines of its stack.
std::vector<std::string> stack_of(const std::string &text) {
  const std::regex report("Dump by crash\nPID=([0-9]+) TID=([0-9]+) \nname=\\2\n"
                          "Time at : 20[0-9]{2}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} = [0-9]+\\.[0-9]{6}\n"
                          "([^]*)Dump crash end\n");
  std::smatch parts;
  EXPECT_TRUE(std::regex_match(text, parts, report)) << text;
  return harness::lines_of(parts[3].str());
}

/// Whether the first line has the first name, and lines behind it the others in this order. No name: the line knows none.
bool begins_with(const std::vector<std::string> &lines, const std::vector<std::string> &names) {
  size_t found = 0;
  for (const auto &line : lines) {
    const bool matches = names[found].empty() ? line == " " : line.find(names[found]) != std::string::npos;
    if (!matches && found == 0) return false;
    if (matches && ++found == names.size()) return true;
  }
  return false;
}

std::string joined(const std::vector<std::string> &lines) {
  std::string result;
  for (const auto &line : lines) result += line + "\n";
  return result;
}

} // namespace

TEST(CrashCapture, RecordsTheFaultAndDiesOfIt) {
  const struct {
    const char *how;
    int signal; // 0: not to be had on Windows
    std::vector<std::string> stack;
  } cases[] = {
      {"read",
       SIGSEGV,
       {"read_nowhere", "read_nowhere", "read_nowhere", "read_nowhere", "read_nowhere", "read_nowhere", "main"}},
      {"divide", SIGFPE, {"divide", "main"}},
      {"call", SIGSEGV, {"", "call_nowhere", "main"}},
      {"illegal", SIGILL, {"stop_here"}},
      {"breakpoint", SIGTRAP, {"break_point"}},
      {"sent", SIGBUS, {"kill", "send_fault"}},
      {"damaged", is_windows ? 0 : SIGSEGV, {"damage_stack"}},
  };
  for (const auto &c : cases) {
    if (!c.signal) continue;
    const crash_folder folder;
    const auto result = folder.crash(c.how);
    if (is_windows)
      EXPECT_NE(result.exit_code, 0) << c.how;
    else
      EXPECT_EQ(result.signal, c.signal) << c.how;
    EXPECT_EQ(folder.dumps().size(), 1u) << c.how;
    const auto stack = stack_of(folder.text());
    EXPECT_TRUE(begins_with(stack, c.stack)) << c.how << "\n" << joined(stack);
    for (const auto &file : folder.dumps()) EXPECT_EQ(harness::read_file(file).substr(0, 4), "MDMP") << c.how;
  }
}

TEST(CrashCapture, AppendsReports) {
  const crash_folder folder;
  folder.crash("read");
  const std::string first = folder.text();
  folder.crash("read");
  const std::string both = folder.text();
  ASSERT_EQ(both.substr(0, first.size()), first);
  stack_of(both.substr(first.size()));
}

TEST(CrashCapture, LeavesNothingWhereThereIsNothingToReportOrNoFolder) {
  const crash_folder folder;
  folder.crash("none");
  folder.crash("abort");
  EXPECT_TRUE(harness::list_directory(folder.folder() / "log").empty());

  std::filesystem::remove(folder.folder() / "log");
  const auto result = folder.crash("read");
  EXPECT_TRUE(is_windows ? result.exit_code != 0 : result.signal == SIGSEGV);
  EXPECT_TRUE(harness::list_directory(folder.folder().path()).empty());
}

TEST(CrashCapture, WithoutAStackTheReportIsWhole) {
  const crash_folder folder;
  folder.crash("read", {{"PROCESSOR_ARCHITECTURE", ""}});
  EXPECT_THAT(stack_of(folder.text()), testing::IsEmpty());
  EXPECT_EQ(folder.dumps().size(), 1u);
}

TEST(CrashCapture, OneOfManyFaultingThreadsReports) {
  const crash_folder folder;
  const auto result = folder.crash("together");
  EXPECT_TRUE(is_windows ? result.exit_code != 0 : result.signal == SIGSEGV);
  EXPECT_THAT(stack_of(folder.text()).front(), HasSubstr("read_nowhere"));
}

#ifndef _WIN32

namespace {

/// What a debugger prints of a dump; empty where there is none.
std::string debugged(const std::string &dump, const std::string &command) {
  for (const char *const name : {"lldb", "lldb-19", "lldb-16", "lldb-15", "lldb-14"}) {
    const std::string line = std::string(name) + " -b -c " + dump + " -o '" + command + "' " +
                             harness::program_folder() + program + " 2>/dev/null";
    std::string result;
    FILE *const pipe = popen(line.c_str(), "r");
    char buffer[4096];
    for (size_t count; (count = fread(buffer, 1, sizeof buffer, pipe)) > 0;) result.append(buffer, count);
    if (pclose(pipe) == 0) return result;
  }
  return {};
}

size_t occurrences(const std::string &text, const std::string &part) {
  size_t result = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++result;
  return result;
}

} // namespace

TEST(CrashCapture, ADebuggerShowsTheStacksOfTheDump) {
  const crash_folder folder;
  folder.crash("beside");
  ASSERT_EQ(folder.dumps().size(), 1u);
  const std::string shown = debugged(folder.dumps()[0], "bt all");
  if (shown.empty()) GTEST_SKIP() << "no lldb";
  EXPECT_THAT(shown, HasSubstr("stop reason = signal SIGSEGV"));
  EXPECT_EQ(occurrences(shown, "read_nowhere("), 6u) << shown;
  EXPECT_THAT(shown, HasSubstr("`main"));
  EXPECT_THAT(shown, HasSubstr("`_start"));
  EXPECT_GE(occurrences(shown, "wait_for_ever() at "), 3u) << shown;
  // Of one that lets no signals through there is the place where it waits, and what follows from that.
  EXPECT_THAT(shown.substr(shown.rfind("thread #")), HasSubstr("nanosleep")) << shown;
}

TEST(CrashCapture, AnOverflowOfAnyArmedStackIsReported) {
  for (const char *const how : {"overflow", "overflow_on_thread"}) {
    const crash_folder folder;
    EXPECT_EQ(folder.crash(how).signal, SIGSEGV) << how;
    const auto stack = stack_of(folder.text());
    EXPECT_EQ(stack.size(), 64u) << how;
    EXPECT_TRUE(begins_with(stack, std::vector<std::string>(64, "overflow"))) << how << "\n" << joined(stack);
    // The dump holds the whole of it.
    EXPECT_GT(std::filesystem::file_size(folder.dumps().at(0)), 7u << 20) << how;
  }
}

TEST(CrashCapture, AnUncaughtExceptionIsReportedWhereItWasThrown) {
  const crash_folder folder;
  const auto result = folder.crash("throw");
  EXPECT_EQ(result.signal, SIGABRT);
  EXPECT_THAT(result.error, HasSubstr("nobody catches this")); // from the handler that was there before
  const std::string stack = joined(stack_of(folder.text()));
  EXPECT_LT(stack.find("__cxa_throw"), stack.find("throw_it")) << stack;
  EXPECT_LT(stack.find("throw_it"), stack.find("main\n")) << stack;
  EXPECT_EQ(folder.dumps().size(), 1u);
}

TEST(CrashCapture, AHeapThatHangsCostsTheReadingOfNamesOnly) {
  const crash_folder folder;
  const auto result = harness::run("crashing_heap_program", {folder.folder().path()}, {}, 30000);
  if (result.exit_code == 77) GTEST_SKIP() << "a sanitizer owns the heap";
  EXPECT_EQ(result.signal, SIGSEGV);
  const auto stack = stack_of(harness::read_file(folder.folder() / "log/crashing_heap_program.crash"));
  EXPECT_TRUE(begins_with(stack, {"malloc", "_ZN8crashing4takeEm", "main"})) << joined(stack);
}

#endif
