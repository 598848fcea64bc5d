#include "zarlib/platform/linux/safe_memory.h"

#include <sys/uio.h>
#include <unistd.h>

namespace zar::platform {

bool read_memory(unsigned long long address, void *to, size_t length) {
  const iovec local = {to, length};
  const iovec remote = {reinterpret_cast<void *>(address), length};
  return process_vm_readv(getpid(), &local, 1, &remote, 1, 0) == static_cast<ssize_t>(length);
}

} // namespace zar::platform
