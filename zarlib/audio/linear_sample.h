// Conversion of a signal value to a 16-bit sample.
#pragma once

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zar {

/// `value` * 32767.0, rounded to double, truncated towards zero to 32 bits, of which the low 16 are returned. Products
/// beyond 32 bits and NaNs give 0.
inline short linear_sample(double value) {
#if defined(__SSE2__)
  // For a product that it cannot convert the instruction gives 0x80000000, whose low half is the desired 0.
  return static_cast<short>(_mm_cvttsd_si32(_mm_mul_sd(_mm_set_sd(value), _mm_set_sd(32767.0))));
#else
  volatile double stored = value * 32767.0; // forces rounding to double where registers are wider
  const double product = stored;
  return product > -2147483648.0 && product < 2147483648.0 ? static_cast<short>(static_cast<int>(product)) : short{0};
#endif
}

} // namespace zar
