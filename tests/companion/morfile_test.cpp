#include "zarlib/companion/morfile.h"

#include "tests/support/harness/files.h"

#include <gtest/gtest.h>

#ifdef __linux__
#include <csignal>
#include <sys/resource.h>
#include <sys/socket.h>
#endif

static const std::string odd_bytes("\0\r\n\x1a\xff\r\r\n", 8);

TEST(FileStdio, WalksThroughItsStates) {
  const harness::temporary_directory folder;
  const std::string path = folder / "\xc3\xa4 \xe2\x82\xac;%s";
  chFileStdio file(nullptr);
  EXPECT_FALSE(file.Open(path, 0x4000) || file.Open(folder / "no/f", 0x1000) || file.IsFileOpened());
  EXPECT_FALSE(file.WriteString("x") || file.Write("x", 1, 1) || file.Flush() || file.GetPosition() != -1);
  ASSERT_TRUE(file.Open(path, 0x1000));
  EXPECT_TRUE(file.WriteString(odd_bytes) && file.Write("abcd", 2, 2) && !file.Write("x", -1, -1));
  EXPECT_TRUE(file.GetPosition() == 12 && harness::read_file(path).empty() && file.Flush());
  EXPECT_EQ(harness::read_file(path), odd_bytes + "abcd");
  EXPECT_TRUE(file.Open(path, 0x3000) && file.GetPosition() == 12 && file.WriteString("1"));
  chFileStdio(path, 0x3000).WriteString("2");
  file.Close();
  EXPECT_EQ(harness::read_file(path), odd_bytes + "abcd21");
  chFileStdio(path, 0x1000).WriteString("anew");
  EXPECT_EQ(harness::read_file(path), "anew");
}

TEST(WholeFiles, RoundTripAnyBytesAndRefuseWithoutATouch) {
  const harness::temporary_directory folder;
  for (const std::string &bytes : {std::string(100000, 'x') + odd_bytes, std::string(), odd_bytes}) {
    EXPECT_TRUE(zarWriteBinFile(folder / "f", bytes.data(), static_cast<int>(bytes.size())));
    EXPECT_EQ(harness::read_file(folder / "f"), bytes);
  }
  EXPECT_FALSE(zarWriteBinFile(folder / "f", "x", -1) || zarWriteBinFile(folder / "no/f", "x", 1));
  EXPECT_EQ(zarDumpTextFileA(folder / "f") + zarDumpTextFileA(folder / "none") + zarDumpTextFileA("."), odd_bytes);
}

#ifdef __linux__

TEST(FileStdio, NoRecordIsTornBetweenTwoWrites) {
  int ends[2]; // of a socket that keeps the bounds of each write
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);
  chFileStdio file(fdopen(ends[0], "w")), other_end(fdopen(ends[1], "w"));
  std::string sent, received, packet(256 * 1024, '\0');
  const auto receive = [&] {
    for (ssize_t size; (size = recv(ends[1], packet.data(), packet.size(), MSG_DONTWAIT)) > 0;) {
      received.append(packet, 0, static_cast<size_t>(size));
      EXPECT_EQ(received.back(), '\n');
    }
  };
  for (const size_t length : {10, 65535, 1, 65534, 3, 65536, 90000, 100}) {
    const std::string line(length, static_cast<char>('a' + length % 26));
    EXPECT_TRUE(file.WriteRecord({line, "\r\n"}));
    sent += line + "\r\n";
    receive();
    EXPECT_LT(sent.size() - received.size(), 65536u);
  }
  EXPECT_TRUE(file.Flush());
  receive();
  EXPECT_EQ(sent, received);
}

TEST(FileStdio, AFailedWriteLosesItsOwnBytesOnly) {
  const harness::temporary_directory folder;
  chFileStdio file(folder / "f", 0x3000);
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit before;
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit tight = {100, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &tight);
  std::string wrote;
  for (const auto &record : {std::string(60, 'a'), std::string(60, 'b'), std::string(30, 'c')})
    wrote += file.WriteString(record) && file.Flush() ? '1' : '0';
  setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_EQ(wrote, "101");
  EXPECT_EQ(harness::read_file(folder / "f"), std::string(60, 'a') + std::string(30, 'c'));
}

#endif
