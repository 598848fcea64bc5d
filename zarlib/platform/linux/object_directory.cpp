#include "zarlib/platform/linux/object_directory.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <dirent.h>
#include <memory>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace zar::platform {

namespace {

constexpr size_t longest_plain_name = 200; // of the 255 bytes allowed in a file name
constexpr size_t kept_of_long_name = 160;

void before_fork() { object_lock().lock(); }
void after_fork() { object_lock().unlock(); }

const int fork_watch = pthread_atfork(before_fork, after_fork, after_fork);

/// Not on the heap, because destructors need it.
struct folder_path {
  char text[32];
  folder_path() { std::snprintf(text, sizeof text, "/dev/shm/zarlib-%u", geteuid()); }
};

bool lock_file(int file, int how) {
  while (flock(file, how) != 0)
    if (errno != EINTR) return false;
  return true;
}

bool belongs_to_us_alone(const struct stat &status) {
  return status.st_uid == geteuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

/// Whether the locked directory is still the one at the path: its last user may have removed it meanwhile.
bool still_stands(const struct stat &locked, const char *path) {
  struct stat now;
  return lstat(path, &now) == 0 && now.st_ino == locked.st_ino && now.st_dev == locked.st_dev;
}

/// The creator's umask may have taken permissions from the owner too.
bool give_owner_rights(const char *path) {
  struct stat status;
  return lstat(path, &status) == 0 && S_ISDIR(status.st_mode) && belongs_to_us_alone(status) &&
         fchmodat(AT_FDCWD, path, S_IRWXU, AT_SYMLINK_NOFOLLOW) == 0;
}

descriptor lock_folder(const char *path) {
  // Others create and remove it meanwhile; but something other than its permissions may also keep us out.
  for (int refusals = 0;;) {
    descriptor folder(open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder) {
      if (errno == ENOENT && (mkdir(path, S_IRWXU) == 0 || errno == EEXIST)) continue;
      if (errno == EACCES && ++refusals < 100 && give_owner_rights(path)) continue;
      return descriptor(-1);
    }
    struct stat status;
    if (fstat(folder.get(), &status) != 0 || !belongs_to_us_alone(status)) return descriptor(-1);
    if (!lock_file(folder.get(), LOCK_EX)) return descriptor(-1);
    if (!still_stands(status, path)) continue;
    const bool usable = (status.st_mode & S_IRWXU) == S_IRWXU || fchmod(folder.get(), S_IRWXU) == 0;
    return usable ? std::move(folder) : descriptor(-1);
  }
}

bool is_plain(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-' || c == '.';
}

std::uint64_t fnv1a(const std::string &text) {
  std::uint64_t hash = 0xCBF29CE484222325;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
  return hash;
}

} // namespace

std::mutex &object_lock() {
  static std::mutex &lock = *new std::mutex; // never destroyed: static objects close their handles at process exit
  return lock;
}

std::string object_file_name(const std::string &full_name) {
  std::string result;
  for (const char c : full_name) {
    if (result.size() > longest_plain_name) break;
    char code[4] = {c};
    if (!is_plain(c)) std::snprintf(code, sizeof code, "%%%02X", static_cast<unsigned char>(c));
    result += code;
  }
  if (result.size() <= longest_plain_name) return result;
  char hash[18];
  std::snprintf(hash, sizeof hash, "~%016llX", static_cast<unsigned long long>(fnv1a(full_name)));
  return result.substr(0, kept_of_long_name) + hash;
}

object_directory::object_directory() : m_folder(lock_folder(folder_path().text)) {}

object_directory::~object_directory() {
  if (!m_folder) return;
  const int reason = errno; // of a failure, for the caller
  rmdir(folder_path().text);
  // Unlocked explicitly, not by closing: a process being started right now may have a copy of the descriptor.
  flock(m_folder.get(), LOCK_UN);
  errno = reason;
}

object_directory::held_file object_directory::open(const std::string &file_name) const {
  descriptor file(openat(m_folder.get(), file_name.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!file) return {errno == ENOENT ? finding::absent : finding::refused, std::move(file)};
  struct stat status;
  if (fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || !belongs_to_us_alone(status))
    return {finding::refused, std::move(file)};
  if (lock_file(file.get(), LOCK_EX | LOCK_NB)) {
    remove(file_name);
    return {finding::absent, std::move(file)};
  }
  const bool held = errno == EWOULDBLOCK && lock_file(file.get(), LOCK_SH | LOCK_NB);
  return {held ? finding::alive : finding::refused, std::move(file)};
}

descriptor object_directory::create(const std::string &file_name) const {
  const int how = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  constexpr mode_t rights = S_IRUSR | S_IWUSR;
  descriptor file(openat(m_folder.get(), file_name.c_str(), how, rights));
  // Set again, whatever the umask.
  if (!file || (fchmod(file.get(), rights) == 0 && lock_file(file.get(), LOCK_SH | LOCK_NB))) return file;
  remove(file_name);
  return descriptor(-1);
}

void object_directory::remove(const std::string &file_name) const { unlinkat(m_folder.get(), file_name.c_str(), 0); }

void object_directory::remove_if_dead(const std::string &file_name) const {
  const descriptor file(openat(m_folder.get(), file_name.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (file && lock_file(file.get(), LOCK_EX | LOCK_NB)) remove(file_name);
}

void object_directory::sweep() const {
  using clock = std::chrono::steady_clock;
  static clock::time_point next_sweep; // guarded by object_lock()
  const auto start = clock::now();
  if (start < next_sweep) return;

  descriptor again(openat(m_folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const std::unique_ptr<DIR, int (*)(DIR *)> entries(again ? fdopendir(again.get()) : nullptr, closedir);
  if (!entries) return;
  again.release();
  while (const dirent *const entry = readdir(entries.get()))
    if (entry->d_type == DT_REG) remove_if_dead(entry->d_name);
  const auto end = clock::now();
  next_sweep = end + 20 * (end - start);
}

} // namespace zar::platform
