// Writes numbered lines to a log for ever, and prints each on standard output once its call has returned.
#include "zarlib/trace/file_trace.h"

#include <cstdio>

int main(int, char **argv) {
  chFileTrace trace;
  trace.OpenFileTrace(argv[1], 1, 3);
  for (int i = 1000000; std::fflush(stdout) == 0; ++i) {
    const std::string line = "line " + std::to_string(i) + " and what it has to say";
    trace.WriteLogLine(line);
    std::puts(line.c_str());
  }
}
