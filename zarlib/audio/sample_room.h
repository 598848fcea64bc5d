// Room in a sample buffer. Inline, so that a compiler that sees the whole life of a buffer can keep its ends in registers.
#pragma once

#include <stdexcept>
#include <vector>

namespace zar {

/// Throws for a count above 2147483647.
inline void check_sample_count(unsigned count) {
  if (count > 0x7FFFFFFF) throw std::length_error("sample buffer: more than 2147483647 samples");
}

/// Room for `count` samples in all.
template <class Sample>
void reserve_samples(std::vector<Sample> &buffer, int count) {
  check_sample_count(static_cast<unsigned>(count));
  buffer.reserve(static_cast<unsigned>(count));
}

/// Room for `count` samples behind those that are there, filled with zero bytes.
template <class Sample>
void append_mute(std::vector<Sample> &buffer, int count) {
  const auto size = buffer.size();
  const unsigned needed = static_cast<unsigned>(size) + static_cast<unsigned>(count);
  check_sample_count(needed);
  if (needed <= size) return;
  // Settled, callers rely on it: as many samples as before.
  buffer.resize(needed);
  buffer.resize(size);
}

} // namespace zar
