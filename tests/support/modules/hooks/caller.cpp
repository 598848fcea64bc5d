// Calls its imports; built in each form of import that linkers offer. Everything in it is exported.
#include <cstdlib>

extern "C" IMPORTED int hook_target(int value);
extern "C" int call_target(int value) { return hook_target(value); }
#ifdef ADDRESS_TOO
extern "C" void *take_address() { return reinterpret_cast<void *>(hook_target); }
#endif

static void *volatile memory;
extern "C" void allocate_thousand_times() {
  for (int i = 0; i < 1000; ++i, std::free(memory)) memory = std::malloc(16);
}

#ifndef _WIN32
extern "C" [[gnu::weak]] int hook_missing(int value);
extern "C" int call_missing(int value) { return hook_missing ? hook_missing(value) : 0; }

// The older of two versions of a C library function.
__asm__(".symver sched_setaffinity,sched_setaffinity@GLIBC_2.3.3");
extern "C" int sched_setaffinity(int process, const unsigned long *processors);
extern "C" int call_old_version(int process) { return sched_setaffinity(process, nullptr); }
#endif
