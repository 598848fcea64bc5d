// The words through which a module calls what it imports.
#pragma once

#include "zarlib/platform/types.h"

namespace zar::platform {

/// What a module may import.
struct imported_function {
  const char *module; ///< its exporter, as import tables have it; without regard to case
  const char *name;
  FARPROC address; ///< null: nothing can be found
};

/// What a run of changes has learned of the rights to pages; only the platform's own sources look inside.
struct page_rights;

/// One run of changes. What the system says of the rights to pages is asked at most once, so a run should be short.
class import_changes {
public:
  import_changes();
  import_changes(const import_changes &) = delete;
  ~import_changes();

  /// Lets a module call `replacement` instead of the function: each word changes in one store, and the page's rights
  /// are what they were before. A module that is there no more, does not import the function or cannot be changed is
  /// left as it is. Nothing is allocated, and nothing of the client runs, between the look at a word and its change.
  /// Any thread may call it.
  ///
  /// Windows: the first entry with the address in the first import table with the exporter's name. Linux: all words of
  /// the global offset table with the address, and those that would be bound to it by their first call.
  ///
  /// @return Whether a call may be under way that binds a word back, so that it is worth doing again after a while.
  bool replace(HINSTANCE module, const imported_function &function, FARPROC replacement);

private:
  page_rights *m_rights = nullptr;
};

} // namespace zar::platform
