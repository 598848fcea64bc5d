// The process-wide lock and the discipline by which every heavy singleton is built.
#pragma once

#include "zarlib/frame/critical_section.h"

#include <atomic>

/// The process-wide lock: it guards the building of singletons, the tables of the process-local objects and the registry of
/// chPointerSnap. It is the lowest lock of the library; hold it for a few instructions, and take no other under it.
ZAR_API chThreadLock<chCriticalSection> &getStaticObjectCritical();

namespace zar {

/// Makes the calling thread the builder if nobody is. A builder that comes again ends the process with the message.
/// @return Whether the caller has to build; otherwise another thread does, or has done so.
bool claim_static_instance(unsigned long &builder, const char *message);

/// One step of waiting for another thread's building.
void wait_for_static_instance();

/// The guard of one singleton, an object of static storage that is zero before the first use.
///
/// The first thread to come builds, holding no lock; other threads wait in steps of 50 ms, without limit; the building thread
/// itself must not come back before it is done: that ends the process with a message, at once, instead of in a deadlock.
/// Pointer and builder are never reset, so after process exit the address of the destroyed object is still handed out.
template <class T>
class static_instance {
public:
  /// @param message  What is written to stderr when the building thread re-enters.
  /// @param build    Returns the function-level static object, and so registers its destructor for process exit.
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
  unsigned long m_builder = 0; // the first thread that came; guarded by getStaticObjectCritical()
};

} // namespace zar
