#include "zarlib/text/codec_loops.h"

#include <algorithm>
#include <cstring>

namespace zar {

namespace {

constexpr char base16_alphabet[] = "0123456789ABCDEF";
constexpr char base64_alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
/// Assigns each character of `alphabet` its index, counted from `first`.
constexpr void count_up(character_values &values, std::string_view alphabet, unsigned char first) {
  for (const char c : alphabet) values[static_cast<unsigned char>(c)] = first++;
}

constexpr character_values no_values() {
  character_values values = {};
  for (auto &value : values) value = no_value;
  return values;
}

constexpr character_values values_of_base16() {
  character_values values = no_values();
  count_up(values, base16_alphabet, 0);
  count_up(values, "abcdef", 10);
  return values;
}

constexpr character_values values_of_base64() {
  character_values values = no_values();
  count_up(values, base64_alphabet, 0);
  return values;
}

constexpr character_values base64_values = values_of_base64();

unsigned char low_byte(unsigned value) { return static_cast<unsigned char>(value); }

// Results are built in pieces that stay in the L1 cache: memory is written once, without being cleared first.
constexpr size_t piece_bytes = 3072;                     // a multiple of 3
constexpr size_t piece_characters = piece_bytes / 3 * 4; // in Base64
constexpr size_t short_bytes = 64;                       // clearing this many costs less than copying them

/// @param length_of  Maps a number of bytes to the number of their characters.
/// @param encode     Writes the characters of (bytes, their number) to a destination.
template <class Encode>
[[gnu::noinline]] std::string encoded_by_pieces(const unsigned char *data, size_t size, size_t (*length_of)(size_t),
                                                Encode encode) {
  std::string text;
  text.reserve(length_of(size));
  char piece[2 * piece_bytes];
  for (size_t count; size > 0; data += count, size -= count) {
    count = std::min(size, piece_bytes);
    encode(data, count, piece);
    text.append(piece, length_of(count));
  }
  return text;
}

template <class Encode>
std::string encoded(const unsigned char *data, size_t size, size_t (*length_of)(size_t), Encode encode) {
  const bool is_short = size <= short_bytes;
  std::string text = is_short ? std::string(length_of(size), '\0') : encoded_by_pieces(data, size, length_of, encode);
  if (is_short) encode(data, size, text.data());
  return text;
}

/// Reads characters one by one where the blocks stop. Its state is the values of an incomplete group.
class base16_reader {
public:
  static constexpr size_t singles = 32; // characters between attempts at blocks, which find nothing in "0A 1B "

  size_t blocks(vector_level level, const char *in, size_t size, unsigned char *&out) const {
    const size_t taken = decode_base16_blocks(level, in, size, out);
    out += taken / 2;
    return taken;
  }
  bool is_between_groups() const { return m_high == no_value; }
  bool can_start(char) const { return is_between_groups(); }
  bool has_ended() const { return false; }

  void take(char c, unsigned char *&out) {
    const unsigned value = value_of(hexadecimal_values, c);
    if (value == no_value) return;
    if (!is_between_groups()) *out++ = low_byte(m_high << 4 | value);
    m_high = is_between_groups() ? value : no_value;
  }
  void finish(unsigned char *&out) const {
    if (!is_between_groups()) *out++ = low_byte(m_high);
  }

private:
  unsigned m_high = no_value;
};

class base64_reader {
public:
  static constexpr size_t singles = 1; // blocks run up to the end of a line and resume at the next

  size_t blocks(vector_level level, const char *in, size_t size, unsigned char *&out) {
    size_t taken = decode_base64_blocks(level, in, size, out);
    out += taken / 4 * 3;
    for (; size - taken >= 4 && take_four(in + taken, out); taken += 4) out += 3;
    return size - taken >= 4 && take_padded(in + taken, out) ? taken + 4 : taken;
  }
  bool is_between_groups() const { return m_count == 0; }
  bool can_start(char c) const { return m_count == 0 && value_of(base64_values, c) != no_value; }
  bool has_ended() const { return m_ended; }

  void take(char c, unsigned char *&out) {
    const unsigned value = value_of(base64_values, c);
    if (value == no_value) {
      m_ended = c == '=';
      return;
    }
    m_bits = m_bits << 6 | value;
    if (++m_count < 4) return;
    for (const int shift : {16, 8, 0}) *out++ = low_byte(m_bits >> shift);
    m_count = 0;
  }
  void finish(unsigned char *&out) const {
    if (m_count >= 2) *out++ = low_byte(m_bits >> (m_count == 2 ? 4 : 10));
    if (m_count == 3) *out++ = low_byte(m_bits >> 2);
  }

private:
  /// Decodes a whole group, writing one byte more. @return False, with nothing consumed, if a character is outside the
  /// alphabet.
  static bool take_four(const char *in, unsigned char *out) {
    const unsigned first = value_of(base64_values, in[0]), second = value_of(base64_values, in[1]);
    const unsigned third = value_of(base64_values, in[2]), fourth = value_of(base64_values, in[3]);
    if ((first | second | third | fourth) >= 64) return false;
    const unsigned group = __builtin_bswap32(first << 26 | second << 20 | third << 14 | fourth << 8);
    std::memcpy(out, &group, sizeof group);
    return true;
  }

  /// Decodes the padded group that usually ends a text. @return As take_four().
  bool take_padded(const char *in, unsigned char *&out) {
    const unsigned first = value_of(base64_values, in[0]), second = value_of(base64_values, in[1]);
    const bool is_pair = in[2] != '=';
    const unsigned third = is_pair ? value_of(base64_values, in[2]) : 0;
    if (in[3] != '=' || (first | second | third) >= 64) return false;
    out[0] = low_byte(first << 2 | second >> 4);
    out[1] = low_byte(second << 4 | third >> 2);
    out += is_pair ? 2 : 1;
    m_ended = true;
    return true;
  }

  unsigned m_bits = 0; ///< 6 bits for each character of the group, the newest lowest
  int m_count = 0;
  bool m_ended = false;
};

/// Reads one piece. @return The end of the bytes in `out`. Not inlined: most short texts end with their blocks.
template <class Reader>
[[gnu::noinline]] unsigned char *read_piece(Reader &state, vector_level level, std::string_view text,
                                            unsigned char *out) {
  Reader reader = state; // a local copy, which no written byte can alias, stays in registers
  for (size_t i = 0; i < text.size() && !reader.has_ended();) {
    if (reader.is_between_groups()) i += reader.blocks(level, text.data() + i, text.size() - i, out);
    const size_t stop = std::min(text.size(), i + Reader::singles);
    while (i < text.size() && !reader.has_ended() && (i < stop || !reader.can_start(text[i])))
      reader.take(text[i++], out);
  }
  state = reader;
  return out;
}

template <class Reader>
[[gnu::noinline]] std::vector<unsigned char> decoded_by_pieces(vector_level level, std::string_view text,
                                                               size_t at_most) {
  std::vector<unsigned char> bytes;
  bytes.reserve(at_most);
  // A group left open by the previous piece may add its three bytes: it takes a character of this one, which leaves the
  // blocks one whole group less, so their slack is preserved.
  unsigned char piece[piece_bytes + block_slack];
  for (Reader reader; !text.empty() && !reader.has_ended();) {
    const size_t count = std::min(text.size(), piece_characters);
    unsigned char *end = read_piece(reader, level, text.substr(0, count), piece);
    text.remove_prefix(count);
    if (text.empty() || reader.has_ended()) reader.finish(end);
    bytes.insert(bytes.end(), piece, end);
  }
  return bytes;
}

template <class Reader>
std::vector<unsigned char> decoded(vector_level level, std::string_view text, size_t at_most) {
  if (text.size() > short_bytes) return decoded_by_pieces<Reader>(level, text, at_most);
  unsigned char piece[short_bytes + block_slack];
  unsigned char *end = piece;
  Reader reader;
  text.remove_prefix(reader.blocks(level, text.data(), text.size(), end));
  if (!text.empty()) end = read_piece(reader, level, text, end);
  reader.finish(end);
  return {piece, end};
}

[[gnu::always_inline]] inline void base16_piece(vector_level level, const unsigned char *in, size_t size, char *out) {
  for (size_t i = encode_base16_blocks(level, in, size, out); i < size; ++i) {
    out[2 * i] = base16_alphabet[in[i] >> 4];
    out[2 * i + 1] = base16_alphabet[in[i] & 15];
  }
}

/// Encodes what the blocks leave.
[[gnu::noinline]] void base64_groups(const unsigned char *in, size_t size, char *out) {
  for (size_t i = 0; i < size; i += 3, out += 4) {
    const size_t left = size - i;
    const unsigned group = in[i] << 16U | (left > 1 ? in[i + 1] << 8U : 0) | (left > 2 ? in[i + 2] : 0U);
    for (unsigned k = 0; k < 4; ++k) out[k] = base64_alphabet[group >> (18 - 6 * k) & 63];
  }
}

[[gnu::always_inline]] inline void base64_piece(vector_level level, const unsigned char *in, size_t size, char *out) {
  const size_t groups = (size + 2) / 3, missing = 3 * groups - size;
  const size_t taken = encode_base64_blocks(level, in, size, out);
  if (taken < size) base64_groups(in + taken, size - taken, out + taken / 3 * 4);
  if (missing == 0) return;
  char *const end = out + 4 * groups;
  end[-1] = '=';
  if (missing == 2) end[-2] = '=';
}

} // namespace

constinit const character_values hexadecimal_values = values_of_base16();

std::string to_base16(vector_level level, const unsigned char *data, size_t size) {
  const auto length = [](size_t count) { return 2 * count; };
  return encoded(data, size, length,
                 [level](const unsigned char *in, size_t count, char *out) { base16_piece(level, in, count, out); });
}

std::string to_base64(vector_level level, const unsigned char *data, size_t size) {
  const auto length = [](size_t count) { return (count + 2) / 3 * 4; };
  return encoded(data, size, length,
                 [level](const unsigned char *in, size_t count, char *out) { base64_piece(level, in, count, out); });
}

std::vector<unsigned char> from_base16(vector_level level, std::string_view text) {
  return decoded<base16_reader>(level, text, text.size() / 2 + 1);
}

std::vector<unsigned char> from_base64(vector_level level, std::string_view text) {
  return decoded<base64_reader>(level, text, text.size() / 4 * 3 + 2);
}

void fetch_base16(vector_level level, std::string_view text, unsigned char *out) {
  for (size_t i = decode_base16_blocks(level, text.data(), text.size(), out); i < text.size(); i += 2) {
    const unsigned high = value_of(hexadecimal_values, text[i]), low = value_of(hexadecimal_values, text[i + 1]);
    out[i / 2] = low_byte(high << 4 | low);
  }
}

} // namespace zar
