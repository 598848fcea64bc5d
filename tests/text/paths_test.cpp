#include "zarlib/text/paths.h"

#include "tests/support/harness/child_process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

TEST(Paths, TakeAPathApart) {
  // File name, extension, first part, last part, and what stays without the last part.
  const std::string cases[][2] = {{"a/b.txt", "b.txt|.txt|a|b.txt|a"},
                                  {"a.b/c", "c||a.b|c|a.b"},
                                  {"a/b/", "||a|b|a/"},
                                  {"abc", "abc||abc|abc|abc"},
                                  {"/abc", "abc||abc|abc|"},
                                  {".rc", ".rc|.rc|.rc|.rc|.rc"},
                                  {"///", "||||///"},
                                  {"C:\\a\\b.t.gz", "b.t.gz|.gz|C:|b.t.gz|C:\\a"}};
  for (const auto &[path, expected] : cases) {
    const std::string file = pathGetFileName(path) + '|' + pathGetFileExtension(path);
    const std::string parts = pathGetFirstPart(path) + '|' + pathGetLastPart(path) + '|' + pathRemoveLastPart(path);
    EXPECT_EQ(file + '|' + parts, expected) << path;
  }
}

TEST(Paths, PutAPathTogether) {
  const std::string joined[][3] = {{"", "x", "/x"}, {"a\\/", "/b\\", "a/b\\"}, {"a", "", "a/"}, {"//", "//", "/"}};
  for (const auto &[left, right, result] : joined) EXPECT_EQ(pathAppend(left, right), result);
  // With another extension, and with another name.
  const std::string replaced[][3] = {{"a.txt", "a.xml", "c"}, {"abc", ".xml", "c"},     {"a.b/c", "a.xml", "a.b/c"},
                                     {".rc", ".xml", "c"},    {"a\\b", ".xml", "a\\c"}, {"", ".xml", "c"}};
  for (const auto &[path, with_extension, with_name] : replaced) {
    EXPECT_EQ(pathReplaceExtern(path, ".xml"), with_extension) << path;
    EXPECT_EQ(pathReplaceFileName(path, "c"), with_name) << path;
  }
}

TEST(Paths, TidyToOneForm) {
  EXPECT_EQ(pathTidy("C:\\a\\.\\b\\..\\c\\"), "C:/a/c");
  EXPECT_EQ(pathTidy("C:\\"), "C:/");
  EXPECT_EQ(pathTidy("/../a//b/.../c./../d"), "/a/b/.../d");
  EXPECT_EQ(pathTidy("\\\\srv\\share\\..\\x"), "\\/srv/x");
  EXPECT_EQ(pathTidy("//srv/x"), "/srv/x");
  EXPECT_EQ(pathTidy("abc/def"), "/bc/def") << "the first character is dropped unseen";
  EXPECT_EQ(pathTidy("a"), "/");
  for (const char *path : {"", "C:"}) EXPECT_THROW(pathTidy(path), std::out_of_range) << path;
}

TEST(Paths, BecomeAbsoluteFromTheBaseOrTheExecutable) {
  const std::string paths[] = {"x/../y", "/y", "\\y", "d:\\y", ""}, results[] = {"C:/r/y", "/y", "/y", "d:/y", "C:/r"};
  for (size_t i = 0; i < std::size(paths); ++i) EXPECT_EQ(pathGetAbsolutePath(paths[i], "C:/r"), results[i]);
  std::string folder = harness::program_folder();
  std::replace(folder.begin(), folder.end(), '\\', '/');
  EXPECT_EQ(pathGetAbsolutePath("x/y", ""), folder + "x/y");
}
