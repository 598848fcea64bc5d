#include "zarlib/text/file_filter.h"

#include "zarlib/text/file_system.h"
#include "zarlib/text/paths.h"

#include "tests/support/harness/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <regex>

using testing::ElementsAre;
using namespace std::string_literals;

TEST(FileFilter, ReadsItsFieldsAndKeepsWhatStoodAheadOfOneThatThrows) {
  chFileFilter filter(";;*.log;+-a;-debug*;x?|y");
  for (const char *name : {"a.log", "debug.log", "-a", "xz", "y"}) EXPECT_EQ(filter.IsAcceptFileName(name), 1) << name;
  for (const char *name : {"a.log.bak", "A.LOG", "x", "debug"}) EXPECT_EQ(filter.IsAcceptFileName(name), 0) << name;
  EXPECT_TRUE(filter.IsDenyFileName("debug.log") && !filter.IsDenyFileName("a.log"));
  EXPECT_TRUE(chFileFilter("-a").IsAcceptFileName("b") && chFileFilter("").IsAcceptFileName(""));
  EXPECT_THROW(filter.SetFilter("new;-not;bad\\;later"), std::regex_error);
  const chFileFilter moved = std::move(filter);
  EXPECT_TRUE(filter.IsAcceptFileName("new") && filter.IsDenyFileName("not") && filter.SetFilter("*")); // its own still
  EXPECT_FALSE(moved.IsAcceptFileName("y") || moved.IsAcceptFileName("later") || !moved.IsAcceptFileName("new"));
}

/// The pattern language as it is told: each character by its text in a regular expression.
static std::string as_expression(const std::string &pattern) {
  std::string text;
  for (const char c : pattern) {
    const bool escaped = "$()+-.[]^{}"s.find(c) != std::string::npos;
    text += c == '*' ? ".*"s : c == '?' ? "."s : (escaped ? "\\"s : ""s) + c;
  }
  return text;
}

TEST(FileFilter, MatchesAsTheRegularExpressionDoesOverOddBytes) {
  std::mt19937 random(7);
  const std::string in_patterns = "ab*?**?.-[($\n\r\xff+^{}])\t|\\\0"s, in_names = "aabb.-[(\n\r\xff\t\0|"s;
  for (int i = 0; i < 4000; ++i) {
    std::string pattern(random() % 8, '\0');
    for (char &c : pattern) c = in_patterns[random() % in_patterns.size()];
    std::unique_ptr<std::regex> expected;
    try {
      expected = std::make_unique<std::regex>(as_expression(pattern));
    } catch (const std::regex_error &) {
      EXPECT_THROW(chFileFilter("+" + pattern), std::regex_error) << testing::PrintToString(pattern);
      continue;
    }
    const chFileFilter filter("+" + pattern);
    for (int k = 0; k < 12; ++k) {
      std::string name = pattern.substr(0, random() % 9) + std::string(random() % 4, '*');
      for (char &c : name) // many names fit this way
        if (c == '*' || c == '?' || random() % 16 == 0) c = in_names[random() % in_names.size()];
      EXPECT_EQ(filter.IsAcceptFileName(name) != 0, std::regex_match(name, *expected))
          << testing::PrintToString(pattern) << " on " << testing::PrintToString(name);
    }
  }
}

/// zarFindFile() step by step, as slow as it is plain.
static void find_plainly(const std::string &directory, const chFileFilter &filter, std::list<std::string> &files,
                         bool recursive) {
  chPathWalker walker(directory);
  for (std::string name; walker.ReadFileName(name);) {
    const std::string full = pathAppend(directory, name);
    if (filter.IsDenyFileName(name)) continue;
    if (pathDirectoryExist(full) && recursive) find_plainly(full, filter, files, recursive);
    if (!pathDirectoryExist(full) && filter.IsAcceptFileName(name))
      files.insert(std::find_if(files.begin(), files.end(), [&](const std::string &other) { return full < other; }),
                   full);
  }
}

TEST(FindFile, InsertsAsOneByOneWouldAlsoIntoAnUnsortedList) {
  const harness::temporary_directory folder;
  std::mt19937 random(3);
  const std::string names[] = {"a", "b", "-", "a-", "a.b", "a b", "Z", "b.c", "\xc3\xa4", "zz"};
  for (int i = 0; i < 200; ++i) {
    std::string path = folder.path();
    for (int depth = static_cast<int>(random() % 3); depth >= 0; --depth) path += '/' + names[random() % 10];
    pathCreateDirectory(i < 50 ? path : pathRemoveLastPart(path));
    if (!pathFileExist(path)) harness::write_file(path, "");
  }
  std::list<std::string> all;
  zarFindFile(folder.path(), "", all, true);
  ASSERT_GT(all.size(), 50u);
  for (const char *filter : {"", "a*;b", "*;-a", "-*b*", "*.?", "none"}) {
    for (const bool recursive : {true, false}) {
      std::list<std::string> files = {all.back(), folder / "b", "", all.front(), folder / "a", "~", all.back()};
      if (recursive) files.sort();
      std::list<std::string> expected = files;
      EXPECT_TRUE(zarFindFile(folder / "//", filter, files, recursive));
      find_plainly(folder / "//", chFileFilter(filter), expected, recursive);
      EXPECT_EQ(files, expected) << filter;
    }
  }
}

#ifdef __linux__

TEST(FindFile, FollowsLinksButNotInCircles) {
  const harness::temporary_directory folder;
  for (const char *name : {"t/a", "outside"}) pathCreateDirectory(folder / name);
  for (const char *name : {"t/a/f", "t/a/\\g\xff", "outside/h"}) harness::write_file(folder / name, "");
  const std::pair<const char *, const char *> links[] = {
      {"..", "t/a/up"}, {".", "t/self"}, {"../outside", "t/link"}, {"nowhere", "t/none"}};
  for (const auto &[to, link] : links) std::filesystem::create_symlink(to, folder / link);
  std::list<std::string> files;
  zarFindFile(folder / "t", "", files, true);
  EXPECT_THAT(files, ElementsAre(folder / "t/a/\\g\xff", folder / "t/a/f", folder / "t/link/h", folder / "t/none"));
}

#endif
