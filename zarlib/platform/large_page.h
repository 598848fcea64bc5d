// Memory in large pages, for large areas filled at once: the system provides it in one step instead
// of one per small page.
#pragma once

#include <cstddef>

namespace zar::platform {

constexpr size_t large_page_size = 2 * 1024 * 1024;

/// Allocates large_page_size bytes, aligned to large_page_size.
/// @return Null where ordinary processes may not have such pages, and when out of memory: fall back to the heap. Where
///         the system grants them at its own discretion, the memory may still consist of small pages.
void *take_large_page();
void give_back_large_page(void *page);

} // namespace zar::platform
