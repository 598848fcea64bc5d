// RC4, as published in 1994, without dropping the start of its stream.
//
// It is broken as a cipher; only the envelope of stored passwords uses it.
#pragma once

#include <array>
#include <cstddef>

namespace zar {

/// A key stream and the position in it. Trivially destructible, so that one can be constexpr: whoever gives it a
/// secret key wipes it.
class rc4 {
public:
  /// REQUIRES: `length` above 0.
  constexpr rc4(const unsigned char *key, int length) : m_table() {
    for (size_t i = 0; i < m_table.size(); ++i) m_table[i] = static_cast<unsigned char>(i);
    unsigned j = 0;
    int position = 0;
    for (unsigned char &entry : m_table) {
      j = (j + entry + key[position]) & 255;
      exchange(entry, m_table[j]);
      if (++position == length) position = 0;
    }
  }

  /// XORs `size` bytes with the next ones of the stream; the same stream from its start undoes that.
  void apply(unsigned char *data, size_t size) {
    unsigned i = m_i, j = m_j;
    for (size_t at = 0; at < size; ++at) {
      i = (i + 1) & 255;
      j = (j + m_table[i]) & 255;
      exchange(m_table[i], m_table[j]);
      data[at] ^= m_table[(m_table[i] + m_table[j]) & 255];
    }
    m_i = i;
    m_j = j;
  }

private:
  static constexpr void exchange(unsigned char &a, unsigned char &b) {
    const unsigned char kept = a;
    a = b;
    b = kept;
  }

  std::array<unsigned char, 256> m_table;
  unsigned m_i = 0, m_j = 0;
};

} // namespace zar
