#include "zarlib/memory/pointer_snap.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

TEST(PointerSnap, LivesAsLongAsTheRegistration) {
  int object = 0, other = 0;
  EXPECT_TRUE(chPointerSnap::addSafePointer(&object) && chPointerSnap::addSafePointer(&object));
  chPointerSnap::addSafePointer(&other);
  chPointerSnap snap(&object);
  const chPointerSnap untouched(&other);
  EXPECT_TRUE(snap.hasData());
  chPointerSnap::removeSafePointer(&object);
  chPointerSnap::removeSafePointer(&object);
  EXPECT_FALSE(snap.hasData());

  chPointerSnap::addSafePointer(&object);
  EXPECT_FALSE(snap.hasData()) << "another object at the same address";
  snap = chPointerSnap(&object);
  EXPECT_TRUE(snap.hasData() && untouched.hasData());
  chPointerSnap::removeSafePointer(&object);
  chPointerSnap::removeSafePointer(&other);
}

TEST(PointerSnap, MayBeAskedWhileOtherThreadsRemoveAndReuseEntries) {
  int watched = 0;
  chPointerSnap::addSafePointer(&watched);
  const chPointerSnap snap(&watched);
  chPointerSnap::removeSafePointer(&watched);
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i)
    threads.emplace_back([&snap] {
      std::vector<int> objects(50);
      for (int round = 0; round < 20; ++round) {
        for (int &object : objects) chPointerSnap::addSafePointer(&object);
        EXPECT_TRUE(chPointerSnap(&objects[7]).hasData());
        EXPECT_FALSE(snap.hasData());
        for (int &object : objects) chPointerSnap::removeSafePointer(&object);
      }
    });
  for (std::thread &thread : threads) thread.join();
}
