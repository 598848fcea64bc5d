// What hooks replace.
#ifdef _WIN32
#define EXPORTED __declspec(dllexport)
#else
#define EXPORTED
#endif

extern "C" EXPORTED int hook_target(int value) { return value + 1; }
