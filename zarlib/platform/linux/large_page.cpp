#include "zarlib/platform/large_page.h"

#include <cstdint>
#include <sys/mman.h>

namespace zar::platform {

void *take_large_page() {
  void *const twice = mmap(nullptr, 2 * large_page_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (twice == MAP_FAILED) return nullptr;
  char *const start = static_cast<char *>(twice);
  const size_t ahead = -reinterpret_cast<std::uintptr_t>(start) % large_page_size;
  char *const page = start + ahead;
  if (ahead > 0) munmap(start, ahead);
  munmap(page + large_page_size, large_page_size - ahead);
  madvise(page, large_page_size, MADV_HUGEPAGE); // if refused, small pages will do
  return page;
}

void give_back_large_page(void *page) { munmap(page, large_page_size); }

} // namespace zar::platform
