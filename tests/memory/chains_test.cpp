#include "zarlib/memory/chains.h"

#include <gtest/gtest.h>

template <class Node>
static void keeps_its_order() {
  Node head, nodes[3];
  auto &[a, b, c] = nodes;
  const auto order = [&] {
    std::string found;
    for (auto *n = static_cast<Node *>(head.get_pNext()); n != &head; n = static_cast<Node *>(n->get_pNext())) {
      EXPECT_EQ(static_cast<Node *>(n->get_pPrev())->get_pNext(), n);
      found += "abc"[n - nodes];
    }
    return found;
  };
  for (auto *node : {&a, &b}) chain_insert_before(head, *node);
  chain_insert_before(b, c);
  EXPECT_EQ(order(), "acb");
  chain_unlink(c);
  EXPECT_TRUE(order() == "ab" && c.get_pNext() == nullptr && c.get_pPrev() == nullptr);
  for (auto *node : {&b, &a}) chain_unlink(*node);
  EXPECT_TRUE(head.empty() && order().empty());
}

TEST(Chains, KeepTheirOrder) {
  keeps_its_order<list_chain_pointer>();
  keeps_its_order<list_chain_offset>();
}
