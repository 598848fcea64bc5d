// Says "asking", then whether its argument is a valid IPv6 text.
#include "zarlib/net/addresses.h"

#include <cstdio>

int main(int, char **argv) {
  std::puts("asking");
  std::fflush(stdout);
  std::puts(sockIsValidIPv6(argv[1]) ? "yes" : "no");
}
