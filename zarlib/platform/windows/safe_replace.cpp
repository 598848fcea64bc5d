#include "zarlib/platform/safe_replace.h"

namespace zar::platform {

void create_like(const std::string &, const std::string &) {}

void force_names(const std::string &) {}

} // namespace zar::platform
