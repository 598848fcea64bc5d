#include "zarlib/trace/tracer_manager.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"
#include "zarlib/frame/process_identity.h"
#include "zarlib/trace/trace.h"

#include <gmock/gmock.h>

#include <csignal>
#include <map>
#include <regex>
#include <sstream>
#include <thread>

using testing::ElementsAre;

namespace {

/// A private block, without other users.
class TraceBlock : public testing::Test {
protected:
  ipcObjectFrame<chSystemTracerManager, chMapFile_Local, chMutex_Local> m_frame;
  const int m_opened = m_frame.OpenShareObject("block of a test", chSystemTracerManager::block_size);
  chSystemTracerManager &block = m_frame.getObject();
  const unsigned char *bytes = reinterpret_cast<const unsigned char *>(&block);
};

std::vector<std::string> without_prefixes(const std::string &text) {
  return harness::lines_of(std::regex_replace(text, std::regex(R"(\[.*\] [-0-9]+ [:.0-9]+ [0-9.]+ )"), ""));
}

class Tracer : public testing::Test {
protected:
  /// Runs a program in the folder.
  harness::child_result run(const char *trace, const char *systrace, const std::string &mode,
                            const char *program = "trace_program") {
    return harness::run(
        program, {m_folder.path(), mode},
        {{"trace", trace ? trace : harness::unset()}, {"systrace", systrace ? systrace : harness::unset()}});
  }

  /// The lines of log files NAME-0.log and so on, without prefixes.
  std::vector<std::string> logged(const std::string &name, int files = 1) {
    std::string text;
    for (int i = 0; i < files; ++i) text += harness::read_file(m_folder / (name + "-" + std::to_string(i) + ".log"));
    return without_prefixes(text);
  }

  harness::temporary_directory m_folder;
};

} // namespace

TEST_F(TraceBlock, HasTheDocumentedBytes) {
  *block.renew_process_option(4212) = {5, 2};
  ASSERT_TRUE(block.store_line("hello"));

  // docs/formats/trace-block.md shows the same; two dots are an unspecified byte.
  std::istringstream expected(R"(
    00 00 20 00  09 10 00 00  A8 FF 1F 00  50 00 00 00  7C 00 00 00  7C 00 00 00  FF FF FF 7F  01 00 00 00
    01 00 00 00  38 00 00 00  38 00 00 00  .. .. .. ..  01 00 00 00  40 00 00 00  40 00 00 00  00 00 00 00
    .. .. .. ..  .. .. .. ..  .. .. .. ..  .. .. .. ..  .. .. .. ..  .. .. .. ..
    18 00 00 00  C8 FF FF FF  C8 FF FF FF  74 10 00 00  05 00 00 00  02 00 00 00
    18 00 00 00  C0 FF FF FF  C0 FF FF FF  05 00 00 00  68 65 6C 6C  6F .. .. ..
    78 FF 1F 80  84 FF FF FF  84 FF FF FF)");
  std::string byte;
  for (int offset = 0; expected >> byte; ++offset)
    EXPECT_TRUE(byte == ".." || bytes[offset] == std::stoi(byte, nullptr, 16)) << "offset " << offset;
}

TEST_F(TraceBlock, DropsDeadProcesses) {
  const auto self = static_cast<unsigned>(zarGetCurrentProcessId());
  for (const unsigned process : {0x7FFFFFF0u, self, 0u, 0x7FFFFFF4u}) ASSERT_TRUE(block.renew_process_option(process));
  EXPECT_EQ(bytes[32], 4);
  block.drop_dead_processes();
  EXPECT_EQ(bytes[32], 1) << "our own is kept";
}

TEST_F(TraceBlock, HandsOutSpilledLinesFirstAndLosesNone) {
  // 2 MiB hold some 2000 lines of 1000 bytes; the oldest of 3000 have to move.
  const auto line = [](int i) { return std::to_string(i) + std::string(static_cast<size_t>(i % 7 + 1000), '.'); };
  for (int i = 0; i < 3000; ++i) ASSERT_TRUE(block.store_line(line(i)));
  std::string text;
  int size = 0, next = 0;
  ASSERT_TRUE(block.take_spilled(text, size));
  const auto spilled = harness::lines_of(text);
  EXPECT_EQ(static_cast<size_t>(size) + spilled.size(), text.size());
  for (const std::string &one : spilled) ASSERT_EQ(one, line(next++));
  while (block.take_line(text)) ASSERT_EQ(text, line(next++));
  EXPECT_EQ(next, 3000);

  const size_t largest = 2097064 - 4 - 12;
  EXPECT_TRUE(block.store_line(std::string(largest, 'x')));
  EXPECT_FALSE(block.store_line(std::string(largest + 1, 'y')));
  EXPECT_TRUE(block.take_spilled(text, size));
  EXPECT_EQ(size, static_cast<int>(largest)) << "what was there has moved";
  EXPECT_TRUE(block.store_line("")) << "the store goes on";
}

TEST_F(Tracer, ReadsItsOptionFromTheEnvironment) {
  const std::string long_text = "6:" + std::string(10000, 'a') + ":" + std::string(10000, ':');
  const struct {
    const char *trace, *systrace, *level_method_and_level_of_the_system;
  } cases[] = {{nullptr, nullptr, "2147483647 1 2147483647"},
               {":::", "::", "2147483647 1 2147483647"},
               {"3", "9:null", "3 0 9"},
               {nullptr, "2:log", "2 2 2"},
               {"-1", "4:share", "4 3 4"},
               {"5:log:name:100:3", "9:null", "5 2 9"},
               {"5:LOG", "4:stdout", "5 1 4"},
               {"5:system", nullptr, "5 3 2147483647"},
               {"::5::null::", nullptr, "5 0 2147483647"},
               {"null", "x:y", "0 1 0"},
               {" 8x:null", nullptr, "8 0 2147483647"},
               {"-99999999999999999999", nullptr, "-2147483648 1 2147483647"},
               {"99999999999999999999:log:n:99999999999:-3", nullptr, "2147483647 2 2147483647"},
               {long_text.c_str(), nullptr, "6 1 2147483647"}};
  for (const auto &c : cases)
    EXPECT_THAT(harness::lines_of(run(c.trace, c.systrace, "option").output),
                ElementsAre(c.level_method_and_level_of_the_system))
        << (c.trace ? c.trace : "(unset)") << " and " << (c.systrace ? c.systrace : "(unset)");
  EXPECT_THAT(harness::list_directory(m_folder.path()), testing::IsEmpty())
      << "nothing is opened before the first line";
}

TEST_F(Tracer, WritesTheLinesOfItsLevelToTheOutputOfItsOption) {
  const auto printed = [&](const char *option) { return without_prefixes(run(option, nullptr, "lines").output); };
  EXPECT_THAT(printed("9:null"), testing::IsEmpty());
  EXPECT_THAT(printed("6:log:r:1:3"), testing::IsEmpty());
  EXPECT_THAT(harness::list_directory(m_folder.path()), ElementsAre("r-0.log", "r-1.log", "r-2.log"));
  const auto last = logged("r", 3), all = printed("6"), half = printed("5");
  ASSERT_EQ(all.size(), 100u);
  EXPECT_EQ(half.size(), 50u);
  ASSERT_FALSE(last.empty());
  EXPECT_TRUE(std::equal(last.rbegin(), last.rend(), all.rbegin())) << "rotation keeps the newest lines";
}

TEST_F(Tracer, MarksSpilledLinesAndHandsThemOutFirst) {
  uCTraceHelper &tracer = uCTraceHelper::getInstance();
  tracer.RedirectToShareMemory();
  const std::string large(1500000, 'x');
  for (const std::string &line : {std::string("small"), large, large}) tracer.TraceConstString(line);
  std::string text;
  EXPECT_EQ(tracer.ReadShareMemoryString(text), 1);
  EXPECT_EQ(text.rfind("[M:TraceHelper+", 0), 0u);
  const size_t marker = text.find(" Write ");
  EXPECT_TRUE(marker < 120 && text.substr(marker) == " Write 1500005 bytes first.\nsmall\n" + large + "\n");
  EXPECT_EQ(tracer.ReadShareMemoryString(text), 1);
  EXPECT_TRUE(text == large);
  EXPECT_EQ(tracer.ReadShareMemoryString(text), 0);
}

TEST_F(Tracer, CountsTheDepthOfEachThread) {
  uCTraceHelper &tracer = uCTraceHelper::getInstance();
  EXPECT_EQ(tracer.pop_trace_level(), -1) << "without a push";
  for (int i = -1; i < 3; ++i) EXPECT_EQ(tracer.push_trace_level(), i);
  for (int round = 0; round < 3; ++round)
    std::thread([&] {
      // A thread that ends inside its scopes leaves nothing behind for later threads.
      for (int i = 0; i < 2; ++i) EXPECT_EQ(tracer.push_trace_level(), i);
    }).join();
  for (int i = 2; i >= 0; --i) EXPECT_EQ(tracer.pop_trace_level(), i);
}

TEST_F(Tracer, KeepsTheLinesOfSeveralThreadsWhole) {
  uCTraceHelper &tracer = uCTraceHelper::getInstance();
  const auto trace_from_all = [](const auto &meanwhile) {
    std::vector<std::thread> running;
    for (char t = '0'; t < '4'; ++t)
      running.emplace_back([t] {
        for (int i = 0; i < 400; ++i) zarTrace(5, "%c number %d", t, i);
      });
    meanwhile();
    for (auto &thread : running) thread.join();
  };
  const auto expect_all = [&](const std::vector<std::string> &found) {
    ASSERT_EQ(found.size(), 1600u);
    std::map<char, int> next;
    for (const auto &line : found) EXPECT_EQ(line, line[0] + (" number " + std::to_string(next[line[0]]++)));
  };

  tracer.RedirectToFileTrace(m_folder / "threads", 20, 100);
  trace_from_all([] {});
  expect_all(logged("threads", 100));
  tracer.RedirectToShareMemory();
  trace_from_all([] {});
  std::string all;
  for (std::string text; tracer.ReadShareMemoryString(text);) all += text + "\n";
  expect_all(without_prefixes(all));
  trace_from_all([&] {
    for (int i = 0; i < 50; ++i) {
      tracer.RedirectToFileTrace(m_folder / ("file" + std::to_string(i % 3)), 1, 2);
      tracer.ResetTraceLevel(i % 2 ? 4 : 6);
      tracer.RedirectToShareMemory();
      tracer.ReadShareMemoryString(all);
      tracer.RedirectToNull();
    }
  });
  tracer.ResetTraceLevel(-1);
  while (tracer.ReadShareMemoryString(all)) {
  }
}

TEST_F(Tracer, IsBuiltOnceByThreadsThatRaceForTheFirstTraceAndEndsWhileTheyTrace) {
  for (const char *const option : {"5:log:race:50:2", "5:share", "5:null"})
    EXPECT_EQ(run(option, nullptr, "race").exit_code, 0) << option;
  EXPECT_THAT(logged("race", 2), testing::Contains("racer"));
}

TEST_F(Tracer, ServesStaticConstructorsAndDestructors) {
  const auto console = without_prefixes(run(nullptr, nullptr, "", "trace_statics_program").output);
#ifdef _WIN32
  // A program's objects are destroyed before those of the libraries it uses.
  EXPECT_THAT(console, ElementsAre("constructed"));
  EXPECT_THAT(logged("statics"), ElementsAre("main", "destroyed", "late, nested 0", "late for the file"));
#else
  EXPECT_THAT(console, ElementsAre("constructed", "late, nested 0", "late for the file"));
  EXPECT_THAT(logged("statics"), ElementsAre("main", "destroyed"));

  const auto result = run(nullptr, nullptr, "re-enter");
  EXPECT_EQ(result.signal, SIGABRT);
  EXPECT_EQ(result.error, "[E:] re-enter static instance of uCTraceHelper\n");
#endif
}

TEST(LogFollow, SendsEachLineAtTheLevelOfItsFirstWord) {
  const harness::temporary_directory folder;
  harness::write_file(folder / "in.txt", "Error: a\n[WARNING] b %s%n\n12:00 notice c\nx\n\ndebug d");
  const auto run = [&](const char *trace) {
    return without_prefixes(harness::run("log_follow", {folder / "in.txt"}, {{"trace", trace}}).output);
  };
  EXPECT_THAT(run("5"), ElementsAre("Error: a", "[WARNING] b %s%n", "12:00 notice c", "3 of 6 lines passed level 5"));
  EXPECT_EQ(harness::run("log_follow", {folder.path()}).exit_code, 1) << "a folder is no text";
}
