// apiHooker: sends the calls of an imported function elsewhere, in every module of the process.
//
//   static void *(*real_malloc)(size_t) = std::malloc;
//   static void *counting_malloc(size_t bytes) { ++calls; return real_malloc(bytes); }
//   static apiHooker hook("libc.so.6", "malloc", reinterpret_cast<FARPROC>(counting_malloc),
//                         reinterpret_cast<FARPROC *>(&real_malloc));
//
// A module calls what it imports through words that its loader has filled: the import table on Windows, the global
// offset table on Linux. A hook looks for the function's address there and puts that of the replacement in its place,
// so a hooked call costs what an imported call costs. What does not go through such a word is not hooked: calls inside
// the module that defines the function, addresses taken before or asked for by name, initialised pointers in data.
//
// Modules that are loaded later are hooked by ApplyAfterMoudleLoaded(). Nothing is ever put back.
#pragma once

#include "zarlib/export.h"
#include "zarlib/platform/types.h"

class apiModules;

namespace zar::platform {
class import_changes;
}

/// A hook, usually an object of static storage, meant to live until the process exits.
///
///   state      begins                                   becomes
///   applied    the module is loaded and exports the     -
///              function
///   waiting    otherwise                                applied, in the ApplyAfterMoudleLoaded() that finds the module
///
/// Constructing a hook is open to any thread. Other threads may call the function meanwhile: the word changes in one
/// store.
class ZAR_API apiHooker {
public:
  /// Hooks the function now, or when its module is there, in all modules that were loaded at the first hook or at the
  /// last ApplyAfterMoudleLoaded(). Others wait for the next one.
  ///
  /// Failures are not reported: what cannot be changed stays as it is. Where two hooks name one function, each module
  /// keeps the one that came first to it; those hooked in ApplyAfterMoudleLoaded() get the newest.
  ///
  /// Windows: looks in the first of a module's import tables that bears the exporter's name, and replaces the first
  /// entry with the function's address. Linux, where words bear no such name: replaces all words that hold the address
  /// or, still waiting for their first call, would get it then. A thread that is inside that first call at the moment
  /// may bind its word back, which is unlikely, as such words are looked at twice. It needs /proc.
  ///
  /// Over a hundred modules it takes one to two milliseconds, most of it for what the system says of pages. A hooked
  /// call costs what an imported one costs.
  ///
  /// @param module       The module that exports the function, as import tables have it: "KERNEL32.dll", "libc.so.6".
  ///                     Case does not matter. Linux knows a module by its file's name and by the name that it gives
  ///                     itself.
  /// @param api          The exported name. On Linux its default version.
  /// @param replacement  A function of the same type.
  /// @param real         Receives the function's address before the first call is redirected; null for no interest.
  ///                     Untouched if the function is not there yet, even if it comes later, so start with a value that
  ///                     can be called.
  ///
  /// REQUIRES: both texts, which are not copied, and the module of the replacement stay where they are until the
  /// process exits.
  apiHooker(const char *module, const char *api, FARPROC replacement, FARPROC *real);

  apiHooker(const apiHooker &) = delete;
  /// Makes this hook the same as the other, its place in the list of hooks included: the hooks between them leave the
  /// list, or the list becomes a circle in which ApplyAfterMoudleLoaded() does not end. Redirects nothing.
  apiHooker &operator=(const apiHooker &other) = default;

  /// Forgets all hooks of the process, not just this one, for modules to come. What is redirected stays so.
  ~apiHooker();

  /// Applies all hooks to the modules that have appeared since the last call, and the waiting hooks among them to all
  /// modules.
  ///
  /// A module is known by its address: one that is loaded where another was before is not noticed. 8192 modules are
  /// remembered; those beyond are gone through at every call. A module that another thread is just loading may be met
  /// half-finished and left alone.
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
  FARPROC m_real = nullptr; // null: waiting
  apiHooker *m_next = nullptr;
};
