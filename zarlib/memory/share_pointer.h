// share_pointer: a self-relative pointer, valid wherever its block lies.
#pragma once

#include "zarlib/export.h"
#include "zarlib/memory/self_relative_word.h"

/// One 32-bit word that stores the distance to its target; a storage format of every named block.
///
/// It is valid only in place: the word and its target lie in one block and move together. All operations are inline, a
/// few instructions each; nothing locks. On a 64-bit target an address more than 2 GiB away cannot be stored and
/// becomes null; on every target the address one byte below the word reads as null.
class ZAR_API share_pointer {
public:
  share_pointer(const void *p = nullptr) : m_word(zar::self_relative_word::null_value) { setPointer(p); }

  /// Copies keep the target, not the stored number.
  share_pointer(const share_pointer &other) : share_pointer(other.pointer()) {}
  share_pointer &operator=(const share_pointer &other) {
    setPointer(other.pointer());
    return *this;
  }

  void setPointer(const void *p) { m_word.set_target(m_word.within_reach(p) ? p : nullptr); }

  /// @return The target's current address, or null.
  void *pointer() const { return m_word.target(); }

  bool hasData() const { return !m_word.is_null(); }

  /// Whether both have the same target.
  bool operator==(const share_pointer &other) const { return pointer() == other.pointer(); }

private:
  zar::self_relative_word m_word;
};

static_assert(sizeof(share_pointer) == 4, "a storage format");
