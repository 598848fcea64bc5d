#include "zarlib/memory/polymorphic_frame.h"

#include "zarlib/companion/morfile.h"

template class ZAR_API polymorphic_frame<chFileStdio>;
