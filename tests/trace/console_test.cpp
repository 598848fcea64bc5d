#include "zarlib/trace/console.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <cwchar>
#include <regex>
#include <string>

using testing::ElementsAre;

TEST(Console, WritesToItsStreamUpToTheFirstNul) {
  const auto child = harness::run("console_program", {"streams"});
  EXPECT_THAT(harness::lines_of(child.output),
              ElementsAre("out", "printed-7", "", std::string(9000, 'y'), "100% debug"));
  EXPECT_THAT(harness::lines_of(child.error), ElementsAre("err", std::string(4095, 'x')));
}

TEST(Console, WarnsInAProcessThatUsedNothingElse) {
  harness::child_process child("console_program", {"warning"});
  const std::regex line("\\[W:\\] \\d+\\.\\d{6} \\(" + std::to_string(child.id()) + ":\\d+\\) misuse\r?\n");
  const std::string error = child.wait().error;
  EXPECT_TRUE(std::regex_match(error, line)) << error;
}

TEST(Console, ShowsADebuggerLinesWithoutTheLeadingTag) {
  const auto lines_of_channel = [](const char *mode) {
    auto lines = harness::lines_of(harness::run("console_program", {mode}).error);
    std::erase_if(lines, [](const std::string &line) { return line.find("debugger: ") != 0; });
    return lines;
  };
  EXPECT_THAT(lines_of_channel("plain"), ElementsAre());
  EXPECT_THAT(lines_of_channel("debugged"),
              ElementsAre("debugger: M:x y", "debugger: [W:] M:x", "debugger: [W:]M:xyz..", "debugger: W:.. M:xyz",
                          "debugger: [W:] MMxyz", "debugger: M:\xC3\xA4 wide"));
  // Without a console and without a debugger the channel is the last resort, and gets the whole text.
  EXPECT_THAT(lines_of_channel("no-console"),
              ElementsAre("debugger: [W:] M:x y", "debugger: [W:] M:x", "debugger: [W:]M:xyz..", "debugger: W:.. M:xyz",
                          "debugger: [W:] MMxyz", "debugger: [W:] M:\xC3\xA4 wide"));
}

namespace {

template <class Char>
int format(Char *buffer, int size, const Char *text, ...) {
  va_list args;
  va_start(args, text);
  const int length = chVsprintf(buffer, size, text, args);
  va_end(args);
  return length;
}

} // namespace

TEST(Console, FormatsIntoABufferAndTellsTheWholeLength) {
  char buffer[8] = "1234567";
  EXPECT_EQ(format(buffer, 8, "%s", "abc"), 3);
  EXPECT_STREQ(buffer, "abc");
  EXPECT_EQ(format(buffer, 4, "%s", "abcdef"), 6);
  EXPECT_STREQ(buffer, "abc");
  EXPECT_EQ(format(buffer, 0, "%s", "xyz"), 3);
  EXPECT_EQ(format(buffer, -5, "%s", "xyz"), 3);
  EXPECT_STREQ(buffer, "abc");

  wchar_t wide[4] = L"";
  EXPECT_EQ(format(wide, 4, L"%d", 123), 3);
  EXPECT_STREQ(wide, L"123");
  EXPECT_EQ(format(wide, 4, L"%d", 45678), -1);
  EXPECT_STREQ(wide, L"456");
  EXPECT_EQ(format(wide, 0, L"%d", 9), -1);
}
