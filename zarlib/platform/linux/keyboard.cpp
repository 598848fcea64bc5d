#include "zarlib/platform/keyboard.h"

#include "zarlib/platform/linux/terminal_keys.h"

#include <poll.h>
#include <string>
#include <termios.h>
#include <unistd.h>

namespace zar::platform {

namespace {

/// A process outside the terminal's foreground group would be stopped for reading from it or changing it.
bool in_foreground() {
  const pid_t group = tcgetpgrp(STDIN_FILENO);
  return group == -1 || group == getpgrp();
}

void set_mode(const termios &mode) {
  if (in_foreground()) tcsetattr(STDIN_FILENO, TCSANOW, &mode);
}

/// Single bytes as they arrive, without echo; the interrupt keys and the output are unchanged.
termios key_mode(termios mode) {
  mode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | IEXTEN);
  mode.c_iflag &= ~static_cast<tcflag_t>(ICRNL | INLCR | IGNCR | ISTRIP | IXON);
  mode.c_cc[VMIN] = 0;
  mode.c_cc[VTIME] = 0;
  return mode;
}

// No key sequence is longer.
constexpr size_t longest_sequence = 32;

} // namespace

struct keyboard::state {
  termios found_mode = {};
  const bool is_console = tcgetattr(STDIN_FILENO, &found_mode) == 0;
  std::string pending;
  bool waited = false; // for the rest of the sequence that `pending` begins with

  void take_input() {
    pollfd wait = {STDIN_FILENO, POLLIN, 0};
    if (pending.size() >= longest_sequence || !in_foreground() || poll(&wait, 1, 0) <= 0) return;
    char bytes[64];
    const ssize_t count = read(STDIN_FILENO, bytes, sizeof bytes);
    if (count <= 0) return;
    pending.append(bytes, static_cast<size_t>(count));
    waited = false;
  }
};

keyboard::keyboard() : m_state(new state) {
  if (m_state->is_console) set_mode(key_mode(m_state->found_mode));
}

keyboard::~keyboard() {
  if (m_state->is_console) set_mode(m_state->found_mode);
}

int keyboard::next_key() {
  if (!m_state->is_console) return -1;
  std::string &pending = m_state->pending;
  m_state->take_input();
  if (pending.empty()) return -1;
  terminal_key key = decode_key(pending);
  if (key.length == 0 && !m_state->waited && pending.size() < longest_sequence) {
    m_state->waited = true;
    return -1;
  }
  // The rest never came: it was not a sequence but single key presses.
  if (key.length == 0) key = decode_key(std::string_view(pending).substr(0, 1));
  pending.erase(0, key.length);
  m_state->waited = false;
  return key.code;
}

} // namespace zar::platform
