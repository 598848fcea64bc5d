#include "zarlib/platform/large_page.h"

namespace zar::platform {

// This would require the privilege to lock pages in memory, which hardly any account has.
void *take_large_page() { return nullptr; }

void give_back_large_page(void *) {}

} // namespace zar::platform
