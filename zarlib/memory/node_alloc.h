// baseDynamicNodeAlloc_block: a free list of equal-sized nodes.
#pragma once

#include "zarlib/export.h"

class list_chain_pointer;

/// The base of classes that need many small records of one size.
///
/// Nodes are carved from blocks of the process heap, which are counted in the balance of baseDymicAlloc; each object
/// serves one node size and gives memory back only in cleanup_nodes(). borrow_node() and return_node() are a few
/// stores, but for the one call in `nodes_per_block` that makes a block. No lock: an object belongs to one thread, or
/// to the lock of its owner.
class ZAR_API baseDynamicNodeAlloc_block {
protected:
  baseDynamicNodeAlloc_block();
  baseDynamicNodeAlloc_block(const baseDynamicNodeAlloc_block &) = delete;
  /// Copies the three members as they stand. Two objects then own the same blocks, so this is for handing them on.
  /// REQUIRES: this object has no blocks, and the other is never used or destroyed while it has them.
  baseDynamicNodeAlloc_block &operator=(const baseDynamicNodeAlloc_block &) = default;
  /// Calls cleanup_nodes().
  ~baseDynamicNodeAlloc_block();

  /// Hands out the node returned last, else the next one of the newest block, else makes a block.
  /// @param node_bytes       At least two words of the target, and a multiple of the alignment that the records need.
  /// @param nodes_per_block  Nodes of a new block; 1 or less makes one.
  /// @return The node, uninitialised: its first two words hold old links. Never null: on an exhausted heap the process
  ///         faults.
  /// REQUIRES: the same two numbers at every call on one object; a block stays below 2 GiB. Neither is tested.
  void *borrow_node(int node_bytes, int nodes_per_block);

  /// Puts a node at the head of the free nodes.
  /// REQUIRES: the node is on loan from this object. Not tested: a null makes the free nodes unreachable until
  /// cleanup_nodes().
  void return_node(void *node);

  /// Gives all blocks back, one counted free each, and starts anew. Nodes still on loan are gone without a report.
  void cleanup_nodes();

  int m_nBorrowed;   ///< nodes handed out and not yet returned
  void *m_pFreeNode; ///< the first free node, or null
  void *m_pBlock;    ///< the newest block, or null: the next block, the size in bytes with this head, then the nodes

private:
  list_chain_pointer *AllocHashBlock(int node_bytes, int nodes_per_block);

  /// @return Whether p lies among the nodes of a block. The address right behind the last one counts too, and an
  ///         address inside a node as well.
  bool IsValidPointer(void *p) const;
};
