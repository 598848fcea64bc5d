// chPointerSnap: is that object still alive?
#pragma once

#include "zarlib/export.h"

namespace zar {
struct safe_pointer_entry;
}

/// A snapshot of one entry in the process-wide registry of live objects.
///
/// An object registers its address while it lives; whoever keeps a plain pointer keeps a snapshot beside it and asks
/// hasData() before use. The answer holds only for that moment: another thread may remove the pointer right after it,
/// so a caller that needs more must keep the object alive by other means. Adding, removing and taking a snapshot hold
/// getStaticObjectCritical(); hasData() is lock-free and costs two loads. Entries are reused but never freed, so
/// hasData() is safe at any time; until the process ends the registry keeps the memory of the largest number of
/// pointers ever registered at once.
class ZAR_API chPointerSnap {
public:
  /// Registers p. A pointer already registered is left alone: one removal undoes any number of additions.
  /// @return true.
  static bool addSafePointer(const void *p);

  /// Unregisters p; does nothing if it is not registered.
  static void removeSafePointer(const void *p);

  /// Takes a snapshot of the entry of p.
  /// REQUIRES: p is registered, and known to stay so during the call. Not checked: with any other
  /// pointer the process faults.
  chPointerSnap(const void *p);

  /// @return Whether the registration in force at the snapshot still is. A pointer removed and registered again, by
  ///         another object at the same address, is a new registration: false.
  bool hasData() const;

private:
  const zar::safe_pointer_entry *m_pEntry;
  const void *m_pKey;
  int m_nCount;
};
