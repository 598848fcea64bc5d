// Hooks a function that it is linked with, before any call: hook_program MODULE CALLER
#include "zarlib/crash/api_hooker.h"
#include "zarlib/text/environment.h"

#include <cstdio>

extern "C" int hook_target(int value);
// Taking the address makes, in a non-PIE program, the program's own PLT stub the function's canonical address in all
// modules.
int (*volatile address)(int) = hook_target;

int main(int, char **arguments) {
  chDynamicModule caller(arguments[2]);
  int (*const replacement)(int) = [](int value) { return value + 100; };
  const apiHooker hook(arguments[1], "hook_target", reinterpret_cast<FARPROC>(reinterpret_cast<void *>(replacement)),
                       nullptr);
  const apiHooker too_late(arguments[1], "hook_target", nullptr, nullptr);
  std::printf("%d %d\n", hook_target(1), reinterpret_cast<int (*)(int)>(caller.GetMethod("call_target"))(1));
}
