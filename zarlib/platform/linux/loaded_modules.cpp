#include "zarlib/platform/loaded_modules.h"

#include "zarlib/platform/application_paths.h"
#include "zarlib/platform/linux/elf_module.h"

#include <cstring>
#include <string>

namespace zar::platform {

namespace {

/// Compares a name with those of modules. The program has no path in the loader's list, so its path is read beforehand,
/// outside any visit.
class name_test {
public:
  explicit name_test(const char *name) : m_name(name), m_program(executable_path()) {}

  bool fits(const elf_module &module) const {
    const char *const path = *module.path() ? module.path() : m_program.c_str();
    const char *const slash = std::strrchr(path, '/');
    if (is_same_module_name(slash ? slash + 1 : path, m_name)) return true;
    const char *const own = module.own_name();
    return own && is_same_module_name(own, m_name);
  }

private:
  const char *const m_name;
  const std::string m_program;
};

HINSTANCE handle_of(const elf_module &module) { return reinterpret_cast<HINSTANCE>(module.pages().start); }

} // namespace

int list_loaded_modules(HINSTANCE *modules, int capacity) {
  int count = 0;
  visit_modules([&](const elf_module &module) {
    if (count < capacity) modules[count++] = handle_of(module);
    return count == capacity;
  });
  return count;
}

HINSTANCE find_loaded_module(const char *name) {
  const name_test test(name);
  HINSTANCE result = nullptr;
  visit_modules([&](const elf_module &module) {
    if (test.fits(module)) result = handle_of(module);
    return result != nullptr;
  });
  return result;
}

bool is_module_named(HINSTANCE module, const char *name) {
  const name_test test(name);
  bool result = false;
  visit_module(module, [&](const elf_module &found) { result = test.fits(found); });
  return result;
}

FARPROC find_exported_function(HINSTANCE module, const char *name) {
  return reinterpret_cast<FARPROC>(find_own_symbol(module, name, ""));
}

} // namespace zar::platform
