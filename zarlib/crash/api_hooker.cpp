#include "zarlib/crash/api_hooker.h"

#include "zarlib/crash/api_modules.h"
#include "zarlib/frame/static_instance.h"
#include "zarlib/platform/import_slots.h"
#include "zarlib/platform/loaded_modules.h"

namespace {

using chThreadCritical = chThreadLock<chCriticalSection>;

constinit zar::static_instance<apiModules> seen_modules;
constinit zar::static_instance<chThreadCritical> list_lock;

/// The list of hooks, newest first.
constinit std::atomic<apiHooker *> newest{nullptr};

chThreadCritical &get_list_lock() {
  return list_lock.get("[E:] re-enter static instance of chThreadCritical", []() -> chThreadCritical & {
    static chThreadCritical lock;
    return lock;
  });
}

} // namespace

apiModules &apiModules::getInstance() {
  return seen_modules.get("[E:] re-enter static instance of apiModules", []() -> apiModules & {
    static apiModules modules(zar::platform::list_loaded_modules);
    return modules;
  });
}

apiHooker::apiHooker(const char *module, const char *api, FARPROC replacement, FARPROC *real)
    : m_module(module), m_api(api), m_replacement(replacement) {
  // Before any query to the loader, so that a module loaded later counts as new.
  apiModules &seen = apiModules::getInstance();
  // Query the loader outside the list lock: a thread that loads a module with a hook in it holds the loader lock and
  // waits for the list lock.
  if (const HINSTANCE found = zar::platform::find_loaded_module(module))
    m_real = zar::platform::find_exported_function(found, api);
  const FARPROC resolved = m_real; // ApplyAfterMoudleLoaded() may resolve a hook in the list at any time
  if (resolved && real) *real = resolved;

  // Enter the list first: a module loaded from here on is either processed below or finds the hook in the list.
  get_list_lock().Lock();
  m_next = newest.load(std::memory_order_relaxed);
  newest.store(this);
  get_list_lock().Unlock();

  if (!resolved) return;
  zar::platform::import_changes changes;
  ReplaceApi4Modules(changes, seen, m_module, resolved, m_replacement);
}

// Settled, callers rely on it: destroying one hook drops them all, and what is redirected stays redirected.
apiHooker::~apiHooker() { newest.store(nullptr, std::memory_order_release); }

void apiHooker::ReplaceApi4Module(zar::platform::import_changes &changes, HINSTANCE module, const char *imported_module,
                                  FARPROC real, FARPROC replacement) {
  changes.replace(module, {imported_module, m_api, real}, replacement);
}

void apiHooker::ReplaceApi4Modules(zar::platform::import_changes &changes, const apiModules &modules,
                                   const char *imported_module, FARPROC real, FARPROC replacement) {
  bool again = false;
  for (const HINSTANCE module : modules)
    if (changes.replace(module, {imported_module, m_api, real}, replacement)) again = true;
  if (!again) return;
  for (const HINSTANCE module : modules) ReplaceApi4Module(changes, module, imported_module, real, replacement);
}

void apiHooker::apply_to_new(zar::platform::import_changes &changes, HINSTANCE module) {
  if (!m_real && zar::platform::is_module_named(module, m_module)) {
    // Settled, callers rely on it: the variable that should receive the address is not set any more.
    m_real = zar::platform::find_exported_function(module, m_api);
    if (m_real) ReplaceApi4Modules(changes, apiModules::getInstance(), m_module, m_real, m_replacement);
  }
  ReplaceApi4Module(changes, module, m_module, m_real, m_replacement);
}

void apiHooker::ApplyAfterMoudleLoaded() {
  HINSTANCE loaded[apiModules::capacity];
  const int count = zar::platform::list_loaded_modules(loaded, apiModules::capacity);
  if (count == 0) return;
  apiModules &seen = apiModules::getInstance();
  zar::platform::import_changes changes;
  for (int i = 0; i < count; ++i) {
    // Settled, callers rely on it: a module at the address of an unloaded one is taken for that one.
    if (seen.contains(loaded[i])) continue;
    // First, so that a hook that is constructed meanwhile either finds it there or is met in the list.
    seen.append(loaded[i]);
    for (apiHooker *hook = newest.load(); hook; hook = hook->m_next) hook->apply_to_new(changes, loaded[i]);
  }
}
