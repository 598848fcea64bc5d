// Checks whether its argument is a valid IPv6 text; without one, opens an adapter, whose driver may be missing. Exits
// with 0 for no.
#include "zarlib/net/addresses.h"
#include "zarlib/net/ethernet.h"

int main(int argc, char **argv) { return argc > 1 ? sockIsValidIPv6(argv[1]) : chEthernetSocket().CreateSocket("lo"); }
