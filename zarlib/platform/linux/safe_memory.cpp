#include "zarlib/platform/linux/safe_memory.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/uio.h>
#include <unistd.h>

namespace zar::platform {

bool read_memory(unsigned long long address, void *to, size_t length) {
  const iovec local = {to, length};
  const iovec remote = {reinterpret_cast<void *>(address), length};
  if (process_vm_readv(getpid(), &local, 1, &remote, 1, 0) == static_cast<ssize_t>(length)) return true;
  if (errno != EPERM && errno != ENOSYS) return false;
  // Some containers forbid that call.
  const int memory = open("/proc/thread-self/mem", O_RDONLY | O_CLOEXEC);
  if (memory < 0) return false;
  const ssize_t count = pread(memory, to, length, static_cast<off_t>(address));
  close(memory);
  return count == static_cast<ssize_t>(length);
}

void read_text(unsigned long long address, char *to, size_t capacity) {
  size_t length = 0;
  while (length + 1 < capacity && read_value(address + length, to[length]) && to[length]) ++length;
  to[length] = 0;
}

void *reserve_pages(size_t bytes) {
  void *const pages = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  return pages == MAP_FAILED ? nullptr : pages;
}

void release_pages(void *pages, size_t bytes) {
  if (pages) munmap(pages, bytes);
}

} // namespace zar::platform
