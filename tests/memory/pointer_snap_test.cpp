#include "zarlib/memory/pointer_snap.h"

#include <gtest/gtest.h>

#include <thread>

TEST(PointerSnap, LivesAsLongAsTheRegistrationWhateverOtherThreadsDo) {
  int object = 0, other = 0;
  for (int *p : {&object, &object, &other}) EXPECT_TRUE(chPointerSnap::addSafePointer(p));
  const chPointerSnap snap(&object), untouched(&other);
  EXPECT_TRUE(snap.hasData());
  for (int i = 0; i < 2; ++i) chPointerSnap::removeSafePointer(&object);
  EXPECT_FALSE(snap.hasData());
  chPointerSnap::addSafePointer(&object);
  EXPECT_TRUE(chPointerSnap(&object).hasData() && !snap.hasData()) << "another object at the same address";
  const auto churn = [&] {
    int objects[50];
    for (int round = 0; round < 20; ++round) {
      for (int &o : objects) chPointerSnap::addSafePointer(&o);
      EXPECT_TRUE(chPointerSnap(&objects[7]).hasData() && untouched.hasData() && !snap.hasData());
      for (int &o : objects) chPointerSnap::removeSafePointer(&o);
    }
  };
  std::thread beside(churn);
  churn();
  beside.join();
}
