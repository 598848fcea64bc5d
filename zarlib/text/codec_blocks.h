// The long runs of the codecs, by vector instructions where the processor has them.
//
// Each function converts as many whole blocks as it can and answers how much of its input it took; what is left, the caller
// does character by character. All levels give the same bytes.
#pragma once

#include <cstddef>

namespace zar {

enum class vector_level { none, ssse3, avx2 };

/// What this processor has, asked once when the library is loaded; until then none, which is right too.
extern const vector_level best_vector_level;

/// Blocks of decoded Base64 write up to so many bytes behind the room that the whole input needs.
constexpr size_t block_slack = 8;

/// @return Bytes taken; twice as many characters stand in `out`.
size_t encode_base16_blocks(vector_level level, const unsigned char *in, size_t size, char *out);
/// @return Bytes taken, a multiple of 3 or all; the characters of each three, and of a rest with zeros behind it, stand in `out`.
size_t encode_base64_blocks(vector_level level, const unsigned char *in, size_t size, char *out);

// The decoders stop at the first character outside the alphabet, or up to a block ahead of it.

/// @return Characters taken, an even number; half as many bytes stand in `out`, and nothing behind them is written.
size_t decode_base16_blocks(vector_level level, const char *in, size_t size, unsigned char *out);
/// @return Characters taken, a multiple of 4; three quarters as many bytes stand in `out`.
/// REQUIRES: room for three quarters of `size` and block_slack bytes.
size_t decode_base64_blocks(vector_level level, const char *in, size_t size, unsigned char *out);

} // namespace zar
