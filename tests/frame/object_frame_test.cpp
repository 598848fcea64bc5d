#include "zarlib/frame/local_objects.h"
#include "zarlib/frame/object_frame.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <new>
#include <thread>
#include <vector>

namespace {

struct stamped : ipcObjectHeader {
  stamped() : constructions(++total) { InitHeader(sizeof(stamped), 3); }
  ~stamped() { ++destructions; }

  int constructions;
  int guests = 0;
  static inline std::atomic<int> total{0}, destructions{0};
};

using frame = ipcObjectFrame<stamped, chMapFile_Local, chMutex_Local>;

struct singleton_frame : frame {
  using frame::open_stamped;
  bool is_open() const { return m_object != nullptr; }
};

/// Refuses where it is told to; counts what is open and held.
struct refusing_mutex {
  static inline bool refuse = false;
  static inline int open = 0, held = 0;
  int OpenMutexA(const std::string &) { return refuse ? 0 : ++open; }
  int Lock(int) { return ++held; }
  void Unlock() { --held; }
  void CloseMutex() { --open; }
  void DestroyMutex() { CloseMutex(); }
};

struct refusing_map {
  static inline bool refuse = false;
  static inline int open = 0;
  alignas(stamped) unsigned char bytes[sizeof(stamped)];
  void *OpenMapFile(const std::string &, int) { return ++open, refuse ? nullptr : bytes; }
  int IsCreateByMe() const { return 1; }
  void Flush() {}
  void CloseMapFile() { --open; }
  void DestroyMapFile() { CloseMapFile(); }
};

} // namespace

TEST(ObjectHeader, MatchesOnBothWordsAndIsEightBytesOfTheBlock) {
  ipcObjectHeader header;
  EXPECT_EQ(header.InitHeader(0x2000, 0x1003), 1);
  EXPECT_EQ(header.AssertHeader("any", 0x2000, 0x1003), 1);
  EXPECT_EQ(header.AssertHeader("any", 0x2001, 0x1003), 0);
  EXPECT_EQ(header.AssertHeader("any", 0x2000, 0x1002), 0);
  const unsigned char expected[8] = {0x00, 0x20, 0, 0, 0x03, 0x10, 0, 0};
  EXPECT_EQ(std::memcmp(&header, expected, 8), 0);
}

TEST(ObjectFrame, TheCreatorConstructsAndNobodyDestroys) {
  const int before = stamped::total;
  frame first, second;
  first.CloseShareObject(); // closed: nothing
  ASSERT_EQ(first.OpenShareObject("frame-test", sizeof(stamped)), 1);
  ASSERT_EQ(second.OpenShareObject("frame-test", sizeof(stamped)), 1);
  EXPECT_EQ(&first.getObject(), &second.getObject());
  EXPECT_EQ(stamped::total, before + 1);
  EXPECT_EQ(first.getObject().AssertHeader("", sizeof(stamped), 3), 1);

  first.CloseShareObject();
  EXPECT_EQ(second.getObject().constructions, before + 1) << "the block outlives its creator";
  second.DestroyShareObject();
  {
    frame third;
    ASSERT_EQ(third.OpenShareObject("frame-test", sizeof(stamped)), 1);
    EXPECT_EQ(third.getObject().constructions, before + 2) << "a fresh object";
  } // the destructor closes
  singleton_frame fourth;
  fourth.open_stamped("frame-test", sizeof(stamped), 4); // another version: used as it is
  ASSERT_TRUE(fourth.is_open());
  EXPECT_EQ(fourth.getObject().constructions, before + 3);
  EXPECT_EQ(stamped::destructions, 0);
}

TEST(ObjectFrame, ARefusedOpenLeavesNothingOpenOrHeld) {
  singleton_frame local;
  for (const int size : {0, 7, static_cast<int>(sizeof(stamped)) - 1})
    EXPECT_EQ(local.OpenShareObject("frame-small", size), 0) << size << ": the object does not fit";
  ASSERT_EQ(local.OpenShareObject("frame-small", sizeof(stamped)), 1) << "the refused names were free again";

  ipcObjectFrame<stamped, refusing_map, refusing_mutex> refused;
  for (bool *const cause : {&refusing_mutex::refuse, &refusing_map::refuse}) {
    *cause = true;
    EXPECT_EQ(refused.OpenShareObject("x", sizeof(stamped)), 0);
    *cause = false;
    EXPECT_EQ(refusing_mutex::open, 0);
    EXPECT_EQ(refusing_mutex::held, 0);
    EXPECT_EQ(refusing_map::open, 0);
  }
}

TEST(ObjectFrame, NoOpenerSeesAnObjectHalfBuilt) {
  const int before = stamped::total;
  std::atomic<int> arrived{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int round = 1; round <= 100; ++round) {
        frame mine;
        EXPECT_EQ(mine.OpenShareObject("frame-race", sizeof(stamped)), 1);
        EXPECT_EQ(mine.getObject().AssertHeader("", sizeof(stamped), 3), 1);
        for (++arrived; arrived < 8 * round - 4;) std::this_thread::yield(); // all have it open
        mine.CloseShareObject();
        for (++arrived; arrived < 8 * round;) std::this_thread::yield(); // all have closed it
      }
    });
  for (auto &thread : threads) thread.join();
  EXPECT_EQ(stamped::total, before + 100);
}
