// A named object in shared memory: what named_event, named_mutex and named_mapping are made of.
#pragma once

#include "zarlib/platform/linux/descriptor.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace zar::platform {

/// What sets one sort of object apart.
struct object_type {
  std::uint32_t kind;                  ///< stored in the object; also keeps apart what bears one name
  void (*prepare)(void *data);         ///< readies the zero-filled data of a new object; may be null
  bool (*is_pinned)(const void *data); ///< whether the view must outlive this process's last handle; may be null
};

/// Mapped memory that goes with its holder.
struct unmapper {
  std::size_t bytes;
  void operator()(void *data) const;
};
using memory_view = std::unique_ptr<void, unmapper>;

/// This process's view of one object, shared by all its handles, and its claim that the object has a holder.
///
/// The layout of the file is in docs/formats/kernel-objects.md. The content that a view shows is for its users to order.
class shared_object {
public:
  /// Opens the object of that name, or makes it.
  /// @param bytes    Size of a new object's data, rounded up to whole pages; 0 opens an existing one only.
  /// @param created  Receives whether this call made the object.
  /// @return Null for a refusal: no such object, no room, no right, or one of another kind, layout or word size.
  static std::shared_ptr<shared_object> open(const object_type &type, const std::string &name, std::size_t bytes,
                                             bool &created);
  shared_object(const shared_object &) = delete;
  shared_object &operator=(const shared_object &) = delete;
  /// Removes the object if no other process holds it.
  ~shared_object();

  /// On a page boundary; the same address for all handles of this process.
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
