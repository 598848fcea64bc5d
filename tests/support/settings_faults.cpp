// Saves or loads an XML file while the file system fails or the process dies at a chosen call, or on a disk that is full.
//   settings_faults save|load FILE die|fail|refuse N   and prints how many calls there were
//   settings_faults full FOLDER                        and prints what a load finds after a save without room, and after one with room
#include "tests/support/settings_document.h"
#include "zarlib/xml/xml_file.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#ifdef __linux__
#include <cerrno>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

enum class fault { none, die, fail, refuse };

fault kind = fault::none;
int calls = 0, faulty_call = 0;

/// Counts a call. Dies, or tells whether the call is to fail: this one alone, or this and all after it.
bool strikes(bool dies_now = true) {
  if (kind == fault::none) return false;
  const bool struck = ++calls == faulty_call || (kind == fault::refuse && calls > faulty_call);
  if (struck && kind == fault::die && dies_now) _exit(9);
  if (struck) errno = ENOSPC;
  return struck;
}

/// The tool of choice for a number: unlike the function of the same name it is not the one below.
template <typename... Arguments>
int call(long number, Arguments... arguments) {
  return static_cast<int>(syscall(number, arguments...));
}

} // namespace

// These stand in front of the C library's own for every module of the process.
extern "C" {

int open(const char *path, int flags, ...) {
  if ((flags & O_CREAT) && strikes()) return -1;
  return call(SYS_openat, AT_FDCWD, path, flags, 0600);
}

/// A write that is struck leaves half of its bytes behind.
ssize_t write(int file, const void *data, size_t size) {
  if (!strikes(false)) return syscall(SYS_write, file, data, size);
  syscall(SYS_write, file, data, size / 2);
  if (kind == fault::die) _exit(9);
  return -1;
}

int fsync(int file) { return strikes() ? -1 : call(SYS_fsync, file); }
int unlink(const char *path) { return strikes() ? -1 : call(SYS_unlink, path); }

int renameat2(int from_folder, const char *from, int to_folder, const char *to, unsigned flags) noexcept {
  return strikes() ? -1 : call(SYS_renameat2, from_folder, from, to_folder, to, flags);
}
}

namespace {

void write_text(const char *path, const std::string &text) {
  const int file = open(path, O_WRONLY | O_CREAT);
  if (file < 0 || write(file, text.data(), text.size()) < 0) std::perror(path);
  close(file);
}

bool mount_small_disk(const char *folder) {
  const std::string user = "0 " + std::to_string(geteuid()) + " 1", group = "0 " + std::to_string(getegid()) + " 1";
  if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
  write_text("/proc/self/uid_map", user);
  write_text("/proc/self/setgroups", "deny");
  write_text("/proc/self/gid_map", group);
  return mount("small", folder, "tmpfs", 0, "size=160k") == 0;
}

void save(int number, const std::string &path) {
  chXmlFile file;
  static_cast<chXmlDocument &>(file) = settings_document(number);
  file.SaveToFile(path);
}

int fill_disk(const std::string &folder) {
  if (!mount_small_disk(folder.c_str())) return std::puts("no disk of its own") < 0;
  const std::string path = folder + "/f", filler = folder + "/filler";
  save(1, path);
  write_text(filler.c_str(), std::string(120 * 1024, '.'));
  save(2, path);
  const int found = settings_number(chXmlFile(path));
  unlink(filler.c_str());
  save(2, path);
  std::printf("%d %d\n", found, settings_number(chXmlFile(path)));
  return 0;
}

} // namespace

int main(int argc, char **argv) {
  if (argc == 3) return fill_disk(argv[2]);
  if (argc != 5) return 2;
  const chXmlDocument document = settings_document(2);
  chXmlFile file;
  static_cast<chXmlDocument &>(file) = document;
  faulty_call = std::atoi(argv[4]);
  kind = argv[3][0] == 'd' ? fault::die : argv[3][0] == 'f' ? fault::fail : fault::refuse;
  argv[1][0] == 's' ? file.SaveToFile(argv[2]) : void(file.LoadFromFile(argv[2]));
  kind = fault::none;
  std::printf("%d\n", calls);
}
#else
int main() { return 2; }
#endif
