// Opens an adapter, where the driver may be missing; answers with 0 when it is refused.
#include "zarlib/net/ethernet.h"

int main() { return chEthernetSocket().CreateSocket("lo"); }
