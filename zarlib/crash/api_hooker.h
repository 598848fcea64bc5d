// apiHooker: redirects the calls of an imported function, in every module of the process.
//
//   static void *(*real_malloc)(size_t) = std::malloc;
//   static void *counting_malloc(size_t bytes) { ++calls; return real_malloc(bytes); }
//   static apiHooker hook("libc.so.6", "malloc", reinterpret_cast<FARPROC>(counting_malloc),
//                         reinterpret_cast<FARPROC *>(&real_malloc));
//
// A module calls imported functions through pointers that the loader has filled in: the import table on Windows, the
// global offset table on Linux. A hook finds the function's address there and overwrites it with the replacement's, so
// a hooked call costs the same as an imported call. What bypasses these pointers is not hooked: calls inside the module
// that defines the function, addresses taken earlier or looked up by name, initialised pointers in data.
//
// Modules loaded later are hooked by ApplyAfterMoudleLoaded(). Nothing is ever restored.
#pragma once

#include "zarlib/export.h"
#include "zarlib/platform/types.h"

class apiModules;

namespace zar::platform {
class import_changes;
}

/// A hook, usually an object with static storage duration, meant to live until the process exits.
///
///   state      initially if                             becomes
///   applied    the module is loaded and exports the     -
///              function
///   waiting    otherwise                                applied, in the ApplyAfterMoudleLoaded() that finds the module
///
/// Any thread may construct a hook. Other threads may call the function meanwhile: each pointer changes in one atomic
/// store.
class ZAR_API apiHooker {
public:
  /// Hooks the function now, or once its module is loaded, in all modules that were loaded at the first hook or at the
  /// last ApplyAfterMoudleLoaded(). Other modules are hooked in the next one.
  ///
  /// Failures are not reported: what cannot be changed is left alone. If two hooks name one function, each module keeps
  /// the one applied to it first; modules hooked in ApplyAfterMoudleLoaded() get the newest.
  ///
  /// Windows: searches the first of a module's import tables with the exporter's name, and replaces the first entry
  /// that holds the function's address. Linux, where the pointers carry no exporter name: replaces all that hold the
  /// address, and those not yet bound (lazy binding) whose first call would bind them to it. A thread inside that first
  /// call may undo the change, which is unlikely, as such pointers are checked twice. RTLD_DEEPBIND is not seen: a module
  /// that was loaded with it counts as bound like any other. Requires /proc.
  ///
  /// Over a hundred modules it takes one to two milliseconds, most of it to query page protections. A hooked call costs
  /// the same as an imported one.
  ///
  /// @param module       The module that exports the function, as in import tables: "KERNEL32.dll", "libc.so.6". Case
  ///                     is ignored. On Linux a module matches by its file name and by its soname.
  /// @param api          The exported name; on Linux its default version.
  /// @param replacement  A function of the same type.
  /// @param real         Receives the function's address before the first call is redirected; may be null. Not set if
  ///                     the function is not available yet, even if it appears later, so initialise it with a callable
  ///                     value.
  ///
  /// REQUIRES: both texts, which are not copied, and the replacement's module stay valid until the process exits.
  apiHooker(const char *module, const char *api, FARPROC replacement, FARPROC *real);

  apiHooker(const apiHooker &) = delete;
  /// Copies the other hook, including its link in the list of hooks: the hooks between them drop out of the list, or
  /// the list becomes circular and ApplyAfterMoudleLoaded() never returns. Redirects nothing.
  apiHooker &operator=(const apiHooker &other) = default;

  /// Drops all hooks of the process, not just this one, for future modules. What is redirected stays redirected.
  ~apiHooker();

  /// Applies all hooks to the modules loaded since the last call, and waiting hooks whose module is among those to all
  /// modules.
  ///
  /// A module is identified by its address: one loaded where another used to be goes unnoticed. 8192 modules are
  /// remembered; any beyond that are processed again at every call. A module that another thread is still loading may
  /// be found half-initialised and left alone.
  ///
  /// REQUIRES: one thread at a time calls it.
  static void ApplyAfterMoudleLoaded();

private:
  ZAR_LOCAL void ReplaceApi4Module(zar::platform::import_changes &changes, HINSTANCE module,
                                   const char *imported_module, FARPROC real, FARPROC replacement);
  ZAR_LOCAL void ReplaceApi4Modules(zar::platform::import_changes &changes, const apiModules &modules,
                                    const char *imported_module, FARPROC real, FARPROC replacement);
  ZAR_LOCAL void apply_to_new(zar::platform::import_changes &changes, HINSTANCE module);

  const char *m_module;
  const char *m_api;
  FARPROC m_replacement;
  FARPROC m_real = nullptr; // null while waiting
  apiHooker *m_next = nullptr;
};
