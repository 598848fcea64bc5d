// Saves or loads an XML file, while being killed or with injected faults.
//   settings_writer FILE                       loads, then saves one document after another; prints each
//   settings_writer FILE save|load die|fail N  dies, or fails the system call, at call N; prints the number of calls
#include "tests/support/settings_document.h"
#include "zarlib/xml/xml_file.h"

#include <cstdio>
#include <cstdlib>

static bool dies;
static int calls, faulty_call; ///< counted from 1; 0 for none

#ifdef __linux__
#include <cerrno>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

static bool strikes() {
  if (!faulty_call || ++calls != faulty_call) return false;
  if (dies) _exit(9);
  errno = ENOSPC;
  return true;
}

// These interpose the C library's functions in every module of the process.
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
#endif

int main(int argc, char **argv) {
  if (argc == 2) {
    for (int number = settings_number(chXmlFile(argv[1])); number >= 0;
         settings_document(++number).SaveToFile(argv[1])) {
      std::printf("%d\n", number);
      std::fflush(stdout);
    }
    return std::puts("not whole");
  }
  dies = argv[3] == std::string("die");
  faulty_call = std::atoi(argv[4]);
  argv[2] == std::string("save") ? settings_document(2).SaveToFile(argv[1]) : void(chXmlFile(argv[1]));
  faulty_call = 0;
  std::printf("%d\n", calls);
}
