#include "tests/support/harness/files.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <random>
#include <sstream>

namespace harness {

namespace fs = std::filesystem;

temporary_directory::temporary_directory() {
  static std::atomic<unsigned> counter{0};
  std::random_device random;
  for (;;) {
    std::ostringstream name;
    name << "zarlib-test-" << std::hex << random() << random() << '-' << counter++;
    const fs::path path = fs::temp_directory_path() / name.str();
    if (!fs::create_directory(path)) continue;
    m_path = path.generic_string();
    return;
  }
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
  std::ofstream stream(fs::u8path(path), std::ios::binary);
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
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
