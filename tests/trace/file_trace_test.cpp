#include "zarlib/trace/file_trace.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <random>

using content = std::map<std::string, std::string>;

static content files_in(const std::string &folder) {
  content files;
  for (const std::string &name : harness::list_directory(folder)) files[name] = harness::read_file(folder + '/' + name);
  return files;
}

TEST(FileTrace, ContinuesOnTheNewestFileAfterRestart) {
  const std::string full(1024, 'x');
  const struct {
    const char *what;
    content before;
    int count;
    content after;
  } cases[] = {
      {"nothing there", {}, 0, {{"a-0.log", "new\r\n"}}},
      {"goes on with the newest", {{"a-0.log", "0"}, {"a-1.log", "1"}}, 0, {{"a-0.log", "0"}, {"a-1.log", "1new\r\n"}}},
      {"which counts as long as it is",
       {{"a-0.log", "0"}, {"a-1.log", full}},
       0,
       {{"a-0.log", "0"}, {"a-1.log", full}, {"a-2.log", "new\r\n"}}},
      {"too many",
       {{"a-0.log", "0"}, {"a-1.log", "1"}, {"a-2.log", "2"}, {"a-3.log", "3"}},
       2,
       {{"a-0.log", "2"}, {"a-1.log", "3new\r\n"}}},
      {"full and at the limit", {{"a-0.log", "0"}, {"a-1.log", full}}, 2, {{"a-0.log", full}, {"a-1.log", "new\r\n"}}},
      {"one file only", {{"a-0.log", full}}, 1, {{"a-0.log", "new\r\n"}}},
      {"a gap ends the series", {{"a-0.log", "0"}, {"a-2.log", "2"}}, 1, {{"a-0.log", "0new\r\n"}, {"a-2.log", "2"}}},
  };
  for (const auto &c : cases) {
    const harness::temporary_directory folder;
    for (const auto &[name, bytes] : c.before) harness::write_file(folder / name, bytes);
    chFileTrace trace;
    EXPECT_EQ(trace.OpenFileTrace(folder / "a", 1, c.count), 1);
    EXPECT_EQ(files_in(folder.path()).size(), std::min(c.before.size(), c.after.size())) << c.what;
    EXPECT_EQ(trace.WriteLogLine("new"), 1);
    EXPECT_EQ(files_in(folder.path()), c.after) << c.what;
  }
}

TEST(FileTrace, CountsItsLinesWithoutTheirEndsAndRotatesBeforeTheNext) {
  const harness::temporary_directory folder;
  chFileTrace trace;
  trace.OpenFileTrace(folder / "a", 1, 2);
  trace.WriteLogLine(std::string(1023, '1'));
  trace.WriteLogLine(std::string(2000, '2'));
  trace.WriteLogLine("pre:", "3");
  EXPECT_EQ(files_in(folder.path()),
            (content{{"a-0.log", std::string(1023, '1') + "\r\n" + std::string(2000, '2') + "\r\n"},
                     {"a-1.log", "pre:3\r\n"}}));
  trace.OpenFileTrace("", 0, 0); // keeps everything, and measures the file, line end and all: 7 bytes
  trace.WriteLogLine(std::string(1016, '4'));
  trace.WriteLogLine("x");
  trace.WriteLogLine("5");
  EXPECT_EQ(files_in(folder.path()),
            (content{{"a-0.log", "pre:3\r\n" + std::string(1016, '4') + "\r\nx\r\n"}, {"a-1.log", "5\r\n"}}));
}

TEST(FileTrace, RawLinesWaitForTheFlush) {
  const harness::temporary_directory folder;
  chFileTrace trace;
  trace.OpenFileTrace(folder / "a", 1, 2);
  trace.WriteLogLineRaw("p", std::string("a\0b", 3));
  trace.WriteLogLineRaw(nullptr, "c");
  EXPECT_EQ(harness::read_file(folder / "a-0.log"), "");
  trace.Flush();
  EXPECT_EQ(harness::read_file(folder / "a-0.log"), std::string("pa\0b\r\nc\r\n", 9));
}

TEST(FileTrace, ResumesByItselfWhereItCouldNotWrite) {
  const harness::temporary_directory folder;
  chFileTrace trace;
  trace.OpenFileTrace(folder / "later/a", 1, 2);
  trace.WriteLogLine("lost");
  trace.WriteLogLineRaw("", "lost");
  std::filesystem::create_directory(folder / "later");
  trace.WriteLogLine("written");
  EXPECT_EQ(files_in(folder / "later"), (content{{"a-0.log", "written\r\n"}}));
#ifdef __linux__
  std::filesystem::create_symlink("/dev/full", folder / "b-0.log");
  trace.OpenFileTrace(folder / "b", 1, 2);
  for (const size_t length : {1000, 24, 2}) trace.WriteLogLine(std::string(length, 'x')); // the lost lines count
  EXPECT_EQ(harness::read_file(folder / "b-1.log"), "xx\r\n");
#endif
}

TEST(FileTrace, CopiesShareTheFileAndCountForThemselves) {
  const harness::temporary_directory folder;
  chFileTrace first;
  first.OpenFileTrace(folder / "a", 1, 3);
  first.WriteLogLine("1");
  chFileTrace copy(first), taker(std::move(first));
  copy.WriteLogLine(std::string(2000, '2'));
  first.WriteLogLine("3"); // NOLINT(bugprone-use-after-move): the source keeps its share of the open file
  taker = std::move(copy);
  taker.WriteLogLine("4");
  EXPECT_EQ(files_in(folder.path()),
            (content{{"a-0.log", "1\r\n" + std::string(2000, '2') + "\r\n3\r\n"}, {"a-1.log", "4\r\n"}}));
}

TEST(FileTrace, EndsWithAnyNumbers) {
  constexpr int smallest = std::numeric_limits<int>::min(), largest = std::numeric_limits<int>::max();
  for (const int size : {smallest, -1, largest}) {
    for (const int count : {smallest, -1, 1, largest}) {
      const harness::temporary_directory folder;
      chFileTrace trace;
      for (const char *name : {"a-0.log", "a-1.log"}) harness::write_file(folder / name, name);
      trace.OpenFileTrace(folder / "a", size, count);
      for (int i = 0; i < 3; ++i) trace.WriteLogLine("x");
      std::string all;
      for (const auto &[name, bytes] : files_in(folder.path())) all += bytes;
      EXPECT_THAT(all, testing::HasSubstr("x\r\n")) << size << ' ' << count;
      if (size == largest && count == largest) {
        EXPECT_EQ(all, "a-0.loga-1.logx\r\nx\r\nx\r\n");
      }
    }
  }
}

/// The whole log, oldest line first.
static std::vector<std::string> lines_in(const std::string &folder) {
  std::string all;
  for (const auto &[name, bytes] : files_in(folder)) all += bytes;
  EXPECT_TRUE(all.empty() || all.substr(all.size() - 2) == "\r\n");
  return harness::lines_of(all);
}

TEST(FileTrace, AnAcknowledgedLineSurvivesTheKillOfItsWriter) {
#ifdef _WIN32
  constexpr int kills = 10;
#else
  constexpr int kills = 100;
#endif
  constexpr size_t lines_of_a_file = 29; // of 36 bytes each, up to 1 KiB
  std::mt19937 random(std::random_device{}());
  for (int i = 0; i < kills; ++i) {
    const harness::temporary_directory folder;
    harness::child_process writer("log_writer", {folder / "a", "1", "3"});
    const unsigned until = random() % 300;
    std::string acknowledged;
    for (unsigned k = 0; k <= until; ++k) acknowledged = writer.read_line();
    writer.kill();
    for (std::string line = writer.read_line(); !line.empty(); line = writer.read_line()) acknowledged = line;

    const std::vector<std::string> lines = lines_in(folder.path());
    ASSERT_FALSE(lines.empty());
    const int first = std::stoi(lines.front().substr(5, 8));
    const auto text_of = [](int number) {
      char text[64];
      std::snprintf(text, sizeof text, "line %08d and what it has to say", number);
      return std::string(text);
    };
    for (size_t k = 0; k < lines.size(); ++k) ASSERT_EQ(lines[k], text_of(first + static_cast<int>(k)));
    EXPECT_GE(first + static_cast<int>(lines.size()) - 1, std::stoi(acknowledged)) << "lost at the end";
    EXPECT_TRUE(first == 0 || lines.size() >= 2 * lines_of_a_file) << "lost at the start";
  }
}
