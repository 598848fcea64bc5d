#include "zarlib/platform/process_dump.h"

namespace zar::platform {

bool write_process_dump(const char *, const fault *) { return false; }

} // namespace zar::platform
