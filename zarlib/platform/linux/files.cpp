#include "zarlib/platform/files.h"

#include "zarlib/platform/linux/descriptor.h"

#include <cstdio>
#include <sys/stat.h>
#include <vector>

namespace zar::platform {

namespace {

// The system's own type codes for sockets and block devices include the directory bit.
unsigned type_bits(mode_t mode) {
  if (S_ISREG(mode)) return 0x8000;
  if (S_ISDIR(mode)) return 0x4000;
  return S_ISCHR(mode) || S_ISBLK(mode) ? 0x2000 : 0x1000;
}

bool copy_bytes(int from, int to) {
  // The kernel may share the blocks. Whatever it declines or leaves is copied the plain way from the same positions.
  while (copy_file_range(from, nullptr, to, nullptr, 1 << 30, 0) > 0) {
  }
  std::vector<char> piece(128 * 1024);
  for (;;) {
    const ssize_t count = read(from, piece.data(), piece.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return count == 0;
    for (ssize_t done = 0; done < count;) {
      const ssize_t written = write(to, piece.data() + done, static_cast<size_t>(count - done));
      if (written < 0 && errno == EINTR) continue;
      if (written <= 0) return false;
      done += written;
    }
  }
}

/// Claims the name first, so that nobody else can, and then renames over the placeholder.
bool rename_onto_claim(const char *from, const char *to) {
  struct stat facts;
  if (lstat(from, &facts) != 0) return false;
  const bool directory = S_ISDIR(facts.st_mode);
  if (directory ? mkdir(to, 0700) != 0 : !descriptor(open(to, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600)))
    return false;
  if (std::rename(from, to) == 0) return true;
  directory ? rmdir(to) : unlink(to);
  return false;
}

/// For file systems without RENAME_NOREPLACE. With a hard link the file can never be lost halfway; directories, and
/// files on systems without hard links, use a claim.
bool rename_by_link(const char *from, const char *to) {
  if (linkat(AT_FDCWD, from, AT_FDCWD, to, 0) != 0)
    return (errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS) && rename_onto_claim(from, to);
  if (unlink(from) == 0) return true;
  unlink(to);
  return false;
}

} // namespace

bool read_facts(const std::string &path, file_facts &facts) {
  struct stat found;
  if (stat(path.c_str(), &found) != 0) return false;
  facts.mode = type_bits(found.st_mode) | (found.st_mode & 0777);
  facts.size = found.st_size;
  return true;
}

bool path_exists(const std::string &path) {
  struct stat found;
  return stat(path.c_str(), &found) == 0;
}

bool is_link(const std::string &path) {
  struct stat found;
  return lstat(path.c_str(), &found) == 0 && S_ISLNK(found.st_mode);
}

bool is_same_file(const std::string &a, const std::string &b) {
  struct stat one, other;
  return stat(a.c_str(), &one) == 0 && stat(b.c_str(), &other) == 0 && one.st_dev == other.st_dev &&
         one.st_ino == other.st_ino;
}

bool copy_file(const std::string &from, const std::string &to) {
  // Only regular files are read, and a pipe at either end must not block the call.
  const descriptor source(open(from.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  struct stat read_from, written_to;
  if (!source || fstat(source.get(), &read_from) != 0 || !S_ISREG(read_from.st_mode)) return false;
  descriptor target(open(to.c_str(), O_WRONLY | O_CREAT | O_NONBLOCK | O_CLOEXEC, read_from.st_mode & 0777));
  if (!target || fstat(target.get(), &written_to) != 0) return false;
  if (read_from.st_dev == written_to.st_dev && read_from.st_ino == written_to.st_ino) return false;

  const bool regular = S_ISREG(written_to.st_mode);
  bool copied = !regular || ftruncate(target.get(), 0) == 0;
  // After the old bytes are gone and before the new ones arrive, so that neither is exposed to more users than before.
  if (copied && regular) fchmod(target.get(), read_from.st_mode & 0777);
  copied = copied && copy_bytes(source.get(), target.get());
  copied = close(target.release()) == 0 && copied;
  if (!copied && regular) unlink(to.c_str());
  return copied;
}

bool remove_file(const std::string &path) { return unlink(path.c_str()) == 0; }

bool remove_link(const std::string &path) { return unlink(path.c_str()) == 0; }

bool rename_file(const std::string &from, const std::string &to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  const bool unknown = errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP;
  return unknown && rename_by_link(from.c_str(), to.c_str());
}

bool create_directory(const std::string &path) { return mkdir(path.c_str(), 0777) == 0; }

bool remove_directory(const std::string &path) { return rmdir(path.c_str()) == 0; }

} // namespace zar::platform
