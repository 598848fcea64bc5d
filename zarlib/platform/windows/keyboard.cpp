#include "zarlib/platform/keyboard.h"

#include "zarlib/platform/types.h"

namespace zar::platform {

struct keyboard::state {
  HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  DWORD found_mode = 0;
  bool is_console = GetConsoleMode(input, &found_mode) != FALSE;
};

keyboard::keyboard() : m_state(new state) {
  if (m_state->is_console) SetConsoleMode(m_state->input, ENABLE_PROCESSED_INPUT | ENABLE_ECHO_INPUT);
}

keyboard::~keyboard() {
  if (m_state->is_console) SetConsoleMode(m_state->input, m_state->found_mode);
}

int keyboard::next_key() {
  INPUT_RECORD record;
  DWORD count = 0;
  if (!PeekConsoleInputA(m_state->input, &record, 1, &count) || count == 0) return -1;
  if (!ReadConsoleInputA(m_state->input, &record, 1, &count) || count == 0) return -1;
  if (record.EventType != KEY_EVENT || !record.Event.KeyEvent.bKeyDown) return -1;
  return record.Event.KeyEvent.wVirtualKeyCode;
}

} // namespace zar::platform
