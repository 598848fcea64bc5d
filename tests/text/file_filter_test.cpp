#include "zarlib/text/file_filter.h"

#include "zarlib/text/file_system.h"
#include "zarlib/text/paths.h"

#include "tests/support/harness/files.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <random>
#include <regex>

using namespace std::string_literals;

TEST(FileFilter, ReadsItsFieldsAndKeepsWhatStoodAheadOfOneThatThrows) {
  chFileFilter filter(";;*.log;+-a;-debug*;x?|y;\\d");
  for (const char *name : {"a.log", "debug.log", "-a", "xz", "7"}) EXPECT_TRUE(filter.IsAcceptFileName(name)) << name;
  for (const char *name : {"a.log.bak", "A.LOG", "x", "debug"}) EXPECT_FALSE(filter.IsAcceptFileName(name)) << name;
  EXPECT_TRUE(filter.IsDenyFileName("debug.log") && !filter.IsDenyFileName("a.log"));
  EXPECT_TRUE(chFileFilter("-a").IsAcceptFileName("b") && chFileFilter("").IsAcceptFileName(""));
  EXPECT_THROW(filter.SetFilter("new;-not;bad\\;later"), std::regex_error);
  EXPECT_TRUE(filter.IsAcceptFileName("new") && filter.IsDenyFileName("not") && !filter.IsAcceptFileName("later"));
}

/// The pattern language as documented: each character becomes part of a regular expression.
static std::string as_expression(const std::string &pattern) {
  static const std::regex escaped("[$()+.[\\]^{}-]"), run("\\*"), one("\\?");
  return std::regex_replace(std::regex_replace(std::regex_replace(pattern, escaped, "\\$&"), run, ".*"), one, ".");
}

TEST(FileFilter, MatchesAsTheRegularExpressionDoesOverOddBytes) {
  std::mt19937 random(7);
  const std::string in_patterns = "ab*?**?.-[($\n\r\xff+^{}])\t|\0"s, in_names = "aabb.-[(\n\r\xff\t\0|"s;
  for (int i = 0; i < 4000; ++i) {
    std::string pattern(random() % 8, '\0');
    for (char &c : pattern) c = in_patterns[random() % in_patterns.size()];
    const std::regex expected(as_expression(pattern));
    const chFileFilter filter("+" + pattern);
    for (int k = 0; k < 12; ++k) {
      std::string name = pattern.substr(0, random() % 9) + std::string(random() % 4, '*');
      for (char &c : name) // so that many names match
        if (c == '*' || c == '?' || random() % 16 == 0) c = in_names[random() % in_names.size()];
      EXPECT_EQ(filter.IsAcceptFileName(name) != 0, std::regex_match(name, expected))
          << testing::PrintToString(pattern) << " on " << testing::PrintToString(name);
    }
  }
}

/// A simple and slow zarFindFile().
static void find_plainly(const std::string &in, const chFileFilter &filter, std::list<std::string> &files, bool deep) {
  chPathWalker walker(in);
  for (std::string name; walker.ReadFileName(name);) {
    const std::string full = pathAppend(in, name);
    const bool folder = pathDirectoryExist(full), denied = filter.IsDenyFileName(name);
    if (folder && !denied && deep && name != "circle") find_plainly(full, filter, files, deep);
    if (folder || denied || !filter.IsAcceptFileName(name)) continue;
    files.insert(std::find_if(files.begin(), files.end(), [&](const auto &other) { return full < other; }), full);
  }
}

TEST(FindFile, InsertsAsOneByOneWouldAlsoIntoAnUnsortedList) {
  const harness::temporary_directory folder, outside;
  std::mt19937 random(3);
  const std::string names[] = {"a", "b", "-", "a-", "a.b", "a b", "Z", "b.c", "\xc3\xa4", "zz"};
  for (int i = 0; i < 200; ++i) {
    std::string path = folder / names[random() % 10];
    while (random() % 3 != 0) path += '/' + names[random() % 10];
    pathCreateDirectory(i < 50 ? path : pathRemoveLastPart(path));
    if (!pathFileExist(path)) harness::write_file(path, "");
  }
  harness::write_file(outside / "a", "");
  std::error_code no_links; // not every system has them
  std::filesystem::create_directory_symlink(outside.path(), folder / "link", no_links);
  std::filesystem::create_directory_symlink(".", folder / "circle", no_links);
  for (const char *filter : {"", "a*;b", "*;-a", "-*b*", "*.?", "none"}) {
    for (const bool recursive : {true, false}) {
      std::list<std::string> files = {folder / "zz", folder / "b", "", folder / "a", "~", folder / "zz"};
      if (recursive) files.sort();
      std::list<std::string> expected = files;
      EXPECT_TRUE(zarFindFile(folder / "//", filter, files, recursive));
      find_plainly(folder / "//", chFileFilter(filter), expected, recursive);
      EXPECT_EQ(files, expected) << filter;
    }
  }
}
