#include "zarlib/memory/share_string.h"

#include "zarlib/companion/qxstl.h"

const char *baseShareStringA::c_str() const {
  const baseShareTextA *const record = get_Text();
  return record ? record->text() : "";
}

const char *baseShareStringA::c_ptr() const { return c_str(); }

int baseShareStringA::length() const {
  const baseShareTextA *const record = get_Text();
  return record ? record->length : 0;
}

bool baseShareStringA::empty() const { return length() == 0; }

bool baseShareStringA::operator==(const baseShareStringA &other) const {
  return qx::qx_strcmp(c_str(), other.c_str(), true) == 0;
}

bool baseShareStringA::operator!=(const baseShareStringA &other) const { return !(*this == other); }

bool baseShareStringA::operator<(const baseShareStringA &other) const {
  return qx::qx_strcmp(c_str(), other.c_str(), true) < 0;
}

bool baseShareStringA::operator>(const baseShareStringA &other) const {
  return qx::qx_strcmp(c_str(), other.c_str(), true) > 0;
}

baseShareTextA *baseShareStringA::get_Text() const { return static_cast<baseShareTextA *>(m_word.target()); }

void baseShareStringA::set_Text(baseShareTextA *text) { m_word.set_target(text); }
