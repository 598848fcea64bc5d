// The building block of links inside a block.
#pragma once

#include <cstdint>

namespace zar {

/// A link as stored in a block: the target's address minus the word's own address, in 32 bits, 0xFFFFFFFF for null.
///
/// Copying copies the number, so a copy elsewhere has another target. A target one byte before the word (distance -1)
/// is indistinguishable from null.
class self_relative_word {
public:
  static constexpr std::uint32_t null_value = 0xFFFFFFFF;

  constexpr explicit self_relative_word(std::uint32_t value) : m_value(value) {}

  bool is_null() const { return m_value == null_value; }

  void *target() const {
    if (is_null()) return nullptr;
    const auto distance = static_cast<std::intptr_t>(static_cast<std::int32_t>(m_value));
    return reinterpret_cast<void *>(own_address() + static_cast<std::uintptr_t>(distance));
  }

  /// REQUIRES: within_reach(p).
  void set_target(const void *p) { m_value = p ? static_cast<std::uint32_t>(distance_to(p)) : null_value; }

  /// Stores a distance, for targets that cannot be null: saves the test.
  void set_distance(std::uint32_t distance) { m_value = distance; }

  /// Whether the distance fits 32 bits: always on a 32-bit target, within 2 GiB on a 64-bit one.
  bool within_reach(const void *p) const {
    const auto distance = static_cast<std::intptr_t>(distance_to(p));
    return distance == static_cast<std::int32_t>(distance);
  }

private:
  std::uintptr_t own_address() const { return reinterpret_cast<std::uintptr_t>(this); }
  std::uintptr_t distance_to(const void *p) const { return reinterpret_cast<std::uintptr_t>(p) - own_address(); }

  std::uint32_t m_value;
};

static_assert(sizeof(self_relative_word) == 4, "a storage format");

} // namespace zar
