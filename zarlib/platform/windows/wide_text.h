// UTF-8 conversion for the system's wide-character calls.
#pragma once

#include "zarlib/platform/types.h"

#include <string>

namespace zar::platform {

inline std::wstring to_wide(const std::string &text, unsigned code_page = CP_UTF8) {
  const int length = static_cast<int>(text.size());
  std::wstring result(static_cast<size_t>(MultiByteToWideChar(code_page, 0, text.data(), length, nullptr, 0)), L'\0');
  MultiByteToWideChar(code_page, 0, text.data(), length, result.data(), static_cast<int>(result.size()));
  return result;
}

inline std::string from_wide(const std::wstring &text, unsigned code_page = CP_UTF8) {
  const int length = static_cast<int>(text.size());
  std::string result(
      static_cast<size_t>(WideCharToMultiByte(code_page, 0, text.data(), length, nullptr, 0, nullptr, nullptr)), '\0');
  WideCharToMultiByte(code_page, 0, text.data(), length, result.data(), static_cast<int>(result.size()), nullptr,
                      nullptr);
  return result;
}

} // namespace zar::platform
