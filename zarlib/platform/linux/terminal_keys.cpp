#include "zarlib/platform/linux/terminal_keys.h"

namespace zar::platform {

namespace {

enum : int {
  key_back = 8,
  key_tab = 9,
  key_clear = 12,
  key_return = 13,
  key_escape = 27,
  key_page_up = 33,
  key_page_down,
  key_end,
  key_home,
  key_left,
  key_up,
  key_right,
  key_down,
  key_insert = 45,
  key_delete,
  key_pad_0 = 96,
  key_multiply = 106,
  key_f1 = 112,
  key_f6 = 117,
  key_f11 = 122
};

constexpr char escape = '\x1b';

constexpr struct {
  char plain, shifted;
  int code;
} printed_keys[] = {{'0', ')', '0'}, {'1', '!', '1'}, {'2', '@', '2'}, {'3', '#', '3'},  {'4', '$', '4'},
                    {'5', '%', '5'}, {'6', '^', '6'}, {'7', '&', '7'}, {'8', '*', '8'},  {'9', '(', '9'},
                    {';', ':', 186}, {'=', '+', 187}, {',', '<', 188}, {'-', '_', 189},  {'.', '>', 190},
                    {'/', '?', 191}, {'`', '~', 192}, {'[', '{', 219}, {'\\', '|', 220}, {']', '}', 221},
                    {'\'', '"', 222}};

/// The key for a single byte.
int key_of(char c) {
  if (c >= 'a' && c <= 'z') return c - 'a' + 'A';
  if ((c >= 'A' && c <= 'Z') || c == ' ' || c == key_back || c == key_tab || c == escape) return c;
  if (c == '\r' || c == '\n') return key_return;
  if (c == '\x7f') return key_back;
  // Control clears the upper bits of the character.
  if (c >= 0 && c < ' ') return c == 0 ? ' ' : key_of(static_cast<char>(c + '@'));
  for (const auto &key : printed_keys)
    if (c == key.plain || c == key.shifted) return key.code;
  return -1;
}

/// The key for a sequence that ends in a letter, with or without numbers before it.
int key_of_letter(char letter) {
  switch (letter) {
  case 'A':
    return key_up;
  case 'B':
    return key_down;
  case 'C':
    return key_right;
  case 'D':
    return key_left;
  case 'E':
    return key_clear;
  case 'F':
    return key_end;
  case 'H':
    return key_home;
  case 'P':
  case 'Q':
  case 'R':
  case 'S':
    return key_f1 + letter - 'P';
  case 'Z':
    return key_tab;
  default:
    return -1;
  }
}

/// The key for a sequence that ends in a tilde.
int key_of_number(int number) {
  constexpr int editing[] = {key_home, key_insert, key_delete, key_end, key_page_up, key_page_down, key_home, key_end};
  if (number >= 1 && number <= 8) return editing[number - 1];
  if (number >= 11 && number <= 15) return key_f1 + number - 11;
  if (number >= 17 && number <= 21) return key_f6 + number - 17;
  if (number == 23 || number == 24) return key_f11 + number - 23;
  return -1;
}

int first_number(std::string_view text) {
  int number = 0;
  for (size_t i = 0; i < text.size() && i < 4 && text[i] >= '0' && text[i] <= '9'; ++i)
    number = number * 10 + text[i] - '0';
  return number;
}

/// After ESC [ : numbers and punctuation, then a final character.
terminal_key decode_control_sequence(std::string_view bytes) {
  size_t end = 2;
  // The Linux console sends a second bracket before the letters of F1 to F5.
  const bool doubled = bytes.size() > 2 && bytes[2] == '[';
  if (doubled) ++end;
  while (end < bytes.size() && bytes[end] >= ' ' && bytes[end] <= '?') ++end;
  if (end == bytes.size()) return {0, -1};
  const char last = bytes[end];
  if (last < '@' || last > '~') return {1, key_escape};
  if (doubled) return {end + 1, last >= 'A' && last <= 'E' ? key_f1 + last - 'A' : -1};
  return {end + 1, last == '~' ? key_of_number(first_number(bytes.substr(2))) : key_of_letter(last)};
}

/// After ESC O : one letter.
terminal_key decode_single_shift(std::string_view bytes) {
  if (bytes.size() < 3) return {0, -1};
  const char letter = bytes[2];
  if (letter == 'M') return {3, key_return};
  if (letter >= 'j' && letter <= 'o') return {3, key_multiply + letter - 'j'};
  if (letter >= 'p' && letter <= 'y') return {3, key_pad_0 + letter - 'p'};
  const int code = key_of_letter(letter);
  return code < 0 ? terminal_key{1, key_escape} : terminal_key{3, code};
}

} // namespace

terminal_key decode_key(std::string_view bytes) {
  if (bytes[0] == escape && bytes.size() > 1) {
    if (bytes[1] == '[') return decode_control_sequence(bytes);
    if (bytes[1] == 'O') return decode_single_shift(bytes);
  }
  return {1, key_of(bytes[0])};
}

} // namespace zar::platform
