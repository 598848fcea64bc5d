// Files and folders of a test.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace harness {

/// A new folder, removed with all its content at the end.
class temporary_directory {
public:
  temporary_directory();
  temporary_directory(const temporary_directory &) = delete;
  ~temporary_directory();

  /// With forward slashes, none at the end.
  const std::string &path() const { return m_path; }
  /// The path of something inside.
  std::string operator/(const std::string &name) const { return m_path + "/" + name; }

private:
  std::string m_path;
};

/// The whole content as bytes; empty if the file cannot be read.
std::string read_file(const std::string &path);
void write_file(const std::string &path, const std::string &bytes);

/// The names in a folder, sorted.
std::vector<std::string> list_directory(const std::string &path);

/// The lines without their ends, which are a line feed with or without a carriage return before it.
std::vector<std::string> lines_of(const std::string &text);

} // namespace harness
