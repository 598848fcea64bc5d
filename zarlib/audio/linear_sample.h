// A value of a signal as a 16-bit sample.
#pragma once

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zar {

/// The product of `value` and 32767.0, as a double holds it, cut towards zero to 32 bits; of these the low 16. Products
/// beyond 32 bits and NaNs give 0.
inline short linear_sample(double value) {
#if defined(__SSE2__)
  // What the instruction gives for a product that it cannot convert is 0x80000000, whose low half is the 0 that is wanted.
  return static_cast<short>(_mm_cvttsd_si32(_mm_mul_sd(_mm_set_sd(value), _mm_set_sd(32767.0))));
#else
  volatile double stored = value * 32767.0; // calculated perhaps in a wider word
  const double product = stored;
  return product > -2147483648.0 && product < 2147483648.0 ? static_cast<short>(static_cast<int>(product)) : short{0};
#endif
}

} // namespace zar
