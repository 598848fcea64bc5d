#include "zarlib/trace/file_trace.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>

using content = std::map<std::string, std::string>;

static content files_in(const std::string &folder) {
  content files;
  for (const std::string &name : harness::list_directory(folder)) files[name] = harness::read_file(folder + '/' + name);
  return files;
}

TEST(FileTrace, ContinuesOnTheNewestFileAfterRestartWhateverTheNumbers) {
  const std::tuple<content, int, int, content> cases[] = {
      // The newest file is the last one before a gap.
      {{{"a-0.log", "0"}, {"a-1.log", "1"}, {"a-3.log", ""}}, INT_MAX, 1, {{"a-0.log", "1new\r\n"}, {"a-3.log", ""}}},
      {{{"a-0.log", "0"}, {"a-1.log", "1"}}, INT_MIN, 2, {{"a-0.log", "1"}, {"a-1.log", "new\r\n"}}}};
  for (const auto &[before, size, count, after] : cases) {
    const harness::temporary_directory folder;
    for (const auto &[name, bytes] : before) harness::write_file(folder / name, bytes);
    chFileTrace trace;
    trace.OpenFileTrace(folder / "a", size, count);
    trace.WriteLogLine("new");
    EXPECT_EQ(files_in(folder.path()), after);
  }
}

TEST(FileTrace, CountsWithoutLineEndsAndRotatesBeforeTheNextLine) {
  const harness::temporary_directory folder;
  const std::string long_line(2000, 'x'), line(1016, 'y');
  chFileTrace trace;
  trace.OpenFileTrace(folder / "a", 1, 2);
  for (const std::string &text : {line + "1234567", long_line}) trace.WriteLogLine(text);
  trace.WriteLogLine("pre:", "3");
  trace.OpenFileTrace("", 0, 0); // keeps all files, and takes the file's size, line end included: 7 bytes
  trace.WriteLogLine(line);
  const std::string first = line + "1234567\r\n" + long_line + "\r\n", second = "pre:3\r\n" + line + "\r\n";
  EXPECT_EQ(files_in(folder.path()), (content{{"a-0.log", first}, {"a-1.log", second}}));
  chFileTrace copy(trace), taker(std::move(trace)); // one file, but each counts its size separately
  copy.WriteLogLineRaw("p", std::string("q\0r", 3));
  for (const char *text : {"4", "5"}) taker.WriteLogLine(nullptr, text);
  taker.WriteLogLineRaw("raw ", "6");
  taker.WriteLogLine("7");
  EXPECT_EQ(files_in(folder.path())["a-1.log"], "5\r\nraw 6\r\n7\r\n");
}

TEST(FileTrace, ResumesByItselfWhereItCouldNotWrite) {
  const harness::temporary_directory folder;
  chFileTrace trace;
  trace.OpenFileTrace(folder / "later/a", 1, 2);
  trace.WriteLogLine("lost");
  std::filesystem::create_directory(folder / "later");
  trace.WriteLogLine("written");
  EXPECT_EQ(files_in(folder / "later"), (content{{"a-0.log", "written\r\n"}}));
#ifdef __linux__
  std::filesystem::create_symlink("/dev/full", folder / "b-0.log");
  trace.OpenFileTrace(folder / "b", 1, 2);
  for (const size_t length : {1000, 24, 2}) trace.WriteLogLine(std::string(length, 'x')); // lost lines count too
  EXPECT_EQ(harness::read_file(folder / "b-1.log"), "xx\r\n");
#endif
}

TEST(FileTrace, AnAcknowledgedLineSurvivesTheKillOfItsWriter) {
  std::mt19937 random(std::random_device{}());
  for (int i = 0; i < (sizeof(void *) == 4 ? 10 : 100); ++i) { // starting a program in Wine is slow
    const harness::temporary_directory folder;
    harness::child_process writer("log_writer", {folder / "a"});
    std::vector<std::string> told;
    for (unsigned left = random() % 300 + 1; left > 0; --left) told.push_back(writer.read_line());
    writer.kill();
    for (std::string line = writer.read_line(); !line.empty(); line = writer.read_line()) told.push_back(line);

    // The acknowledged lines, without those of rotated files; and at most one line that was not acknowledged.
    std::string text;
    for (const auto &[name, bytes] : files_in(folder.path())) text += bytes;
    std::vector<std::string> lines = harness::lines_of(text);
    if (lines.back() != told.back()) lines.pop_back();
    ASSERT_TRUE(text.ends_with("\r\n") && lines.size() <= told.size()) << text;
    EXPECT_TRUE(std::equal(lines.rbegin(), lines.rend(), told.rbegin())) << text;
    EXPECT_GE(lines.size(), std::min<size_t>(told.size(), 2 * 29)); // a file of 1 KiB holds 29
  }
}
