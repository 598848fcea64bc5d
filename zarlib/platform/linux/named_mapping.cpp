#include "zarlib/platform/named_mapping.h"

#include "zarlib/platform/linux/shared_object.h"

namespace zar::platform {

struct named_mapping {
  std::shared_ptr<shared_object> object;
};

static constexpr object_type mapping_type = {3, nullptr, nullptr};

static named_mapping *handle_on(std::shared_ptr<shared_object> object) {
  return object ? new named_mapping{std::move(object)} : nullptr;
}

named_mapping *open_mapping(const std::string &name) {
  bool created = false;
  return handle_on(shared_object::open(mapping_type, name, 0, created));
}

named_mapping *create_mapping(const std::string &name, unsigned bytes, bool &created) {
  created = false;
  return bytes == 0 ? nullptr : handle_on(shared_object::open(mapping_type, name, bytes, created));
}

// A handle has its view from the start, and one view serves all handles in a process.
void *map_view(named_mapping *mapping) { return mapping->object->data(); }

void unmap_view(void *) {}

void close_mapping(named_mapping *mapping) { delete mapping; }

} // namespace zar::platform
