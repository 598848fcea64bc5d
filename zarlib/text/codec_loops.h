// The vectorised codecs, with the vector level as a parameter.
#pragma once

#include "zarlib/text/codec_blocks.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace zar {

/// The value of a character that is not in the alphabet.
constexpr unsigned char no_value = 255;

using character_values = std::array<unsigned char, 256>;

/// The value of each character as a hexadecimal digit.
extern const character_values hexadecimal_values;

inline unsigned value_of(const character_values &values, char c) { return values[static_cast<unsigned char>(c)]; }

std::string to_base16(vector_level level, const unsigned char *data, size_t size);
std::string to_base64(vector_level level, const unsigned char *data, size_t size);
std::vector<unsigned char> from_base16(vector_level level, std::string_view text);
std::vector<unsigned char> from_base64(vector_level level, std::string_view text);

/// Decodes each pair of characters to a byte, valid digits or not. REQUIRES: an even length.
void fetch_base16(vector_level level, std::string_view text, unsigned char *out);

} // namespace zar
