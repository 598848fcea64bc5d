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

TEST(FileFilter, AcceptsAndDeniesByItsPatterns) {
  const struct {
    const char *filter, *name;
    int accepted, denied;
  } cases[] = {{"", "x", 1, 0},
               {"*.txt", "a.txt", 1, 0},
               {"*.txt", "a.txt.bak", 0, 0},
               {"*.txt", "A.TXT", 0, 0},
               {"*.log;-debug*", "debug.log", 1, 1},
               {"-debug*", "a", 1, 0},
               {";;+-a;;-", "-a", 1, 0},
               {"-", "", 1, 1},
               {"a?c;*.jpg|*.png", "x.png", 1, 0},
               {"log\\d+.txt", "log42.txt", 0, 0}, // the plus is a plus
               {"log\\d*.txt", "log4..txt", 1, 0},
               {"a(1)[x]{2}^$.b", "a(1)[x]{2}^$.b", 1, 0}};
  for (const auto &c : cases) {
    const chFileFilter filter(c.filter);
    EXPECT_EQ(filter.IsAcceptFileName(c.name), c.accepted) << c.filter << ' ' << c.name;
    EXPECT_EQ(filter.IsDenyFileName(c.name), c.denied) << c.filter << ' ' << c.name;
  }
}

TEST(FileFilter, KeepsWhatStoodAheadOfAPatternThatThrows) {
  chFileFilter filter("old");
  EXPECT_THROW(filter.SetFilter("new;-not;bad\\;later"), std::regex_error);
  const chFileFilter copy = filter;
  const chFileFilter moved = std::move(filter);
  for (const chFileFilter *each : std::initializer_list<const chFileFilter *>{
           &filter, &copy, &moved}) { // NOLINT(bugprone-use-after-move): it keeps its patterns
    EXPECT_TRUE(each->IsAcceptFileName("new") && each->IsDenyFileName("not"));
    EXPECT_FALSE(each->IsAcceptFileName("old") || each->IsAcceptFileName("later"));
  }
  filter.SetFilter("*");
  EXPECT_EQ(copy.IsAcceptFileName("old"), 0);
}

/// The pattern language as it is told: each character by its text in a regular expression.
static std::string as_expression(const std::string &pattern) {
  std::string text;
  for (const char c : pattern) {
    if (c == '*') text += '.';
    if (c == '?')
      text += '.';
    else if (std::string("$()+-.[]^{}").find(c) != std::string::npos)
      text += std::string("\\") + c;
    else
      text += c;
  }
  return text;
}

TEST(FileFilter, MatchesAsTheRegularExpressionDoesOverOddBytes) {
  std::mt19937 random(7);
  const std::string in_patterns = "ab*?**?.-[($\n\r\xff+^{}])\t|\\\0"s, in_names = "aabb.-[(\n\r\xff\t\0|"s;
  const auto any_of = [&](const std::string &set, size_t most) {
    std::string text(random() % most, '\0');
    for (char &c : text) c = set[random() % set.size()];
    return text;
  };
  for (int i = 0; i < 4000; ++i) {
    const std::string pattern = any_of(in_patterns, 8);
    std::unique_ptr<std::regex> expected;
    try {
      expected = std::make_unique<std::regex>(as_expression(pattern));
    } catch (const std::regex_error &) {
      EXPECT_THROW(chFileFilter("+" + pattern), std::regex_error) << testing::PrintToString(pattern);
      continue;
    }
    const chFileFilter filter("+" + pattern);
    for (int k = 0; k < 12; ++k) {
      std::string name = k % 2 ? any_of(in_names, 10) : pattern;
      for (char &c : name) // half of the names fit more often than chance would have it
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
    if (pathStat(full) & 0x4000) {
      if (recursive && !filter.IsDenyFileName(name)) find_plainly(full, filter, files, recursive);
    } else if (!filter.IsDenyFileName(name) && filter.IsAcceptFileName(name)) {
      files.insert(std::find_if(files.begin(), files.end(), [&](const std::string &other) { return full < other; }),
                   full);
    }
  }
}

TEST(FindFile, InsertsAsOneByOneWouldAlsoIntoAnUnsortedList) {
  const harness::temporary_directory folder;
  std::mt19937 random(3);
  const char *const names[] = {"a", "b", "-", "a-", "a.b", "a b", "Z", "b.c", "\xc3\xa4", "zz"};
  for (int i = 0; i < 60; ++i) {
    const std::string below = folder.path() + '/' + names[random() % 10] + '/' + names[random() % 10];
    pathCreateDirectory(i % 3 ? below : pathRemoveLastPart(below));
    for (int k = 0; k < 3; ++k) {
      const std::string file = (i % 2 ? below : folder.path()) + '/' + names[random() % 10];
      if (!pathFileExist(file)) harness::write_file(file, "");
    }
  }
  std::list<std::string> all;
  zarFindFile(folder.path(), "", all, true);
  ASSERT_GT(all.size(), 20u);
  for (const char *filter : {"", "a*;b", "*;-a", "-*b*", "*.?", "none"}) {
    for (const bool recursive : {true, false}) {
      std::list<std::string> files = {all.back(),   folder / "b", "",           all.front(),
                                      folder / "a", "~",          folder / "b", all.back()};
      if (recursive) files.sort();
      std::list<std::string> expected = files;
      EXPECT_TRUE(zarFindFile(folder / "//", filter, files, recursive));
      find_plainly(folder / "//", chFileFilter(filter), expected, recursive);
      EXPECT_EQ(files, expected) << filter;
    }
  }
  std::list<std::string> files = {"kept"};
  EXPECT_TRUE(zarFindFile(folder / "none", "", files, true));
  EXPECT_THROW(zarFindFile(folder.path(), "*;\\", files, true), std::regex_error);
  EXPECT_THAT(files, ElementsAre("kept"));
}

#ifdef __linux__

TEST(FindFile, FollowsLinksButNotInCircles) {
  const harness::temporary_directory folder;
  pathCreateDirectory(folder / "t/a");
  pathCreateDirectory(folder / "outside");
  for (const char *name : {"t/a/f", "t/a/\\g\xff", "outside/h"}) harness::write_file(folder / name, "");
  std::filesystem::create_symlink("..", folder / "t/a/up");
  std::filesystem::create_symlink(".", folder / "t/self");
  std::filesystem::create_symlink("../outside", folder / "t/link");
  std::filesystem::create_symlink("nowhere", folder / "t/none");
  std::list<std::string> files;
  zarFindFile(folder / "t", "", files, true);
  EXPECT_THAT(files, ElementsAre(folder / "t/a/\\g\xff", folder / "t/a/f", folder / "t/link/h", folder / "t/none"));
}

#endif
