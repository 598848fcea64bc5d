#include "zarlib/crash/stack_text.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"
#include "zarlib/text/environment.h"

#include <gmock/gmock.h>

#include <climits>
#include <regex>
#include <thread>

using testing::HasSubstr;
using testing::Not;

namespace {

volatile int one = 1;

// Each keeps its own frame, as work remains after the call.
[[gnu::noinline]] std::string inner_reader(int depth) { return zarReadStack(depth) + std::string(one - 1u, ' '); }
[[gnu::noinline]] std::string outer_reader(int depth) { return inner_reader(depth) + std::string(one - 1u, ' '); }
[[gnu::noinline]] std::string read_below(int frames, int depth) {
  return (frames > 0 ? read_below(frames - 1, depth) : zarReadStack(depth)) + std::string(one - 1u, ' ');
}

} // namespace

TEST(StackText, ThreadsReadTheirCallersFromTheInsideOut) {
  std::vector<std::string> texts[4];
  std::vector<std::thread> threads;
  for (auto &own : texts)
    threads.emplace_back([&own] {
      for (int round = 0; round < 20; ++round) own.push_back(outer_reader(3));
    });
  for (auto &thread : threads) thread.join();
  const std::string line = "stack_text_test\\.cpp\\([0-9]+\\): .*";
  const std::regex both(".*" + line + "inner_reader.*\r\n.*" + line + "outer_reader.*\r\n");
  for (const auto &own : texts)
    for (const std::string &text : own) EXPECT_TRUE(std::regex_match(text, both)) << text;
}

TEST(StackText, DepthIsUnsignedAndOneMoreThanTheLines) {
  const struct {
    int depth;
    size_t lines;
  } cases[] = {{0, 0}, {1, 0}, {2, 1}, {3, 2}, {100, 99}, {256, 255}, {1000, 255}, {-1, 255}, {INT_MIN, 255}};
  for (const auto &c : cases) EXPECT_EQ(harness::lines_of(read_below(400, c.depth)).size(), c.lines) << c.depth;
  testing::internal::CaptureStderr();
  const std::string read = (zarDumpStack(4), zarReadStack(4)); // both on one source line
  EXPECT_EQ(harness::lines_of(testing::internal::GetCapturedStderr()), harness::lines_of(read));
}

TEST(StackText, IsEmptyWithAnEmptyVariableOrADebugger) {
  const harness::temporary_directory folder;
  const auto read = [&](const char *how, const std::string &variable) {
    return harness::run("crashing_program", {how, folder.path()}, {{"PROCESSOR_ARCHITECTURE", variable}}).output;
  };
  EXPECT_EQ(read("none", ""), "");
  EXPECT_THAT(read("none", "x86"), HasSubstr("main"));
  EXPECT_THAT(read("none", harness::unset()), HasSubstr("main"));
#ifndef _WIN32
  EXPECT_THAT(read("traced", "x86"), testing::AnyOf("", "no tracing"));
#endif
}

#ifndef _WIN32 // Wine's SymRefreshModuleList leaves Windows modules out
TEST(StackText, FindsFunctionsOfModulesThatCameLater) {
  const auto read = [](void *text) {
    *static_cast<std::string *>(text) = zarReadStack(-1);
    return 0;
  };
  for (int round = 0; round < 3; ++round) {
    EXPECT_THAT(outer_reader(-1), Not(HasSubstr("call_from_late_module")));
    chDynamicModule module(harness::program_folder() + "calling_module.so");
    const auto call = reinterpret_cast<int (*)(int (*)(void *), void *)>(module.GetMethod("call_from_late_module"));
    std::string text;
    call(read, &text);
    EXPECT_THAT(text, HasSubstr("call_from_late_module"));
  }
}
#endif
