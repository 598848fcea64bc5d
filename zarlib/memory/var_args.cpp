#include "zarlib/memory/var_args.h"

#include <cstring>

chVarArgs::chVarArgs(const std::vector<unsigned char> &bytes)
    : m_pStart(bytes.data()), m_pEnd(bytes.data() + bytes.size()) {}

chVarArgs::chVarArgs(const void *data, int size) : m_pStart(data), m_pEnd(static_cast<const char *>(data) + size) {}

const void *chVarArgs::c_data() const { return m_pStart; }

int chVarArgs::size() const {
  return static_cast<int>(static_cast<const char *>(m_pEnd) - static_cast<const char *>(m_pStart));
}

int byteof(const chVarArgs &args) { return args.size(); }

int print(unsigned char *out, const chVarArgs &args) {
  if (args.size() > 0) std::memcpy(out, args.c_data(), static_cast<size_t>(args.size()));
  return args.size();
}
