// Where the user's shared objects are stored as files, and the rules that make a file alive, dead, or not ours.
//
// One file per object in /dev/shm/zarlib-<user id>, a directory accessible to its owner only. Every holder keeps a
// shared flock on the file, from before anyone else could look until it closes or dies: the kernel drops the lock of a
// killed process. So a file that can be locked exclusively has no holder, and its content is dead. All of this is
// decided by one process at a time, under an exclusive flock on the directory itself, which the kernel also drops; at
// worst an interrupted step leaves a dead file.
#pragma once

#include "zarlib/platform/linux/descriptor.h"

#include <mutex>
#include <string>

namespace zar::platform {

/// Guards what this process knows of shared objects; held before any object_directory is created. fork() waits for it,
/// so that no child inherits a locked directory.
std::mutex &object_lock();

/// The file name of an object: readable for short names of plain characters, with a hash for long ones. Two objects
/// may, very rarely, share a file name; the file's content tells them apart.
std::string object_file_name(const std::string &full_name);

/// The directory, created if missing and locked against all other processes for the lifetime of this object.
/// REQUIRES: object_lock() is held.
class object_directory {
public:
  /// Waits for its turn.
  object_directory();
  object_directory(const object_directory &) = delete;
  object_directory &operator=(const object_directory &) = delete;
  /// Ends its turn; removes the directory if it is empty.
  ~object_directory();

  /// False if the directory is unavailable: no shared memory, or someone else's directory is in its place.
  explicit operator bool() const { return static_cast<bool>(m_folder); }

  enum class finding { alive, absent, refused };

  /// A file, and the holder's lock on it.
  struct held_file {
    finding state;
    descriptor file;
  };

  /// Becomes a holder of a living file. A dead one is removed and counts as absent; anything but a regular file of this
  /// user alone is refused.
  held_file open(const std::string &file_name) const;

  /// Creates an empty file and becomes its first holder. REQUIRES: open() returned absent.
  descriptor create(const std::string &file_name) const;

  void remove(const std::string &file_name) const;
  void remove_if_dead(const std::string &file_name) const;

  /// Removes what dead processes left behind. However often it is called and however full the directory is, it takes
  /// about a twentieth of the time.
  void sweep() const;

private:
  descriptor m_folder;
};

} // namespace zar::platform
