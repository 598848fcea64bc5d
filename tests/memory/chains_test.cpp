#include "zarlib/memory/chains.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>
#include <vector>

using testing::ElementsAre;

template <class Node>
struct Chain : testing::Test {
  Node head, nodes[3];

  std::vector<long> order() {
    std::vector<long> found;
    for (auto *n = static_cast<Node *>(head.get_pNext()); n != &head; n = static_cast<Node *>(n->get_pNext())) {
      EXPECT_EQ(static_cast<Node *>(n->get_pPrev())->get_pNext(), n);
      found.push_back(n - nodes);
    }
    return found;
  }
};
using both = testing::Types<list_chain_pointer, list_chain_offset>;
TYPED_TEST_SUITE(Chain, both);

TYPED_TEST(Chain, KeepsItsOrder) {
  auto &[a, b, c] = this->nodes;
  EXPECT_TRUE(this->head.empty() && this->order().empty());
  for (auto *node : {&a, &b}) chain_insert_before(this->head, *node);
  chain_insert_before(b, c);
  EXPECT_THAT(this->order(), ElementsAre(0, 2, 1));
  chain_unlink(c);
  EXPECT_TRUE(!this->head.empty() && c.get_pNext() == nullptr && c.get_pPrev() == nullptr);
  EXPECT_THAT(this->order(), ElementsAre(0, 1));
  for (auto *node : {&b, &a}) chain_unlink(*node);
  EXPECT_TRUE(this->head.empty() && this->order().empty());
}

TEST(Chains, OffsetsAreAFormatThatMovesWithItsBlock) {
  list_chain_offset list[4], there[4];
  for (int i = 1; i < 4; ++i) chain_insert_before(list[0], list[i]);
  chain_unlink(list[2]);
  std::memcpy(static_cast<void *>(there), list, sizeof list);
  std::uint32_t words[8];
  std::memcpy(words, there, sizeof words);
  EXPECT_THAT(words, ElementsAre(8, 24, 16, 0xFFFFFFF8, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFE8, 0xFFFFFFF0));
  chain_unlink(there[1]);
  EXPECT_TRUE(there[0].get_pNext() == &there[3] && there[0].get_pPrev() == &there[3] && there[3].get_pNext() == there);
}

TEST(Chains, LinksOfOneRecordStartAtItAndStandSideBySide) {
  struct record : pointer_chain_pLeft, pointer_chain_pRight, pointer_chain_pParent, pointer_chain_pChild {
  } r, other;
  r.set_pRight(&other);
  EXPECT_TRUE(r.get_pLeft() == &r && r.get_pRight() == &other && r.get_pParent() == &r && r.get_pChild() == &r);
}
