#include "zarlib/frame/local_objects.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

TEST(MapFileLocal, OneBlockPerNameWithOneCreator) {
  chMapFile_Local first, second;
  std::vector<chMapFile_Local> many(1000);
  void *const block = first.OpenMapFile("local/one", 64);
  for (size_t i = 0; i < many.size(); ++i) EXPECT_NE(many[i].OpenMapFile(std::to_string(i) + "/one", 64), block);
  for (auto &map : many) map.CloseMapFile();
  EXPECT_EQ(second.OpenMapFile("local/one", 1 << 20), block) << "the size asked for later is ignored";
  EXPECT_EQ(first.IsCreateByMe() * 10 + second.IsCreateByMe(), 10);
  first.CloseMapFile();
  EXPECT_EQ(first.OpenMapFile("local/one", 8), block);
  EXPECT_EQ(first.IsCreateByMe() + second.IsCreateByMe(), 0) << "nobody inherits; the creator came back as a guest";
  first.DestroyMapFile();
  second.CloseMapFile();
}

TEST(MutexLocal, ExcludesByNameAndIgnoresTheTime) {
  chMutex_Local first, second;
  EXPECT_EQ(first.OpenMutexA("local-mutex") + second.OpenMutexA("local-mutex") + first.Lock(-1), 3);
  EXPECT_EQ(second.IsLockedByThisThread(), 1) << "one mutex, whichever object asks";
  std::atomic<int> entered{0};
  std::thread waiter([&] { ++entered, second.Lock(0), ++entered, second.Unlock(); });
  for (int i = 0; i < 1000 || entered == 0; ++i) std::this_thread::yield();
  EXPECT_EQ(entered, 1) << "0 waits as -1 does";
  first.Unlock();
  waiter.join();
  first.CloseMutex();
  EXPECT_EQ(second.Lock(-1) + second.IsCreateByMe(), 1) << "outlives its creator";
  second.Unlock();
  second.DestroyMutex();
}
