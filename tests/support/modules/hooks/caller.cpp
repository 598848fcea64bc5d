// Calls what it imports; built in each of the forms in which linkers make that possible.
#if defined(OWN_TARGET)
#define IMPORTED
extern "C" int hook_target(int value) { return value + 2; }
#elif defined(_WIN32) && !defined(BY_STUB)
#define IMPORTED __declspec(dllimport)
#else
#define IMPORTED
#endif
#ifdef _WIN32
#define EXPORTED __declspec(dllexport)
#else
#define EXPORTED
#endif

extern "C" IMPORTED int hook_target(int value);

extern "C" EXPORTED int call_target(int value) { return hook_target(value); }

#ifdef ADDRESS_TOO
extern "C" EXPORTED void *take_address() { return reinterpret_cast<void *>(hook_target); }
#endif

#ifndef _WIN32
extern "C" [[gnu::weak]] int hook_missing(int value);
extern "C" int call_missing() { return hook_missing ? hook_missing(1) : -1; }

// The oldest version of a function of which the C library has two.
__asm__(".symver sched_setaffinity,sched_setaffinity@GLIBC_2.3.3");
extern "C" int sched_setaffinity(int process, const unsigned long *processors);
extern "C" int call_old_version() { return sched_setaffinity(0, nullptr); }
#endif
