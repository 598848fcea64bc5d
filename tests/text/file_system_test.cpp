#include "zarlib/text/file_system.h"

#include "tests/support/harness/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#ifdef __linux__
#include "tests/support/harness/refused_call.h"

#include <cerrno>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#endif

using testing::ElementsAre;
using testing::IsEmpty;

static std::vector<std::string> names_of(chPathWalker &walker) {
  std::vector<std::string> names;
  for (std::string name; walker.ReadFileName(name);) names.push_back(name);
  std::sort(names.begin(), names.end());
  return names;
}

TEST(FileSystem, TellsWhatAPathLeadsTo) {
  const harness::temporary_directory folder;
  harness::write_file(folder / "file", "12345");
  harness::write_file(folder / "huge", "");
  std::filesystem::resize_file(folder / "huge", 0x80000000u);
  const struct {
    std::string path;
    bool exists, directory;
    int size;
    long long full_size;
  } cases[] = {{folder / "file", true, false, 5, 5},
               {folder / "huge", true, false, -1, 0x80000000LL},
               {folder / "none", false, false, -1, -1},
               {"", false, false, -1, -1}};
  for (const auto &c : cases) {
    EXPECT_EQ(pathFileExist(c.path) != 0, c.exists) << c.path;
    EXPECT_EQ(pathStat(c.path) & 0xC000, c.exists ? 0x8000u : 0u) << c.path;
    EXPECT_EQ(pathFileSize(c.path), c.size) << c.path;
    EXPECT_EQ(pathFileSizei64(c.path), c.full_size) << c.path;
  }
  EXPECT_TRUE(pathFileExist(folder.path()) && pathDirectoryExist(folder.path()) && pathDirectoryExist(folder / ""));
}

TEST(FileSystem, RenamingNeverReplacesAndMovingDoes) {
  const harness::temporary_directory folder;
  harness::write_file(folder / "a", "A");
  harness::write_file(folder / "b", "B");
  EXPECT_EQ(pathRenameFile(folder / "a", folder / "b"), 0);
  EXPECT_EQ(harness::read_file(folder / "b"), "B");
  EXPECT_EQ(pathRenameFile(folder / "a", folder / "c"), 1);
  EXPECT_EQ(pathRenameFileEx(folder / "c", folder / "b"), 1);
  EXPECT_EQ(harness::read_file(folder / "b"), "A");
  EXPECT_EQ(pathRenameFileEx(folder / "c", folder / "b"), 0);
  EXPECT_EQ(pathCopyFile(folder / "b", folder / "d"), 1);
  EXPECT_TRUE(pathCopyFile("none", "none") && pathRenameFileEx("none", "none"));
  EXPECT_FALSE(pathCopyFile(folder / "none", folder / "d") || pathCopyFile(folder.path(), folder / "e"));
  EXPECT_FALSE(pathCopyFile(folder / "b", folder / "./b") || pathRemoveFile(folder / "c") || pathRemoveFile(""));
  EXPECT_EQ(harness::read_file(folder / "b") + harness::read_file(folder / "d"), "AA");
  EXPECT_EQ(pathRemoveFile(folder / "b"), 1);
  EXPECT_THAT(harness::list_directory(folder.path()), ElementsAre("d"));
}

TEST(FileSystem, CreatesAllMissingLevelsBelowAParent) {
  const harness::temporary_directory folder;
  const struct {
    std::string path;
    int result;
  } cases[] = {{"/", 1},
               {"\\", 1},
               {"C:", 1},
               {"", 0},
               {"none", 0},
               {"none/", 0},
               {"none/below", 0},
               {"/zarlib-none-of-this-name", 0},
               {folder / "a/b/c", 1},
               {folder / "a/b/c", 1},
               {folder / "d//e/", 1},
               {folder / "file", 0},
               {folder / "file/x", 0},
               {std::string(1000000, '/') + "x", 0}};
  harness::write_file(folder / "file", "");
  for (const auto &c : cases) EXPECT_EQ(pathCreateDirectory(c.path), c.result) << c.path.substr(0, 80);
  EXPECT_TRUE(pathDirectoryExist(folder / "a/b/c") && pathDirectoryExist(folder / "d/e"));
  EXPECT_FALSE(pathFileExist("none") || pathFileExist("/zarlib-none-of-this-name"));
}

TEST(FileSystem, RemovesATreeAndGoesOnOverFailures) {
  const harness::temporary_directory folder;
  pathCreateDirectory(folder / "t/a/b");
  for (const char *name : {"t/1", "t/a/2", "t/a/b/.3", "file"}) harness::write_file(folder / name, "");
  EXPECT_FALSE(pathRemoveDirectory("") || pathRemoveDirectory(folder / "file") ||
               pathRemoveEmptyDirectory(folder / "t"));
  EXPECT_EQ(pathRemoveDirectory(folder / "t"), 1);
  EXPECT_THAT(harness::list_directory(folder.path()), ElementsAre("file"));
}

TEST(PathWalker, OpensAtTheFirstReadAndStartsOverAfterClosing) {
  const harness::temporary_directory folder;
  chPathWalker walker;
  EXPECT_THAT(names_of(walker), IsEmpty());
  EXPECT_EQ(walker.OpenPath(folder / "later"), 1);
  EXPECT_THAT(names_of(walker), IsEmpty());
  pathCreateDirectory(folder / "later/sub");
  harness::write_file(folder / "later/.hidden", "");
  EXPECT_THAT(names_of(walker), ElementsAre(".hidden", "sub"));
  EXPECT_EQ(walker.OpenPath(folder.path()), 1);
  EXPECT_THAT(names_of(walker), IsEmpty()); // the old search goes on, and it is at its end
  walker.ClosePath();
  EXPECT_THAT(names_of(walker), ElementsAre("later"));
  walker.ClosePath();

  chPathWalker first(folder / "later");
  std::string name;
  ASSERT_EQ(first.ReadFileName(name), 1);
  {
    chPathWalker second(first);
    EXPECT_EQ(second.ReadFileName(name) + second.ReadFileName(name), 1);
  }
  EXPECT_EQ(first.ReadFileName(name), 0);
}

#ifdef __linux__

TEST(FileSystem, LinksAndOddEntriesOfATreeAreRemovedThemselves) {
  const harness::temporary_directory folder;
  pathCreateDirectory(folder / "outside");
  pathCreateDirectory(folder / "t/back\\");
  for (const char *name : {"outside/kept", "t/back", "t/\\x", "t/back\\/\xff\n"})
    harness::write_file(folder / name, "");
  for (const char *link : {"t/link", "top", "t/none"})
    std::filesystem::create_symlink(link == std::string("t/none") ? "nowhere" : folder / "outside", folder / link);
  sockaddr_un address = {AF_UNIX, {}};
  (folder / "t/s").copy(address.sun_path, sizeof address.sun_path - 1);
  const int socket_file = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(bind(socket_file, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
  close(socket_file);
  EXPECT_EQ(pathStat(folder / "t/s") & 0x4000, 0u);
  EXPECT_FALSE(pathRemoveDirectory(folder / "top") || pathRemoveDirectory(folder / "top/"));
  EXPECT_EQ(pathRemoveDirectory(folder / "t"), 1);
  EXPECT_THAT(harness::list_directory(folder.path()), ElementsAre("outside", "top"));
  EXPECT_TRUE(pathFileExist(folder / "outside/kept"));
}

TEST(FileSystem, RenamingNeverReplacesWhereTheSystemCannotHelp) {
  const std::vector<harness::refused_call> no_flag = {{SYS_renameat2, EINVAL}};
  const std::vector<harness::refused_call> no_links = {{SYS_renameat2, ENOSYS}, {SYS_linkat, EPERM}};
  for (const auto &refused : {no_flag, no_links}) {
    const harness::temporary_directory folder;
    for (const char *name : {"a", "b", "c/in"}) {
      pathCreateDirectory(folder / "c");
      harness::write_file(folder / name, name);
    }
    pathCreateDirectory(folder / "empty");
    const bool filtered = harness::run_refusing(refused, [&] {
      EXPECT_FALSE(pathRenameFile(folder / "a", folder / "b") || pathRenameFile(folder / "c", folder / "empty"));
      EXPECT_FALSE(pathRenameFile(folder / "none", folder / "x") || pathRenameFile(folder / "c", folder / "c/in/x"));
      EXPECT_TRUE(pathRenameFile(folder / "a", folder / "d") && pathRenameFile(folder / "c", folder / "e"));
    });
    if (!filtered) GTEST_SKIP() << "no system call filters here";
    EXPECT_THAT(harness::list_directory(folder.path()), ElementsAre("b", "d", "e", "empty"));
    EXPECT_EQ(harness::read_file(folder / "b") + harness::read_file(folder / "d"), "ba");
    EXPECT_EQ(harness::read_file(folder / "e/in"), "c/in");
  }
}

#endif
