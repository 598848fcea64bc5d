#include "zarlib/memory/node_alloc.h"

#include "tests/memory/balance.h"

struct node_pool : baseDynamicNodeAlloc_block {
  using baseDynamicNodeAlloc_block::borrow_node, baseDynamicNodeAlloc_block::return_node,
      baseDynamicNodeAlloc_block::cleanup_nodes, baseDynamicNodeAlloc_block::m_nBorrowed,
      baseDynamicNodeAlloc_block::m_pFreeNode, baseDynamicNodeAlloc_block::m_pBlock;
};

TEST(NodeAlloc, CarvesBlocksAndHandsOutTheLastReturnedFirst) {
  constexpr int word = sizeof(void *);
  node_pool pool;
  void **nodes[5];
  const auto borrow = [&] { return static_cast<void **>(pool.borrow_node(3 * word, 4)); };
  EXPECT_THAT(growth([&] {
                for (void **&node : nodes) node = borrow();
              }),
              testing::Pair(2, 0));
  void **const block = static_cast<void **>(pool.m_pBlock);
  EXPECT_TRUE(nodes[1] == nodes[0] + 3 && nodes[3] == nodes[0] + 9 && nodes[4] == block + 2 &&
              block[0] == nodes[0] - 2);
  EXPECT_EQ(reinterpret_cast<size_t>(block[1]), size_t{14 * word});

  void *const next = pool.m_pFreeNode;
  pool.return_node(nodes[1]);
  pool.return_node(nodes[3]);
  EXPECT_TRUE(nodes[3][0] == nodes[1] && nodes[1][0] == next && nodes[1][1] == nodes[3] + 1 && pool.m_nBorrowed == 3);
  EXPECT_TRUE(borrow() == nodes[3] && borrow() == nodes[1] && borrow() == next);
  pool.return_node(nullptr);
  EXPECT_EQ(pool.m_pFreeNode, nullptr);

  EXPECT_THAT(growth([&] { pool.cleanup_nodes(); }), testing::Pair(0, 2));
  EXPECT_TRUE(pool.m_nBorrowed == 0 && !pool.m_pFreeNode && !pool.m_pBlock);
  for (const int count : {1, 0, -5}) {
    EXPECT_NE(pool.borrow_node(2 * word, count), nullptr);
    EXPECT_EQ(pool.m_pFreeNode, nullptr) << count;
  }
}
