#include "zarlib/frame/named_objects.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <thread>
#include <vector>

namespace {

/// A table beside the process's own: a chain in a block of the same layout.
struct own_table {
  chSystemNamedObject block;
  chNamedObjectManager &names = block.objects();

  std::vector<char *> chain() {
    std::vector<char *> result;
    auto *const head = reinterpret_cast<list_chain_offset *>(&names);
    for (auto *node = head->get_pNext(); node != head; node = node->get_pNext())
      result.push_back(reinterpret_cast<char *>(node) + 12);
    return result;
  }
};

} // namespace

TEST(NamedObjects, TellTheFirstFromTheLater) {
  int created = -1;
  nameHelperLock();
  void *const block = nameGetSystemObject("first", 24, &created);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(created, 1);
  EXPECT_EQ(nameGetSystemObject("first", 4000, &created), block) << "the size is not looked at again";
  EXPECT_EQ(created, 0);
  EXPECT_NE(nameGetSystemObject("First", 24, nullptr), block) << "case counts";
  nameHelperUnlock();

  chNamedObjectManager &names = uCSystemNamedObjectHelper::getInstance().getObject().objects();
  EXPECT_EQ(names.FindNamedObject("first"), block);
  EXPECT_EQ(names.FindNamedObject("firs"), nullptr);
  names.FreeNamedObject("firs");
  names.FreeNamedObject("first");
  names.FreeNamedObject("First");
  EXPECT_EQ(names.GetNamedObject("first", 24, &created), block) << "the place is free again";
  EXPECT_EQ(created, 1);
  names.FreeNamedObject("first");

  for (const int size : {-1, -12, INT_MIN, INT_MAX}) {
    created = -1;
    EXPECT_EQ(nameGetSystemObject("bad", size, &created), nullptr) << size;
    EXPECT_EQ(created, 0) << size;
  }
  EXPECT_EQ(nameGetSystemObject(nullptr, 8, &created), nullptr);
  EXPECT_EQ(uCSystemNamedObjectHelper::getInstance().getObject().AssertHeader("", 8192, 4099), 1);
}

TEST(NamedObjects, KeepOneOrderWhicheverWayTheNamesCame) {
  std::vector<std::string> names = {"", "a", "aa", "b", std::string("b\0x", 3), "\xFF", "z"};
  const std::vector<std::string> descending = {"\xFF", "z", std::string("b\0x", 3), "b", "aa", "a", ""};
  std::sort(names.begin(), names.end());
  do {
    own_table table;
    for (size_t i = 0; i < names.size(); ++i)
      *static_cast<char *>(table.names.GetNamedObject(names[i], 8, nullptr)) = static_cast<char>(i);
    const std::vector<char *> chain = table.chain();
    ASSERT_EQ(chain.size(), names.size());
    for (size_t i = 0; i < chain.size(); ++i) {
      EXPECT_EQ(names[static_cast<size_t>(*chain[i])], descending[i]);
      EXPECT_EQ(table.names.FindNamedObject(descending[i]), chain[i]);
    }
    for (const std::string &name : names) table.names.FreeNamedObject(name);
    EXPECT_TRUE(table.chain().empty());
  } while (std::next_permutation(names.begin() + 3, names.end()));
}

TEST(NamedObjects, AreTheBytesOfTheFormatPage) {
  // docs/formats/named-block.md: a fresh block after asking for "b" with 4 bytes and "a" with 8.
  uCSystemNamedObjectHelper::getInstance().CloseShareObject();
  ASSERT_EQ(uCSystemNamedObjectHelper::getInstance().OpenShareObject("ipc_system_named", 8192), 1);
  // clang-format off
  static constexpr unsigned char expected[] = {
      0x00, 0x20, 0x00, 0x00, 0x03, 0x10, 0x00, 0x00,                         // 0    header: 8192, 4099
      0xE0, 0x1F, 0x00, 0x00, 0x18, 0x00, 0x00, 0x00,                         // 8    pool: 8160 bytes, 24 further on
      0x58, 0x00, 0x00, 0x00, 0x58, 0x00, 0x00, 0x00,                         // 16   free cells: 104 first, 104 last
      0x0C, 0x00, 0x00, 0x00, 0x2C, 0x00, 0x00, 0x00,                         // 24   chain: 36 first, 68 last
      0x14, 0x00, 0x00, 0x00,                                                 // 32   a cell of 20 bytes
      0x20, 0x00, 0x00, 0x00, 0xF4, 0xFF, 0xFF, 0xFF,                         // 36   record: next 68, previous 24
      0x0C, 0x00, 0x00, 0x00, 'B', 'B', 'B', 'B',                             // 44   its name at 56; the caller's bytes
      0x0C, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 'b', 0x00, 0xFF, 0xFF,  // 52   a cell of 12: the name, 1 long
      0x18, 0x00, 0x00, 0x00,                                                 // 64   a cell of 24 bytes
      0xD4, 0xFF, 0xFF, 0xFF, 0xE0, 0xFF, 0xFF, 0xFF,                         // 68   record: next 24, previous 36
      0x10, 0x00, 0x00, 0x00, 'A', 'A', 'A', 'A', 'A', 'A', 'A', 'A',         // 76   its name at 92; the caller's bytes
      0x0C, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 'a', 0x00, 0xFF, 0xFF,  // 88   a cell of 12: the name, 1 long
      0x9C, 0x1F, 0x00, 0x80, 0xA8, 0xFF, 0xFF, 0xFF, 0xA8, 0xFF, 0xFF, 0xFF, // 100  the rest, free: 8092 bytes
  };
  // clang-format on
  nameHelperLock();
  for (const auto &[name, size] : {std::pair("b", 4), std::pair("a", 8)})
    std::memset(nameGetSystemObject(name, size, nullptr), *name - 32, static_cast<size_t>(size));
  const auto *const bytes = reinterpret_cast<unsigned char *>(&uCSystemNamedObjectHelper::getInstance().getObject());
  const std::vector<unsigned char> found(bytes, bytes + sizeof expected);
  nameHelperUnlock();
  EXPECT_EQ(found, std::vector<unsigned char>(std::begin(expected), std::end(expected)));
}

TEST(NamedObjects, AreReadyWhenAnotherThreadSeesThem) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([] {
      for (int round = 0; round < 100; ++round) {
        int created = 0;
        EXPECT_EQ(nameHelperLock(), 1);
        auto *const value = static_cast<int *>(nameGetSystemObject(("r" + std::to_string(round)).c_str(), 4, &created));
        if (created) *value = round;
        EXPECT_EQ(*value, round);
        nameHelperUnlock();
      }
    });
  for (auto &thread : threads) thread.join();
}

TEST(NamedObjects, RefuseAfterExitFaultWhenFullAndAbortOnReentry) {
  const harness::child_result late = harness::run("named_objects_program");
  EXPECT_EQ(late.exit_code, 0);
  EXPECT_EQ(harness::lines_of(late.output), std::vector<std::string>{"late: locked 0, refused 1, created 0"});

  const harness::child_result full = harness::run("named_objects_program", {"exhaust"});
  EXPECT_TRUE(full.signal != 0 || full.exit_code != 0);
  EXPECT_EQ(harness::lines_of(full.output).back(), "block 7") << "seven of 1000 bytes have room";
#ifndef _WIN32 // the test gets between the library and its heap
  const harness::child_result again = harness::run("named_objects_program", {"re-enter"});
  EXPECT_NE(again.signal, 0);
  EXPECT_NE(again.error.find("[E:] re-enter static instance of uCSystemNamedObjectHelper\n"), std::string::npos);
#endif
}
