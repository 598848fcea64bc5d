#include "zarlib/frame/named_objects.h"

#include "tests/support/harness/child_process.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>

TEST(NamedObjects, TellTheFirstFromTheLater) {
  // The process-wide table, and one of the caller's, whose names the former stores if within reach.
  chSystemNamedObject own;
  for (chSystemNamedObject *const table : {&uCSystemNamedObjectHelper::getInstance().getObject(), &own}) {
    chNamedObjectManager &names = table->objects();
    const std::string name("first\0x", 7);
    int created = -1, again = -1;
    void *const block = names.GetNamedObject(name, 24, &created);
    EXPECT_EQ(names.GetNamedObject(name, 4000, &again), block) << "the size is not looked at again";
    EXPECT_EQ(created * 10 + again, 10);
    for (const char *other : {"", "first", "First"})
      EXPECT_NE(names.GetNamedObject(other, 24, nullptr), block) << other;
    for (const char *other : {"firs", "", "first", "First"}) names.FreeNamedObject(other);
    EXPECT_EQ(names.FindNamedObject(name), block);
    names.FreeNamedObject(name);
    for (const int size : {-1, INT_MIN, INT_MAX}) EXPECT_EQ(names.GetNamedObject(name, size, &again), nullptr) << size;
    EXPECT_EQ(names.GetNamedObject(name, 24, &created), block) << "its place is free again";
    EXPECT_EQ(created * 10 + again, 10);
  }
}

TEST(NamedObjects, AreTheBytesOfTheFormatPage) {
  // docs/formats/named-block.md, in words of four bytes: a new block after requests for "b" with 4 bytes and "a" with
  // 8.
  static constexpr int expected[] = {
      8192, 4099, 8160,    24, 88,  88,  12, 44,         20,         32, -12, 12,      0x42424242,
      12,   1,    -0xFF9E, 24, -44, -32, 16, 0x41414141, 0x41414141, 12, 1,   -0xFF9F, INT_MIN + 8092,
      -88,  -88};
  uCSystemNamedObjectHelper &helper = uCSystemNamedObjectHelper::getInstance();
  helper.CloseShareObject();
  ASSERT_EQ(helper.OpenShareObject("ipc_system_named", 8192) + nameHelperLock(), 2);
  std::memset(nameGetSystemObject("b", 4, nullptr), 'B', 4);
  std::memset(nameGetSystemObject("a", 8, nullptr), 'A', 8);
  EXPECT_EQ(std::memcmp(&helper.getObject(), expected, sizeof expected), 0);
  nameHelperUnlock();
}

TEST(FrameAtTheEdges, ServesToTheEndAndAbortsOnReentry) {
  const harness::child_result late = harness::run("frame_exit_program");
  EXPECT_EQ(late.exit_code, 0) << late.error;
  EXPECT_NE(late.output.find("kept 42"), std::string::npos) << late.output;
  EXPECT_NE(late.error.find("memory alloc(2) and free("), std::string::npos)
      << "the one block and the other, " << late.error;
#ifndef _WIN32 // the program interposes the library's heap
  const harness::child_result again = harness::run("frame_exit_program", {"re-enter"});
  EXPECT_NE(again.exit_code, 0);
  EXPECT_NE(again.error.find("[E:] re-enter static instance of uCSystemNamedObjectHelper\n"), std::string::npos);
#endif
}
