// Single keys from the console on standard input, without waiting.
#pragma once

#include <memory>

namespace zar::platform {

/// Takes line input off the console for as long as it lives. Where standard input is no console it never has a key.
class keyboard {
public:
  keyboard();
  keyboard(const keyboard &) = delete;
  keyboard &operator=(const keyboard &) = delete;
  ~keyboard();

  /// The virtual key code of the next key that was pressed, 1 to 254, as the home system counts them; -1 when there is
  /// none, and for an event that is no key with a code. Never waits.
  int next_key();

private:
  struct state;
  const std::unique_ptr<state> m_state;
};

} // namespace zar::platform
