// What safely replacing a file by a new one of the same name needs beyond files.h. Paths are UTF-8; on Linux their
// bytes are passed verbatim.
#pragma once

#include <string>

namespace zar::platform {

/// Ensures that a file exists at `path` with the owner and permissions of the file at `model`, so that what is written
/// to it is never accessible to more users than the model was. Best effort: as far as the system permits this process,
/// and failures are not reported. Its owner can always write to it; existing content stays. Does nothing where files
/// take their permissions from the directory.
void create_like(const std::string &path, const std::string &model);

/// Returns once the names created, changed and removed so far in the directory of `path` are on disk, if the system
/// lets a process wait for that. Does nothing where the system journals such changes in order.
void force_names(const std::string &path);

/// Removes the replaced file, even if it is marked read-only and the system protects such files.
void remove_replaced(const std::string &path);

} // namespace zar::platform
