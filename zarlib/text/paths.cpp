#include "zarlib/text/paths.h"

#include "zarlib/text/characters.h"
#include "zarlib/text/environment.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace {

constexpr std::string_view separators = "/\\";

bool is_separator(char c) { return c == '/' || c == '\\'; }

bool starts_with_drive(std::string_view path) {
  return path.size() >= 2 && chIsAlpha(static_cast<unsigned char>(path[0])) && path[1] == ':';
}

/// The index just after the last separator.
size_t file_name_start(std::string_view path) {
  const size_t at = path.find_last_of(separators);
  return at == std::string_view::npos ? 0 : at + 1;
}

/// The parts of a path without its root, "." and ".." resolved.
std::vector<std::string_view> resolved_parts(std::string_view path) {
  std::vector<std::string_view> parts;
  while (!path.empty()) {
    const size_t length = std::min(path.find_first_of(separators), path.size());
    const std::string_view part = path.substr(0, length);
    path.remove_prefix(std::min(length + 1, path.size()));
    if (part.empty() || part == ".") continue;
    if (part != "..")
      parts.push_back(part);
    else if (!parts.empty())
      parts.pop_back();
  }
  return parts;
}

} // namespace

std::string pathAppend(const std::string &left, const std::string &right) {
  const std::string_view head = std::string_view(left).substr(0, left.find_last_not_of(separators) + 1);
  const std::string_view tail =
      std::string_view(right).substr(std::min(right.find_first_not_of(separators), right.size()));
  std::string result;
  result.reserve(head.size() + 1 + tail.size());
  return result.append(head).append(1, '/').append(tail);
}

std::string pathGetFileName(const std::string &path) { return path.substr(file_name_start(path)); }

std::string pathGetFileExtension(const std::string &path) {
  const size_t dot = path.rfind('.');
  return dot == std::string::npos || dot < file_name_start(path) ? std::string() : path.substr(dot);
}

std::string pathGetFirstPart(const std::string &path) {
  const size_t start = std::min(path.find_first_not_of(separators), path.size());
  return path.substr(start, path.find_first_of(separators, start) - start);
}

std::string pathGetLastPart(const std::string &path) {
  const std::string_view trimmed = std::string_view(path).substr(0, path.find_last_not_of(separators) + 1);
  return std::string(trimmed.substr(file_name_start(trimmed)));
}

std::string pathRemoveLastPart(const std::string &path) {
  const std::string last = pathGetLastPart(path);
  if (last.empty()) return path;
  // Settled, callers rely on it: counted from the very end, a trailing separator included, and unsigned, so that a
  // single part without a separator wraps below zero and stays whole.
  return path.substr(0, path.size() - last.size() - 1);
}

std::string pathReplaceExtern(const std::string &path, const std::string &extension) {
  // Settled, callers rely on it: separators do not stop the search, and if there is no dot nothing of the path is kept.
  const size_t dot = path.rfind('.');
  return dot == std::string::npos ? extension : path.substr(0, dot) + extension;
}

std::string pathReplaceFileName(const std::string &path, const std::string &name) {
  return path.substr(0, file_name_start(path)) + name;
}

std::string pathTidy(const std::string &path) {
  std::string_view rest = path;
  std::string result;
  if (rest.substr(0, 2) == "\\\\") {
    result = "\\";
    rest.remove_prefix(1);
  } else if (starts_with_drive(rest)) {
    result = rest.substr(0, 2);
    rest.remove_prefix(2);
  }
  // Settled, callers rely on it: the root's separator is dropped unchecked, and this throws if there is nothing left to
  // drop.
  const std::vector<std::string_view> parts = resolved_parts(rest.substr(1));
  for (const std::string_view part : parts) result.append(1, '/').append(part);
  if (parts.empty()) result += '/';
  return result;
}

std::string pathGetAbsolutePath(const std::string &path, const std::string &base) {
  if ((!path.empty() && is_separator(path[0])) || starts_with_drive(path)) return pathTidy(path);
  const std::string &folder = base.empty() ? pathRemoveLastPart(zarGetExeFileName()) : base;
  return pathTidy(folder + '/' + path);
}
