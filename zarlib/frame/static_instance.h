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

/// One step of waiting for another thread to finish building.
void wait_for_static_instance();

/// The guard of one singleton; has static storage duration and is zero before first use.
///
/// The first thread to arrive builds, holding no lock; other threads poll every 50 ms, without limit. If the building
/// thread re-enters before it is done, the process ends with a message instead of deadlocking. Pointer and builder are
/// never reset, so after process exit the address of the destroyed object is still returned; and settled, callers rely on
/// it: if `build` throws, other threads poll for ever, and the same thread ends the process as on re-entry.
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
    if (claim_static_instance(m_builder, message)) m_instance.store(&build(), std::memory_order_release);
    for (;;) {
      if (T *const instance = m_instance.load(std::memory_order_acquire)) return *instance;
      wait_for_static_instance();
    }
  }

  std::atomic<T *> m_instance{nullptr};
  unsigned long m_builder = 0; // the first thread to arrive; guarded by getStaticObjectCritical()
};

} // namespace zar
