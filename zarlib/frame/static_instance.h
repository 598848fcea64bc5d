// The process-wide lock and how every heavyweight singleton is constructed.
#pragma once

#include "zarlib/frame/critical_section.h"

#include <atomic>

/// The process-wide lock: it guards the construction of singletons, the tables of the process-local objects and the
/// registry of chPointerSnap. It is the innermost lock of the library; hold it for a few instructions, and acquire no
/// other lock under it.
ZAR_API chThreadLock<chCriticalSection> &getStaticObjectCritical();

namespace zar {

/// Makes the calling thread the builder if there is none. If it already is, ends the process with the message.
/// @return Whether the caller must build; otherwise another thread is building or has built.
bool claim_static_instance(unsigned long &builder, const char *message);

/// Ends a claim whose build threw, so that the next caller builds.
void release_static_instance(unsigned long &builder);

/// One step of waiting for another thread to finish building.
void wait_for_static_instance();

/// The guard of one singleton; has static storage duration and is zero before first use.
///
/// The first thread to arrive builds, holding no lock; other threads poll every 50 ms, without limit. If the building
/// thread re-enters before it is done, the process ends with a message instead of deadlocking. Where building throws, as
/// it does without memory, the exception goes to the caller and the next one builds. A pointer is never reset, so after
/// process exit the address of the destroyed object is still returned.
template <class T>
class static_instance {
public:
  /// @param message  Written to stderr when the building thread re-enters.
  /// @param build    Returns the function-local static object, thereby registering its destructor for process exit.
  template <class Build>
  T &get(const char *message, Build build) {
    if (T *const instance = m_instance.load(std::memory_order_acquire)) return *instance;
    return first(message, build);
  }

private:
  template <class Build>
  T &first(const char *message, Build build) {
    for (;;) {
      if (T *const instance = m_instance.load(std::memory_order_acquire)) return *instance;
      if (claim_static_instance(m_builder, message))
        build_claimed(build);
      else
        wait_for_static_instance();
    }
  }

  template <class Build>
  void build_claimed(Build build) {
    try {
      m_instance.store(&build(), std::memory_order_release);
    } catch (...) {
      release_static_instance(m_builder);
      throw;
    }
  }

  std::atomic<T *> m_instance{nullptr};
  unsigned long m_builder = 0; // the first thread to arrive; guarded by getStaticObjectCritical()
};

} // namespace zar
