#include "zarlib/crypto/aes_path.h"
#include "zarlib/crypto/wipe.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

// AES without tables or branches, bit-sliced over several blocks after E. Kaesper and P. Schwabe ("Faster and
// Timing-Attack Resistant AES-GCM", 2009), in T. Pornin's layout for 64-bit words: word i holds bit i of every byte of
// four blocks, with 16 bits per row of the state, 4 bits per column, 1 bit per block. The S-box is the circuit of J.
// Boyar and R. Peralta ("A Small Depth-16 Circuit for the AES S-Box", 2012).

namespace {

using zar::aes_block;
using word = std::uint64_t;

/// The unit of work: two words side by side where every processor of the target has such registers.
#if defined(__SSE2__)
using wide_word = word __attribute__((vector_size(16)));
#else
using wide_word = word;
#endif

/// Eight words, one per bit of a byte.
template <class W>
struct bits {
  W at[8];
};

constexpr size_t blocks_in_word = 4;
template <class W>
constexpr size_t words_in = sizeof(W) / sizeof(word);

template <class W>
void exchange(W &a, W &b, word mask, int shift) {
  const W moved = ((a >> shift) ^ b) & mask;
  a ^= moved << shift;
  b ^= moved;
}

/// Converts between eight words of bytes and eight bit slices; it is its own inverse.
template <class W>
void transpose(bits<W> &q) {
  for (int i = 0; i < 8; i += 2) exchange(q.at[i], q.at[i + 1], 0x5555555555555555, 1);
  for (int i : {0, 1, 4, 5}) exchange(q.at[i], q.at[i + 2], 0x3333333333333333, 2);
  for (int i = 0; i < 4; ++i) exchange(q.at[i], q.at[i + 4], 0x0F0F0F0F0F0F0F0F, 4);
}

/// spread() moves the four bytes of the low half to the even bytes of both halves; gather() undoes it.
template <class W>
W spread(W column) {
  column = (column | column << 16) & 0x0000FFFF0000FFFF;
  return (column | column << 8) & 0x00FF00FF00FF00FF;
}
template <class W>
W gather(W column) {
  column = (column | column >> 8) & 0x0000FFFF0000FFFF;
  return (column | column >> 16) & 0x00000000FFFFFFFF;
}

/// Column `column` of block `block` of each word, little-endian in its low half.
template <class W>
W read_column(const unsigned char *in, size_t block, size_t column) {
  word words[words_in<W>];
  for (size_t i = 0; i < words_in<W>; ++i) {
    words[i] = zar::read_word(in + (i * blocks_in_word + block) * aes_block + column * 4);
  }
  W result;
  std::memcpy(&result, words, sizeof result);
  return result;
}

template <class W>
void write_column(W value, unsigned char *out, size_t block, size_t column) {
  word words[words_in<W>];
  std::memcpy(words, &value, sizeof value);
  for (size_t i = 0; i < words_in<W>; ++i)
    zar::write_word(out + (i * blocks_in_word + block) * aes_block + column * 4, static_cast<std::uint32_t>(words[i]));
}

template <class W>
bits<W> read_blocks(const unsigned char *in) {
  bits<W> q;
  for (size_t i = 0; i < blocks_in_word; ++i) {
    q.at[i] = spread(read_column<W>(in, i, 0)) | spread(read_column<W>(in, i, 2)) << 8;
    q.at[i + 4] = spread(read_column<W>(in, i, 1)) | spread(read_column<W>(in, i, 3)) << 8;
  }
  transpose(q);
  return q;
}

template <class W>
void write_blocks(bits<W> q, unsigned char *out) {
  transpose(q);
  constexpr word even = 0x00FF00FF00FF00FF;
  for (size_t i = 0; i < blocks_in_word; ++i) {
    write_column<W>(gather<W>(q.at[i] & even), out, i, 0);
    write_column<W>(gather<W>(q.at[i + 4] & even), out, i, 1);
    write_column<W>(gather<W>(q.at[i] >> 8 & even), out, i, 2);
    write_column<W>(gather<W>(q.at[i + 4] >> 8 & even), out, i, 3);
  }
}

/// Names as in the paper: u and s are input and output, highest bit first.
template <class W>
void substitute(bits<W> &q) {
  const W u0 = q.at[7], u1 = q.at[6], u2 = q.at[5], u3 = q.at[4], u4 = q.at[3], u5 = q.at[2], u6 = q.at[1],
          u7 = q.at[0];
  // Into the tower field.
  const W y14 = u3 ^ u5, y13 = u0 ^ u6, y9 = u0 ^ u3, y8 = u0 ^ u5, t0 = u1 ^ u2, y1 = t0 ^ u7, y4 = y1 ^ u3,
          y12 = y13 ^ y14;
  const W y2 = y1 ^ u0, y5 = y1 ^ u6, y3 = y5 ^ y8, t1 = u4 ^ y12, y15 = t1 ^ u5, y20 = t1 ^ u1, y6 = y15 ^ u7,
          y10 = y15 ^ t0;
  const W y11 = y20 ^ y9, y7 = u7 ^ y11, y17 = y10 ^ y11, y19 = y10 ^ y8, y16 = t0 ^ y11, y21 = y13 ^ y16,
          y18 = u0 ^ y16;
  // Inversion there.
  const W t2 = y12 & y15, t4 = (y3 & y6) ^ t2, t6 = (y4 & u7) ^ t2, t7 = y13 & y16, t9 = (y5 & y1) ^ t7,
          t11 = (y2 & y7) ^ t7;
  const W t12 = y9 & y11, t14 = (y14 & y17) ^ t12, t16 = (y8 & y10) ^ t12;
  const W t21 = t4 ^ t14 ^ y20, t22 = t6 ^ t16 ^ y19, t23 = t9 ^ t14 ^ y21, t24 = t11 ^ t16 ^ y18;
  const W t25 = t21 ^ t22, t26 = t21 & t23, t27 = t24 ^ t26, t29 = (t25 & t27) ^ t22,
          t33 = ((t22 ^ t26) & (t23 ^ t24)) ^ t24;
  const W t36 = t24 & (t27 ^ t33), t37 = t36 ^ t23 ^ t33, t40 = t25 ^ (t29 & (t27 ^ t36));
  const W t41 = t40 ^ t37, t42 = t29 ^ t33, t43 = t29 ^ t40, t44 = t33 ^ t37, t45 = t42 ^ t41;
  const W z0 = t44 & y15, z1 = t37 & y6, z2 = t33 & u7, z3 = t43 & y16, z4 = t40 & y1, z5 = t29 & y7, z6 = t42 & y11;
  const W z7 = t45 & y17, z8 = t41 & y10, z9 = t44 & y12, z10 = t37 & y3, z11 = t33 & y4, z12 = t43 & y13,
          z13 = t40 & y5;
  const W z14 = t29 & y2, z15 = t42 & y9, z16 = t45 & y14, z17 = t41 & y8;
  // Back out, through the affine map of the standard.
  const W t46 = z15 ^ z16, t48 = z5 ^ z13, t53 = z0 ^ z3, t54 = z6 ^ z7, t57 = z2 ^ z12 ^ t53, t58 = z4 ^ t46,
          t59 = z3 ^ t54;
  const W t60 = t46 ^ t57, t62 = z7 ^ z8 ^ t58, t63 = z9 ^ z10 ^ t58, t64 = z4 ^ t59, t65 = z14 ^ t57 ^ t62,
          t66 = z1 ^ t63;
  const W s3 = t53 ^ t66;
  q.at[7] = t59 ^ t63;
  q.at[6] = ~(t64 ^ s3);
  q.at[5] = ~(z16 ^ z17 ^ t64 ^ t65);
  q.at[4] = s3;
  q.at[3] = z2 ^ z5 ^ t66;
  q.at[2] = z10 ^ z11 ^ t65;
  q.at[1] = ~(z12 ^ t48 ^ t62);
  q.at[0] = ~(t48 ^ t60);
}

/// The inverse of the affine map.
template <class W>
void undo_affine_map(bits<W> &q) {
  bits<W> n = q;
  for (int i : {0, 1, 5, 6}) n.at[i] = ~n.at[i];
  for (int i = 0; i < 8; ++i) q.at[i] = n.at[(i + 2) % 8] ^ n.at[(i + 5) % 8] ^ n.at[(i + 7) % 8];
}

/// The S-box is field inversion followed by the affine map; inversion is its own inverse, so undoing the map before and
/// after another S-box gives the inverse S-box.
template <class W>
void substitute_back(bits<W> &q) {
  undo_affine_map(q);
  substitute(q);
  undo_affine_map(q);
}

/// Rotates rows 2 and 3 by two columns, then rows 1 and 3 by `one` bits of their 16.
template <class W>
void shift_rows(bits<W> &q, int one) {
  const word stay = 0xFFFF >> one, odd = 0x0001000000010000;
  for (W &w : q.at) {
    w = (w & 0x00000000FFFFFFFF) | (w >> 8 & 0x00FF00FF00000000) | (w << 8 & 0xFF00FF0000000000);
    w = (w & 0x0000FFFF0000FFFF) | (w >> one & stay * odd) | (w << (16 - one) & (0xFFFF ^ stay) * odd);
  }
}

template <class W>
W turn(W w, int bits) {
  return w >> bits | w << (64 - bits);
}

/// Multiplies each byte by 2 in the field of the standard.
template <class W>
bits<W> twice(const bits<W> &q) {
  const W high = q.at[7];
  return {{high, q.at[0] ^ high, q.at[1], q.at[2] ^ high, q.at[3] ^ high, q.at[4], q.at[5], q.at[6]}};
}

/// A byte a of a column becomes 2a + 3b + c + d, where b, c, d are the bytes below it: 2(a + b) + b + (c + d).
template <class W>
void mix_columns(bits<W> &q) {
  bits<W> below, both;
  for (int i = 0; i < 8; ++i) {
    below.at[i] = turn(q.at[i], 16);
    both.at[i] = q.at[i] ^ below.at[i];
  }
  const bits<W> doubled = twice(both);
  for (int i = 0; i < 8; ++i) q.at[i] = doubled.at[i] ^ below.at[i] ^ turn(both.at[i], 32);
}

/// The inverse is the same map preceded by another: a becomes a + 4(a + c).
template <class W>
void mix_columns_back(bits<W> &q) {
  bits<W> sum;
  for (int i = 0; i < 8; ++i) sum.at[i] = q.at[i] ^ turn(q.at[i], 32);
  const bits<W> fourfold = twice(twice(sum));
  for (int i = 0; i < 8; ++i) q.at[i] ^= fourfold.at[i];
  mix_columns(q);
}

template <class W>
void add_key(bits<W> &q, const bits<W> &key) {
  for (int i = 0; i < 8; ++i) q.at[i] ^= key.at[i];
}

constexpr int most_round_keys = 15;

/// The round keys, each replicated for every block processed at once.
template <class W>
class round_keys {
public:
  round_keys(const unsigned char *schedule, int rounds) {
    for (int round = 0; round <= rounds; ++round) {
      unsigned char copies[blocks_in_word * aes_block];
      for (size_t i = 0; i < blocks_in_word; ++i) std::memcpy(copies + i * aes_block, schedule + round * 16, aes_block);
      const bits<word> key = read_blocks<word>(copies);
      for (int i = 0; i < 8; ++i) m_keys[round].at[i] = W() | key.at[i];
    }
  }
  ~round_keys() { zar::wipe(m_keys, sizeof m_keys); }
  round_keys(const round_keys &) = delete;
  round_keys &operator=(const round_keys &) = delete;

  const bits<W> &operator[](int round) const { return m_keys[round]; }

private:
  bits<W> m_keys[most_round_keys];
};

template <class W>
void encipher_state(bits<W> &q, const round_keys<W> &keys, int rounds) {
  add_key(q, keys[0]);
  for (int round = 1; round <= rounds; ++round) {
    substitute(q);
    shift_rows(q, 4);
    if (round < rounds) mix_columns(q);
    add_key(q, keys[round]);
  }
}

template <class W>
void decipher_state(bits<W> &q, const round_keys<W> &keys, int rounds) {
  for (int round = rounds; round > 0; --round) {
    add_key(q, keys[round]);
    if (round < rounds) mix_columns_back(q);
    shift_rows(q, 12);
    substitute_back(q);
  }
  add_key(q, keys[0]);
}

/// Processes the blocks in groups; the last group is padded.
template <void (*cipher)(bits<wide_word> &, const round_keys<wide_word> &, int)>
[[gnu::flatten, gnu::noinline]] void for_all(const unsigned char *schedule, int rounds, const unsigned char *in,
                                             unsigned char *out, size_t blocks) {
  constexpr size_t group = words_in<wide_word> * blocks_in_word * aes_block;
  const round_keys<wide_word> keys(schedule, rounds);
  for (size_t left = blocks * aes_block; left > 0;) {
    unsigned char filled[group] = {};
    const size_t size = std::min(left, group);
    if (size < group) std::memcpy(filled, in, size);
    bits<wide_word> q = read_blocks<wide_word>(size < group ? filled : in);
    cipher(q, keys, rounds);
    write_blocks(q, size < group ? filled : out);
    if (size < group) std::memcpy(out, filled, size);
    if (size < group) zar::wipe(filled, group);
    in += size;
    out += size;
    left -= size;
  }
}

/// Zeroes the up to 3.7 KiB of stack that for_all() leaves behind: spilled states, of which those before the last key
/// addition reveal bits of that key.
[[gnu::noinline]] void wipe_left_stack() {
  unsigned char left[4096];
  zar::wipe(left, sizeof left);
}

template <void (*cipher)(bits<wide_word> &, const round_keys<wide_word> &, int)>
void for_all_tracelessly(const unsigned char *schedule, int rounds, const unsigned char *in, unsigned char *out,
                         size_t blocks) {
  for_all<cipher>(schedule, rounds, in, out, blocks);
  wipe_left_stack();
}

/// The S-box on four bytes, as the first column of an otherwise empty state.
[[gnu::flatten]] std::uint32_t substitute_word(std::uint32_t bytes) {
  bits<word> q = {{bytes}};
  transpose(q);
  substitute(q);
  transpose(q);
  return static_cast<std::uint32_t>(q.at[0]);
}

void expand_key(unsigned char *schedule, int key_length, int schedule_size) {
  zar::expand_aes_key(schedule, key_length, schedule_size, substitute_word);
}

} // namespace

const zar::aes_path zar::portable_aes_path = {"portable", expand_key, for_all_tracelessly<encipher_state<wide_word>>,
                                              for_all_tracelessly<decipher_state<wide_word>>};
