// Capacity of sample buffers. Inline, so that a compiler that sees a buffer's whole life can keep
// its ends in registers.
#pragma once

#include <stdexcept>
#include <vector>

namespace zar {

/// Throws for a count above 2147483647.
inline void check_sample_count(unsigned count) {
  if (count > 0x7FFFFFFF) throw std::length_error("sample buffer: more than 2147483647 samples");
}

/// Reserves capacity for `count` samples in total.
template <class Sample>
void reserve_samples(std::vector<Sample> &buffer, int count) {
  check_sample_count(static_cast<unsigned>(count));
  buffer.reserve(static_cast<unsigned>(count));
}

/// Reserves capacity for `count` samples after the existing ones, and fills it with zero bytes.
template <class Sample>
void append_mute(std::vector<Sample> &buffer, int count) {
  const auto size = buffer.size();
  const unsigned needed = static_cast<unsigned>(size) + static_cast<unsigned>(count);
  check_sample_count(needed);
  if (needed <= size) return;
  // Settled, callers rely on it: the sample count does not change.
  buffer.resize(needed);
  buffer.resize(size);
}

} // namespace zar
