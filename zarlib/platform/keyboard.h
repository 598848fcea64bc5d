// Single keys from the console on standard input, without waiting.
#pragma once

#include <memory>

namespace zar::platform {

/// Disables the console's line input for as long as it lives. Where standard input is no console there is never a key.
class keyboard {
public:
  keyboard();
  keyboard(const keyboard &) = delete;
  keyboard &operator=(const keyboard &) = delete;
  ~keyboard();

  /// The virtual key code of the next key pressed, 1 to 254, numbered as on Windows; -1 when there is none, and for an
  /// event that is no key with a code. Never waits.
  int next_key();

private:
  struct state;
  const std::unique_ptr<state> m_state;
};

} // namespace zar::platform
