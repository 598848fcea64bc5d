// 32-bit arithmetic that wraps instead of overflowing.
#pragma once

namespace zar {

constexpr int wrapping_add(int a, int b) {
  return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
}
constexpr int wrapping_subtract(int a, int b) {
  return static_cast<int>(static_cast<unsigned>(a) - static_cast<unsigned>(b));
}
constexpr int wrapping_multiply(int a, int b) {
  return static_cast<int>(static_cast<unsigned>(a) * static_cast<unsigned>(b));
}

} // namespace zar
