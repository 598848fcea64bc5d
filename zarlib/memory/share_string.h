// baseShareStringA and baseShareTextA: a string in a block.
#pragma once

#include "zarlib/export.h"
#include "zarlib/memory/self_relative_word.h"

/// A text as stored in a block: the length, then that many bytes, then a NUL. It takes length + 5 bytes
/// of the block's pool.
struct ZAR_API baseShareTextA {
  int length; ///< characters without the terminator

  char *text() { return reinterpret_cast<char *>(this + 1); }
  const char *text() const { return reinterpret_cast<const char *>(this + 1); }
};

static_assert(sizeof(baseShareTextA) == 4, "a storage format");

/// A string in a block: one word that refers to a baseShareTextA of the same block, or to nothing.
///
/// It allocates and owns nothing; a derived class allocates the record from the block's pool and sets it. Guarded by
/// the block's lock. Comparisons are case-sensitive and stop at the first NUL.
class ZAR_API baseShareStringA {
public:
  baseShareStringA() : m_word(zar::self_relative_word::null_value) {}

  // Settled, callers rely on it: copies take the stored number verbatim, so they refer to the same distance from
  // themselves and not to the same text. To share the text, use set_Text().
  baseShareStringA(const baseShareStringA &) = default;
  baseShareStringA &operator=(const baseShareStringA &) = default;

  /// @return The text, NUL-terminated; "" without one, never null.
  const char *c_str() const;
  /// c_str() under another name.
  const char *c_ptr() const;

  /// @return The stored length, 0 without a text.
  int length() const;
  bool empty() const;

  bool operator==(const baseShareStringA &other) const;
  bool operator!=(const baseShareStringA &other) const;
  bool operator<(const baseShareStringA &other) const;
  bool operator>(const baseShareStringA &other) const;

protected:
  /// @return The record, or null.
  baseShareTextA *get_Text() const;
  /// REQUIRES: the record lies in the block of this string, or is null.
  void set_Text(baseShareTextA *text);

private:
  zar::self_relative_word m_word;
};

static_assert(sizeof(baseShareStringA) == 4, "a storage format");
