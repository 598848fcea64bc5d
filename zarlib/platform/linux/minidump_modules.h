// The module list and the loader's list of a minidump. Dying process.
#pragma once

#include "zarlib/platform/linux/memory_map.h"
#include "zarlib/platform/linux/minidump_file.h"

namespace zar::platform {

/// The ELF images that the process has mapped for execution, found through the memory map and their own headers, with
/// their build ids. The loader is not asked: its list may be what broke the process.
void write_module_list(minidump_file &file, const memory_map &map);

/// The loader's own list, as far as it can be followed.
void write_loader_list(minidump_file &file);

} // namespace zar::platform
