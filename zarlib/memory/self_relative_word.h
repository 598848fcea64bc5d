// The word that links inside a block are made of.
#pragma once

#include <cstdint>

namespace zar {

/// A link as stored in a block: the target's address less the word's own address, in 32 bits, 0xFFFFFFFF for null.
///
/// Copying copies the number, so a copy at another place has another target. A target right before the word (distance -1)
/// cannot be told from null.
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

  /// A target beyond 32 bits, which no block has, becomes null rather than some other address.
  void set_target(const void *p) {
    const std::uintptr_t distance = reinterpret_cast<std::uintptr_t>(p) - own_address();
    m_value = p && fits(distance) ? static_cast<std::uint32_t>(distance) : null_value;
  }

private:
  std::uintptr_t own_address() const { return reinterpret_cast<std::uintptr_t>(this); }

  static bool fits(std::uintptr_t distance) {
    return static_cast<std::uintptr_t>(static_cast<std::intptr_t>(static_cast<std::int32_t>(distance))) == distance;
  }

  std::uint32_t m_value;
};

static_assert(sizeof(self_relative_word) == 4, "a storage format");

} // namespace zar
