// The balance of the process heap from the first call to the last static destructor.
#include "zarlib/memory/dymic_alloc.h"

struct last_of_all {
  ~last_of_all() { baseDymicAlloc::dump(); }
} made_first;

int main() {
  baseDymicAlloc().free(baseDymicAlloc().alloc(16));
  baseDymicAlloc::dump();
  static struct outlives_the_counters {
    void *kept = nullptr;
    ~outlives_the_counters() { baseDymicAlloc().free(baseDymicAlloc().realloc(kept, 8)); }
  } made_last;
  made_last.kept = baseDymicAlloc().alloc(8);
}
