// Where the user's shared objects live as files, and the rules by which a file is alive, dead, or not ours.
//
// One file per object in /dev/shm/zarlib-<user id>, a folder for its owner alone. Every holder keeps a shared flock on the file, from
// before anybody else could look until it closes or dies: the kernel drops the lock of a process that is killed. So a file that
// can be locked exclusively has no holder, and whatever it contains is dead. All of this is decided by one process at a time, under an
// exclusive flock on the folder itself, which the kernel drops likewise; an interrupted step leaves a dead file at worst.
#pragma once

#include "zarlib/platform/linux/descriptor.h"

#include <mutex>
#include <string>

namespace zar::platform {

/// Guards what this process knows of shared objects, and stands in front of every object_directory. fork() waits for it, so that
/// no child inherits a locked folder.
std::mutex &object_lock();

/// The name of an object's file: readable for short names of plain characters, with a hash for long ones. Two objects may share a
/// file name, if hardly ever; their files tell them apart.
std::string object_file_name(const std::string &full_name);

/// The folder, made where it is missing and locked against all other processes while this object lives.
/// REQUIRES: object_lock() is held.
class object_directory {
public:
  /// Waits for its turn.
  object_directory();
  object_directory(const object_directory &) = delete;
  object_directory &operator=(const object_directory &) = delete;
  /// Gives the turn to the next; removes the folder when nothing is left in it.
  ~object_directory();

  /// False when the folder cannot be had: no shared memory, or somebody else's folder stands in its place.
  explicit operator bool() const { return static_cast<bool>(m_folder); }

  enum class finding { alive, absent, refused };

  /// A file with its holder's lock.
  struct held_file {
    finding state;
    descriptor file;
  };

  /// Becomes a holder of a living file. A dead one is removed and counts as absent; one that is not a plain file of this user alone is
  /// refused.
  held_file open(const std::string &file_name) const;

  /// Makes an empty file and becomes its first holder. REQUIRES: open() said absent.
  descriptor create(const std::string &file_name) const;

  void remove(const std::string &file_name) const;
  void remove_if_dead(const std::string &file_name) const;

  /// Removes what dead processes left. However often it is called and however full the folder is, it takes about one part in twenty of
  /// the time.
  void sweep() const;

private:
  descriptor m_folder;
};

} // namespace zar::platform
