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

// The oldest version of a function of which the C library has several.
__asm__(".symver realpath,realpath@GLIBC_2.2.5");
extern "C" char *realpath(const char *path, char *resolved);
extern "C" char *call_old_version(const char *path) { return realpath(path, nullptr); }
#endif
