#include "zarlib/platform/message_box.h"

#include <cstdio>

namespace zar::platform {

void show_error(const char *text) { std::fprintf(stderr, "%s\n", text); }

} // namespace zar::platform
