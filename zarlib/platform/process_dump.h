// A dump of this process for a debugger.
#pragma once

namespace zar::platform {

struct fault;

/// Writes a minidump of this process in place of the file `path`, which is UTF-8. The file is readable by its owner only, where
/// the system knows such rights. On Linux the other threads are held still meanwhile, and it gives up after 20 seconds.
/// @param fault  What the dump tells as the exception; null for a dump without one.
/// @return False when the file could not be made or written; what is there of it stays.
bool write_process_dump(const char *path, const fault *fault);

} // namespace zar::platform
