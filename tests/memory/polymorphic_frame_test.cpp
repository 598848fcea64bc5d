#include "zarlib/memory/polymorphic_frame.h"

#include "tests/memory/balance.h"
#include "zarlib/companion/morfile.h"

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

std::atomic<int> alive{0};

struct record {
  record() { ++alive; }
  ~record() { --alive; }
  int value = 0;
  polymorphic_frame<record> next;
};
using handle = polymorphic_frame<record>;

static_assert(sizeof(handle) == sizeof(void *) && sizeof(polymorphic_frame<chFileStdio>) == sizeof(void *));

} // namespace

TEST(PolymorphicFrame, SharesOneObjectUntilTheLastHandleLeaves) {
  EXPECT_EQ(growth([] {
              handle a, b;
              EXPECT_TRUE(!a.hasData() && a.referenceCount() == 0 && a.pointer() == nullptr && a == b);
              a.data().value = 5;
              EXPECT_EQ(a.referenceCount(), 1);
              handle c(a);
              b = a;
              EXPECT_EQ(a.referenceCount(), 3);
              b.data().value = 6;
              EXPECT_TRUE(a->value == 6 && c.const_data().value == 6 && b == c && alive == 1);
              const handle &self = a;
              a = self;
              EXPECT_EQ(c.referenceCount(), 3);
              handle moved(std::move(c));
              b = std::move(moved);
              EXPECT_TRUE(!c.hasData() && !moved.hasData() && a.referenceCount() == 2);
              a.setNull();
              a.setNull();
              EXPECT_TRUE(!a.hasData() && b.referenceCount() == 1 && alive == 1);
              b = a;
              EXPECT_EQ(alive, 0);
            }),
            std::make_pair(1, 1));
}

TEST(PolymorphicFrame, AssignsFromAHandleInsideItsOwnObject) {
  handle list;
  list.data().next.data().value = 2;
  list = list->next;
  EXPECT_TRUE(list->value == 2 && list.referenceCount() == 1 && alive == 1);
}

TEST(PolymorphicFrame, GivesTheFrameBackWhenTheObjectCannotBeMade) {
  struct refusing {
    refusing() { throw std::runtime_error("no"); }
  };
  polymorphic_frame<refusing> frame;
  EXPECT_EQ(growth([&] { EXPECT_THROW(frame.data(), std::runtime_error); }), std::make_pair(1, 1));
  EXPECT_FALSE(frame.hasData());
}

TEST(PolymorphicFrame, ThreadsCopyAndDropHandlesOfOneObject) {
  handle shared;
  shared.data();
  {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
      threads.emplace_back([own = shared] {
        for (int n = 0; n < 5000; ++n) handle copy(own);
      });
    shared.setNull();
    for (std::thread &thread : threads) thread.join();
  }
  EXPECT_EQ(alive, 0);
}
