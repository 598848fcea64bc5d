#include "zarlib/text/characters.h"

#include "zarlib/companion/qxstl.h"

#include <string_view>

namespace {

bool in_range(int c, int first, int last) { return c >= first && c <= last; }

/// Length of the sequence that a lead byte starts; 1 for a byte that starts none.
int sequence_length(unsigned char lead) { return (lead & 0xE0) == 0xC0 ? 2 : (lead & 0xF0) == 0xE0 ? 3 : 1; }

/// Decodes `length` bytes, which must be present.
wchar_t decode(const char *p, int length) {
  const auto byte = [p](int i) { return static_cast<unsigned>(static_cast<unsigned char>(p[i])); };
  if (length == 2) return static_cast<wchar_t>((byte(0) & 0x1F) << 6 | (byte(1) & 0x3F));
  if (length == 3) return static_cast<wchar_t>((byte(0) & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F));
  return byte(0) < 0x80 ? static_cast<wchar_t>(byte(0)) : L'?';
}

/// Decodes the first character; `length` receives the number of bytes it took.
wchar_t first_character(std::string_view s, int &length) {
  length = s.empty() ? 0 : sequence_length(static_cast<unsigned char>(s[0]));
  if (length == 0) return 0;
  if (static_cast<size_t>(length) > s.size()) {
    length = 1;
    return L'?';
  }
  return decode(s.data(), length);
}

// The tables are never destroyed: destructors that run at exit still split and trim.
const std::string *table_of_ranges(const char *pairs, int count) {
  auto *const table = new std::string;
  qx::string_builder_by_range(*table, pairs, count);
  return table;
}

} // namespace

int chIsAlpha(int c) { return in_range(c, 'a', 'z') || in_range(c, 'A', 'Z'); }

int chIsDigit(int c) { return in_range(c, '0', '9'); }

int chIsWhiteSpace(int c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

int chIsPathSeparator(int c) { return (c & 0xFF) == '/' || (c & 0xFF) == '\\'; }

int chLower(int c) { return in_range(c, 'A', 'Z') ? c + 32 : c; }

int chUpper(int c) { return in_range(c, 'a', 'z') ? c - 32 : c; }

int chReverse(int c) { return in_range(c, 'a', 'z') ? c - 32 : chLower(c); }

const std::string &getTabAlphaLower() {
  static const std::string &table = *table_of_ranges("az", 1);
  return table;
}

const std::string &getTabAlphaUpper() {
  static const std::string &table = *table_of_ranges("AZ", 1);
  return table;
}

const std::string &getTabAlphaAll() {
  static const std::string &table = *table_of_ranges("azAZ", 2);
  return table;
}

const std::string &getTabDigit10() {
  static const std::string &table = *table_of_ranges("09", 1);
  return table;
}

const std::string &getTabDigit16() {
  static const std::string &table = *table_of_ranges("09afAF", 3);
  return table;
}

const std::string &getTabPathSeparator() {
  static const std::string &table = *new std::string("/\\");
  return table;
}

const std::string &getTabWhiteSpace() {
  static const std::string &table = *new std::string(" \t\r\n");
  return table;
}

const char *chUTF8Inc(const char *p) { return *p ? p + sequence_length(static_cast<unsigned char>(*p)) : nullptr; }

const char *chUTF8Dec(const char *begin, const char *p) {
  while (p > begin)
    if ((static_cast<unsigned char>(*--p) & 0xC0) != 0x80) return p;
  return nullptr;
}

wchar_t chUTF8Word(const char *&p) {
  const int length = sequence_length(static_cast<unsigned char>(*p));
  const wchar_t character = decode(p, length);
  p += length;
  return character;
}

wchar_t chUTF8Word(const std::string &s) {
  int length;
  return first_character(s, length);
}

wchar_t chUTF8Inc(std::string &s) {
  int length;
  const wchar_t character = first_character(s, length);
  // Settled, callers rely on it: the count is appended to the text; the character is not removed.
  s += static_cast<char>(length);
  return character;
}
