// A lock for objects of static storage.
#pragma once

namespace zar::platform {

/// A lock that is ready before the first static constructor has run and stays so after the last static destructor: it is neither
/// made nor unmade. Not recursive. Its operations have the names that std::lock_guard asks for.
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

  /// unlock() as the last act on it, while the process ends. On Windows nobody is woken: the system has stopped the other threads,
  /// one of them perhaps while it held what a wake-up needs.
  void unlock_for_good();

private:
  alignas(8) unsigned char m_room[40] = {}; // all zero is free, on every target
};

} // namespace zar::platform
