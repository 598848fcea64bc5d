// Sample buffers of telephone audio: aLawSample and uLawSample (ITU-T G.711), pcm16Sample (16-bit linear).
//
// A caller computes a signal as doubles from -1.0 to 1.0; these classes scale, compress and store it. They
// are values: copying copies the samples, moving takes them and leaves the source empty. One object belongs
// to one thread at a time.
//
// Scaling: a value is multiplied by 32767.0 and truncated towards zero to 32 bits, of which the low 16 are the sample.
// There is no clipping: a value beyond 1.0 wraps around, and one beyond 32 bits, or a NaN, gives 0.
//
// The codes are those of G.711 except for 128 negative samples in each law, settled: a sample at the edge of a step
// (-16, -32, ... in A-law; -4, -12, ... in mu-law) falls one step farther from zero, and -32768, which only values
// below -1.0 give, has the code of the smallest negative sample (0x55 and 0x7F).
//
// Appending is one look-up in a 64 KiB table per law. It does not allocate while the samples fit the capacity reserved
// by AllocSampleBuffer().
// AllocSampleBuffer() has reserved.
#pragma once

#include "zarlib/audio/linear_sample.h"
#include "zarlib/audio/sample_room.h"
#include "zarlib/export.h"

#include <utility>
#include <vector>

/// G.711 A-law, one byte per sample.
class ZAR_API aLawSample {
public:
  aLawSample() = default;
  aLawSample(const aLawSample &) = default;
  aLawSample(aLawSample &&other) noexcept : m_Buffer(std::exchange(other.m_Buffer, {})) {}
  aLawSample &operator=(const aLawSample &) = default;
  aLawSample &operator=(aLawSample &&other) noexcept {
    m_Buffer = std::exchange(other.m_Buffer, {});
    return *this;
  }

  /// Reserves capacity for `count` samples in total; does nothing when it is already there. Throws std::length_error
  /// for a negative count.
  void AllocSampleBuffer(int count) { zar::reserve_samples(m_Buffer, count); }

  /// Appends one sample: 0xD5 for 0.0, 0xAA for 1.0, 0x2A for -1.0.
  void AppendSample(double value) {
    const unsigned char code = s_codes[static_cast<unsigned short>(zar::linear_sample(value))];
    m_Buffer.push_back(code);
  }

  /// Reserves capacity for `count` more samples and fills it with zero bytes. Settled: the content does not grow, the
  /// next AppendSample() overwrites the zeros, and a zero byte is not silence (0xD5); to append silence, append 0.0.
  /// Throws std::length_error when the sum is above 2147483647, or negative.
  void AppendMuteSample(int count) { zar::append_mute(m_Buffer, count); }

  /// Removes all samples; the capacity stays reserved.
  void Clear() { m_Buffer.clear(); }

  /// @return The size of the samples in bytes.
  int GetBufferSize() const { return static_cast<int>(m_Buffer.size()); }

  /// The samples, valid until the next change.
  const std::vector<unsigned char> &buffer() const { return m_Buffer; }

private:
  static const unsigned char *const s_codes; ///< indexed by the sample's 16 bits

  std::vector<unsigned char> m_Buffer;
};

/// G.711 mu-law, one byte per sample; like aLawSample unless stated otherwise.
class ZAR_API uLawSample {
public:
  uLawSample() = default;
  uLawSample(const uLawSample &) = default;
  uLawSample(uLawSample &&other) noexcept : m_Buffer(std::exchange(other.m_Buffer, {})) {}
  uLawSample &operator=(const uLawSample &) = default;
  uLawSample &operator=(uLawSample &&other) noexcept {
    m_Buffer = std::exchange(other.m_Buffer, {});
    return *this;
  }

  void AllocSampleBuffer(int count) { zar::reserve_samples(m_Buffer, count); }

  /// Appends one sample: 0xFF for 0.0, 0x80 for 1.0, 0x00 for -1.0.
  void AppendSample(double value) {
    const unsigned char code = s_codes[static_cast<unsigned short>(zar::linear_sample(value))];
    m_Buffer.push_back(code);
  }

  /// Settled as in aLawSample: the content does not grow, and a zero byte is full scale, not silence (0xFF).
  void AppendMuteSample(int count) { zar::append_mute(m_Buffer, count); }

  void Clear() { m_Buffer.clear(); }
  int GetBufferSize() const { return static_cast<int>(m_Buffer.size()); }
  const std::vector<unsigned char> &buffer() const { return m_Buffer; }

private:
  static const unsigned char *const s_codes;

  std::vector<unsigned char> m_Buffer;
};

/// 16-bit linear samples in native byte order; like aLawSample unless stated otherwise.
class ZAR_API pcm16Sample {
public:
  pcm16Sample() = default;
  pcm16Sample(const pcm16Sample &) = default;
  pcm16Sample(pcm16Sample &&other) noexcept : m_Buffer(std::exchange(other.m_Buffer, {})) {}
  pcm16Sample &operator=(const pcm16Sample &) = default;
  pcm16Sample &operator=(pcm16Sample &&other) noexcept {
    m_Buffer = std::exchange(other.m_Buffer, {});
    return *this;
  }

  void AllocSampleBuffer(int count) { zar::reserve_samples(m_Buffer, count); }

  /// Appends one sample, truncated and not rounded: 16383 for 0.5, -32767 for -1.0.
  void AppendSample(double value) { m_Buffer.push_back(zar::linear_sample(value)); }

  /// Settled as in aLawSample: the content does not grow.
  void AppendMuteSample(int count) { zar::append_mute(m_Buffer, count); }

  void Clear() { m_Buffer.clear(); }

  /// @return The size of the samples in bytes, twice their count.
  int GetBufferSize() const { return static_cast<int>(m_Buffer.size() * sizeof(short)); }

  const std::vector<short> &buffer() const { return m_Buffer; }

private:
  std::vector<short> m_Buffer;
};
