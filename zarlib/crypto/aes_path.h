// The implementations of AES. All give the same bytes; they differ in what they require of the processor.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zar {

constexpr size_t aes_block = 16;

struct aes_path {
  const char *name;

  /// Expands the key at the start of `schedule`.
  /// @param key_length  16, 24 or 32, with a schedule of 176, 208 or 240 bytes.
  void (*expand_key)(unsigned char *schedule, int key_length, int schedule_size);

  /// Encipher and decipher `blocks` whole blocks, each on its own. `out` may be `in`; otherwise they must not overlap.
  void (*encipher)(const unsigned char *schedule, int rounds, const unsigned char *in, unsigned char *out,
                   size_t blocks);
  void (*decipher)(const unsigned char *schedule, int rounds, const unsigned char *in, unsigned char *out,
                   size_t blocks);
};

/// Runs everywhere, with shifts and logic only.
extern const aes_path portable_aes_path;

/// @return The implementations that this processor supports, fastest first, the portable one last.
std::vector<const aes_path *> aes_paths();

/// @return The first of aes_paths(), chosen once.
const aes_path &fastest_aes_path();

/// Four bytes as a little-endian word.
inline std::uint32_t read_word(const unsigned char *p) {
  return std::uint32_t{p[0]} | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16 | std::uint32_t{p[3]} << 24;
}

inline void write_word(unsigned char *p, std::uint32_t word) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<unsigned char>(word >> 8 * i);
}

/// The key expansion of FIPS 197; `substitute` applies the S-box to the four bytes of a word.
template <class SubstituteWord>
void expand_aes_key(unsigned char *schedule, int key_length, int schedule_size, SubstituteWord substitute) {
  std::uint32_t last = read_word(schedule + key_length - 4), round_constant = 1;
  for (int at = key_length, place = 0; at < schedule_size; at += 4, place = place + 4 == key_length ? 0 : place + 4) {
    if (place == 0) {
      last = substitute(last >> 8 | last << 24) ^ round_constant;
      round_constant = round_constant << 1 ^ (round_constant >> 7) * 0x11B;
    } else if (key_length == 32 && place == 16) {
      last = substitute(last);
    }
    last ^= read_word(schedule + at - key_length);
    write_word(schedule + at, last);
  }
}

} // namespace zar
