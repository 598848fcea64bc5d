#include "zarlib/frame/kernel_objects.h"

#include "zarlib/platform/named_event.h"
#include "zarlib/platform/named_mapping.h"
#include "zarlib/platform/named_mutex.h"
#include "zarlib/platform/thread.h"
#include "zarlib/text/paths.h"
#include "zarlib/trace/console.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <utility>

namespace platform = zar::platform;

// Any thread may compare the owner with its own id; relaxed suffices, as only the holder writes it.
static std::atomic_ref<unsigned long> shared(unsigned long &word) { return std::atomic_ref<unsigned long>(word); }

chEvent::chEvent(const chEvent &) noexcept {}

// Settled, callers rely on it: an event keeps its own handle and never takes another's.
chEvent &chEvent::operator=(const chEvent &) noexcept { return *this; } // NOLINT(bugprone-unhandled-self-assignment)

chEvent::~chEvent() {
  if (m_handle) CloseEvent();
}

int chEvent::OpenEventA(const std::string &name) {
  bool created = false;
  m_handle = platform::open_event("Local\\event_" + pathGetLastPart(name), created);
  m_created = created; // settled, callers rely on it: 1 also when the system refused
  return m_handle != nullptr;
}

void chEvent::CloseEvent() {
  platform::close_event(std::exchange(m_handle, nullptr));
  m_created = 0;
}

void chEvent::DestroyEvent() { CloseEvent(); }

int chEvent::SetEvent() { return platform::set_event(m_handle); }

void chEvent::ResetEvent() { platform::reset_event(m_handle); }

int chEvent::WaitEvent(int milliseconds) { return platform::wait_event(m_handle, milliseconds); }

int chEvent::IsCreateByMe() const { return m_created; }

int chMutex::OpenMutexA(const std::string &name) {
  bool created = false;
  m_handle = platform::open_mutex("Local\\mutex_" + pathGetLastPart(name), created);
  m_created = created; // settled, callers rely on it: 1 also when the system refused
  return m_handle != nullptr;
}

int chMutex::Lock(int milliseconds) {
  const unsigned result = platform::wait_mutex(m_handle, milliseconds);
  if (result == platform::wait_acquired || result == platform::wait_abandoned) {
    shared(m_owner).store(platform::current_thread_id(), std::memory_order_relaxed);
    // Settled, callers rely on it: an abandoned mutex is acquired, yet the answer is 0; IsLockedByThisThread() tells.
    return result == platform::wait_acquired;
  }
  zarOutputWarningString("Lock Mutex fail for %s [%d:%d] %x", std::strerror(errno),
                         static_cast<int>(platform::current_process_id()),
                         static_cast<int>(platform::current_thread_id()), result);
  return 0;
}

void chMutex::Unlock() {
  if (shared(m_owner).load(std::memory_order_relaxed) == 0) {
    zarOutputWarningString("Try to unlock a NOLOCKED Mutex.");
    return;
  }
  shared(m_owner).store(0, std::memory_order_relaxed);
  platform::release_mutex(m_handle);
}

int chMutex::IsLockedByThisThread() const {
  return shared(m_owner).load(std::memory_order_relaxed) == platform::current_thread_id();
}

int chMutex::IsCreateByMe() const { return m_created; }

// Settled, callers rely on it: closing does not reset the owner.
void chMutex::CloseMutex() {
  platform::close_mutex(std::exchange(m_handle, nullptr));
  m_created = 0;
}

void chMutex::DestroyMutex() { CloseMutex(); }

void *chMapFile::OpenMapFile(const std::string &name) { return OpenMapFile(name, -1); }

void *chMapFile::OpenMapFile(const std::string &name, int size) {
  const std::string full_name = "Local\\mapfile_" + pathGetLastPart(name);
  bool created = false;
  // A negative number read as unsigned is a size no system can provide, so all of them only open, like -1.
  m_handle = size < 0 ? platform::open_mapping(full_name)
                      : platform::create_mapping(full_name, static_cast<unsigned>(size), created);
  m_created = created;
  m_view = m_handle ? platform::map_view(m_handle) : nullptr;
  return m_view;
}

void chMapFile::CloseMapFile() {
  if (m_view) platform::unmap_view(std::exchange(m_view, nullptr));
  if (m_handle) platform::close_mapping(std::exchange(m_handle, nullptr));
}

void chMapFile::DestroyMapFile() { CloseMapFile(); }

void *chMapFile::getData() const { return m_view; }

int chMapFile::IsCreateByMe() const { return m_created; }

void chMapFile::Flush() {}
