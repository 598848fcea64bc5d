#include "tests/support/harness/files.h"

#include <algorithm>
#include <fstream>
#include <random>
#include <sstream>

namespace harness {

namespace fs = std::filesystem;

temporary_directory::temporary_directory() {
  std::random_device random;
  const auto any = [&] { return "zarlib-test-" + std::to_string(random()) + "-" + std::to_string(random()); };
  do m_path = (fs::temp_directory_path() / any()).generic_string();
  while (!fs::create_directory(m_path));
}

temporary_directory::~temporary_directory() {
  std::error_code ignored;
  fs::permissions(m_path, fs::perms::owner_all, fs::perm_options::add, ignored);
  fs::remove_all(m_path, ignored);
}

std::string read_file(const std::string &path) {
  std::ifstream stream(fs::u8path(path), std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void write_file(const std::string &path, const std::string &bytes) {
  std::ofstream(fs::u8path(path), std::ios::binary) << bytes;
}

std::vector<std::string> list_directory(const std::string &path) {
  std::vector<std::string> names;
  for (const auto &entry : fs::directory_iterator(fs::u8path(path))) names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

std::vector<std::string> lines_of(const std::string &text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

} // namespace harness
