#include "zarlib/crypto/aes_path.h"
#include "zarlib/crypto/wipe.h"

#if defined(__x86_64__) || defined(__i386__)

#include <cpuid.h>
#include <immintrin.h>

// Entry points realign their stack: on 32-bit systems a caller's may be aligned to only 4 bytes.

namespace {

using zar::aes_block;

/// Registers of state in flight: enough to hide the instruction latency, leaving one for the key.
constexpr size_t in_flight = sizeof(void *) == 8 ? 8 : 6;
/// The same for wide registers. With more than four, GCC 12 runs out of registers on 32-bit targets and spills states
/// to the stack, which together with the cipher text reveal the key.
constexpr size_t wide_in_flight = sizeof(void *) == 8 ? 8 : 4;

enum class direction { encipher, decipher };

/// The round keys as the deciphering instructions expect them (FIPS 197, the equivalent inverse cipher).
class inverse_schedule {
public:
  [[gnu::target("aes")]] inverse_schedule(const unsigned char *schedule, int rounds) {
    for (int i = 0; i <= rounds; ++i) {
      const __m128i key = _mm_loadu_si128(reinterpret_cast<const __m128i_u *>(schedule) + (rounds - i));
      _mm_storeu_si128(reinterpret_cast<__m128i_u *>(m_bytes) + i, i == 0 || i == rounds ? key : _mm_aesimc_si128(key));
    }
  }
  ~inverse_schedule() { zar::wipe(m_bytes, sizeof m_bytes); }
  inverse_schedule(const inverse_schedule &) = delete;
  inverse_schedule &operator=(const inverse_schedule &) = delete;

  const unsigned char *bytes() const { return m_bytes; }

private:
  unsigned char m_bytes[15 * aes_block];
};

// One block per register.

[[gnu::target("aes")]] inline __m128i load_128(const unsigned char *p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i_u *>(p));
}

template <direction way>
[[gnu::target("aes")]] inline __m128i round_128(__m128i state, __m128i key) {
  return way == direction::encipher ? _mm_aesenc_si128(state, key) : _mm_aesdec_si128(state, key);
}

template <direction way>
[[gnu::target("aes")]] inline __m128i last_round_128(__m128i state, __m128i key) {
  return way == direction::encipher ? _mm_aesenclast_si128(state, key) : _mm_aesdeclast_si128(state, key);
}

/// Runs groups of `count` blocks. Not inlined: with both group sizes in one function GCC 12 runs out of registers on
/// 32-bit targets and spills the last round key, which when deciphering is the key itself.
template <direction way, size_t count>
[[gnu::target("aes"), gnu::noinline]] void run_groups_128(const unsigned char *keys, int rounds,
                                                          const unsigned char *in, unsigned char *out, size_t groups) {
  for (; groups > 0; --groups, in += count * aes_block, out += count * aes_block) {
    __m128i state[count], key = load_128(keys);
#pragma GCC unroll 8
    for (size_t i = 0; i < count; ++i) state[i] = _mm_xor_si128(load_128(in + i * aes_block), key);
    for (int round = 1; round < rounds; ++round) {
      key = load_128(keys + static_cast<size_t>(round) * aes_block);
#pragma GCC unroll 8
      for (size_t i = 0; i < count; ++i) state[i] = round_128<way>(state[i], key);
    }
    key = load_128(keys + static_cast<size_t>(rounds) * aes_block);
#pragma GCC unroll 8
    for (size_t i = 0; i < count; ++i)
      _mm_storeu_si128(reinterpret_cast<__m128i_u *>(out + i * aes_block), last_round_128<way>(state[i], key));
  }
}

template <direction way>
[[gnu::target("aes"), gnu::force_align_arg_pointer]] void
run_128(const unsigned char *keys, int rounds, const unsigned char *in, unsigned char *out, size_t blocks) {
  const size_t groups = blocks / in_flight, grouped = groups * in_flight * aes_block;
  run_groups_128<way, in_flight>(keys, rounds, in, out, groups);
  run_groups_128<way, 1>(keys, rounds, in + grouped, out + grouped, blocks % in_flight);
}

// Two blocks per register.

[[gnu::target("avx2,vaes")]] inline __m256i key_256(const unsigned char *key) {
  return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i_u *>(key)));
}

template <direction way>
[[gnu::target("avx2,vaes")]] inline __m256i round_256(__m256i state, __m256i key) {
  return way == direction::encipher ? _mm256_aesenc_epi128(state, key) : _mm256_aesdec_epi128(state, key);
}

template <direction way>
[[gnu::target("avx2,vaes")]] inline __m256i last_round_256(__m256i state, __m256i key) {
  return way == direction::encipher ? _mm256_aesenclast_epi128(state, key) : _mm256_aesdeclast_epi128(state, key);
}

template <direction way>
[[gnu::target("avx2,vaes"), gnu::force_align_arg_pointer]] void
run_256(const unsigned char *keys, int rounds, const unsigned char *in, unsigned char *out, size_t blocks) {
  constexpr size_t group = wide_in_flight * 2;
  for (; blocks >= group; blocks -= group, in += group * aes_block, out += group * aes_block) {
    const auto *from = reinterpret_cast<const __m256i_u *>(in);
    auto *to = reinterpret_cast<__m256i_u *>(out);
    __m256i state[wide_in_flight], key = key_256(keys);
#pragma GCC unroll 8
    for (size_t i = 0; i < wide_in_flight; ++i) state[i] = _mm256_xor_si256(_mm256_loadu_si256(from + i), key);
    for (int round = 1; round < rounds; ++round) {
      key = key_256(keys + static_cast<size_t>(round) * aes_block);
#pragma GCC unroll 8
      for (size_t i = 0; i < wide_in_flight; ++i) state[i] = round_256<way>(state[i], key);
    }
    key = key_256(keys + static_cast<size_t>(rounds) * aes_block);
#pragma GCC unroll 8
    for (size_t i = 0; i < wide_in_flight; ++i) _mm256_storeu_si256(to + i, last_round_256<way>(state[i], key));
  }
  _mm256_zeroupper(); // the compiler omits it before a call to a known function; without it SSE code runs at half speed
  run_128<way>(keys, rounds, in, out, blocks);
}

// Four blocks per register.

[[gnu::target("avx512f,vaes")]] inline __m512i key_512(const unsigned char *key) {
  return _mm512_maskz_broadcast_i32x4(0xFFFF, _mm_loadu_si128(reinterpret_cast<const __m128i_u *>(key)));
}

template <direction way>
[[gnu::target("avx512f,vaes")]] inline __m512i round_512(__m512i state, __m512i key) {
  return way == direction::encipher ? _mm512_aesenc_epi128(state, key) : _mm512_aesdec_epi128(state, key);
}

template <direction way>
[[gnu::target("avx512f,vaes")]] inline __m512i last_round_512(__m512i state, __m512i key) {
  return way == direction::encipher ? _mm512_aesenclast_epi128(state, key) : _mm512_aesdeclast_epi128(state, key);
}

template <direction way>
[[gnu::target("avx512f,vaes"), gnu::force_align_arg_pointer]] void
run_512(const unsigned char *keys, int rounds, const unsigned char *in, unsigned char *out, size_t blocks) {
  constexpr size_t group = wide_in_flight * 4;
  for (; blocks >= group; blocks -= group, in += group * aes_block, out += group * aes_block) {
    __m512i state[wide_in_flight], key = key_512(keys);
#pragma GCC unroll 8
    for (size_t i = 0; i < wide_in_flight; ++i) state[i] = _mm512_xor_si512(_mm512_loadu_si512(in + i * 64), key);
    for (int round = 1; round < rounds; ++round) {
      key = key_512(keys + static_cast<size_t>(round) * aes_block);
#pragma GCC unroll 8
      for (size_t i = 0; i < wide_in_flight; ++i) state[i] = round_512<way>(state[i], key);
    }
    key = key_512(keys + static_cast<size_t>(rounds) * aes_block);
#pragma GCC unroll 8
    for (size_t i = 0; i < wide_in_flight; ++i) _mm512_storeu_si512(out + i * 64, last_round_512<way>(state[i], key));
  }
  _mm256_zeroupper(); // the compiler omits it before a call to a known function; without it SSE code runs at half speed
  run_128<way>(keys, rounds, in, out, blocks);
}

using run = void (*)(const unsigned char *keys, int rounds, const unsigned char *in, unsigned char *out, size_t blocks);

template <run decipher>
[[gnu::force_align_arg_pointer]] void with_inverse_schedule(const unsigned char *schedule, int rounds,
                                                            const unsigned char *in, unsigned char *out,
                                                            size_t blocks) {
  const inverse_schedule inverse(schedule, rounds);
  decipher(inverse.bytes(), rounds, in, out, blocks);
}

// The S-box comes from the last-round instruction: with equal columns ShiftRows has no effect, and the round key is
// whatever is to be XORed in.

[[gnu::target("aes")]] std::uint32_t substitute_word(std::uint32_t bytes) {
  const __m128i columns = _mm_shuffle_epi32(_mm_cvtsi32_si128(static_cast<int>(bytes)), 0);
  return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_aesenclast_si128(columns, _mm_setzero_si128())));
}

/// Four words at a time where the key fills whole registers.
[[gnu::target("aes,ssse3"), gnu::force_align_arg_pointer]] void expand_key(unsigned char *schedule, int key_length,
                                                                           int schedule_size) {
  if (key_length == 24) return zar::expand_aes_key(schedule, key_length, schedule_size, substitute_word);
  const __m128i last_word = _mm_set1_epi32(0x0F0E0D0C), last_word_turned = _mm_set1_epi32(0x0C0F0E0D);
  __m128i last = load_128(schedule + key_length - 16), constant = _mm_set1_epi32(1);
  for (int at = key_length; at < schedule_size; at += 16) {
    const bool turned = at % key_length == 0;
    const __m128i columns = _mm_shuffle_epi8(last, turned ? last_word_turned : last_word);
    __m128i words = key_length == 16 ? last : load_128(schedule + at - key_length);
    words = _mm_xor_si128(words, _mm_slli_si128(words, 4));
    words = _mm_xor_si128(words, _mm_slli_si128(words, 8));
    last = _mm_xor_si128(words, _mm_aesenclast_si128(columns, turned ? constant : _mm_setzero_si128()));
    _mm_storeu_si128(reinterpret_cast<__m128i_u *>(schedule + at), last);
    // The eighth doubling overflows the byte; 32-byte keys never get that far.
    if (turned) constant = at == 8 * key_length ? _mm_set1_epi32(0x1B) : _mm_slli_epi32(constant, 1);
  }
}

constexpr zar::aes_path blocks_128 = {"AES-NI", expand_key, run_128<direction::encipher>,
                                      with_inverse_schedule<run_128<direction::decipher>>};
constexpr zar::aes_path blocks_256 = {"VAES 256", expand_key, run_256<direction::encipher>,
                                      with_inverse_schedule<run_256<direction::decipher>>};
constexpr zar::aes_path blocks_512 = {"VAES 512", expand_key, run_512<direction::encipher>,
                                      with_inverse_schedule<run_512<direction::decipher>>};

/// Whether the processor has VAES; not every compiler's __builtin_cpu_supports() knows the name.
bool has_vector_aes() {
  unsigned a = 0, b = 0, c = 0, d = 0;
  return __get_cpuid_count(7, 0, &a, &b, &c, &d) != 0 && (c >> 9 & 1) != 0;
}

} // namespace

std::vector<const zar::aes_path *> zar::aes_paths() {
  __builtin_cpu_init(); // a caller may be a static constructor
  std::vector<const aes_path *> paths;
  if (__builtin_cpu_supports("aes") && __builtin_cpu_supports("ssse3")) {
    if (has_vector_aes() && __builtin_cpu_supports("avx512f")) paths.push_back(&blocks_512);
    if (has_vector_aes() && __builtin_cpu_supports("avx2")) paths.push_back(&blocks_256);
    paths.push_back(&blocks_128);
  }
  paths.push_back(&portable_aes_path);
  return paths;
}

#else

std::vector<const zar::aes_path *> zar::aes_paths() { return {&portable_aes_path}; }

#endif

const zar::aes_path &zar::fastest_aes_path() {
  static const aes_path *const fastest = aes_paths().front();
  return *fastest;
}
