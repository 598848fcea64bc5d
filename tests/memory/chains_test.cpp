#include "zarlib/memory/chains.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace {

template <class Node>
struct block {
  Node head, nodes[3];

  // The indices of the nodes, there and back again.
  std::vector<long> order() {
    std::vector<long> found;
    for (auto *n = static_cast<Node *>(head.get_pNext()); n != &head; n = static_cast<Node *>(n->get_pNext()))
      found.push_back(n - nodes);
    for (auto *n = static_cast<Node *>(head.get_pPrev()); n != &head; n = static_cast<Node *>(n->get_pPrev()))
      found.push_back(n - nodes);
    return found;
  }
};

template <class Node>
class Chain : public testing::Test {};
using both = testing::Types<list_chain_pointer, list_chain_offset>;
TYPED_TEST_SUITE(Chain, both);

} // namespace

TYPED_TEST(Chain, KeepsItsOrderBothWays) {
  using testing::ElementsAre;
  block<TypeParam> b;
  EXPECT_TRUE(b.head.empty() && b.order().empty());
  chain_insert_before(b.head, b.nodes[0]);
  chain_insert_before(b.head, b.nodes[1]);
  chain_insert_before(b.nodes[1], b.nodes[2]);
  EXPECT_FALSE(b.head.empty());
  EXPECT_THAT(b.order(), ElementsAre(0, 2, 1, 1, 2, 0));
  chain_unlink(b.nodes[2]);
  EXPECT_TRUE(b.nodes[2].get_pNext() == nullptr && b.nodes[2].get_pPrev() == nullptr);
  chain_unlink(b.nodes[0]);
  EXPECT_THAT(b.order(), ElementsAre(1, 1));
  chain_unlink(b.nodes[1]);
  EXPECT_TRUE(b.head.empty());
  chain_insert_before(b.head, b.nodes[2]);
  EXPECT_THAT(b.order(), ElementsAre(2, 2));
}

TEST(Chains, OffsetsAreAFormatThatMovesWithItsBlock) {
  using offset_block = block<list_chain_offset>;
  const auto there = std::make_unique<offset_block>();
  {
    offset_block b;
    chain_insert_before(b.head, b.nodes[0]);
    chain_insert_before(b.head, b.nodes[1]);
    chain_insert_before(b.head, b.nodes[2]);
    chain_unlink(b.nodes[1]);
    std::memcpy(static_cast<void *>(there.get()), &b, sizeof b);
  }
  std::uint32_t words[8];
  std::memcpy(words, there.get(), sizeof words);
  // head, first, the unlinked one, last
  EXPECT_THAT(words, testing::ElementsAre(8, 24, 16, 0xFFFFFFF8, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFE8, 0xFFFFFFF0));
  EXPECT_THAT(there->order(), testing::ElementsAre(0, 2, 2, 0));
}

TEST(Chains, LinksStartAtThemselvesAndStandSideBySide) {
  struct record : pointer_chain_pLeft, pointer_chain_pRight, pointer_chain_pParent, pointer_chain_pChild {
  } r, other;
  EXPECT_TRUE(r.get_pLeft() == &r && r.get_pRight() == &r && r.get_pParent() == &r && r.get_pChild() == &r);
  r.set_pRight(&other);
  other.set_pChild(nullptr);
  static_cast<pointer_chain_pChild &>(r) = other;
  EXPECT_TRUE(r.get_pLeft() == &r && r.get_pRight() == &other && r.get_pParent() == &r && r.get_pChild() == nullptr);
}
