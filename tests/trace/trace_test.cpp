#include "zarlib/trace/trace.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"
#include "zarlib/frame/process_identity.h"
#include "zarlib/time/ticks.h"
#include "zarlib/trace/tracer_manager.h"

#include <gmock/gmock.h>

#include <climits>
#include <cstdio>
#include <regex>
#include <string>

using testing::ElementsAre;

namespace {

/// Every line goes to the line store, and is taken from there.
class TraceTest : public testing::Test {
protected:
  void SetUp() override {
    tracer.RedirectToShareMemory();
    tracer.ResetTraceLevel(INT_MAX);
    for (std::string old; tracer.ReadShareMemoryString(old);) {
    }
  }
  void TearDown() override { tracer.ResetTraceLevel(-1); }

  /// The next line without its prefix; a marker where there is none.
  std::string line() {
    std::string text;
    if (!tracer.ReadShareMemoryString(text)) return "(none)";
    const std::string start = text.substr(0, 120);
    return text.substr(static_cast<size_t>(match(start)[0].length()));
  }

  /// The parts of a prefix; they refer to the text.
  static std::smatch match(const std::string &text) {
    static const std::regex prefix(R"(^\[(.*)\+(\d+):(\d+)\] (\d\d-\d\d \d\d:\d\d:\d\d\.\d\d\d) (\d+)\.(\d{6}) )");
    std::smatch parts;
    EXPECT_TRUE(std::regex_search(text, parts, prefix)) << text;
    return parts;
  }

  uCTraceHelper &tracer = uCTraceHelper::getInstance();
};

std::string wall_clock() {
  SYSTEMTIME now;
  zarGetLocalTime(&now);
  char text[64];
  std::snprintf(text, sizeof text, "%.2d-%.2d %.2d:%.2d:%.2d.%.3d", now.wMonth, now.wDay, now.wHour, now.wMinute,
                now.wSecond, now.wMilliseconds);
  return text;
}

} // namespace

TEST_F(TraceTest, PrefixTellsModuleProcessThreadAndBothClocks) {
  const struct {
    const char *module;
    const char *tag;
  } cases[] = {{"M:app", "M:app"}, {nullptr, "D:Who?"}, {"", "D:Who?"}, {"%s]", "%s]"}};
  for (const auto &c : cases) {
    const chTick earliest = chTimer::GetTickFromBoot();
    const std::string from = wall_clock();
    zarModuleTrace(5, c.module, "%s", "text");
    const std::string to = wall_clock();
    const chTick latest = chTimer::GetTickFromBoot();

    std::string text;
    ASSERT_EQ(tracer.ReadShareMemoryString(text), 1);
    const auto parts = match(text);
    ASSERT_EQ(parts.size(), 7u);
    EXPECT_EQ(parts[1], c.tag);
    EXPECT_EQ(parts[2], std::to_string(zarGetCurrentProcessId()));
    EXPECT_EQ(parts[3], std::to_string(zarGetCurrentThreadId()));
    EXPECT_LE(from, parts[4]);
    EXPECT_LE(parts[4], to);
    const chTick tick(std::stoi(parts[5]), std::stoi(parts[6]));
    EXPECT_FALSE(tick < earliest || tick > latest);
    EXPECT_EQ(parts.suffix(), "text");
  }
}

TEST_F(TraceTest, WritesWhatIsNotAboveTheLevelInForce) {
  const struct {
    int in_force, level;
    bool written;
  } cases[] = {{0, 0, true},        {0, 1, false},  {0, -7, true},           {5, 5, true},   {5, 6, false},
               {INT_MAX, 9, true},  {-2, -2, true}, {-2, -1, false},         {-2, 0, false}, {INT_MIN, INT_MIN, true},
               {INT_MIN, 0, false}, {6, 7, false},  {INT_MAX, INT_MAX, true}};
  void (*const by_address)(int, const char *, ...) = zarTrace;
  for (const auto &c : cases) {
    SCOPED_TRACE(testing::Message() << c.level << " with " << c.in_force);
    tracer.ResetTraceLevel(c.in_force);
    EXPECT_EQ(tracer.GetOutputLevel(), c.in_force);
    zarTrace(c.level, "%d", 1);
    zarTrace(c.level, std::string("2"));
    zarModuleTrace(c.level, "M:x", "%d", 3);
    zarModuleTrace(c.level, "M:x", std::string("4"));
    by_address(c.level, "%d", 5);
    for (const char *const text : {"1", "2", "3", "4", "5"}) EXPECT_EQ(line(), c.written ? text : "(none)");
    EXPECT_EQ(line(), "(none)");
  }
}

TEST_F(TraceTest, FixedLevelsOfTheOtherEntries) {
  for (const int in_force : {6, 7, 8, 9}) {
    tracer.ResetTraceLevel(in_force);
    tracePrintf("at %d", 7);
    zarTraceObject("a", std::string("b"));
    zarTraceObject("p", "a literal is a pointer");
    EXPECT_EQ(line(), in_force >= 7 ? "at 7" : "(none)");
    EXPECT_EQ(line(), in_force >= 9 ? "a = \"b\"" : "(none)");
    EXPECT_THAT(line(), testing::StartsWith(in_force >= 9 ? "p = " : "(none)"));
  }
  zarTraceObject("p", reinterpret_cast<const void *>(std::uintptr_t{0x1234}));
  EXPECT_THAT(line(), testing::EndsWith("00001234"));
}

TEST_F(TraceTest, FormatsAsTheRunTimeLibraryDoes) {
  const auto same = [&](const char *format, auto... arguments) {
    char expected[600];
    std::snprintf(expected, sizeof expected, format, arguments...);
    zarTrace(5, format, arguments...);
    EXPECT_EQ(line(), expected) << format;
  };
  same("");
  same("100%%");
  same("%d %i %u %c|%s|", INT_MIN, INT_MAX, UINT_MAX, 'x', "text");
  same("%ld %li %lu %lld %lli %llu", LONG_MIN, LONG_MAX, ULONG_MAX, LLONG_MIN, LLONG_MAX, ULLONG_MAX);
  same("%s %5d %-5d| %05d %+d %x %s", "a", 42, 42, 42, 42, 0xABC, "z");
  same("%d %.3f %d %10.2e %s", 1, 2.5, 3, 4e10, "five");
  same("%s %zu %hd %hhu %s", "a", sizeof(int), 7, 8, "b");
  same("%d %*d %.*s %s", 1, 6, 2, 3, "abcdef", "end");
  same("%s %p %s", "a", static_cast<void *>(&tracer), "b");
  same("%.100d %s", 5, "behind many digits");
  same("%s %.400d", std::string(100, 'y').c_str(), 7);
  const char *volatile no_text = nullptr;
  zarTrace(5, "%s", no_text);
  EXPECT_EQ(line(), "(null)");
}

TEST_F(TraceTest, TakesTextsAsTheyAre) {
  const std::string texts[] = {"%s%n%d 100%", std::string("a\0b", 3),  "", "two\nlines\r",
                               "\xFF\xFE",    std::string(300000, 'x')};
  for (const std::string &text : texts) {
    zarTrace(5, text);
    EXPECT_TRUE(line() == text);
    tracer.TraceConstString(text);
    std::string bare;
    ASSERT_EQ(tracer.ReadShareMemoryString(bare), 1);
    EXPECT_TRUE(bare == text);
  }
  zarTrace(5, "%s:%d", texts[5].c_str(), 1);
  EXPECT_TRUE(line() == texts[5] + ":1");
}

TEST_F(TraceTest, FormatsNothingForAnOutputOfNone) {
  tracer.RedirectToNull();
  tracer.ResetTraceLevel(INT_MAX);
  zarTrace(5, "%s", "to nobody");
  tracer.TraceConstString("to nobody");
  tracer.RedirectToShareMemory();
  EXPECT_EQ(line(), "(none)");
}

TEST(TraceMessages, GoToStderrAndToAnOutputThatIsNotTheConsole) {
  const struct {
    const char *option;
    bool in_file;
  } cases[] = {{"9", false}, {"9:stdout", false}, {"9:null", false}, {"-5:log:w", true}};
  for (const auto &c : cases)
    for (const std::string mode : {"warning", "error"}) {
      SCOPED_TRACE(mode + " " + c.option);
      const harness::temporary_directory folder;
      harness::child_process child("trace_program", {folder.path(), mode}, {{"trace", c.option}});
      const std::string id = std::to_string(child.id());
      const auto result = child.wait();
      const bool fatal = mode == "error";
      const std::regex message((fatal ? "\\[E:" : "\\[W:") + std::string("\\] a\\.cpp\\(12\\): \\d+\\.\\d{6} \\(") +
                               id + ":\\d+\\)" + (fatal ? "gone 7" : "odd 7"));
      const auto errors = harness::lines_of(result.error);
      ASSERT_FALSE(errors.empty());
      EXPECT_TRUE(std::regex_match(errors[0], message)) << errors[0];
      EXPECT_EQ(fatal, errors.size() > 1) << "the stack follows a fatal message alone";
      EXPECT_EQ(fatal, result.signal != 0 || result.exit_code != 0);
      EXPECT_EQ(result.output, "");
      EXPECT_EQ(harness::read_file(folder / "w-0.log"), c.in_file ? errors[0] + "\r\n" : "");
    }
}
