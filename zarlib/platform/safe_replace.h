// What replacing a file by a new one of the same name needs beyond the verbs of files.h. Paths are UTF-8; on Linux their bytes pass as
// they are.
#pragma once

#include <string>

namespace zar::platform {

/// Sees to it that a file stands at `path` with the owner and the rights of the file at `model`, so that what is written into it
/// is never open to more eyes than the model was. As far as the system lets this process: a failure leaves less alike, and is
/// not told. Its owner may always write to it; bytes that it held stay. Where a file takes its rights from its folder, nothing is done.
void create_like(const std::string &path, const std::string &model);

/// Returns when the names made, changed and removed so far in the folder of `path` are on the disk, wherever the system lets a process
/// wait for that. Where the system keeps a log of such changes, in their order, nothing is done.
void force_names(const std::string &path);

/// Removes the file that was replaced, also where it is marked as read-only and the system keeps such files.
void remove_replaced(const std::string &path);

} // namespace zar::platform
