#include "zarlib/net/stream.h"

bool chStream::write(const void *, int) { return false; }

int chStream::read(std::vector<unsigned char> &, int) { return -1; }

bool chStream::isEof() { return false; }

chStream::~chStream() = default;

chSocketStream::~chSocketStream() = default;

bool chSocketStream::connect(const chSocketAddr &, int) { return false; }

void chSocketStream::disconnect() {}
