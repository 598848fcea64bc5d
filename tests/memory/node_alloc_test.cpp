#include "zarlib/memory/node_alloc.h"

#include <gtest/gtest.h>

struct node_pool : baseDynamicNodeAlloc_block {
  using base = baseDynamicNodeAlloc_block;
  using base::borrow_node, base::return_node, base::cleanup_nodes, base::m_nBorrowed, base::m_pFreeNode, base::m_pBlock;
};

TEST(NodeAlloc, CarvesBlocksAndHandsOutTheLastReturnedFirst) {
  constexpr size_t word = sizeof(void *);
  node_pool pool;
  void **n[5];
  const auto borrow = [&] { return static_cast<void **>(pool.borrow_node(3 * word, 4)); };
  for (void **&node : n) node = borrow();
  void **const block = static_cast<void **>(pool.m_pBlock), *const next = pool.m_pFreeNode;
  EXPECT_TRUE(n[1] == n[0] + 3 && n[3] == n[0] + 9 && n[4] == block + 2 && block[0] == n[0] - 2);
  EXPECT_EQ(reinterpret_cast<size_t>(block[1]), 14 * word);
  for (const int i : {1, 3}) pool.return_node(n[i]);
  EXPECT_TRUE(n[3][0] == n[1] && n[1][0] == next && n[1][1] == n[3] + 1 && pool.m_nBorrowed == 3);
  EXPECT_TRUE(borrow() == n[3] && borrow() == n[1] && borrow() == next);
  pool.return_node(nullptr);
  pool.cleanup_nodes();
  EXPECT_TRUE(pool.m_nBorrowed == 0 && !pool.m_pFreeNode && !pool.m_pBlock);
  EXPECT_TRUE(pool.borrow_node(2 * word, -5) && !pool.m_pFreeNode);
}
