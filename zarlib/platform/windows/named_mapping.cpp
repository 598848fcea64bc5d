#include "zarlib/platform/named_mapping.h"

#include "zarlib/platform/types.h"

namespace zar::platform {

// The handle itself is what callers hold.
static HANDLE native(named_mapping *mapping) { return reinterpret_cast<HANDLE>(mapping); }

named_mapping *open_mapping(const std::string &name) {
  return static_cast<named_mapping *>(OpenFileMappingA(FILE_MAP_ALL_ACCESS, FALSE, name.c_str()));
}

named_mapping *create_mapping(const std::string &name, unsigned bytes, bool &created) {
  const HANDLE mapping = CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, bytes, name.c_str());
  created = mapping && GetLastError() != ERROR_ALREADY_EXISTS;
  return static_cast<named_mapping *>(mapping);
}

void *map_view(named_mapping *mapping) { return MapViewOfFile(native(mapping), FILE_MAP_ALL_ACCESS, 0, 0, 0); }

void unmap_view(void *view) { UnmapViewOfFile(view); }

void close_mapping(named_mapping *mapping) { CloseHandle(native(mapping)); }

} // namespace zar::platform
