#include "zarlib/companion/morfile.h"

#include "tests/support/harness/files.h"

#include <gtest/gtest.h>

#ifdef __linux__
#include <csignal>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

static int disk_error = 0, times_forced = 0;

// Interposed: the library's calls come here too.
extern "C" int fsync(int file) {
  ++times_forced;
  return disk_error ? (errno = disk_error, -1) : static_cast<int>(syscall(SYS_fsync, file));
}
#endif

static const std::string odd_bytes("\0\r\n\x1a\xff\r\r\n", 8);

TEST(FileStdio, WalksThroughItsStates) {
  const harness::temporary_directory folder;
  const std::string path = folder / "\xc3\xa4 \xe2\x82\xac;%s";
  chFileStdio file(nullptr);
  EXPECT_FALSE(file.Open(path, 0x4000) || file.Open(folder / "no/f", 0x1000) || file.IsFileOpened());
  EXPECT_FALSE(file.WriteString("x") || file.Write("x", 1, 1) || file.Flush() || file.GetPosition() != -1);
  EXPECT_TRUE(file.Open(path, 0x1000) && file.WriteString(odd_bytes) && file.Write("abcd", 2, 2) &&
              !file.Write("x", -1, -1));
  EXPECT_TRUE(file.GetPosition() == 12 && harness::read_file(path).empty());
  EXPECT_TRUE(file.Open(path, 0x3000) && file.GetPosition() == 12 && file.WriteString("1"));
  chFileStdio(path, 0x3000).WriteString("2");
  file.Close();
  EXPECT_EQ(zarDumpTextFileA(path) + zarDumpTextFileA(folder / "none"), odd_bytes + "abcd21");
  EXPECT_TRUE(zarWriteBinFile(path, odd_bytes.data(), 8) && zarDumpTextFileA(path) == odd_bytes);
  EXPECT_FALSE(zarWriteBinFile(path, "x", -1) || zarWriteBinFile(folder / "no/f", "x", 1));
}

TEST(FileStdio, NoRecordIsTornBetweenTwoWrites) {
  const harness::temporary_directory folder;
  chFileStdio file(folder / "f", 0x1000);
  std::string sent;
  for (const size_t length : {10, 65535, 1, 65534, 3, 65536, 90000, 100}) {
    const std::string line(length, static_cast<char>('a' + length % 26));
    EXPECT_TRUE(length % 2 ? file.WriteRecord({line, "\r\n"}) : file.WriteString(line + "\r\n"));
    sent += line + "\r\n";
    const std::string arrived = harness::read_file(folder / "f");
    EXPECT_TRUE(sent.size() - arrived.size() < 65536 && (arrived.empty() || arrived.back() == '\n')) << length;
  }
  EXPECT_TRUE(file.Flush());
  EXPECT_EQ(harness::read_file(folder / "f"), sent);
}

#ifdef __linux__

TEST(FileStdio, AFailedWriteLosesItsOwnBytesOnly) {
  const harness::temporary_directory folder;
  chFileStdio file(folder / "f", 0x3000);
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit tight = {100, RLIM_INFINITY}, wide = {RLIM_INFINITY, RLIM_INFINITY};
  setrlimit(RLIMIT_FSIZE, &tight);
  std::string wrote;
  for (const auto &record : {std::string(60, 'a'), std::string(60, 'b'), std::string(30, 'c')})
    wrote += file.WriteString(record) && file.Flush() ? '1' : '0';
  setrlimit(RLIMIT_FSIZE, &wide);
  EXPECT_EQ(wrote + harness::read_file(folder / "f"), "101" + std::string(60, 'a') + std::string(30, 'c'));
}

TEST(WholeFile, IsForcedOutOrRefusedAndNeverRemoved) {
  const harness::temporary_directory folder;
  for (const int error : {0, EIO, ENOSPC, EROFS}) {
    const std::string bytes = "bytes " + std::to_string(error);
    disk_error = error, times_forced = 0;
    EXPECT_EQ(zarWriteBinFile(folder / "f", bytes.data(), static_cast<int>(bytes.size())),
              error == 0 || error == EROFS);
    EXPECT_EQ(harness::read_file(folder / "f") + std::to_string(times_forced), bytes + "1") << "what was written stays";
  }
  EXPECT_TRUE(zarWriteBinFile("/dev/null", "x", 1) && !zarWriteBinFile("/dev/full", "x", 1));
}

#endif
