// A module with one function, to be loaded late and found in stacks.
#ifdef _WIN32
#define EXPORTED __declspec(dllexport)
#else
#define EXPORTED
#endif

extern "C" EXPORTED int call_from_late_module(int (*function)(void *), void *argument) {
  return function(argument) + 1;
}
