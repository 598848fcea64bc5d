// A dump of this process for a debugger.
#pragma once

namespace zar::platform {

struct fault;

/// Writes a minidump of this process, replacing the file `path`, which is UTF-8. The file is readable by its
/// owner only, where the system has such permissions. On Linux the other threads are stopped meanwhile, and it
/// gives up after 20 seconds.
/// @param fault  The exception recorded in the dump; null for a dump without one.
/// @return False when the file could not be created or written; of a failed write an empty file stays.
bool write_process_dump(const char *path, const fault *fault);

} // namespace zar::platform
