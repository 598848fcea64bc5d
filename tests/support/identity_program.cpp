// Prints the id of a second thread and stays until it is killed.
#include "zarlib/frame/process_identity.h"

#include <cstdio>
#include <thread>

int main() {
  std::thread([] {
    std::printf("%lu\n", zarGetCurrentThreadId());
    std::fflush(stdout);
    for (;;) zarDelay(1000);
  }).join();
}
