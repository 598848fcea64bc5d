#include "zarlib/text/file_system.h"

#include "tests/support/harness/files.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

TEST(FileSystem, RenamingNeverReplacesAndMovingDoes) {
  const harness::temporary_directory folder;
  for (const char *name : {"a", "b"}) harness::write_file(folder / name, name);
  EXPECT_FALSE(pathRenameFile(folder / "a", folder / "b") || pathRenameFile(folder / "a", folder / "a"));
  EXPECT_EQ(harness::read_file(folder / "b"), "b");
  EXPECT_TRUE(pathRenameFile(folder / "a", folder / "c") && pathRenameFileEx(folder / "c", folder / "b"));
  EXPECT_TRUE(pathCopyFile(folder / "b", folder / "d") && pathCopyFile("no", "no") && pathRenameFileEx("no", "no"));
  EXPECT_FALSE(pathCopyFile(folder / "none", folder / "d") || pathCopyFile(folder / "b", folder / "./b"));
  EXPECT_EQ(harness::read_file(folder / "b") + harness::read_file(folder / "d"), "aa");
  EXPECT_TRUE(pathRemoveFile(folder / "b") && !pathRemoveFile(folder / "b"));
  EXPECT_THAT(harness::list_directory(folder.path()), testing::ElementsAre("d"));
}

TEST(FileSystem, CreatesAllMissingLevelsBelowAParentAndTellsWhatIsThere) {
  const harness::temporary_directory folder;
  const std::string huge = folder / "huge", far(1000000, 'x'), none;
  harness::write_file(huge, none);
  std::filesystem::resize_file(huge, 0x80000000u);
  for (const auto &path : {"/" + none, "C:" + none, folder / "a/b/c", folder / "a/b/c", folder / "d//e/"})
    EXPECT_EQ(pathCreateDirectory(path), 1) << path;
  for (const auto &path : {none, "no/" + none, "no/below" + none, "/zarlib-none" + none, huge + "/x", far})
    EXPECT_EQ(pathCreateDirectory(path), 0) << path.substr(0, 80);
  EXPECT_TRUE(pathDirectoryExist(folder / "a/b/c") && pathDirectoryExist(folder / "d/e/"));
  struct stat facts = {};
  harness::write_file(folder / "p.EXE", none);
  EXPECT_TRUE(stat((folder / "p.EXE").c_str(), &facts) == 0 && pathStat(folder / "p.EXE") == facts.st_mode);
  EXPECT_TRUE(pathStat(huge) >> 12 == 8 && pathFileSizei64(huge) == 0x80000000LL && pathFileSize(huge) == -1);
}

TEST(FileSystem, RemovesATreeButNotWhatItsLinksLeadTo) {
  const harness::temporary_directory folder;
  for (const char *name : {"t/a/b", "t/back\\", "outside"}) pathCreateDirectory(folder / name);
  for (const char *name : {"outside/kept", "t/1", "t/a/b/.3"}) harness::write_file(folder / name, "");
#ifdef __linux__
  for (const char *link : {"t/link", "link"}) std::filesystem::create_symlink(folder / "outside", folder / link);
  EXPECT_FALSE(pathRemoveDirectory(folder / "link") || pathRemoveDirectory(folder / "link/"));
  for (const char *name : {"t/back", "t/\\x", "t/back\\/\xff\n"}) harness::write_file(folder / name, "");
#endif
  EXPECT_TRUE(pathRemoveDirectory(folder / "t") && !pathFileExist(folder / "t") && pathStat(folder / "outside/kept"));
}

TEST(PathWalker, OpensAtTheFirstReadAndStartsOverAfterClosing) {
  const harness::temporary_directory folder;
  std::string name;
  chPathWalker walker(folder / "later");
  EXPECT_TRUE(!walker.ReadFileName(name) && pathCreateDirectory(folder / "later/.sub") && walker.ReadFileName(name));
  EXPECT_TRUE(walker.OpenPath(folder.path()) && !walker.ReadFileName(name) && name == ".sub") << "the old search";
  walker.ClosePath();
  EXPECT_TRUE(walker.ReadFileName(name) && name == "later");
}

#ifdef __linux__
#include <sys/syscall.h>
#include <unistd.h>

static int no_rename = 0, no_link = 0, no_copy = 0; // the reasons

template <class... Arguments>
static int call(int refusal, long number, Arguments... arguments) {
  return refusal ? (errno = refusal, -1) : static_cast<int>(syscall(number, arguments...));
}

// Interposed: the library's calls come here too.
extern "C" int linkat(int a, const char *b, int c, const char *d, int e) noexcept {
  return call(no_link, SYS_linkat, a, b, c, d, e);
}
extern "C" int renameat2(int a, const char *b, int c, const char *d, unsigned e) noexcept {
  return call(no_rename, SYS_renameat2, a, b, c, d, e);
}
extern "C" ssize_t copy_file_range(int a, off64_t *b, int c, off64_t *d, size_t e, unsigned f) {
  return call(no_copy, SYS_copy_file_range, a, b, c, d, e, f);
}

TEST(FileSystem, RenamingNeverReplacesWhereTheFileSystemCannotHelp) {
  for (const auto &[rename_error, link_error] : {std::pair(EINVAL, 0), {ENOSYS, EPERM}, {EOPNOTSUPP, EOPNOTSUPP}}) {
    const harness::temporary_directory folder;
    for (const char *name : {"d/in", "e"}) std::filesystem::create_directories(folder / name);
    for (const char *name : {"a", "b"}) harness::write_file(folder / name, name);
    std::filesystem::create_symlink("none", folder / "l");
    no_rename = rename_error, no_link = link_error;
    for (const std::string both : {"ab", "aa", "ae", "al", "de", "db", "dd/x", "ano/x", "dno/x", "nn"})
      EXPECT_FALSE(pathRenameFile(folder / both.substr(0, 1), folder / both.substr(1))) << both << link_error;
    for (const std::string name : {"a", "d", "l"}) EXPECT_TRUE(pathRenameFile(folder / name, folder / (name + "2")));
    EXPECT_THAT(harness::list_directory(folder.path()), testing::ElementsAre("a2", "b", "d2", "e", "l2"));
    EXPECT_EQ(harness::read_file(folder / "a2") + harness::read_file(folder / "b"), "ab");
    EXPECT_TRUE(pathDirectoryExist(folder / "d2/in") && std::filesystem::is_symlink(folder / "l2"));
  }
  no_rename = no_link = 0;
}

TEST(FileSystem, MovesAllBytesOrLeavesTheFileWhereItWas) {
  const harness::temporary_directory folder;
  const std::string bytes(300000, 'm');
  for (const int refusal : {0, EXDEV}) {
    harness::write_file(folder / "a", bytes);
    std::filesystem::permissions(folder / "a", std::filesystem::perms(refusal ? 0604 : 0666));
    no_copy = refusal;
    EXPECT_TRUE(!pathRenameFileEx(folder / "a", "/dev/full") && pathFileExist("/dev/full"));
    EXPECT_TRUE(pathFileExist(folder / "a") && pathRenameFileEx(folder / "a", folder / "b"));
    EXPECT_TRUE(harness::read_file(folder / "b") == bytes && pathStat(folder / "b") == (refusal ? 0x8184 : 0x81B6));
  }
}

#endif
