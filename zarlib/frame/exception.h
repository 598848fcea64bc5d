// chException.
#pragma once

#include "zarlib/export.h"

#include <cstdint>

/// A value of one word without further operations, kept for the callers that derive from it or pass it on.
class ZAR_API chException {
public:
  chException() = default;

private:
  std::uintptr_t m_word = 0;
};
