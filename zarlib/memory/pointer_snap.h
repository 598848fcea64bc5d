// chPointerSnap: is that object still alive?
#pragma once

#include "zarlib/export.h"

namespace zar {
struct safe_pointer_entry;
}

/// A snapshot of one entry in the process-wide registry of live objects.
///
/// An object registers its address while it lives; whoever keeps a plain pointer keeps a snapshot beside it and asks
/// hasData() before use. The answer is a moment's: another thread may remove the pointer right after it, so a caller
/// that needs more must keep the object alive by other means. Adding, removing and taking a snapshot hold
/// getStaticObjectCritical(); hasData() takes no lock and costs two loads. Entries are reused but never given back, so
/// hasData() is safe at any time; the registry takes as much memory as the most pointers that were ever registered at
/// once, until the process ends.
class ZAR_API chPointerSnap {
public:
  /// Registers p. A pointer that is registered already is left alone: one removal undoes any number of additions.
  /// @return true.
  static bool addSafePointer(const void *p);

  /// Ends the registration of p, if there is one.
  static void removeSafePointer(const void *p);

  /// Takes a snapshot of the entry of p.
  /// REQUIRES: p is registered, and known to stay so during the call. Not tested: with any other pointer the process
  /// faults.
  chPointerSnap(const void *p);

  /// @return Whether the registration that was in force at the snapshot still is. A pointer that was removed and
  ///         registered again, by another object at the same address, is a new registration: false.
  bool hasData() const;

private:
  const zar::safe_pointer_entry *m_pEntry;
  const void *m_pKey;
  int m_nCount;
};
