// A named object in shared memory: the basis of named_event, named_mutex and named_mapping.
#pragma once

#include "zarlib/platform/linux/descriptor.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace zar::platform {

/// What distinguishes one type of object from another.
struct object_type {
  std::uint32_t kind;                  ///< stored in the object; also separates objects of the same name
  void (*prepare)(void *data);         ///< initialises the zero-filled data of a new object; may be null
  bool (*is_pinned)(const void *data); ///< whether the view must outlive this process's last handle; may be null
};

/// Mapped memory, unmapped by its owner.
struct unmapper {
  std::size_t bytes;
  void operator()(void *data) const;
};
using memory_view = std::unique_ptr<void, unmapper>;

/// This process's view of one object, shared by all its handles, and its claim as a holder of the object.
///
/// docs/formats/kernel-objects.md describes the file layout. Synchronising access to the content is up to its users.
class shared_object {
public:
  /// Opens the object of that name, or creates it.
  /// @param bytes    Size of a new object's data, rounded up to whole pages; 0 opens an existing one only.
  /// @param created  Receives whether this call created the object.
  /// @return Null on failure: no such object, no space, no permission, or an object of another kind, layout or word
  ///         size.
  static std::shared_ptr<shared_object> open(const object_type &type, const std::string &name, std::size_t bytes,
                                             bool &created);
  shared_object(const shared_object &) = delete;
  shared_object &operator=(const shared_object &) = delete;
  /// Removes the object if no other process holds it.
  ~shared_object();

  /// Page-aligned; the same address for all handles of this process.
  void *data() const { return m_view.get(); }

private:
  shared_object(const object_type &type, std::string key, std::string file_name, descriptor file, memory_view view);

  const object_type &m_type;
  const std::string m_key;
  const std::string m_file_name;
  descriptor m_file; // carries the holder's lock
  memory_view m_view;
};

} // namespace zar::platform
