// Writes numbered lines to a log for ever, and tells each number on standard output once its call has returned.
#include "zarlib/trace/file_trace.h"

#include <cstdio>
#include <cstdlib>

int main(int argc, char **argv) {
  if (argc != 4) return 2;
  chFileTrace trace;
  trace.OpenFileTrace(argv[1], std::atoi(argv[2]), std::atoi(argv[3]));
  char line[64];
  for (int i = 0;; ++i) {
    std::snprintf(line, sizeof line, "line %08d and what it has to say", i);
    trace.WriteLogLine(line);
    std::printf("%d\n", i);
    if (std::fflush(stdout) != 0) return 0;
  }
}
