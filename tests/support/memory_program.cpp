// What only a process of its own shows of the heaps: the balance from the first call to the last destructor, and a pool too full
// to move a block.
#include "zarlib/memory/dymic_alloc.h"
#include "zarlib/memory/pool_alloc.h"

#include <string>

namespace {

void *kept;

struct late {
  bool active = false;
  // Runs last: whatever is made after it is destroyed before it.
  ~late() {
    if (!active) return;
    baseDymicAlloc::dump();
    baseDymicAlloc().free(kept);
  }
} last;

void show_balance() {
  baseDymicAlloc heap;
  heap.free(heap.alloc(16));
  baseDymicAlloc::dump();
  last.active = true;
  static struct early {
    ~early() { kept = baseDymicAlloc().alloc(8); }
  } allocates_at_exit;
}

void overfill_pool() {
  struct {
    alignas(8) char object[8];
    basePoolAlloc pool;
    alignas(4) char bytes[64];
  } block;
  block.pool.init_pool(block.bytes, sizeof block.bytes);
  void *const first = block.pool.alloc(8);
  block.pool.alloc(40);
  block.pool.realloc(first, 16);
}

} // namespace

int main(int, char **arguments) {
  if (arguments[1] == std::string("balance")) show_balance();
  if (arguments[1] == std::string("overfill")) overfill_pool();
}
