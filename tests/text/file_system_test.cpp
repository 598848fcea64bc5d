#include "zarlib/text/file_system.h"

#include "tests/support/harness/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#ifdef __linux__
#include <sys/stat.h>
#endif

using testing::ElementsAre;

TEST(FileSystem, TellsWhatAPathLeadsTo) {
  const harness::temporary_directory folder;
  harness::write_file(folder / "huge", "");
  std::filesystem::resize_file(folder / "huge", 0x80000000u);
  EXPECT_TRUE(pathStat(folder / "huge") >> 12 == 8 && pathFileSizei64(folder / "huge") == 0x80000000LL);
  EXPECT_TRUE(pathFileExist(folder.path()) && pathDirectoryExist(folder.path()) && pathDirectoryExist(folder / ""));
  for (const std::string &path : {folder / "none", std::string(), folder / "huge"}) EXPECT_EQ(pathFileSize(path), -1);
  EXPECT_FALSE(pathFileExist(folder / "none") || pathStat(""));
}

TEST(FileSystem, RenamingNeverReplacesAndMovingDoes) {
  const harness::temporary_directory folder;
  for (const char *name : {"a", "b"}) harness::write_file(folder / name, name);
  EXPECT_FALSE(pathRenameFile(folder / "a", folder / "b"));
  EXPECT_EQ(harness::read_file(folder / "b"), "b");
  EXPECT_TRUE(pathRenameFile(folder / "a", folder / "c") && pathRenameFileEx(folder / "c", folder / "b"));
  EXPECT_TRUE(pathCopyFile(folder / "b", folder / "d") && pathCopyFile("none", "none") && pathRenameFileEx("no", "no"));
  EXPECT_FALSE(pathCopyFile(folder / "none", folder / "d") || pathCopyFile(folder / "b", folder / "./b"));
  EXPECT_FALSE(pathCopyFile(folder.path(), folder / "e") || pathRemoveFile(folder / "c") || pathRemoveFile(""));
  EXPECT_EQ(harness::read_file(folder / "b") + harness::read_file(folder / "d"), "aa");
  EXPECT_TRUE(pathRemoveFile(folder / "b"));
  EXPECT_THAT(harness::list_directory(folder.path()), ElementsAre("d"));
}

TEST(FileSystem, CreatesAllMissingLevelsBelowAParent) {
  const harness::temporary_directory folder;
  harness::write_file(folder / "file", "");
  for (const std::string &path :
       {std::string("/"), std::string("C:"), folder / "a/b/c", folder / "a/b/c", folder / "d//e/"})
    EXPECT_EQ(pathCreateDirectory(path), 1) << path;
  for (const std::string &path : {std::string(), std::string("none"), std::string("none/"), std::string("none/below"),
                                  std::string("/zarlib-none"), folder / "file/x", std::string(1000000, 'x')})
    EXPECT_EQ(pathCreateDirectory(path), 0) << path.substr(0, 80);
  EXPECT_TRUE(pathDirectoryExist(folder / "a/b/c") && pathDirectoryExist(folder / "d/e"));
}

TEST(FileSystem, RemovesATreeButNotWhatItsLinksLeadTo) {
  const harness::temporary_directory folder;
  pathCreateDirectory(folder / "t/a/b");
  pathCreateDirectory(folder / "outside");
  for (const char *name : {"outside/kept", "t/1", "t/a/b/.3"}) harness::write_file(folder / name, "");
  EXPECT_FALSE(pathRemoveDirectory("") || pathRemoveDirectory(folder / "t/1") ||
               pathRemoveEmptyDirectory(folder / "t"));
#ifdef __linux__
  for (const char *link : {"t/link", "link"}) std::filesystem::create_symlink(folder / "outside", folder / link);
  EXPECT_FALSE(pathRemoveDirectory(folder / "link") || pathRemoveDirectory(folder / "link/"));
  pathCreateDirectory(folder / "t/back\\");
  for (const char *name : {"t/back", "t/\\x", "t/back\\/\xff\n"}) harness::write_file(folder / name, "");
  ASSERT_EQ(mknod((folder / "t/socket").c_str(), S_IFSOCK | 0600, 0), 0);
  EXPECT_FALSE(pathDirectoryExist(folder / "t/socket")); // whose own type bits hold the directory's
#endif
  EXPECT_TRUE(pathRemoveDirectory(folder / "t") && pathFileExist(folder / "outside/kept"));
  EXPECT_FALSE(pathFileExist(folder / "t"));
}

TEST(PathWalker, OpensAtTheFirstReadAndStartsOverAfterClosing) {
  const harness::temporary_directory folder;
  std::string name = "untouched";
  chPathWalker walker;
  EXPECT_TRUE(!walker.ReadFileName(name) && walker.OpenPath(folder / "later") && !walker.ReadFileName(name));
  pathCreateDirectory(folder / "later/.sub");
  EXPECT_TRUE(name == "untouched" && walker.ReadFileName(name) && name == ".sub");
  EXPECT_TRUE(walker.OpenPath(folder.path()) && !walker.ReadFileName(name)); // the old search, at its end
  walker.ClosePath();
  {
    chPathWalker sharer(walker);
    EXPECT_TRUE(walker.ReadFileName(name) && name == "later");
    sharer = walker;
  }
  EXPECT_FALSE(walker.ReadFileName(name));
}
