#include "zarlib/memory/pointer_snap.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

TEST(PointerSnap, LivesAsLongAsTheRegistrationWhateverOtherThreadsDo) {
  int object = 0, other = 0;
  for (int *p : {&object, &object, &other}) EXPECT_TRUE(chPointerSnap::addSafePointer(p));
  const chPointerSnap snap(&object), untouched(&other);
  EXPECT_TRUE(snap.hasData());
  chPointerSnap::removeSafePointer(&object);
  chPointerSnap::removeSafePointer(&object);
  EXPECT_FALSE(snap.hasData());
  chPointerSnap::addSafePointer(&object);
  EXPECT_TRUE(chPointerSnap(&object).hasData() && !snap.hasData()) << "another object at the same address";
  chPointerSnap::removeSafePointer(&object);

  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i)
    threads.emplace_back([&] {
      std::vector<int> objects(50);
      for (int round = 0; round < 20; ++round) {
        for (int &o : objects) chPointerSnap::addSafePointer(&o);
        EXPECT_TRUE(chPointerSnap(&objects[7]).hasData() && untouched.hasData() && !snap.hasData());
        for (int &o : objects) chPointerSnap::removeSafePointer(&o);
      }
    });
  for (std::thread &thread : threads) thread.join();
}
