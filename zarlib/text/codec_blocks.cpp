#include "zarlib/text/codec_blocks.h"

#if defined(__x86_64__) || defined(__i386__)

#include <immintrin.h>

// The Base64 kernels follow W. Mula and D. Lemire, "Faster Base64 Encoding and Decoding Using AVX2 Instructions"
// (2018): multiplications move the bits, a per-range offset maps values to characters and back, and tables are
// shuffles.

// On 32-bit systems a caller may pass a stack that is only 4-byte aligned.
#if defined(__i386__)
#define ZAR_TARGET(name) __attribute__((target(name), force_align_arg_pointer))
#else
#define ZAR_TARGET(name) __attribute__((target(name)))
#endif

namespace zar {

namespace {

vector_level detected_level() {
  __builtin_cpu_init(); // the constructor that does this may not have run yet
  if (__builtin_cpu_supports("avx2")) return vector_level::avx2;
  return __builtin_cpu_supports("ssse3") ? vector_level::ssse3 : vector_level::none;
}

const __m128i *vector_at(const void *p) { return static_cast<const __m128i *>(p); }
__m128i *vector_at(void *p) { return static_cast<__m128i *>(p); }
const __m256i *wide_at(const void *p) { return static_cast<const __m256i *>(p); }
__m256i *wide_at(void *p) { return static_cast<__m256i *>(p); }

/// The same 16 bytes in both halves, because AVX2 shuffles work within each half.
ZAR_TARGET("avx2") __m256i twice(__m128i table) { return _mm256_broadcastsi128_si256(table); }

// Tables, indexed by 4-bit values.

ZAR_TARGET("ssse3") __m128i hexadecimal_digits() {
  return _mm_setr_epi8('0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'A', 'B', 'C', 'D', 'E', 'F');
}

/// Expands each three bytes to a group of four: the second, the first, the third, the second.
ZAR_TARGET("ssse3") __m128i spread_threes() { return _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10); }

/// Offset from value to character. Index 0: values 26 to 51; 1 to 10: the digits; 11: "+"; 12: "/"; 13: values below
/// 26.
ZAR_TARGET("ssse3") __m128i distance_to_character() {
  constexpr char digit = '0' - 52;
  return _mm_setr_epi8('a' - 26, digit, digit, digit, digit, digit, digit, digit, digit, digit, digit, '+' - 62,
                       '/' - 63, 'A', 0, 0);
}

/// A character is in the alphabet if the entries for its low and its high half have no bit in common.
ZAR_TARGET("ssse3") __m128i faults_of_low_half() {
  return _mm_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A);
}
ZAR_TARGET("ssse3") __m128i faults_of_high_half() {
  return _mm_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10);
}

/// Offset from character to value, by the character's high half; "/" uses the entry before that of "+".
ZAR_TARGET("ssse3") __m128i distance_to_value() {
  return _mm_setr_epi8(0, 63 - '/', 62 - '+', 52 - '0', -'A', -'A', 26 - 'a', 26 - 'a', 0, 0, 0, 0, 0, 0, 0, 0);
}

/// Reverses the three bytes of each group of four and packs the groups together.
ZAR_TARGET("ssse3") __m128i gather_threes() {
  return _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
}

// SSSE3: 16 bytes per step.

ZAR_TARGET("ssse3") size_t encode_base16_ssse3(const unsigned char *in, size_t size, char *out) {
  const __m128i low_half = _mm_set1_epi8(0x0F), digits = hexadecimal_digits();
  size_t done = 0;
  for (; size - done >= 16; done += 16, out += 32) {
    const __m128i bytes = _mm_loadu_si128(vector_at(in + done));
    const __m128i high = _mm_shuffle_epi8(digits, _mm_and_si128(_mm_srli_epi16(bytes, 4), low_half));
    const __m128i low = _mm_shuffle_epi8(digits, _mm_and_si128(bytes, low_half));
    _mm_storeu_si128(vector_at(out), _mm_unpacklo_epi8(high, low));
    _mm_storeu_si128(vector_at(out + 16), _mm_unpackhi_epi8(high, low));
  }
  return done;
}

/// Converts 16 digits to 8 words of two digits each. @return Whether all are digits.
ZAR_TARGET("ssse3") bool digit_pairs(const char *in, __m128i &words) {
  const __m128i text = _mm_loadu_si128(vector_at(in));
  const __m128i digit = _mm_sub_epi8(text, _mm_set1_epi8('0'));
  const __m128i letter = _mm_sub_epi8(_mm_or_si128(text, _mm_set1_epi8(0x20)), _mm_set1_epi8('a'));
  const __m128i is_digit = _mm_cmpeq_epi8(_mm_min_epu8(digit, _mm_set1_epi8(9)), digit);
  const __m128i is_letter = _mm_cmpeq_epi8(_mm_min_epu8(letter, _mm_set1_epi8(5)), letter);
  const __m128i values =
      _mm_or_si128(_mm_and_si128(is_digit, digit), _mm_and_si128(is_letter, _mm_add_epi8(letter, _mm_set1_epi8(10))));
  words = _mm_maddubs_epi16(values, _mm_set1_epi16(0x0110));
  return _mm_movemask_epi8(_mm_or_si128(is_digit, is_letter)) == 0xFFFF;
}

ZAR_TARGET("ssse3") size_t decode_base16_ssse3(const char *in, size_t size, unsigned char *out) {
  size_t done = 0;
  for (__m128i first, second; size - done >= 32; done += 32, out += 16) {
    if (!digit_pairs(in + done, first) || !digit_pairs(in + done + 16, second)) break;
    _mm_storeu_si128(vector_at(out), _mm_packus_epi16(first, second));
  }
  return done;
}

/// The 16 characters of the first 12 bytes.
ZAR_TARGET("ssse3") inline __m128i base64_of_twelve(__m128i bytes) {
  const __m128i spread = _mm_shuffle_epi8(bytes, spread_threes());
  const __m128i first_and_third =
      _mm_mulhi_epu16(_mm_and_si128(spread, _mm_set1_epi32(0x0FC0FC00)), _mm_set1_epi32(0x04000040));
  const __m128i second_and_fourth =
      _mm_mullo_epi16(_mm_and_si128(spread, _mm_set1_epi32(0x003F03F0)), _mm_set1_epi32(0x01000010));
  const __m128i values = _mm_or_si128(first_and_third, second_and_fourth);
  const __m128i is_capital = _mm_cmpgt_epi8(_mm_set1_epi8(26), values);
  const __m128i range =
      _mm_or_si128(_mm_subs_epu8(values, _mm_set1_epi8(51)), _mm_and_si128(is_capital, _mm_set1_epi8(13)));
  return _mm_add_epi8(values, _mm_shuffle_epi8(distance_to_character(), range));
}

/// The last `count` of the 16 bytes before `end`, followed by zeros.
ZAR_TARGET("ssse3") inline __m128i last_bytes(const unsigned char *end, size_t count) {
  alignas(16) static constexpr signed char places[32] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10,
                                                         11, 12, 13, 14, 15, -1, -1, -1, -1, -1, -1,
                                                         -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};
  return _mm_shuffle_epi8(_mm_loadu_si128(vector_at(end - 16)), _mm_loadu_si128(vector_at(places + 16 - count)));
}

/// Encodes everything. The last step ends where the text ends, so it rewrites some characters and writes none past the
/// end.
/// REQUIRES: at least 16 bytes.
ZAR_TARGET("ssse3") size_t encode_base64_ssse3(const unsigned char *in, size_t size, char *out) {
  const unsigned char *const end = in + size;
  const size_t groups = (size + 2) / 3, missing = 3 * groups - size;
  char *const last = out + 4 * groups - 16;
  for (; end - in >= 16; in += 12, out += 16)
    _mm_storeu_si128(vector_at(out), base64_of_twelve(_mm_loadu_si128(vector_at(in))));
  if (end - in > 12) _mm_storeu_si128(vector_at(out), base64_of_twelve(last_bytes(end, static_cast<size_t>(end - in))));
  _mm_storeu_si128(vector_at(last), base64_of_twelve(last_bytes(end, 12 - missing)));
  return size;
}

ZAR_TARGET("ssse3") size_t decode_base64_ssse3(const char *in, size_t size, unsigned char *out) {
  const __m128i low_half = _mm_set1_epi8(0x0F), slash = _mm_set1_epi8('/');
  size_t done = 0;
  for (; size - done >= 16; done += 16, out += 12) {
    const __m128i text = _mm_loadu_si128(vector_at(in + done));
    const __m128i high = _mm_and_si128(_mm_srli_epi16(text, 4), low_half);
    const __m128i faults = _mm_and_si128(_mm_shuffle_epi8(faults_of_high_half(), high),
                                         _mm_shuffle_epi8(faults_of_low_half(), _mm_and_si128(text, low_half)));
    const unsigned is_good = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(faults, _mm_setzero_si128())));
    const __m128i range = _mm_add_epi8(high, _mm_cmpeq_epi8(text, slash));
    const __m128i values = _mm_add_epi8(text, _mm_shuffle_epi8(distance_to_value(), range));
    const __m128i pairs = _mm_maddubs_epi16(values, _mm_set1_epi32(0x01400140));
    const __m128i fours = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));
    _mm_storeu_si128(vector_at(out), _mm_shuffle_epi8(fours, gather_threes()));
    if (is_good != 0xFFFF) return done + (static_cast<size_t>(__builtin_ctz(~is_good)) & ~size_t{3});
  }
  return done;
}

// AVX2: 32 bytes per step, in the same way; the rest as above.

/// Called before the rest: the compiler omits this before a call to a function it knows, and without it all SSE code
/// that follows, the caller's included, runs at half speed.
ZAR_TARGET("avx2") inline void leave_wide_registers() { _mm256_zeroupper(); }

constexpr int middle_quarters_swapped = 0xD8;

ZAR_TARGET("avx2") size_t encode_base16_avx2(const unsigned char *in, size_t size, char *out) {
  const __m256i low_half = _mm256_set1_epi8(0x0F), digits = twice(hexadecimal_digits());
  size_t done = 0;
  for (; size - done >= 32; done += 32) {
    const __m256i bytes = _mm256_permute4x64_epi64(_mm256_loadu_si256(wide_at(in + done)), middle_quarters_swapped);
    const __m256i high = _mm256_shuffle_epi8(digits, _mm256_and_si256(_mm256_srli_epi16(bytes, 4), low_half));
    const __m256i low = _mm256_shuffle_epi8(digits, _mm256_and_si256(bytes, low_half));
    _mm256_storeu_si256(wide_at(out + 2 * done), _mm256_unpacklo_epi8(high, low));
    _mm256_storeu_si256(wide_at(out + 2 * done + 32), _mm256_unpackhi_epi8(high, low));
  }
  leave_wide_registers();
  return done + encode_base16_ssse3(in + done, size - done, out + 2 * done);
}

/// Converts 32 digits to 16 words of two digits each. @return Whether all are digits.
ZAR_TARGET("avx2") bool digit_pairs(const char *in, __m256i &words) {
  const __m256i text = _mm256_loadu_si256(wide_at(in));
  const __m256i digit = _mm256_sub_epi8(text, _mm256_set1_epi8('0'));
  const __m256i letter = _mm256_sub_epi8(_mm256_or_si256(text, _mm256_set1_epi8(0x20)), _mm256_set1_epi8('a'));
  const __m256i is_digit = _mm256_cmpeq_epi8(_mm256_min_epu8(digit, _mm256_set1_epi8(9)), digit);
  const __m256i is_letter = _mm256_cmpeq_epi8(_mm256_min_epu8(letter, _mm256_set1_epi8(5)), letter);
  const __m256i values = _mm256_or_si256(_mm256_and_si256(is_digit, digit),
                                         _mm256_and_si256(is_letter, _mm256_add_epi8(letter, _mm256_set1_epi8(10))));
  words = _mm256_maddubs_epi16(values, _mm256_set1_epi16(0x0110));
  return _mm256_movemask_epi8(_mm256_or_si256(is_digit, is_letter)) == -1;
}

ZAR_TARGET("avx2") size_t decode_base16_avx2(const char *in, size_t size, unsigned char *out) {
  size_t done = 0;
  for (__m256i first, second; size - done >= 64; done += 64) {
    if (!digit_pairs(in + done, first) || !digit_pairs(in + done + 32, second)) break;
    const __m256i bytes = _mm256_packus_epi16(first, second);
    _mm256_storeu_si256(wide_at(out + done / 2), _mm256_permute4x64_epi64(bytes, middle_quarters_swapped));
  }
  leave_wide_registers();
  return done + decode_base16_ssse3(in + done, size - done, out + done / 2);
}

/// The 16 characters of the first 12 bytes of each half.
ZAR_TARGET("avx2") inline __m256i base64_of_twelve(__m256i bytes) {
  const __m256i spread = _mm256_shuffle_epi8(bytes, twice(spread_threes()));
  const __m256i first_and_third =
      _mm256_mulhi_epu16(_mm256_and_si256(spread, _mm256_set1_epi32(0x0FC0FC00)), _mm256_set1_epi32(0x04000040));
  const __m256i second_and_fourth =
      _mm256_mullo_epi16(_mm256_and_si256(spread, _mm256_set1_epi32(0x003F03F0)), _mm256_set1_epi32(0x01000010));
  const __m256i values = _mm256_or_si256(first_and_third, second_and_fourth);
  const __m256i is_capital = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), values);
  const __m256i range = _mm256_or_si256(_mm256_subs_epu8(values, _mm256_set1_epi8(51)),
                                        _mm256_and_si256(is_capital, _mm256_set1_epi8(13)));
  return _mm256_add_epi8(values, _mm256_shuffle_epi8(twice(distance_to_character()), range));
}

ZAR_TARGET("avx2") inline __m256i halves(__m128i low, __m128i high) {
  return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}

ZAR_TARGET("avx2") size_t encode_base64_avx2(const unsigned char *in, size_t size, char *out) {
  size_t done = 0;
  for (; size - done >= 24 + 16; done += 24, out += 32) {
    const __m128i first = _mm_loadu_si128(vector_at(in + done)), second = _mm_loadu_si128(vector_at(in + done + 12));
    _mm256_storeu_si256(wide_at(out), base64_of_twelve(halves(first, second)));
  }
  leave_wide_registers();
  return done + encode_base64_ssse3(in + done, size - done, out);
}

/// For keys and similar short data: everything in one step, whose halves overlap. REQUIRES: 16 to 24 bytes.
ZAR_TARGET("avx2") size_t encode_base64_once(const unsigned char *in, size_t size, char *out) {
  const size_t groups = (size + 2) / 3, missing = 3 * groups - size;
  const __m128i first = _mm_loadu_si128(vector_at(in)), second = last_bytes(in + size, 12 - missing);
  const __m256i text = base64_of_twelve(halves(first, second));
  _mm_storeu_si128(vector_at(out), _mm256_castsi256_si128(text));
  _mm_storeu_si128(vector_at(out + 4 * groups - 16), _mm256_extracti128_si256(text, 1));
  leave_wide_registers();
  return size;
}

ZAR_TARGET("avx2") size_t decode_base64_avx2(const char *in, size_t size, unsigned char *out) {
  const __m256i low_half = _mm256_set1_epi8(0x0F), slash = _mm256_set1_epi8('/');
  const __m256i low_faults = twice(faults_of_low_half()), high_faults = twice(faults_of_high_half());
  const __m256i distances = twice(distance_to_value()), gathering = twice(gather_threes());
  const __m256i halves_together = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
  size_t done = 0;
  for (; size - done >= 32; done += 32, out += 24) {
    const __m256i text = _mm256_loadu_si256(wide_at(in + done));
    const __m256i high = _mm256_and_si256(_mm256_srli_epi16(text, 4), low_half);
    const __m256i low = _mm256_and_si256(text, low_half);
    if (!_mm256_testz_si256(_mm256_shuffle_epi8(high_faults, high), _mm256_shuffle_epi8(low_faults, low))) break;
    const __m256i range = _mm256_add_epi8(high, _mm256_cmpeq_epi8(text, slash));
    const __m256i values = _mm256_add_epi8(text, _mm256_shuffle_epi8(distances, range));
    const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
    const __m256i fours = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
    const __m256i threes = _mm256_shuffle_epi8(fours, gathering);
    _mm256_storeu_si256(wide_at(out), _mm256_permutevar8x32_epi32(threes, halves_together));
  }
  leave_wide_registers();
  return done + decode_base64_ssse3(in + done, size - done, out);
}

} // namespace

const vector_level best_vector_level = detected_level();

/// Below this size, SSSE3 finishes before the AVX2 tables are set up.
constexpr size_t wide_pays = 65;

size_t encode_base16_blocks(vector_level level, const unsigned char *in, size_t size, char *out) {
  if (level == vector_level::avx2 && size >= wide_pays) return encode_base16_avx2(in, size, out);
  return level == vector_level::none ? 0 : encode_base16_ssse3(in, size, out);
}

size_t encode_base64_blocks(vector_level level, const unsigned char *in, size_t size, char *out) {
  if (level == vector_level::none || size < 16) return 0;
  if (level == vector_level::ssse3 || (size > 24 && size < wide_pays)) return encode_base64_ssse3(in, size, out);
  return size <= 24 ? encode_base64_once(in, size, out) : encode_base64_avx2(in, size, out);
}

size_t decode_base16_blocks(vector_level level, const char *in, size_t size, unsigned char *out) {
  if (level == vector_level::avx2 && size >= wide_pays) return decode_base16_avx2(in, size, out);
  return level == vector_level::none ? 0 : decode_base16_ssse3(in, size, out);
}

size_t decode_base64_blocks(vector_level level, const char *in, size_t size, unsigned char *out) {
  if (level == vector_level::avx2 && size >= wide_pays) return decode_base64_avx2(in, size, out);
  return level == vector_level::none ? 0 : decode_base64_ssse3(in, size, out);
}

} // namespace zar

#else

namespace zar {

const vector_level best_vector_level = vector_level::none;
size_t encode_base16_blocks(vector_level, const unsigned char *, size_t, char *) { return 0; }
size_t encode_base64_blocks(vector_level, const unsigned char *, size_t, char *) { return 0; }
size_t decode_base16_blocks(vector_level, const char *, size_t, unsigned char *) { return 0; }
size_t decode_base64_blocks(vector_level, const char *, size_t, unsigned char *) { return 0; }

} // namespace zar

#endif
