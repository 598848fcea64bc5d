#include "zarlib/text/paths.h"

#include "tests/support/harness/child_process.h"

#include <gtest/gtest.h>

#include <filesystem>

TEST(Paths, AreTakenApartAndPutTogether) {
  // File name, extension, first part, last part, the path without it; with another extension, with another name.
  const std::string cases[][2] = {{"a/b.txt", "b.txt|.txt|a|b.txt|a|a/b.x|a/c"},
                                  {"a.b/c", "c||a.b|c|a.b|a.x|a.b/c"},
                                  {"a/b/", "||a|b|a/|.x|a/b/c"},
                                  {"/abc", "abc||abc|abc||.x|/c"},
                                  {".rc", ".rc|.rc|.rc|.rc|.rc|.x|c"},
                                  {"///", "||||///|.x|///c"},
                                  {"C:\\a\\b.t.gz", "b.t.gz|.gz|C:|b.t.gz|C:\\a|C:\\a\\b.t.x|C:\\a\\c"}};
  for (const auto &[path, expected] : cases) {
    const std::string file = pathGetFileName(path) + '|' + pathGetFileExtension(path);
    const std::string parts = pathGetFirstPart(path) + '|' + pathGetLastPart(path) + '|' + pathRemoveLastPart(path);
    const std::string replaced = pathReplaceExtern(path, ".x") + '|' + pathReplaceFileName(path, "c");
    EXPECT_EQ(file + '|' + parts + '|' + replaced, expected) << path;
  }
  const std::string joined[][3] = {{"", "x", "/x"}, {"a\\/", "/b\\", "a/b\\"}, {"a", "", "a/"}, {"//", "//", "/"}};
  for (const auto &[left, right, result] : joined) EXPECT_EQ(pathAppend(left, right), result);
}

TEST(Paths, TidyToOneFormAndBecomeAbsolute) {
  // The first character is dropped unchecked.
  const std::string tidy[][2] = {{"C:\\a\\.\\b\\..\\c\\", "C:/a/c"},
                                 {"/../a//b/.../c./../d", "/a/b/.../d"},
                                 {"\\\\srv\\..\\..\\x", "\\/x"},
                                 {"abc/def", "/bc/def"},
                                 {"C:\\", "C:/"}};
  for (const auto &[path, result] : tidy) EXPECT_EQ(pathTidy(path), result);
  for (const char *path : {"", "C:"}) EXPECT_THROW(pathTidy(path), std::out_of_range) << path;
  const std::string absolute[][2] = {{"x/../y", "C:/r/y"}, {"\\y", "/y"}, {"d:\\y", "d:/y"}, {"", "C:/r"}};
  for (const auto &[path, result] : absolute) EXPECT_EQ(pathGetAbsolutePath(path, "C:/r"), result);
  EXPECT_EQ(pathGetAbsolutePath("x", ""), std::filesystem::path(harness::program_folder()).generic_string() + "x");
}
