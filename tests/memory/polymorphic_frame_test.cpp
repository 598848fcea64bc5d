#include "zarlib/memory/polymorphic_frame.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

static std::atomic<int> alive{0};

struct record {
  record() { ++alive; }
  ~record() { --alive; }
  int value = 0;
  polymorphic_frame<record> next;
};
using handle = polymorphic_frame<record>;
static_assert(sizeof(handle) == sizeof(void *));

TEST(PolymorphicFrame, SharesOneObjectUntilTheLastHandleLeaves) {
  handle a, b, list;
  EXPECT_TRUE(!a.hasData() && a.referenceCount() == 0 && a.pointer() == nullptr && a == b);
  a.data().value = 5;
  handle c((b = a));
  b.data().value = 6;
  c = static_cast<const handle &>(c);
  EXPECT_TRUE(a.referenceCount() == 3 && a->value == 6 && &c.const_data() == b.pointer() && b == c);
  EXPECT_EQ(handle(std::move(c)).referenceCount(), 4) << "the source keeps its share";
  a.setNull();
  EXPECT_TRUE(!a.hasData() && b.referenceCount() == 2 && alive == 1);
  b = c = a;
  EXPECT_EQ(alive, 0);
  list.data().next.data().value = 2;
  list = list->next; // the assigned handle is inside the object that is destroyed
  EXPECT_TRUE(list->value == 2 && list.referenceCount() == 1 && alive == 1);
}

TEST(PolymorphicFrame, ThreadsCopyAndDropHandlesOfOneObject) {
  handle shared;
  shared.data();
  std::thread other([own = shared] {
    for (int n = 0; n < 5000; ++n) handle copy(own);
  });
  for (int n = 0; n < 5000; ++n) handle copy(shared);
  shared.setNull();
  other.join();
  EXPECT_EQ(alive, 0);
}
