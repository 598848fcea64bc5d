#include "zarlib/platform/message_box.h"

#include "zarlib/platform/types.h"

namespace zar::platform {

void show_error(const char *text) { MessageBoxA(nullptr, text, nullptr, MB_ICONERROR); }

} // namespace zar::platform
