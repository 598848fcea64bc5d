#include "zarlib/trace/file_trace.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
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
    content before;
    int count;
    content after;
  } cases[] = {{{}, 0, {{"a-0.log", "new\r\n"}}},
               {{{"a-0.log", "0"}, {"a-1.log", "1"}}, 0, {{"a-0.log", "0"}, {"a-1.log", "1new\r\n"}}},
               {{{"a-0.log", full}}, 0, {{"a-0.log", full}, {"a-1.log", "new\r\n"}}},
               {{{"a-0.log", "0"}, {"a-1.log", "1"}, {"a-2.log", "2"}}, 2, {{"a-0.log", "1"}, {"a-1.log", "2new\r\n"}}},
               {{{"a-0.log", "0"}, {"a-1.log", full}}, 2, {{"a-0.log", full}, {"a-1.log", "new\r\n"}}},
               {{{"a-0.log", full}}, 1, {{"a-0.log", "new\r\n"}}},
               {{{"a-0.log", "0"}, {"a-2.log", "2"}}, 1, {{"a-0.log", "0new\r\n"}, {"a-2.log", "2"}}}};
  for (const auto &c : cases) {
    const harness::temporary_directory folder;
    for (const auto &[name, bytes] : c.before) harness::write_file(folder / name, bytes);
    chFileTrace trace;
    trace.OpenFileTrace(folder / "a", 1, c.count);
    EXPECT_EQ(files_in(folder.path()).size(), std::min(c.before.size(), c.after.size()));
    trace.WriteLogLine("new");
    EXPECT_EQ(files_in(folder.path()), c.after);
  }
}

TEST(FileTrace, CountsWithoutLineEndsAndRotatesBeforeTheNextLine) {
  const harness::temporary_directory folder;
  chFileTrace trace;
  trace.OpenFileTrace(folder / "a", 1, 2);
  for (const size_t length : {1023, 2000}) trace.WriteLogLine(std::string(length, 'x'));
  trace.WriteLogLine("pre:", "3");
  EXPECT_EQ(files_in(folder.path())["a-0.log"].size(), 1023u + 2 + 2000 + 2);
  trace.OpenFileTrace("", 0, 0); // keeps all, and measures the file, line end included: 7 bytes
  trace.WriteLogLine(std::string(1016, 'y'));
  chFileTrace copy(trace), taker(std::move(trace)); // one file, but each counts for itself
  copy.WriteLogLineRaw("p", std::string("q\0r", 3));
  EXPECT_EQ(harness::read_file(folder / "a-1.log"), "pre:3\r\n" + std::string(1016, 'y') + "\r\n");
  taker.WriteLogLine(nullptr, "4");
  taker.WriteLogLine("5");
  EXPECT_EQ(files_in(folder.path()),
            (content{{"a-0.log", "pre:3\r\n" + std::string(1016, 'y') + "\r\n" + std::string("pq\0r\r\n4\r\n", 9)},
                     {"a-1.log", "5\r\n"}}));
}

TEST(FileTrace, ResumesByItselfWhereItCouldNotWrite) {
  const harness::temporary_directory folder;
  chFileTrace trace;
  trace.OpenFileTrace(folder / "later/a", 1, 2);
  trace.WriteLogLine("lost", "lost");
  std::filesystem::create_directory(folder / "later");
  trace.WriteLogLine("written");
  EXPECT_EQ(files_in(folder / "later"), (content{{"a-0.log", "written\r\n"}}));
#ifdef __linux__
  std::filesystem::create_symlink("/dev/full", folder / "b-0.log");
  trace.OpenFileTrace(folder / "b", 1, 2);
  for (const size_t length : {1000, 24, 2}) trace.WriteLogLine(std::string(length, 'x')); // lost lines count
  EXPECT_EQ(harness::read_file(folder / "b-1.log"), "xx\r\n");
#endif
}

TEST(FileTrace, EndsWithAnyNumbers) {
  for (const auto &[size, count] : {std::pair(INT_MIN, INT_MIN), {-1, -1}, {INT_MIN, 1}, {INT_MAX, INT_MAX}}) {
    const harness::temporary_directory folder;
    for (const char *name : {"a-0.log", "a-1.log"}) harness::write_file(folder / name, name);
    chFileTrace trace;
    trace.OpenFileTrace(folder / "a", size, count);
    for (int i = 0; i < 3; ++i) trace.WriteLogLine("x");
    EXPECT_THAT(files_in(folder.path()), testing::Contains(testing::Pair(testing::_, testing::EndsWith("x\r\n"))));
  }
}

TEST(FileTrace, AnAcknowledgedLineSurvivesTheKillOfItsWriter) {
  std::mt19937 random(std::random_device{}());
  for (int i = 0; i < (sizeof(void *) == 4 ? 10 : 100); ++i) { // starting a program in Wine takes its time
    const harness::temporary_directory folder;
    harness::child_process writer("log_writer", {folder / "a"});
    std::vector<std::string> told;
    for (unsigned left = random() % 300 + 1; left > 0; --left) told.push_back(writer.read_line());
    writer.kill();
    for (std::string line = writer.read_line(); !line.empty(); line = writer.read_line()) told.push_back(line);

    // What was told, less the oldest files, which had their time; and at most one line that was not told any more.
    std::string text;
    for (const auto &[name, bytes] : files_in(folder.path())) text += bytes;
    std::vector<std::string> lines = harness::lines_of(text);
    ASSERT_THAT(text, testing::EndsWith("\r\n"));
    if (lines.back() != told.back()) lines.pop_back();
    ASSERT_LE(lines.size(), told.size());
    EXPECT_TRUE(std::equal(lines.rbegin(), lines.rend(), told.rbegin())) << text;
    EXPECT_GE(lines.size(), std::min<size_t>(told.size(), 2 * 29)); // a file of 1 KiB takes 29
  }
}
