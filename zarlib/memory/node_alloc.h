// baseDynamicNodeAlloc_block: a free list of equal-sized nodes.
#pragma once

#include "zarlib/export.h"

class list_chain_pointer;

/// The base of classes that need many small records of one size.
///
/// Nodes are carved from blocks of the process heap, which count in the balance of baseDymicAlloc; each object serves
/// one node size and frees memory only in cleanup_nodes(). borrow_node() and return_node() are a few stores each,
/// except for the one call in `nodes_per_block` that allocates a block. Not locked: an object belongs to one thread, or
/// is guarded by its owner's lock.
class ZAR_API baseDynamicNodeAlloc_block {
protected:
  baseDynamicNodeAlloc_block();
  baseDynamicNodeAlloc_block(const baseDynamicNodeAlloc_block &) = delete;
  /// Copies the three members verbatim. Both objects then own the same blocks, so use it only to transfer ownership.
  /// REQUIRES: this object has no blocks, and the other is never used or destroyed while it still holds them.
  baseDynamicNodeAlloc_block &operator=(const baseDynamicNodeAlloc_block &) = default;
  /// Calls cleanup_nodes().
  ~baseDynamicNodeAlloc_block();

  /// Hands out the most recently returned node, else the next unused one of the newest block, else the
  /// first of a new block.
  /// @param node_bytes       At least two words of the target, and a multiple of the alignment that the records need.
  /// @param nodes_per_block  Nodes in a new block; 1 or less makes one.
  /// @return The node, uninitialised: its first two words hold old links. Never null: on an exhausted
  ///         heap the process faults.
  /// REQUIRES: the same two arguments in every call on one object; a block stays below 2 GiB. Neither is checked.
  void *borrow_node(int node_bytes, int nodes_per_block);

  /// Puts a node at the head of the free list.
  /// REQUIRES: the node was borrowed from this object. Not checked: null makes the free nodes unreachable
  /// until cleanup_nodes().
  void return_node(void *node);

  /// Frees all blocks, one counted free each, and starts anew. Nodes still borrowed dangle; nothing is reported.
  void cleanup_nodes();

  int m_nBorrowed;   ///< nodes handed out and not yet returned
  void *m_pFreeNode; ///< the first free node, or null
  void *m_pBlock;    ///< the newest block, or null; holds the next block, its size in bytes with this header, the nodes

private:
  list_chain_pointer *AllocHashBlock(int node_bytes, int nodes_per_block);

  /// @return Whether p lies among the nodes of a block; addresses inside a node and the one just past the
  ///         last node count too.
  bool IsValidPointer(void *p) const;
};
