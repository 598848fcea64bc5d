#include "zarlib/text/environment.h"

#include "zarlib/companion/qxstl.h"
#include "zarlib/frame/static_instance.h"
#include "zarlib/platform/application_paths.h"
#include "zarlib/platform/keyboard.h"
#include "zarlib/platform/last_error.h"
#include "zarlib/platform/modules.h"
#include "zarlib/platform/processes.h"
#include "zarlib/text/conversions.h"
#include "zarlib/text/document_path.h"
#include "zarlib/text/paths.h"

#include <cstdlib>
#include <mutex>

namespace {

std::string variable(const char *name) {
  const char *const value = std::getenv(name);
  return value ? qx::string_ascii_to_utf8(value, "") : std::string();
}

std::string with_slashes(std::string path) {
  qx::string_replace(path, "\\", "/");
  return path;
}

std::string find_root() {
  std::string root = variable("APP_ROOT");
  if (root.empty()) root = pathRemoveLastPart(pathRemoveLastPart(zarGetExeFileName()));
  return with_slashes(root.c_str());
}

/// The document path. A faulting thread also asks for it: the lock is held only to copy or swap a pointer, with no
/// allocation and no copying of text.
class document_path_keeper {
public:
  std::shared_ptr<const std::string> get() {
    const std::lock_guard<std::mutex> hold(m_lock);
    return m_text;
  }

  /// The old text is freed with the parameter, after the lock is released.
  void set(std::shared_ptr<const std::string> text) {
    const std::lock_guard<std::mutex> hold(m_lock);
    m_text.swap(text);
  }

  /// Never destroyed: usable during static construction and at exit.
  static document_path_keeper &instance() {
    static document_path_keeper &path = *new document_path_keeper;
    return path;
  }

private:
  std::mutex m_lock;
  std::shared_ptr<const std::string> m_text = std::make_shared<std::string>();
};

zar::static_instance<const std::string> root_path;

int translated(int key) {
  if (key == 13) return 10;
  if ((key >= 33 && key <= 40) || key == 45 || key == 46 || (key >= 112 && key <= 123)) return 0xFF00 + key;
  if (key >= 96 && key <= 105) return '0' + key - 96;
  if (key >= 106 && key <= 111 && key != 108) return '*' + key - 106;
  return key;
}

} // namespace

const std::string &appRootPath() {
  return root_path.get("[E:] re-enter static instance of RootPath", []() -> const std::string & {
    // Never destroyed: code that runs at exit may still hold the reference.
    static const std::string &root = *new std::string(find_root());
    return root;
  });
}

std::string zarGetAppRootPath() { return appRootPath(); }

std::shared_ptr<const std::string> zar::document_path() { return document_path_keeper::instance().get(); }

std::string zarGetAppDocPath() { return *zar::document_path(); }

std::string zarGetAppDataRootPath() { return zarGetAppDocPath(); }

void zarSetAppDocPath(const std::string &path) {
  document_path_keeper::instance().set(std::make_shared<std::string>(with_slashes(path)));
}

std::string zarGetExeFileName() { return zar::platform::executable_path(); }

std::string zarGetHomeDirectory() {
  const std::string path = variable("USERPROFILE");
  return path.empty() ? zar::platform::default_home_directory() : path;
}

std::string zarGetTempDirectory() {
  const std::string path = variable("Temp");
  return path.empty() ? zar::platform::default_temporary_directory() : path;
}

std::string zarGetCurrentDirectory() { return zar::platform::current_directory(); }

bool KillProcessAppByName(std::string name) {
  if (name.empty()) return false; // a process that is just starting has an empty name
  name = String2Lower(name);
  const auto processes = zar::platform::list_processes();
  // Settled, callers rely on it: the first entry, the system's own, is never compared.
  for (size_t i = 1; i < processes.size(); ++i) {
    if (String2Lower(processes[i].name) != name) continue;
    zar::platform::kill_process(processes[i].id);
    return true;
  }
  return false;
}

unsigned zarGetLastError() { return zar::platform::last_error(); }

std::string zarTransLastError() {
  const zar::platform::last_error_keeper keep;
  std::string text = zar::platform::error_text(zar::platform::last_error());
  qx::trim_right(text, " \t");
  return text;
}

chDynamicModule::chDynamicModule() : m_hModule(nullptr) {}

chDynamicModule::chDynamicModule(const std::string &file) : m_hModule(zar::platform::load_module(file)) {}

chDynamicModule::~chDynamicModule() { CloseDynamicModule(); }

int chDynamicModule::OpenDynamicModule(const std::string &file) {
  CloseDynamicModule();
  m_hModule = zar::platform::load_module(file);
  return m_hModule != nullptr;
}

void chDynamicModule::CloseDynamicModule() {
  if (m_hModule) zar::platform::unload_module(m_hModule);
  m_hModule = nullptr;
}

void *chDynamicModule::GetMethod(const std::string &name) {
  return m_hModule ? zar::platform::find_symbol(m_hModule, name) : nullptr;
}

chStdInput::chStdInput() : m_keyboard(new zar::platform::keyboard) {}

chStdInput::~chStdInput() = default;

int chStdInput::getch() { return translated(m_keyboard->next_key()); }
