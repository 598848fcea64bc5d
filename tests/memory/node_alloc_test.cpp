#include "zarlib/memory/node_alloc.h"

#include "tests/memory/balance.h"

namespace {

struct node_pool : baseDynamicNodeAlloc_block {
  using baseDynamicNodeAlloc_block::borrow_node, baseDynamicNodeAlloc_block::return_node,
      baseDynamicNodeAlloc_block::cleanup_nodes, baseDynamicNodeAlloc_block::m_nBorrowed,
      baseDynamicNodeAlloc_block::m_pFreeNode, baseDynamicNodeAlloc_block::m_pBlock;
};

// The validity test is private; naming it in an explicit instantiation is the language's own way to it.
using validity = bool (baseDynamicNodeAlloc_block::*)(void *) const;
validity is_valid;
template <validity Member>
struct reach {
  static inline const bool done = (is_valid = Member, true);
};
template struct reach<&baseDynamicNodeAlloc_block::IsValidPointer>;

constexpr int word = sizeof(void *);
void **words(void *p) { return static_cast<void **>(p); }

} // namespace

TEST(NodeAlloc, CarvesBlocksAndHandsOutTheLastReturnedFirst) {
  node_pool pool;
  char *nodes[5];
  EXPECT_EQ(growth([&] {
              for (char *&node : nodes) node = static_cast<char *>(pool.borrow_node(3 * word, 4));
            }),
            std::make_pair(2, 0));
  for (int i = 1; i < 4; ++i) EXPECT_EQ(nodes[i], nodes[0] + i * 3 * word);
  EXPECT_EQ(nodes[4], static_cast<char *>(pool.m_pBlock) + 2 * word);
  EXPECT_EQ(words(pool.m_pBlock)[1], reinterpret_cast<void *>(static_cast<size_t>(14 * word)));
  EXPECT_EQ(words(words(pool.m_pBlock)[0]) + 2, words(nodes[0]));

  void *const next = pool.m_pFreeNode;
  pool.return_node(nodes[1]);
  pool.return_node(nodes[3]);
  EXPECT_EQ(words(nodes[3])[0], nodes[1]);
  EXPECT_EQ(words(nodes[1])[0], next);
  EXPECT_EQ(words(nodes[1])[1], nodes[3] + word);
  EXPECT_EQ(pool.m_nBorrowed, 3);
  EXPECT_EQ(pool.borrow_node(3 * word, 4), nodes[3]);
  EXPECT_EQ(pool.borrow_node(3 * word, 4), nodes[1]);
  EXPECT_EQ(pool.borrow_node(3 * word, 4), next);

  EXPECT_EQ(growth([&] { pool.cleanup_nodes(); }), std::make_pair(0, 2));
  EXPECT_TRUE(pool.m_nBorrowed == 0 && !pool.m_pFreeNode && !pool.m_pBlock);
}

TEST(NodeAlloc, MakesOneNodeForAnyCountBelowTwoAndTakesNullAsItComes) {
  for (const int count : {1, 0, -5}) {
    node_pool pool;
    char *const node = static_cast<char *>(pool.borrow_node(2 * word, count));
    EXPECT_EQ(pool.m_pFreeNode, nullptr);
    const auto valid = [&](char *p) { return (pool.*is_valid)(p); };
    EXPECT_TRUE(valid(node) && valid(node + 1) && valid(node + 2 * word)) << count;
    EXPECT_FALSE(valid(node - 1) || valid(node + 2 * word + 1) || valid(nullptr)) << count;

    pool.return_node(node);
    pool.return_node(nullptr);
    EXPECT_EQ(pool.m_pFreeNode, nullptr);
    EXPECT_EQ(words(node)[1], nullptr);
    EXPECT_NE(pool.borrow_node(2 * word, count), node);
  }
}
