// Decodes what a terminal sends for a key into virtual key codes.
#pragma once

#include <cstddef>
#include <string_view>

namespace zar::platform {

struct terminal_key {
  size_t length; ///< in bytes; 0 when they are only the beginning of a key sequence
  int code;      ///< the virtual key code; -1 for a key without one
};

/// The key at the start of `bytes`, which must not be empty. Covers sequences of xterm, VT220, rxvt and the Linux
/// console, including the numeric keypad in application mode; characters as on a US keyboard, ignoring Shift and
/// Control.
terminal_key decode_key(std::string_view bytes);

} // namespace zar::platform
