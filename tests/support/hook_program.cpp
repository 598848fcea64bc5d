// Hooks a function that it is linked with, before any call of it: hook_program MODULE CALLER
#include "zarlib/crash/api_hooker.h"
#include "zarlib/text/environment.h"

#include <cstdio>

extern "C" int hook_target(int value);
// Its address is taken, which in a program at a fixed place makes a stub of its own the function's address for
// everybody.
int (*volatile address)(int) = hook_target;

int main(int, char **arguments) {
  chDynamicModule caller(arguments[2]);
  int (*const replacement)(int) = [](int value) { return value + 100; };
  const apiHooker hook(arguments[1], "hook_target", reinterpret_cast<FARPROC>(reinterpret_cast<void *>(replacement)),
                       nullptr);
  apiHooker::ApplyAfterMoudleLoaded();
  std::printf("%d %d\n", hook_target(1), reinterpret_cast<int (*)(int)>(caller.GetMethod("call_target"))(1));
}
