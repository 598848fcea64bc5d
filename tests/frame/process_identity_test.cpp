#include "zarlib/frame/process_identity.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/kernel_objects_program.h"

#include <gtest/gtest.h>

#include <thread>

TEST(ProcessIdentity, KnowsTheLivingFromTheDead) {
  EXPECT_EQ(zarIsValidProcessID(0) + zarIsValidThreadID(0) + zarIsValidTaskID(0), 0);
  EXPECT_EQ(zarIsValidProcessID(zarGetCurrentProcessId()) + zarIsValidThreadID(zarGetCurrentThreadId()), 2);
  harness::child_process child("kernel_objects_program", {"hold", "identity"});
  child.read_line(); // its first thread has ended
  unsigned long process = child.id(), thread = 0;
  std::thread([&] {
    thread = zarGetCurrentTaskId();
    EXPECT_EQ(zarIsValidProcessID(process) + zarIsValidTaskID(thread), 2);
    EXPECT_EQ(zarIsValidProcessID(thread), 0) << "a thread that is no process";
  }).join();
  child.kill();
  // A zombie counts as ended.
  EXPECT_TRUE(comes_true([&] { return zarIsValidProcessID(process) + zarIsValidThreadID(thread) == 0; }));
  int count = 0x7FFFFFFF;
  EXPECT_LT(zarInterlockedIncrement(count), 0);
}
