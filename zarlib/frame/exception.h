// chException.
#pragma once

#include "zarlib/export.h"

#include <cstdint>

/// A value of one word, zero at first, without further operations: a base for what clients throw. The library throws none.
class ZAR_API chException {
public:
  chException();
  chException(const chException &) = default;
  ~chException();
  chException &operator=(const chException &other);

protected:
  std::uintptr_t m_word;
};
