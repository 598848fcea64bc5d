// A lock for objects of static storage duration.
#pragma once

namespace zar::platform {

/// A lock that is usable before the first static constructor and after the last static destructor: it is neither
/// constructed nor destroyed. Not recursive. Its operations have the names that std::lock_guard expects.
class static_lock {
public:
  constexpr static_lock() = default;
  static_lock(const static_lock &) = delete;
  static_lock &operator=(const static_lock &) = delete;

  /// Waits without limit.
  void lock();
  /// @return Whether it was free and is now held.
  bool try_lock();
  /// REQUIRES: the calling thread holds the lock.
  void unlock();

  /// unlock() for the last time, while the process ends. On Windows it wakes nobody: the system has stopped the other
  /// threads, one of them perhaps holding what a wake-up needs.
  void unlock_for_good();

private:
  alignas(8) unsigned char m_room[40] = {}; // all zeros is free, on every target
};

} // namespace zar::platform
