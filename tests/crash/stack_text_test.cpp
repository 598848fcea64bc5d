#include "zarlib/crash/stack_text.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"
#include "zarlib/text/environment.h"

#include <gtest/gtest.h>

#include <climits>
#include <thread>

namespace {

volatile int one = 1;

// Each keeps a frame of its own, for something is left to do after the call.
[[gnu::noinline]] std::string inner_reader(int depth) { return zarReadStack(depth) + std::string(one - 1u, ' '); }
[[gnu::noinline]] std::string outer_reader(int depth) { return inner_reader(depth) + std::string(one - 1u, ' '); }

[[gnu::noinline]] std::string read_below(int frames, int depth) {
  return (frames > 0 ? read_below(frames - 1, depth) : zarReadStack(depth)) + std::string(one - 1u, ' ');
}

size_t line_count(const std::string &text) { return harness::lines_of(text).size(); }

/// The line's function name, and whether the line says where it stands.
bool names(const std::string &line, const std::string &function) {
  const size_t at = line.find(function);
  return at != std::string::npos && line.find("stack_text_test.cpp(") < at && line.find("): ") < at;
}

} // namespace

TEST(StackText, GivesTheCallersFromTheInsideOut) {
  const std::string all = outer_reader(-1);
  const auto lines = harness::lines_of(all);
  ASSERT_GE(lines.size(), 3u);
  EXPECT_TRUE(names(lines[0], "inner_reader")) << all;
  EXPECT_TRUE(names(lines[1], "outer_reader")) << all;
  EXPECT_TRUE(names(lines[2], "TestBody")) << all;
  // Each line ends in both characters, and nothing else does.
  for (size_t at = all.find('\n'); at != std::string::npos; at = all.find('\n', at + 1)) EXPECT_EQ(all[at - 1], '\r');
  EXPECT_EQ(all.substr(all.size() - 2), "\r\n");
}

TEST(StackText, DepthIsUnsignedAndOneMoreThanTheLines) {
  const struct {
    int depth;
    size_t lines;
  } cases[] = {{0, 0}, {1, 0}, {2, 1}, {3, 2}, {100, 99}, {256, 255}, {1000, 255}, {-1, 255}, {INT_MIN, 255}};
  for (const auto &c : cases) EXPECT_EQ(line_count(read_below(400, c.depth)), c.lines) << c.depth;
}

TEST(StackText, DumpWritesTheSameLinesToTheErrorStream) {
  std::string read;
  testing::internal::CaptureStderr();
  // Both on one source line, so that the lines are the same.
  read = zarReadStack(4), zarDumpStack(4);
  const std::string dumped = testing::internal::GetCapturedStderr();
  EXPECT_EQ(line_count(dumped), 3u);
  EXPECT_EQ(harness::lines_of(dumped), harness::lines_of(read));
}

#ifdef _WIN32
TEST(StackText, FindsFunctionsOfModulesThatCameLater) {
  GTEST_SKIP() << "Wine's SymRefreshModuleList leaves Windows modules out";
}
#else
TEST(StackText, FindsFunctionsOfModulesThatCameLater) {
  using caller = int (*)(int (*)(void *), void *);
  const auto read = [](void *text) {
    *static_cast<std::string *>(text) = zarReadStack(-1);
    return 0;
  };
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(outer_reader(-1).find("call_from_late_module"), std::string::npos);
    chDynamicModule module(harness::program_folder() + "calling_module.so");
    const auto call = reinterpret_cast<caller>(module.GetMethod("call_from_late_module"));
    ASSERT_TRUE(call);
    std::string text;
    call(read, &text);
    EXPECT_NE(text.find("call_from_late_module"), std::string::npos) << text;
  }
}

#endif

TEST(StackText, ThreadsReadTogether) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([] {
      for (int round = 0; round < 20; ++round) {
        const auto lines = harness::lines_of(outer_reader(3));
        ASSERT_EQ(lines.size(), 2u);
        EXPECT_TRUE(names(lines[0], "inner_reader") && names(lines[1], "outer_reader")) << lines[0] << lines[1];
      }
    });
  for (auto &thread : threads) thread.join();
}

TEST(StackText, TheEnvironmentSwitchesItOffButOnlyWhenSetToNothing) {
  const harness::temporary_directory folder;
  const auto read = [&](const std::string &value) {
    return harness::run("crashing_program", {"none", folder.path()}, {{"PROCESSOR_ARCHITECTURE", value}}).output;
  };
  EXPECT_EQ(read(""), "");
  EXPECT_NE(read("x86").find("main"), std::string::npos);
  EXPECT_NE(read(harness::unset()).find("main"), std::string::npos);
}

#ifndef _WIN32
TEST(StackText, IsEmptyUnderADebugger) {
  const harness::temporary_directory folder;
  const auto result = harness::run("crashing_program", {"traced", folder.path()});
  if (result.output.rfind("free:", 0) == 0) GTEST_SKIP() << "one process may not trace another here";
  EXPECT_EQ(result.output, "traced:");
}
#endif
