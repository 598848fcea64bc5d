#include "zarlib/frame/local_objects.h"
#include "zarlib/frame/object_frame.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

struct stamped : ipcObjectHeader {
  stamped() : number(++constructions) { InitHeader(sizeof(stamped), 3); }
  ~stamped() { ADD_FAILURE() << "nobody destroys it"; }
  int number;
  static inline std::atomic<int> constructions{0};
};

using frame = ipcObjectFrame<stamped, chMapFile_Local, chMutex_Local>;
constexpr int size = sizeof(stamped);

TEST(ObjectFrame, TheCreatorConstructs) {
  const int before = stamped::constructions;
  frame first, second;
  first.CloseShareObject(); // closed: nothing
  for (const int small : {0, 8, size - 1}) EXPECT_EQ(first.OpenShareObject("frame", small), 0) << "no room for it";
  ASSERT_EQ(first.OpenShareObject("frame", size) + second.OpenShareObject("frame", size), 2);
  EXPECT_EQ(&first.getObject(), &second.getObject());
  EXPECT_EQ(first.getObject().AssertHeader("", size, 3), 1);
  EXPECT_EQ(first.getObject().AssertHeader("", size, 4) + first.getObject().AssertHeader("", size + 1, 3), 0);
  first.CloseShareObject();
  EXPECT_EQ(second.getObject().number, before + 1) << "the block outlives its creator";
  second.DestroyShareObject();
  ASSERT_EQ(frame().OpenShareObject("frame", size), 1); // and its destructor closes
  ASSERT_EQ(first.OpenShareObject("frame", size), 1);
  EXPECT_EQ(first.getObject().number, before + 3) << "a fresh object each time";
}

TEST(ObjectFrame, NoOpenerSeesAnObjectHalfBuilt) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([] {
      for (int round = 0; round < 500; ++round) {
        frame mine;
        EXPECT_EQ(mine.OpenShareObject("frame-race", size), 1);
        EXPECT_EQ(mine.getObject().AssertHeader("", size, 3), 1);
      }
    });
  for (auto &thread : threads) thread.join();
}
