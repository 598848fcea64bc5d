// A module that takes memory, to be loaded late.
#include <cstdlib>

#ifdef _WIN32
#define EXPORTED __declspec(dllexport)
#else
#define EXPORTED
#endif

extern "C" EXPORTED void allocate_thousand_times() {
  for (int i = 0; i < 1000; ++i) {
    void *volatile memory = std::malloc(16);
    std::free(memory);
  }
}
