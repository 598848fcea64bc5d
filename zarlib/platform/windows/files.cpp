#include "zarlib/platform/files.h"

#include "zarlib/platform/windows/wide_text.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <shlwapi.h>

namespace zar::platform {

namespace {

/// Only the name shows that a file is executable, as in the C library.
constexpr const char *program_endings[] = {".exe", ".com", ".bat", ".cmd"};

/// What the system reports about the target of a path, following links.
bool read_information(const std::string &path, BY_HANDLE_FILE_INFORMATION &information) {
  const HANDLE file =
      CreateFileW(to_wide(path).c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                  nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  const BOOL told = GetFileInformationByHandle(file, &information);
  CloseHandle(file);
  return told != 0;
}

bool is_program(const std::string &path) {
  const std::string ending = path.substr(path.size() - std::min<size_t>(path.size(), 4));
  return std::any_of(std::begin(program_endings), std::end(program_endings),
                     [&](const char *one) { return _stricmp(ending.c_str(), one) == 0; });
}

unsigned mode_of(DWORD attributes, const std::string &path) {
  const unsigned rights = attributes & FILE_ATTRIBUTE_READONLY ? 0444 : 0666;
  if (attributes & FILE_ATTRIBUTE_DIRECTORY) return 0x4000 | rights | 0111;
  return 0x8000 | rights | (is_program(path) ? 0111 : 0);
}

long long joined(DWORD high, DWORD low) {
  return static_cast<long long>(static_cast<unsigned long long>(high) << 32 | low);
}

} // namespace

bool read_facts(const std::string &path, file_facts &facts) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!GetFileAttributesExW(to_wide(path).c_str(), GetFileExInfoStandard, &data)) return false;
  facts = {mode_of(data.dwFileAttributes, path), joined(data.nFileSizeHigh, data.nFileSizeLow)};
  if (!(data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT)) return true;
  BY_HANDLE_FILE_INFORMATION target;
  if (!read_information(path, target)) return false;
  facts = {mode_of(target.dwFileAttributes, path), joined(target.nFileSizeHigh, target.nFileSizeLow)};
  return true;
}

bool path_exists(const std::string &path) { return PathFileExistsW(to_wide(path).c_str()) != 0; }

bool is_link(const std::string &path) {
  const DWORD attributes = GetFileAttributesW(to_wide(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT);
}

bool is_same_file(const std::string &a, const std::string &b) {
  BY_HANDLE_FILE_INFORMATION one, other;
  return read_information(a, one) && read_information(b, other) &&
         one.dwVolumeSerialNumber == other.dwVolumeSerialNumber && one.nFileIndexHigh == other.nFileIndexHigh &&
         one.nFileIndexLow == other.nFileIndexLow;
}

bool copy_file(const std::string &from, const std::string &to) {
  return CopyFileW(to_wide(from).c_str(), to_wide(to).c_str(), FALSE) != 0;
}

bool remove_file(const std::string &path) { return DeleteFileW(to_wide(path).c_str()) != 0; }

bool remove_link(const std::string &path) { return remove_file(path) || remove_directory(path); }

bool rename_file(const std::string &from, const std::string &to) {
  return MoveFileExW(to_wide(from).c_str(), to_wide(to).c_str(), MOVEFILE_COPY_ALLOWED) != 0;
}

bool create_directory(const std::string &path) { return CreateDirectoryW(to_wide(path).c_str(), nullptr) != 0; }

bool remove_directory(const std::string &path) { return RemoveDirectoryW(to_wide(path).c_str()) != 0; }

} // namespace zar::platform
