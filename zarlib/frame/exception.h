// chException.
#pragma once

#include "zarlib/export.h"

#include <cstdint>

/// A one-word value, initially zero: a base for what clients throw. The library itself throws none.
class ZAR_API chException {
public:
  chException();
  chException(const chException &) = default;
  ~chException();
  chException &operator=(const chException &other);

protected:
  std::uintptr_t m_word;
};
