// The words through which a module calls its imports.
#pragma once

#include "zarlib/platform/types.h"

namespace zar::platform {

/// A function that a module may import.
struct imported_function {
  const char *module; ///< the exporting module as named in import tables; not case-sensitive
  const char *name;
  FARPROC address; ///< null: nothing will be found
};

/// The page permissions learned during a run of changes; opaque outside the platform's own sources.
struct page_rights;

/// One run of changes. The system is asked for page permissions at most once, so keep a run short.
class import_changes {
public:
  import_changes();
  import_changes(const import_changes &) = delete;
  ~import_changes();

  /// Redirects a module's calls of the function to `replacement`: each word changes in one store, and the page
  /// permissions are restored. A module that is no longer loaded, does not import the function or cannot be
  /// changed is left as it is. Between reading a word and changing it nothing is allocated and no client code
  /// runs. Any thread may call it.
  ///
  /// Windows: the first entry with the address in the first import table with the exporter's name. Linux: all words of
  /// the global offset table with the address, and those that their first call would bind to it.
  ///
  /// @return Whether a call in progress may still bind a word back, so that repeating this after a while is worthwhile.
  bool replace(HINSTANCE module, const imported_function &function, FARPROC replacement);

private:
  page_rights *m_rights = nullptr;
};

} // namespace zar::platform
