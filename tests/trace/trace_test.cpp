#include "zarlib/trace/trace.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"
#include "zarlib/frame/process_identity.h"
#include "zarlib/time/calendar.h"
#include "zarlib/time/ticks.h"
#include "zarlib/trace/tracer_manager.h"

#include <gmock/gmock.h>

#include <climits>
#include <cstdio>
#include <regex>

namespace {

/// Every line goes to the line store and is read from there.
class TraceTest : public testing::Test {
protected:
  void SetUp() override { tracer.RedirectToShareMemory(); }

  /// The next line without its prefix, whose parts go to `prefix`; a marker if there is none.
  std::string line() {
    static const std::regex format(R"(^\[(.*)\+(\d+):(\d+)\] \d\d-\d\d (\d\d):(\d\d):(\d\d)\.(\d{3}) (\d+)\.(\d{6}) )");
    std::string text;
    if (!tracer.ReadShareMemoryString(text)) return "(none)";
    start = text.substr(0, 120);
    EXPECT_TRUE(std::regex_search(start, prefix, format)) << start;
    return text.substr(static_cast<size_t>(prefix.length()));
  }

  uCTraceHelper &tracer = uCTraceHelper::getInstance();
  std::string start;
  std::smatch prefix;
};

} // namespace

TEST_F(TraceTest, PrefixTellsModuleProcessThreadAndTime) {
  for (const char *const module : {"M:app", "%s]", "", static_cast<const char *>(nullptr)}) {
    zarModuleTrace(5, module, "%s", "text");
    EXPECT_EQ(line(), "text");
    EXPECT_EQ(prefix[1], module && *module ? module : "D:Who?");
    EXPECT_EQ(prefix[2], std::to_string(zarGetCurrentProcessId()));
    EXPECT_EQ(prefix[3], std::to_string(zarGetCurrentThreadId()));
  }

  // Parts of the prefix are cached from line to line, but none longer than it is valid.
  constexpr int day = 86400000;
  const auto number = [&](size_t part) { return std::stoi(prefix[part]); };
  const auto milliseconds = [](int h, int m, int s, int ms) { return ((h * 60 + m) * 60 + s) * 1000 + ms; };
  const auto clock = [&] {
    const chLocalTime now;
    return milliseconds(now.wHour, now.wMinute, now.wSecond, now.wMilliseconds);
  };
  for (const chTickTimer timer; timer.GetMicrosecond() < 50000;) {
    const int before = clock();
    const chTick tick = chTimer::GetTickFromBoot();
    zarTrace(5, "text");
    EXPECT_EQ(line(), "text");
    const int told = milliseconds(number(4), number(5), number(6), number(7));
    EXPECT_LE((told - before + day) % day, (clock() - before + day) % day + 1) << start;
    const chTick told_tick(number(8), number(9));
    EXPECT_FALSE(told_tick < tick || told_tick > chTimer::GetTickFromBoot()) << start;
  }
}

TEST_F(TraceTest, WritesWhatIsNotAboveTheLevelInForce) {
  for (const int in_force : {INT_MIN, -2, 0, 5, 6, 7, 8, 9, INT_MAX}) {
    tracer.ResetTraceLevel(in_force);
    const auto expect = [&](int level, const char *text) { EXPECT_EQ(line(), level <= in_force ? text : "(none)"); };
    for (const int level : {INT_MIN, -7, -2, -1, 0, 5, 6, INT_MAX}) {
      SCOPED_TRACE(testing::Message() << level << " with " << in_force);
      zarTrace(level, "%d", 1);
      expect(level, "1");
      zarTrace(level, std::string("2"));
      expect(level, "2");
      zarModuleTrace(level, "M:x", "%d", 3);
      expect(level, "3");
      zarModuleTrace(level, "M:x", std::string("4"));
      expect(level, "4");
    }
    tracePrintf("at %d", 7);
    expect(7, "at 7");
    zarTraceObject("a", std::string("b"));
    expect(9, "a = \"b\"");
    zarTraceObject("p", reinterpret_cast<const void *>(std::uintptr_t{0xABCDE}));
    expect(9, "p = 000ABCDE");
  }
  tracer.ResetTraceLevel(-1);
}

TEST_F(TraceTest, FormatsAsTheRunTimeLibraryDoes) {
  const auto same = [&](const char *format, auto... arguments) {
    char expected[600];
    std::snprintf(expected, sizeof expected, format, arguments...);
    zarTrace(5, format, arguments...);
    EXPECT_EQ(line(), expected) << format;
  };
  same("%d %i %u %c|%s|", INT_MIN, INT_MAX, UINT_MAX, 'x', "text");
  same("%ld %li %lu %lld %lli %llu", LONG_MIN, LONG_MAX, ULONG_MAX, LLONG_MIN, LLONG_MAX, ULLONG_MAX);
  same("%s %5d %-5d| %05d %+d %x %s", "a", 42, 42, 42, 42, 0xABC, "z");
  same("%d %.3f %zu %hd %p %*d %.*s %s", 1, 2.5, sizeof(int), 7, static_cast<void *>(this), 6, 2, 3, "abcdef", "end");
  same("%s %.400d", std::string(100, 'y').c_str(), 7);
  for (const std::string &text : {std::string("%s%n 100%"), std::string("a\0b", 3), std::string(300000, 'x')}) {
    zarTrace(5, text);
    EXPECT_TRUE(line() == text) << "taken as it is";
  }
}

TEST(TraceMessages, GoToStderrAndToAnOutputThatIsNotTheConsole) {
  for (const std::string option : {"9", "9:null", "-5:log:w"})
    for (const std::string mode : {"warning", "error"}) {
      SCOPED_TRACE(mode + " " + option);
      const harness::temporary_directory folder;
      harness::child_process child("trace_program", {folder.path(), mode}, {{"trace", option}});
      const std::string id = std::to_string(child.id()), tag = mode == "error" ? "E" : "W";
      const auto result = child.wait();
      const std::regex message("\\[" + tag + R"(:\] a\.cpp\(12\): \d+\.\d{6} \()" + id + R"(:\d+\)odd 7)");
      const auto errors = harness::lines_of(result.error);
      ASSERT_FALSE(errors.empty());
      EXPECT_TRUE(std::regex_match(errors[0], message)) << errors[0];
      EXPECT_EQ(mode == "error", errors.size() > 1) << "the stack follows a fatal message alone";
      EXPECT_EQ(mode == "error", result.signal != 0 || result.exit_code != 0);
      EXPECT_EQ(harness::read_file(folder / "w-0.log"), option == "-5:log:w" ? errors[0] + "\r\n" : "");
    }
}
