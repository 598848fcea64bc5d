// The bulk loops of the codecs, with vector instructions where the processor has them.
//
// Each function converts as many whole blocks as it can and returns how much of its input it consumed; the caller
// converts the rest character by character. All levels produce the same bytes.
#pragma once

#include <cstddef>

namespace zar {

enum class vector_level { none, ssse3, avx2 };

/// What this processor supports, detected when the library is loaded; none before that, which is also correct.
extern const vector_level best_vector_level;

/// Decoding Base64 blocks writes up to this many bytes beyond the room that the whole input needs.
constexpr size_t block_slack = 8;

/// @return Bytes consumed; twice as many characters are in `out`.
size_t encode_base16_blocks(vector_level level, const unsigned char *in, size_t size, char *out);
/// @return Bytes consumed, a multiple of 3 or all; `out` holds four characters for each three bytes, a last partial
///         group padded with zero bits.
size_t encode_base64_blocks(vector_level level, const unsigned char *in, size_t size, char *out);

// The decoders stop at the first character outside the alphabet, or up to one block before it.

/// @return Characters consumed, an even number; half as many bytes are in `out`, and nothing after them is written.
size_t decode_base16_blocks(vector_level level, const char *in, size_t size, unsigned char *out);
/// @return Characters consumed, a multiple of 4; three quarters as many bytes are in `out`.
/// REQUIRES: room for three quarters of `size` plus block_slack bytes.
size_t decode_base64_blocks(vector_level level, const char *in, size_t size, unsigned char *out);

} // namespace zar
