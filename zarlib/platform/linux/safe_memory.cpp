#include "zarlib/platform/linux/safe_memory.h"

#include <sys/mman.h>
#include <sys/uio.h>
#include <unistd.h>

namespace zar::platform {

bool read_memory(unsigned long long address, void *to, size_t length) {
  const iovec local = {to, length};
  const iovec remote = {reinterpret_cast<void *>(address), length};
  return process_vm_readv(getpid(), &local, 1, &remote, 1, 0) == static_cast<ssize_t>(length);
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
