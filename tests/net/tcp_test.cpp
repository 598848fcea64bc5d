#include "zarlib/net/tcp.h"

#include "tests/net/connection.h"

#include <gtest/gtest.h>

#include <chrono>
#include <numeric>
#include <thread>

namespace {

using bytes = std::vector<unsigned char>;

} // namespace

TEST(SocketTCP, ABlockedSendGoesOnWhenThePeerReads) {
  connection<> pair;
  bytes sent(64 << 20);
  std::iota(sent.begin(), sent.end(), static_cast<unsigned char>(0));
  std::thread peer([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_TRUE(pair.remote.waitForBufferBytes(static_cast<int>(sent.size()), 60000));
  });
  EXPECT_TRUE(pair.local.Send(sent.data(), static_cast<int>(sent.size())));
  peer.join();
  EXPECT_TRUE(pair.local.isConnected() && pair.remote.isConnected());
  EXPECT_TRUE(pair.remote.buffer() == sent);
}
