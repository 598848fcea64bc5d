// Intrusive lists: records that carry their own links, on the heap and in blocks.
//
// Nothing here allocates or locks: synchronisation is up to the list's owner. Each operation touches at most the node
// and its two neighbours.
#pragma once

#include "zarlib/export.h"
#include "zarlib/memory/self_relative_word.h"

/// Six classes with one link each, named by its role; a record that takes part in several relations
/// inherits from several.
///
/// A new link points to its own object, never to null. set_...() stores the link and touches no neighbour.
/// Copying copies the word.
class ZAR_API pointer_chain_pNext {
public:
  pointer_chain_pNext *get_pNext() const { return m_pNext; }
  void set_pNext(const pointer_chain_pNext *target) { m_pNext = const_cast<pointer_chain_pNext *>(target); }

private:
  pointer_chain_pNext *m_pNext = this;
};

class ZAR_API pointer_chain_pPrev {
public:
  pointer_chain_pPrev *get_pPrev() const { return m_pPrev; }
  void set_pPrev(const pointer_chain_pPrev *target) { m_pPrev = const_cast<pointer_chain_pPrev *>(target); }

private:
  pointer_chain_pPrev *m_pPrev = this;
};

class ZAR_API pointer_chain_pLeft {
public:
  pointer_chain_pLeft *get_pLeft() const { return m_pLeft; }
  void set_pLeft(const pointer_chain_pLeft *target) { m_pLeft = const_cast<pointer_chain_pLeft *>(target); }

private:
  pointer_chain_pLeft *m_pLeft = this;
};

class ZAR_API pointer_chain_pRight {
public:
  pointer_chain_pRight *get_pRight() const { return m_pRight; }
  void set_pRight(const pointer_chain_pRight *target) { m_pRight = const_cast<pointer_chain_pRight *>(target); }

private:
  pointer_chain_pRight *m_pRight = this;
};

class ZAR_API pointer_chain_pParent {
public:
  pointer_chain_pParent *get_pParent() const { return m_pParent; }
  void set_pParent(const pointer_chain_pParent *target) { m_pParent = const_cast<pointer_chain_pParent *>(target); }

private:
  pointer_chain_pParent *m_pParent = this;
};

class ZAR_API pointer_chain_pChild {
public:
  pointer_chain_pChild *get_pChild() const { return m_pChild; }
  void set_pChild(const pointer_chain_pChild *target) { m_pChild = const_cast<pointer_chain_pChild *>(target); }

private:
  pointer_chain_pChild *m_pChild = this;
};

/// A node or head of a circular doubly linked list; constructed as an empty head.
///
/// The forward link N points to the start of the next node. The backward link P points to the P part of the previous
/// node, one word past its start. Copying copies both words verbatim, so a copy of a non-empty head is no valid head.
template <class N, class P>
class list_chain : public N, public P {
public:
  bool empty() const { return this->get_pNext() == static_cast<const N *>(this); }
};

/// A list on the process heap: two words of the target.
class ZAR_API list_chain_pointer : public list_chain<pointer_chain_pNext, pointer_chain_pPrev> {};

/// A list inside a block: the same links as 32-bit distances, each relative to the address of its own
/// word; a storage format.
///
/// It works wherever the block lies and may be copied elsewhere with the block.
/// REQUIRES: head and nodes lie in one block.
///
///     offset 0   4 bytes   forward    next node minus this word; 0xFFFFFFFF for null
///     offset 4   4 bytes   backward   the previous node's backward word minus this word; 0xFFFFFFFF for null
///
/// An empty head holds 0 in both words, a node in no list 0xFFFFFFFF. Copying copies both words verbatim.
class ZAR_API list_chain_offset {
public:
  list_chain_offset() : m_next(0), m_back(0) {}

  bool empty() const { return get_pNext() == this; }

  /// The start of the neighbour; null where the word is null.
  list_chain_offset *get_pNext() const { return static_cast<list_chain_offset *>(m_next.target()); }
  list_chain_offset *get_pPrev() const {
    void *const back = m_back.target();
    return back ? reinterpret_cast<list_chain_offset *>(static_cast<char *>(back) - sizeof m_next) : nullptr;
  }

  /// Store a link to the node that starts at `node`, or null, and touch no neighbour.
  void set_pNext(list_chain_offset *node) { m_next.set_target(node); }
  void set_pPrev(list_chain_offset *node) { m_back.set_target(node ? &node->m_back : nullptr); }

  /// Makes two nodes neighbours: stores the two words between them, and no others.
  friend void chain_link(list_chain_offset &first, list_chain_offset &second) {
    const auto distance = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(&second) -
                                                     reinterpret_cast<std::uintptr_t>(&first));
    first.m_next.set_distance(distance);
    second.m_back.set_distance(0 - distance);
  }

private:
  zar::self_relative_word m_next;
  zar::self_relative_word m_back;
};

static_assert(sizeof(list_chain_pointer) == 2 * sizeof(void *), "two words");
static_assert(sizeof(list_chain_offset) == 8, "a storage format");

/// Removes the node from its list; both its words become null.
/// REQUIRES: the node is in a list. Not checked: otherwise it writes through the null neighbours.
inline void chain_unlink(list_chain_offset &node) {
  chain_link(*node.get_pPrev(), *node.get_pNext());
  node.set_pNext(nullptr);
  node.set_pPrev(nullptr);
}

inline void chain_unlink(list_chain_pointer &node) {
  auto *const previous = static_cast<list_chain_pointer *>(node.get_pPrev());
  auto *const next = static_cast<list_chain_pointer *>(node.get_pNext());
  next->set_pPrev(previous);
  previous->set_pNext(next);
  node.set_pNext(nullptr);
  node.set_pPrev(nullptr);
}

/// Inserts a node that is in no list directly before `next`; with the head as `next` it becomes the last.
/// REQUIRES: `next` is in a list, or is a head.
inline void chain_insert_before(list_chain_offset &next, list_chain_offset &node) {
  chain_link(*next.get_pPrev(), node);
  chain_link(node, next);
}

inline void chain_insert_before(list_chain_pointer &next, list_chain_pointer &node) {
  auto *const previous = static_cast<list_chain_pointer *>(next.get_pPrev());
  next.set_pPrev(&node);
  node.set_pPrev(previous);
  node.set_pNext(&next);
  previous->set_pNext(&node);
}
