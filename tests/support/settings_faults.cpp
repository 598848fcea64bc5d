// Saves or loads an XML file while the process dies or the file system fails at a chosen call, or on a disk that is full.
//   settings_faults save|load FILE die|fail N   and prints how many calls there were
//   settings_faults full FOLDER                 and prints what a load finds after a save without room, and after one with room
#include "tests/support/settings_document.h"
#include "zarlib/xml/xml_file.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>

#ifdef __linux__
#include <cerrno>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <unistd.h>

static bool dies;
static int calls, faulty_call; ///< counted from 1; 0 while nothing is to happen

static bool strikes() {
  if (!faulty_call || ++calls != faulty_call) return false;
  if (dies) _exit(9);
  errno = ENOSPC;
  return true;
}

// These stand in front of the C library's own for every module of the process.
extern "C" {

int open(const char *path, int flags, ...) {
  if ((flags & O_CREAT) && strikes()) return -1;
  return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, 0600));
}

ssize_t write(int file, const void *data, size_t size) {
  if (calls + 1 == faulty_call) syscall(SYS_write, file, data, size / 2);
  return strikes() ? -1 : syscall(SYS_write, file, data, size);
}

int fsync(int file) { return strikes() ? -1 : static_cast<int>(syscall(SYS_fsync, file)); }
int unlink(const char *path) { return strikes() ? -1 : static_cast<int>(syscall(SYS_unlink, path)); }

int renameat2(int from_folder, const char *from, int to_folder, const char *to, unsigned flags) noexcept {
  return strikes() ? -1 : static_cast<int>(syscall(SYS_renameat2, from_folder, from, to_folder, to, flags));
}
}

static void save(int number, const std::string &path) {
  chXmlFile file;
  static_cast<chXmlDocument &>(file) = settings_document(number);
  file.SaveToFile(path);
}

static bool mount_small_disk(const char *folder) {
  const unsigned user = geteuid(), group = getegid();
  if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
  std::ofstream("/proc/self/uid_map") << 0 << ' ' << user << " 1";
  std::ofstream("/proc/self/setgroups") << "deny";
  std::ofstream("/proc/self/gid_map") << 0 << ' ' << group << " 1";
  return mount("small", folder, "tmpfs", 0, "size=160k") == 0;
}

static void save_on_full_disk(const std::string &folder) {
  const std::string path = folder + "/f", filler = folder + "/filler";
  save(1, path);
  std::ofstream(filler) << std::string(120 * 1024, '.');
  save(2, path);
  const int found = settings_number(chXmlFile(path));
  unlink(filler.c_str());
  save(2, path);
  std::printf("%d %d\n", found, settings_number(chXmlFile(path)));
}

int main(int argc, char **argv) {
  if (argc == 3) {
    mount_small_disk(argv[2]) ? save_on_full_disk(argv[2]) : void(std::puts("no disk of its own"));
  } else if (argc == 5) {
    dies = argv[3] == std::string("die");
    faulty_call = std::atoi(argv[4]);
    argv[1] == std::string("save") ? save(2, argv[2]) : void(chXmlFile(argv[2]));
    faulty_call = 0;
    std::printf("%d\n", calls);
  }
}
#else
int main() {}
#endif
