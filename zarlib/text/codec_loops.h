// The codecs whose long runs go by vector instructions, with the choice of these as an argument.
#pragma once

#include "zarlib/text/codec_blocks.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace zar {

/// What a character is worth that is not in the alphabet.
constexpr unsigned char no_value = 255;

using character_values = std::array<unsigned char, 256>;

/// The value of each character as a hexadecimal digit.
extern const character_values hexadecimal_values;

inline unsigned value_of(const character_values &values, char c) { return values[static_cast<unsigned char>(c)]; }

std::string to_base16(vector_level level, const unsigned char *data, size_t size);
std::string to_base64(vector_level level, const unsigned char *data, size_t size);
std::vector<unsigned char> from_base16(vector_level level, std::string_view text);
std::vector<unsigned char> from_base64(vector_level level, std::string_view text);

/// Each pair of characters is a byte, whatever they are. REQUIRES: an even number of them.
void fetch_base16(vector_level level, std::string_view text, unsigned char *out);

} // namespace zar
