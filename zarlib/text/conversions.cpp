#include "zarlib/text/conversions.h"

#include "zarlib/companion/qxstl.h"

#include <cctype>
#include <clocale>
#include <cstdlib>
#include <regex>
#include <vector>

std::string ConvertLPWSTRToString(wchar_t *text) { return ConvertLPCWSTRToString(text); }

std::string ConvertLPCWSTRToString(const wchar_t *text) {
  return text ? qx::string_wstring_to_utf8(std::wstring(text)) : std::string();
}

std::string Wstring2StringWin(const std::wstring &text) {
  if (text.empty()) return {};
  // Settled, callers rely on it: the locale stays set.
  std::setlocale(LC_ALL, "");
  std::vector<char> buffer(text.size() * 4 + 1);
  std::wcstombs(buffer.data(), text.c_str(), buffer.size() - 1);
  return buffer.data();
}

std::string String2Lower(std::string text) {
  for (char &c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

bool zarIsAssicString(const std::string &text) { return qx::string_is_ascii_string(text); }

void RegexString(std::string &text, const char *pattern) {
  std::smatch match;
  if (std::regex_search(text, match, std::regex(pattern)) && match.size() > 1) text = match.str(1);
}
