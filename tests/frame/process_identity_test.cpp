#include "zarlib/frame/process_identity.h"
#include "zarlib/time/ticks.h"

#include "tests/support/harness/child_process.h"

#include <gtest/gtest.h>

#include <thread>

TEST(ProcessIdentity, KnowsTheLivingFromTheDead) {
  EXPECT_EQ(zarIsValidProcessID(0) + zarIsValidThreadID(0) + zarIsValidTaskID(0), 0);
  EXPECT_EQ(zarIsValidProcessID(zarGetCurrentProcessId()) + zarIsValidThreadID(zarGetCurrentThreadId()), 2);
  harness::child_process child("kernel_objects_program", {"hold", "identity"});
  unsigned long process = child.id(), thread = 0;
  std::thread([&] {
    thread = zarGetCurrentTaskId();
    EXPECT_EQ(zarIsValidProcessID(process) + zarIsValidTaskID(thread), 2);
    EXPECT_EQ(zarIsValidProcessID(thread), 0) << "a thread that is no process";
  }).join();
  child.kill();
  // A dead process that nobody has waited for yet has ended all the same.
  const chTimeout limit(20000);
  while ((zarIsValidProcessID(process) || zarIsValidThreadID(thread)) && !limit.IsTimeout()) std::this_thread::yield();
  EXPECT_EQ(zarIsValidProcessID(process) + zarIsValidThreadID(thread), 0);
}
