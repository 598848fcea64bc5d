#include "zarlib/memory/dymic_alloc.h"

#include "zarlib/frame/static_instance.h"
#include "zarlib/memory/dymic_alloc_helper.h"
#include "zarlib/trace/console.h"

#include <cstdlib>

static zar::static_instance<dymicAllocHelper> the_helper;

dymicAllocHelper &dymicAllocHelper::getInstance() {
  return the_helper.get("[E:] re-enter static instance of dymicAllocHelper", []() -> dymicAllocHelper & {
    static dymicAllocHelper helper;
    return helper;
  });
}

baseDymicAlloc::baseDymicAlloc() { dymicAllocHelper::getInstance(); }

void *baseDymicAlloc::alloc(int bytes) {
  void *const block = std::realloc(nullptr, static_cast<size_t>(bytes));
  dymicAllocHelper::getInstance().count_allocation();
  return block;
}

void baseDymicAlloc::free(void *p) {
  std::free(p);
  dymicAllocHelper::getInstance().count_free();
}

void *baseDymicAlloc::realloc(void *p, int bytes) {
  dymicAllocHelper &helper = dymicAllocHelper::getInstance();
  if (p) helper.count_free();
  void *const block = std::realloc(p, static_cast<size_t>(bytes));
  helper.count_allocation();
  return block;
}

void baseDymicAlloc::dump() {
  const dymicAllocHelper &helper = dymicAllocHelper::getInstance();
  const int allocations = helper.allocations(), frees = helper.frees();
  const auto leak = static_cast<unsigned>(allocations) - static_cast<unsigned>(frees);
  consolePrintf(true, "memory alloc(%d) and free(%d) leak(%d)", allocations, frees, static_cast<int>(leak));
}

void wDumpTask() {}
