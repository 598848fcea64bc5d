#include "zarlib/frame/local_objects.h"
#include "zarlib/frame/object_frame.h"

#include <gtest/gtest.h>

struct stamped : ipcObjectHeader {
  stamped() { failures-- > 0 ? throw 1 : InitHeader(sizeof(stamped), 3); }
  ~stamped() { ADD_FAILURE() << "nobody destroys it"; }
  int number = 1;
  static inline int failures = 0;
};

using frame = ipcObjectFrame<stamped, chMapFile_Local, chMutex_Local>;
constexpr int size = sizeof(stamped);

TEST(ObjectFrame, TheCreatorConstructs) {
  frame first, second;
  for (const int small : {0, 8, size - 1}) EXPECT_EQ(first.OpenShareObject("frame", small), 0) << "no room for it";
  EXPECT_THROW((stamped::failures = 1, first.OpenShareObject("frame", size)), int);
  for (int round = 0; round < 2; ++round) {
    ASSERT_EQ(first.OpenShareObject("frame", size) + second.OpenShareObject("frame", size), 2);
    EXPECT_EQ(first.getObject().number++, 1) << "a fresh object each time";
    first.CloseShareObject();
    EXPECT_EQ(second.getObject().number, 2) << "one object, which outlives its creator";
    EXPECT_EQ(second.getObject().AssertHeader("", size, 3), 1);
    EXPECT_EQ(second.getObject().AssertHeader("", size, 4) + second.getObject().AssertHeader("", size + 1, 3), 0);
    second.DestroyShareObject();
  }
}
