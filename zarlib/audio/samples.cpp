#include "zarlib/audio/samples.h"

namespace {

/// The codes of one law, indexed by the 16 bits of the sample. Each code stands for a step of magnitudes; sixteen steps
/// of equal width form a segment, and there are eight segments.
struct code_table {
  /// @param first   The magnitude at which step 0 begins; nothing is below 0.
  /// @param width   Width of the steps of a segment.
  /// @param silence The code of the sample 0, with which all codes are XORed.
  constexpr code_table(int first, int (*width)(int segment), int silence) : codes() {
    int size = first;
    for (int step = 0; step < 128; ++step)
      for (const int end = size + width(step >> 4); size < end; ++size) put(size, step ^ silence);
    while (size < 32768) put(size++, 127 ^ silence);
    // Settled, callers rely on it: the sample without a negation has the code of the smallest negative one.
    codes[32768] = static_cast<unsigned char>(silence ^ sign);
  }

  unsigned char codes[65536];

private:
  static constexpr int sign = 0x80;

  /// Settled, callers rely on it: a negative sample has the code of its negation with the sign flipped, where G.711's
  /// reference code (ITU-T G.191) uses the one's complement, which differs at the edge of a step.
  constexpr void put(int size, int code) {
    if (size < 0) return;
    codes[-size & 0xFFFF] = static_cast<unsigned char>(code ^ sign);
    codes[size] = static_cast<unsigned char>(code);
  }
};

constexpr code_table a_law(
    0, [](int segment) { return segment == 0 ? 16 : 8 << segment; }, 0xD5);
constexpr code_table mu_law(
    -4, [](int segment) { return 8 << segment; }, 0xFF);

} // namespace

const unsigned char *const aLawSample::s_codes = a_law.codes;
const unsigned char *const uLawSample::s_codes = mu_law.codes;
