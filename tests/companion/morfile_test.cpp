#include "zarlib/companion/morfile.h"

#include "tests/support/harness/files.h"

#include <gtest/gtest.h>

#ifdef __linux__
#include "tests/support/harness/refused_call.h"

#include <cerrno>
#include <csignal>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

static const std::string odd_bytes("\0\r\n\x1a\xff\r\r\n", 8);

TEST(FileStdio, WalksThroughItsStates) {
  const harness::temporary_directory folder;
  const std::string path = folder / "f";
  chFileStdio file(nullptr);
  EXPECT_FALSE(file.IsFileOpened() || file.WriteString("x") || file.Write("x", 1, 1) || file.Flush());
  EXPECT_EQ(file.GetPosition(), -1);
  file.Close();
  EXPECT_FALSE(file.Open(path, 0x4000) || file.Open(folder / "no/f", 0x1000));
  EXPECT_EQ(harness::list_directory(folder.path()).size(), 0u);

  ASSERT_TRUE(file.Open(path, 0x1000));
  EXPECT_TRUE(file.WriteString(odd_bytes) && file.Write("abcd", 2, 2) && file.Write("x", 0, 5));
  EXPECT_FALSE(file.Write("x", -1, -1));
  EXPECT_EQ(file.GetPosition(), 12);
  EXPECT_EQ(harness::read_file(path), "");
  EXPECT_TRUE(file.Flush());
  EXPECT_EQ(harness::read_file(path), odd_bytes + "abcd");

  ASSERT_TRUE(file.Open(path, 0x3000));
  EXPECT_EQ(file.GetPosition(), 12);
  {
    chFileStdio beside(path, 0x3000);
    file.WriteString("1");
    beside.WriteString("2");
  }
  file.Close();
  EXPECT_EQ(harness::read_file(path), odd_bytes + "abcd21");
  chFileStdio(path, 0x1000).WriteString("anew");
  EXPECT_EQ(harness::read_file(path), "anew");
}

#ifdef __linux__

TEST(FileStdio, NoRecordIsTornBetweenTwoWrites) {
  // A socket of this kind keeps the bounds of each write.
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);
  chFileStdio file(fdopen(ends[0], "w"));
  std::string sent, received;
  const auto receive = [&] {
    std::string packet(256 * 1024, '\0');
    packet.resize(static_cast<size_t>(std::max<ssize_t>(recv(ends[1], packet.data(), packet.size(), MSG_DONTWAIT), 0)));
    received += packet;
    return packet;
  };
  for (const size_t length : {10, 65535, 1, 65534, 3, 65536, 90000, 100}) {
    const std::string line(length, static_cast<char>('a' + length % 26));
    EXPECT_TRUE(file.WriteRecord({line, "\r\n"}));
    sent += line + "\r\n";
    for (std::string packet = receive(); !packet.empty(); packet = receive()) EXPECT_EQ(packet.back(), '\n');
    EXPECT_LT(sent.size() - received.size(), 65536u);
  }
  file.Flush();
  receive();
  EXPECT_EQ(sent, received);
  close(ends[1]);
}

TEST(FileStdio, AFailedWriteLosesItsOwnBytesOnly) {
  const harness::temporary_directory folder;
  chFileStdio file(folder / "f", 0x3000);
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const rlimit tight = {100, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
  const bool wrote[] = {file.WriteString(std::string(60, 'a')) && file.Flush(),
                        file.WriteString(std::string(60, 'b')) && file.Flush(),
                        file.WriteString(std::string(30, 'c')) && file.Flush()};
  setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_TRUE(wrote[0] && !wrote[1] && wrote[2]);
  EXPECT_EQ(file.GetPosition(), 90);
  file.Close();
  EXPECT_EQ(harness::read_file(folder / "f"), std::string(60, 'a') + std::string(30, 'c'));
}

TEST(WholeFiles, WriteFailsWhenTheBytesCannotBeForcedToTheDisk) {
  const harness::temporary_directory folder;
  const bool filtered = harness::run_refusing({{SYS_fsync, EIO}, {SYS_fdatasync, EIO}},
                                              [&] { EXPECT_FALSE(zarWriteBinFile(folder / "f", "abc", 3)); });
  if (!filtered) GTEST_SKIP() << "no system call filters here";
  EXPECT_EQ(harness::read_file(folder / "f"), "abc");
  EXPECT_FALSE(zarWriteBinFile("/dev/full", "abc", 3));
  EXPECT_GT(zarDumpTextFileA("/proc/self/status").size(), 100u); // of size 0, by its own account
}

#endif

TEST(WholeFiles, RoundTripAnyBytesUnderAnyName) {
  const harness::temporary_directory folder;
  const std::string path = folder / "\xc3\xa4 \xe2\x82\xac;%s";
  std::string large;
  for (int i = 0; i < 100000; ++i) large += static_cast<char>(i * 7 % 251);
  for (const std::string &bytes : {large, odd_bytes, std::string()}) {
    EXPECT_TRUE(zarWriteBinFile(path, bytes.data(), static_cast<int>(bytes.size())));
    EXPECT_EQ(zarDumpTextFileA(path), bytes);
    EXPECT_EQ(harness::read_file(path), bytes);
  }
  ASSERT_TRUE(zarWriteBinFile(path, "kept", 4));
  EXPECT_FALSE(zarWriteBinFile(path, "x", -1) || zarWriteBinFile(path, nullptr, 1));
  EXPECT_FALSE(zarWriteBinFile(folder / "no/f", "x", 1) || zarWriteBinFile("", "x", 1));
  EXPECT_EQ(zarDumpTextFileA(path), "kept");
  EXPECT_EQ(zarDumpTextFileA(folder / "none") + zarDumpTextFileA(folder.path()), "");
}
