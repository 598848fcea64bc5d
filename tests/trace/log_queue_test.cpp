#include "zarlib/trace/log_queue.h"

#include "zarlib/frame/process_identity.h"
#include "zarlib/time/calendar.h"

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

/// The sequence number of this process's next record.
static unsigned long long next_sequence = 1;

TEST(LogQueue, HandsOutRecordsOneByOneOldestFirst) {
  TraceNode node;
  node.number = 77;
  EXPECT_TRUE(qxGetLog(node) == -1 && node.number == 77);
  const std::string text(5000, 'x'), with_nul("a\0b", 3);
  qxTrace('Q', "M:one", text, INT_MIN);
  qxTrace('\0', with_nul, with_nul, INT_MAX);
  qxEnableDebugOutput();
  zarEncryptTrace(3, -1, nullptr, "%s:%d", text.c_str(), 5);
  const std::tuple<int, char, std::string, std::string, int> expected[] = {
      {2, 'Q', "M:one", text, 0}, {1, '\0', "a", "a", INT_MAX}, {0, 'E', "", text + ":5", 0}};
  for (const auto &one : expected) {
    const int left = qxGetLog(node);
    EXPECT_EQ(std::tie(left, node.letter, node.module, node.text, node.number), one);
    EXPECT_TRUE(node.sequence == next_sequence++ && node.thread == zarGetCurrentThreadId() &&
                node.time.wYear == chLocalTime().wYear);
  }
  EXPECT_TRUE(qxGetLog(node) == -1 && node.text == text + ":5");
}

TEST(LogQueue, HandsOutBatchesAndTakesTheLastOneBack) {
  const std::string with_nul("a\0b", 3), letters = "IIIEWNIDITIZ";
  std::list<TraceNode *> nodes = {new TraceNode, new TraceNode};
  nodes.back()->text.assign(100000, 'y');
  for (int round = 0; round < 50; ++round) {
    for (int level = 0; level <= 10; ++level) zarEncryptTrace(level, level, "M:batch", "%d", round);
    qxTrace('Z', with_nul, with_nul, round);
    EXPECT_EQ(qxGetLog(nodes, round % 3 ? 0 : INT_MAX), 12);
    EXPECT_TRUE(nodes.back()->module == with_nul && nodes.back()->text == with_nul) << "whole, when taken so";
    std::string found;
    for (const TraceNode *node : nodes) {
      found += node->letter;
      EXPECT_EQ(node->sequence, next_sequence++);
    }
    EXPECT_EQ(found, letters);
    if (round % 2) delete std::exchange(nodes.front(), nullptr); // the caller owns it
  }
  for (const int time : {20, 0, INT_MIN}) EXPECT_TRUE(qxGetLog(nodes, time) == 0 && nodes.empty());
}

TEST(LogQueue, LosesAndDoublesNothingBetweenManyThreads) {
  constexpr int producers = 8, each = 125000, all = producers * each;
  std::vector<std::pair<int, int>> by_place(all, {-1, -1});
  std::atomic<int> taken{0};
  auto put_down = [&](const TraceNode &node) {
    auto &place = by_place.at(node.sequence - next_sequence);
    EXPECT_EQ(place.first, -1) << "doubled";
    place = {node.letter, node.number};
    ++taken;
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < producers; ++i)
    threads.emplace_back([i] {
      for (int number = 0; number < each; ++number)
        qxTrace(static_cast<char>(i), "M:many", "some text to be kept", number);
    });
  for (const int wait : {0, 1}) // the third consumer takes records one by one
    threads.emplace_back([&, wait] {
      for (std::list<TraceNode *> nodes; qxGetLog(nodes, wait) > 0 || taken < all;) {
        for (const TraceNode *node : nodes) put_down(*node);
      }
    });
  for (TraceNode node; taken < all;)
    if (qxGetLog(node) >= 0) put_down(node);
  for (auto &thread : threads) thread.join();
  next_sequence += all;
  int next[producers] = {};
  for (const auto &[producer, number] : by_place) ASSERT_EQ(number, next[producer]++) << "the order of the queue";
}

TEST(LogQueue, WakesAConsumerThatWaits) {
  std::atomic<int> seen{0};
  constexpr int rounds = 2000;
  std::thread consumer([&] { // would wait for days
    std::list<TraceNode *> nodes;
    while (seen < rounds) seen += qxGetLog(nodes, INT_MAX);
    qxGetLog(nodes, 0); // passes the last batch back
  });
  for (int i = 0; i < rounds; ++i) {
    while (seen < i) std::this_thread::yield();
    qxTrace('N', "M:wake", "", i);
  }
  consumer.join();
  next_sequence += rounds;
}
