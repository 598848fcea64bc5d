// What a terminal sends for a key, as virtual key codes.
#pragma once

#include <cstddef>
#include <string_view>

namespace zar::platform {

struct terminal_key {
  size_t length; ///< of its bytes; 0 when they are only the beginning of a key's sequence
  int code;      ///< the virtual key code; -1 for a key without one
};

/// The key at the start of `bytes`, which are not empty. Sequences of xterm, VT220, rxvt and the Linux console, the
/// numeric pad in its application mode included; characters as a US keyboard has them, without regard to shift and
/// control.
terminal_key decode_key(std::string_view bytes);

} // namespace zar::platform
