#include "zarlib/trace/tracer_manager.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"
#include "zarlib/frame/process_identity.h"
#include "zarlib/trace/trace.h"

#include <gmock/gmock.h>

#include <atomic>
#include <climits>
#include <csignal>
#include <cstring>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using block_frame = ipcObjectFrame<chSystemTracerManager, chMapFile_Local, chMutex_Local>;

/// A block of its own; no other user.
class TraceBlock : public testing::Test {
protected:
  void SetUp() override { ASSERT_EQ(m_frame.OpenShareObject("block of a test", chSystemTracerManager::block_size), 1); }

  chSystemTracerManager &block() { return m_frame.getObject(); }
  const unsigned char *bytes() { return reinterpret_cast<const unsigned char *>(&block()); }

private:
  block_frame m_frame;
};

std::map<std::string, std::string> variables(const char *trace, const char *systrace) {
  return {{"trace", trace ? trace : harness::unset()}, {"systrace", systrace ? systrace : harness::unset()}};
}

/// The lines of log files NAME-0.log and so on, without prefixes.
std::vector<std::string> logged(const harness::temporary_directory &folder, const std::string &name, int files = 1) {
  std::vector<std::string> result;
  for (int i = 0; i < files; ++i)
    for (const std::string &line :
         harness::lines_of(harness::read_file(folder / (name + "-" + std::to_string(i) + ".log"))))
      result.push_back(std::regex_replace(line, std::regex(R"(^\[.*\] [-0-9]+ [:.0-9]+ [0-9.]+ )"), ""));
  return result;
}

std::vector<std::string> stored_lines() {
  std::vector<std::string> result;
  for (std::string text; uCTraceHelper::getInstance().ReadShareMemoryString(text);) result.push_back(text);
  return result;
}

std::vector<std::string> printed(const harness::child_result &result) {
  std::vector<std::string> lines;
  for (const std::string &line : harness::lines_of(result.output))
    lines.push_back(std::regex_replace(line, std::regex(R"(^\[.*\] [-0-9]+ [:.0-9]+ [0-9.]+ )"), ""));
  return lines;
}

} // namespace

TEST_F(TraceBlock, HasTheDocumentedBytes) {
  TraceOutputOption *const option = block().renew_process_option(4212);
  ASSERT_TRUE(option);
  *option = {5, 2};
  ASSERT_TRUE(block().store_line("hello"));

  // docs/formats/trace-block.md shows the same; two dots are a byte that is not fixed.
  std::istringstream expected(R"(
    00 00 20 00  09 10 00 00  A8 FF 1F 00  50 00 00 00  7C 00 00 00  7C 00 00 00  FF FF FF 7F  01 00 00 00
    01 00 00 00  38 00 00 00  38 00 00 00  .. .. .. ..  01 00 00 00  40 00 00 00  40 00 00 00  00 00 00 00
    .. .. .. ..  .. .. .. ..  .. .. .. ..  .. .. .. ..  .. .. .. ..  .. .. .. ..
    18 00 00 00  C8 FF FF FF  C8 FF FF FF  74 10 00 00  05 00 00 00  02 00 00 00
    18 00 00 00  C0 FF FF FF  C0 FF FF FF  05 00 00 00  68 65 6C 6C  6F .. .. ..
    78 FF 1F 80  84 FF FF FF  84 FF FF FF)");
  std::string byte;
  for (int offset = 0; expected >> byte; ++offset) {
    const int value = byte == ".." ? bytes()[offset] : std::stoi(byte, nullptr, 16);
    EXPECT_EQ(bytes()[offset], value) << "offset " << offset;
  }
}

TEST_F(TraceBlock, KeepsProcessesInOrderAndDropsTheDead) {
  const auto processes = [&] {
    std::vector<unsigned> found;
    int count, next;
    std::memcpy(&count, bytes() + 32, sizeof count);
    for (int at = 36;; at += next) {
      std::memcpy(&next, bytes() + at, sizeof next);
      if (at + next == 36) break;
      unsigned process;
      std::memcpy(&process, bytes() + at + next + 8, sizeof process);
      found.push_back(process);
    }
    EXPECT_EQ(static_cast<size_t>(count), found.size());
    return found;
  };
  const auto self = static_cast<unsigned>(zarGetCurrentProcessId());
  constexpr unsigned dead = 0x7FFFFFF0;
  for (const unsigned process : {dead, self, 0u, dead + 4}) ASSERT_TRUE(block().renew_process_option(process));
  EXPECT_THAT(processes(), ElementsAre(0u, self, dead, dead + 4));

  TraceOutputOption *const own = block().renew_process_option(self);
  *own = {3, 0};
  EXPECT_EQ(block().renew_process_option(self), own);
  EXPECT_EQ(own->level, -1);
  EXPECT_EQ(own->method, -1);
  EXPECT_EQ(processes().size(), 4u);

  block().drop_dead_processes();
  EXPECT_THAT(processes(), ElementsAre(self));
}

TEST_F(TraceBlock, HandsOutSpilledLinesFirstAndLosesNone) {
  std::string text;
  int bytes = 0;
  EXPECT_FALSE(block().take_line(text) || block().take_spilled(text, bytes));

  // 2 MiB take some 2000 lines of 1000 bytes; the oldest of 3000 have to move.
  const auto line = [](int i) { return std::to_string(i) + std::string(static_cast<size_t>(i % 7 + 1000), '.'); };
  for (int i = 0; i < 3000; ++i) ASSERT_TRUE(block().store_line(line(i)));
  ASSERT_TRUE(block().take_spilled(text, bytes));
  const auto spilled = harness::lines_of(text);
  EXPECT_EQ(static_cast<size_t>(bytes) + spilled.size(), text.size());
  int next = 0;
  for (const std::string &one : spilled) ASSERT_EQ(one, line(next++));
  EXPECT_GT(next, 800);
  EXPECT_LT(next, 1200);
  EXPECT_FALSE(block().take_spilled(text, bytes));
  while (block().take_line(text)) ASSERT_EQ(text, line(next++));
  EXPECT_EQ(next, 3000);
}

TEST_F(TraceBlock, LosesALineThatIsLargerThanThePool) {
  std::string text;
  int bytes = 0;
  const size_t largest = 2097064 - 4 - 12;
  ASSERT_TRUE(block().store_line("a"));
  EXPECT_TRUE(block().store_line(std::string(largest, 'x')));
  ASSERT_TRUE(block().take_spilled(text, bytes));
  EXPECT_EQ(text, "a\n");
  EXPECT_FALSE(block().store_line(std::string(largest + 1, 'y')));
  EXPECT_FALSE(block().take_line(text));
  EXPECT_TRUE(block().take_spilled(text, bytes));
  EXPECT_EQ(bytes, static_cast<int>(largest));
  EXPECT_TRUE(block().store_line("")) << "the store goes on";
  EXPECT_TRUE(block().take_line(text));
  EXPECT_EQ(text, "");
}

TEST(Tracer, ReadsItsOptionFromTheEnvironment) {
  const struct {
    const char *trace, *systrace;
    int level, method;
  } cases[] = {{nullptr, nullptr, INT_MAX, 1},
               {"", "", INT_MAX, 1},
               {":::", "::", INT_MAX, 1},
               {"3", nullptr, 3, 1},
               {"3", "9:null", 3, 0},
               {nullptr, "2:log", 2, 2},
               {"-1", "4:share", 4, 3},
               {"-1:null", "4:share", 4, 0},
               {"5:log:name:100:3", "9:null", 5, 2},
               {"5:LOG", nullptr, 5, 1},
               {"5: log", nullptr, 5, 1},
               {"5:stdout", "5:null", 5, 1},
               {"5:console", "5:null", 5, 1},
               {"5:system", nullptr, 5, 3},
               {"::5::null::", nullptr, 5, 0},
               {"x:y", nullptr, 0, 1},
               {"null", nullptr, 0, 1},
               {" 8x:null", nullptr, 8, 0},
               {"-99999999999999999999", nullptr, INT_MIN, 1},
               {"99999999999999999999:log:n:99999999999:-3", nullptr, INT_MAX, 2}};
  const harness::temporary_directory folder;
  for (const auto &c : cases) {
    const auto result = harness::run("trace_program", {folder.path(), "option"}, variables(c.trace, c.systrace));
    EXPECT_THAT(harness::lines_of(result.output),
                ElementsAre("at first " + std::to_string(c.level) + " " + std::to_string(c.method)))
        << (c.trace ? c.trace : "(unset)") << " and " << (c.systrace ? c.systrace : "(unset)");
  }
  const std::string long_text = "6:" + std::string(10000, 'a') + ":" + std::string(10000, ':');
  EXPECT_EQ(harness::run("trace_program", {folder.path(), "option"}, variables(long_text.c_str(), nullptr))
                .output.substr(0, 12),
            "at first 6 1");
  EXPECT_THAT(harness::list_directory(folder.path()), IsEmpty()) << "nothing is opened before the first line";
}

TEST(Tracer, GivesTheChoiceBackToTheSystem) {
  const harness::temporary_directory folder;
  const auto result = harness::run("trace_program", {folder.path(), "reset"}, variables("9", "6:share"));
  EXPECT_THAT(harness::lines_of(result.output), ElementsAre("own 4 0", "system's 6 0"));
}

TEST(Tracer, WritesTheLinesOfItsLevelToTheOutputOfItsOption) {
  const harness::temporary_directory folder;
  const auto run = [&](const char *trace, const char *systrace) {
    return printed(harness::run("trace_program", {folder.path(), "levels"}, variables(trace, systrace)));
  };
  EXPECT_THAT(run("4", nullptr), ElementsAre("level 3", "level 4"));
  EXPECT_THAT(run(nullptr, "5"), ElementsAre("level 3", "level 4", "level 5"));
  EXPECT_THAT(run("9:null", nullptr), IsEmpty());
  EXPECT_THAT(run("9:share", nullptr), IsEmpty());
  EXPECT_THAT(run("4:log:x", nullptr), IsEmpty());
  EXPECT_THAT(logged(folder, "x"), ElementsAre("level 3", "level 4"));
  EXPECT_THAT(run("3:log:x", nullptr), IsEmpty());
  EXPECT_THAT(logged(folder, "x"), ElementsAre("level 3", "level 4", "level 3")) << "a restart goes on with the file";
  EXPECT_THAT(harness::list_directory(folder.path()), ElementsAre("x-0.log"));
}

TEST(Tracer, RotatesTheFilesOfItsOption) {
  const harness::temporary_directory folder;
  const auto result = harness::run("trace_program", {folder.path(), "lines", "100"}, variables("5:log:r:1:3", nullptr));
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_THAT(harness::list_directory(folder.path()), ElementsAre("r-0.log", "r-1.log", "r-2.log"));
  const auto lines = logged(folder, "r", 3);
  ASSERT_FALSE(lines.empty());
  const auto first = 100 - lines.size();
  for (size_t i = 0; i < lines.size(); ++i) EXPECT_EQ(lines[i], "line " + std::to_string(first + i));
  EXPECT_EQ(harness::read_file(folder / "r-0.log").substr(0, 1), "[");
}

TEST(Tracer, MarksSpilledLinesAndHandsThemOutFirst) {
  uCTraceHelper &tracer = uCTraceHelper::getInstance();
  tracer.RedirectToShareMemory();
  stored_lines();
  std::string text = "as it was";
  EXPECT_EQ(tracer.ReadShareMemoryString(text), 0);
  EXPECT_EQ(text, "as it was");
  const std::string large(1500000, 'x');
  for (const std::string &line : {std::string("small"), large, large}) tracer.TraceConstString(line);

  EXPECT_EQ(tracer.ReadShareMemoryString(text), 1);
  EXPECT_THAT(text.substr(0, 200), testing::StartsWith("[M:TraceHelper+"));
  const std::string expected = " Write 1500005 bytes first.\nsmall\n" + large + "\n";
  ASSERT_GT(text.size(), expected.size());
  EXPECT_TRUE(text.compare(text.size() - expected.size(), expected.size(), expected) == 0);
  EXPECT_EQ(tracer.ReadShareMemoryString(text), 1);
  EXPECT_TRUE(text == large);
  EXPECT_EQ(tracer.ReadShareMemoryString(text), 0);
}

TEST(Tracer, CountsTheDepthOfEachThread) {
  uCTraceHelper &tracer = uCTraceHelper::getInstance();
  EXPECT_EQ(tracer.pop_trace_level(), -1) << "without a push";
  EXPECT_EQ(tracer.push_trace_level(), -1);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(tracer.push_trace_level(), i);
  for (int round = 0; round < 3; ++round)
    std::thread([&] {
      // A thread that ends in the middle of its scopes leaves nothing behind for those that come after it.
      EXPECT_EQ(tracer.push_trace_level(), 0);
      EXPECT_EQ(tracer.push_trace_level(), 1);
    }).join();
  for (int i = 2; i >= 0; --i) EXPECT_EQ(tracer.pop_trace_level(), i);
}

TEST(Tracer, KeepsTheLinesOfSeveralThreadsWhole) {
  const harness::temporary_directory folder;
  uCTraceHelper &tracer = uCTraceHelper::getInstance();
  constexpr int threads = 4, lines = 400;
  const auto trace_from_all = [&] {
    std::vector<std::thread> running;
    for (int t = 0; t < threads; ++t)
      running.emplace_back([t] {
        for (int i = 0; i < lines; ++i) zarTrace(5, "%s from %d number %d", std::string(60, 'a').c_str(), t, i);
      });
    for (auto &thread : running) thread.join();
  };
  const auto expect_all = [&](const std::vector<std::string> &found) {
    ASSERT_EQ(found.size(), size_t{threads} * lines);
    EXPECT_EQ(std::set<std::string>(found.begin(), found.end()).size(), found.size());
    std::map<char, int> next;
    for (const std::string &line : found) {
      const size_t at = line.find(" from ");
      ASSERT_NE(at, std::string::npos) << line;
      EXPECT_EQ(line.substr(at), " from " + line.substr(at + 6, 1) + " number " + std::to_string(next[line[at + 6]]++));
    }
  };

  tracer.RedirectToFileTrace(folder / "threads", 20, 100);
  trace_from_all();
  expect_all(logged(folder, "threads", 100));
  stored_lines();
  tracer.RedirectToShareMemory();
  trace_from_all();
  expect_all(stored_lines());
  tracer.RedirectToNull();
}

TEST(Tracer, ChangesItsOptionWhileThreadsTrace) {
  const harness::temporary_directory folder;
  uCTraceHelper &tracer = uCTraceHelper::getInstance();
  std::atomic<bool> done{false};
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t)
    threads.emplace_back([&] {
      while (!done) zarTrace(5, "line %d", 1);
    });
  std::string text;
  for (int i = 0; i < 50; ++i) {
    tracer.RedirectToFileTrace(folder / ("file" + std::to_string(i % 3)), 1, 2);
    tracer.ResetTraceLevel(i % 2 ? 4 : 6);
    tracer.RedirectToShareMemory();
    while (i % 10 == 0 && !tracer.ReadShareMemoryString(text)) zarSwitchToThread();
    tracer.RedirectToNull();
  }
  done = true;
  for (auto &thread : threads) thread.join();
  EXPECT_EQ(tracer.GetOutputLevel(), 4);
  EXPECT_EQ(tracer.GetOutputMethod(), 0);
  tracer.ResetTraceLevel(-1);
}

TEST(TracerLife, ThreadsThatRaceForTheFirstUseGetOneTracer) {
  const harness::temporary_directory folder;
  const auto result = harness::run("trace_program", {folder.path(), "race"}, variables("5:log:race", nullptr));
  EXPECT_THAT(harness::lines_of(result.output), ElementsAre("one"));
  EXPECT_THAT(logged(folder, "race"), testing::AllOf(testing::SizeIs(8), testing::Each("racer")));
}

TEST(TracerLife, EndsWhileThreadsTrace) {
  const harness::temporary_directory folder;
  for (const char *const option : {"5:log:end:50:2", "5:share", "5:null"}) {
    const auto result = harness::run("trace_program", {folder.path(), "end"}, variables(option, nullptr));
    EXPECT_FALSE(result.timed_out) << option;
    EXPECT_EQ(result.exit_code, 0) << option << result.signal << result.error;
  }
}

TEST(TracerLife, ServesStaticConstructorsAndDestructors) {
  const harness::temporary_directory folder;
  const auto result = harness::run("trace_statics_program", {folder.path()}, variables(nullptr, nullptr));
  EXPECT_EQ(result.exit_code, 0) << result.signal << result.error;
  const auto console = printed(result), file = logged(folder, "statics");
#ifdef _WIN32
  // A program's objects end before those of the libraries that it loads.
  EXPECT_THAT(console, ElementsAre("constructed"));
  EXPECT_THAT(file, ElementsAre("main", "destroyed", "late, nested 0", "late too", "late for the file"));
#else
  EXPECT_THAT(console, ElementsAre("constructed", "late, nested 0", "late too", "late for the file",
                                   "late for the store", "late and redirected 0"));
  EXPECT_THAT(file, ElementsAre("main", "destroyed"));
#endif
}

#ifndef _WIN32
TEST(TracerLife, ComingBackWhileBuildingEndsTheProcess) {
  const harness::temporary_directory folder;
  const auto result = harness::run("trace_program", {folder.path(), "re-enter"}, variables(nullptr, nullptr));
  EXPECT_EQ(result.signal, SIGABRT);
  EXPECT_THAT(harness::lines_of(result.error), ElementsAre("[E:] re-enter static instance of uCTraceHelper"));
  EXPECT_EQ(result.output, "");
}

TEST(TracerLife, AForkedChildTracesUnderItsOwnId) {
  const harness::temporary_directory folder;
  harness::child_process parent("trace_program", {folder.path(), "fork"}, variables("5:log:fork", nullptr));
  const std::string id = "+" + std::to_string(parent.id()) + ":";
  EXPECT_EQ(parent.wait().exit_code, 0);
  EXPECT_THAT(logged(folder, "fork"), ElementsAre("parent before", "child", "parent after 0"));
  const auto lines = harness::lines_of(harness::read_file(folder / "fork-0.log"));
  ASSERT_EQ(lines.size(), 3u);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(lines[static_cast<size_t>(i)].find(id) == std::string::npos, i == 1);
}
#endif

TEST(LogFollow, SendsEachLineAtTheLevelOfItsFirstWord) {
  const harness::temporary_directory folder;
  harness::write_file(folder / "in.txt", "Error: a\n[WARNING] b %s%n\n12:00 notice c\nx\n\ndebug d");
  const auto run = [&](const char *trace) {
    return printed(harness::run("log_follow", {folder / "in.txt"}, variables(trace, nullptr)));
  };
  EXPECT_THAT(run("5"), ElementsAre("Error: a", "[WARNING] b %s%n", "12:00 notice c", "3 of 6 lines passed level 5"));
  EXPECT_THAT(run("7:null"), ElementsAre("6 of 6 lines passed level 7"));
  EXPECT_EQ(harness::run("log_follow", {folder / "missing"}).exit_code, 1);
}
