// Shared by kernel_objects_program and its test.
#pragma once

#include "zarlib/frame/kernel_objects.h"
#include "zarlib/frame/process_identity.h"
#include "zarlib/time/ticks.h"

#include <atomic>
#include <string>

/// The content of a mapping; initially zero.
struct ledger {
  std::atomic<int> stop, rounds, faults, generation;
  std::atomic<int> before, after; ///< equal whenever the mutex is free
};

/// One of each under one name, closed together.
struct objects {
  objects(const std::string &name, int size) : bytes(static_cast<char *>(map.OpenMapFile(name, size))) {
    event.OpenEventA(name);
    mutex.OpenMutexA(name);
  }
  ~objects() {
    event.CloseEvent();
    mutex.CloseMutex();
    map.CloseMapFile();
  }
  int created() const { return event.IsCreateByMe() + mutex.IsCreateByMe() + map.IsCreateByMe(); }
  ledger &book() const { return *reinterpret_cast<ledger *>(bytes); }

  chEvent event;
  chMutex mutex;
  chMapFile map;
  char *bytes;
};

template <class Condition>
bool comes_true(Condition condition) {
  for (const chTimeout limit(30000); !limit.IsTimeout(); zarSwitchToThread())
    if (condition()) return true;
  return false;
}
