#include "zarlib/frame/local_objects.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

TEST(MapFileLocal, OneBlockPerNameWithOneCreator) {
  chMapFile_Local first, second, other;
  EXPECT_EQ(first.IsCreateByMe(), 0);
  void *const block = first.OpenMapFile("local-map/one", 64);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(second.OpenMapFile("local-map/one", 1 << 20), block) << "the size asked for later is ignored";
  EXPECT_NE(other.OpenMapFile("one", 64), block) << "names are not cut";
  EXPECT_EQ(first.IsCreateByMe(), 1);
  EXPECT_EQ(second.IsCreateByMe(), 0);

  std::memset(block, 7, 64);
  first.CloseMapFile();
  first.CloseMapFile(); // closed: nothing more to give back
  EXPECT_EQ(first.IsCreateByMe(), 0);
  EXPECT_EQ(second.IsCreateByMe(), 0) << "nobody inherits";
  EXPECT_EQ(first.OpenMapFile("local-map/one", 8), block);
  EXPECT_EQ(first.IsCreateByMe(), 0) << "the creator has closed; who comes back is a guest";
  EXPECT_EQ(static_cast<char *>(block)[63], 7) << "the block outlives its creator";

  first.DestroyMapFile();
  second.CloseMapFile();
  EXPECT_NE(second.OpenMapFile("local-map/one", 16), nullptr);
  EXPECT_EQ(second.IsCreateByMe(), 1) << "the name started afresh";
  second.CloseMapFile();
  other.CloseMapFile();
}

TEST(MapFileLocal, RecordsStayPutWhileTheTableGrows) {
  chMapFile_Local first;
  void *const block = first.OpenMapFile("local-map/grow", 16);
  std::vector<chMapFile_Local> many(2000);
  for (size_t i = 0; i < many.size(); ++i)
    ASSERT_NE(many[i].OpenMapFile(std::string(1, '\0') + std::to_string(i), 8), nullptr);
  EXPECT_EQ(first.IsCreateByMe(), 1);
  chMapFile_Local second;
  EXPECT_EQ(second.OpenMapFile("local-map/grow", 16), block);
  for (auto &map : many) map.CloseMapFile();
  first.CloseMapFile();
  second.CloseMapFile();
}

TEST(MutexLocal, ExcludesByNameAndIgnoresTheTime) {
  chMutex_Local first, second;
  EXPECT_EQ(first.Lock(-1), 0) << "closed";
  first.Unlock();
  EXPECT_EQ(first.IsLockedByThisThread(), 0);
  EXPECT_EQ(first.OpenMutexA("local-mutex"), 1);
  EXPECT_EQ(second.OpenMutexA("local-mutex"), 1);
  EXPECT_EQ(first.IsCreateByMe(), 1);
  EXPECT_EQ(second.IsCreateByMe(), 0);

  EXPECT_EQ(first.Lock(-1), 1);
  EXPECT_EQ(second.IsLockedByThisThread(), 1) << "one mutex, whichever object asks";
  std::atomic<bool> waiting{false}, taken{false};
  std::thread waiter([&] {
    waiting = true;
    EXPECT_EQ(second.Lock(0), 1) << "0 waits as -1 does";
    taken = true;
    EXPECT_EQ(first.IsLockedByThisThread(), 1);
    second.Unlock();
  });
  while (!waiting) std::this_thread::yield();
  for (int i = 0; i < 1000; ++i) std::this_thread::yield();
  EXPECT_FALSE(taken);
  first.Unlock();
  waiter.join();

  chMutex_Local copy;
  copy = second;
  EXPECT_EQ(copy.Lock(-1), 1) << "a copy holds the same mutex";
  EXPECT_EQ(first.IsLockedByThisThread(), 1);
  copy.Unlock();
  EXPECT_EQ(copy.IsCreateByMe(), 0);

  first.CloseMutex();
  EXPECT_EQ(second.Lock(-1), 1) << "the creator's close leaves the others' mutex";
  second.Unlock();
  second.DestroyMutex();
  EXPECT_EQ(second.OpenMutexA("local-mutex"), 1);
  EXPECT_EQ(second.IsCreateByMe(), 1);
  second.CloseMutex();
}

TEST(LocalObjects, OpenersOnManyThreadsAgreeOnOneCreator) {
  std::atomic<int> creators{0};
  std::atomic<int> ready{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int round = 0; round < 200; ++round) {
        const std::string name = "local-race/" + std::to_string(round);
        chMutex_Local mutex;
        chMapFile_Local map;
        mutex.OpenMutexA(name);
        mutex.Lock(-1);
        auto *const counter = static_cast<int *>(map.OpenMapFile(name, sizeof(int)));
        if (map.IsCreateByMe()) *counter = 0, ++creators;
        ++*counter;
        mutex.Unlock();
        for (++ready; ready < 4 * (round + 1);) std::this_thread::yield(); // all four have it open
        EXPECT_EQ(*counter, 4);
        map.CloseMapFile();
        mutex.CloseMutex();
      }
    });
  for (auto &thread : threads) thread.join();
  EXPECT_EQ(creators, 200);
}

TEST(LocalObjects, ServeStaticObjectsToTheEndOfTheProcess) {
  const harness::child_result result = harness::run("local_exit_program");
  EXPECT_EQ(result.exit_code, 0) << result.error;
  EXPECT_EQ(harness::lines_of(result.output), (std::vector<std::string>{"created 1", "still 42, closed"}));
}
