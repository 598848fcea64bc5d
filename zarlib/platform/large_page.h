// Memory in large pages, for much that is filled at once: the system hands it out in one step, where small pages would cost one
// each.
#pragma once

#include <cstddef>

namespace zar::platform {

constexpr size_t large_page_size = 2 * 1024 * 1024;

/// Takes large_page_size bytes, which start at a multiple of that.
/// @return Null where the system keeps such pages from ordinary processes, and when there is no memory: do with the heap then. Where
///         it grants one only at its own choice, the memory may come in small pages all the same.
void *take_large_page();
void give_back_large_page(void *page);

} // namespace zar::platform
