#include "zarlib/frame/object_frame.h"

ipcObjectHeader::ipcObjectHeader() {} // not "= default": a value-initialised object would be cleared

int ipcObjectHeader::InitHeader(int size, int version) {
  m_size = size;
  m_version = version;
  return 1;
}

int ipcObjectHeader::AssertHeader(const std::string &, int size, int version) const {
  return m_size == size && m_version == version;
}
