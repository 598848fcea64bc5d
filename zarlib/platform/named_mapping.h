// A named block of shared memory of the session.
//
// All processes of the user that open a full name see the same bytes; they go away when the last holder closes or dies.
#pragma once

#include <string>

namespace zar::platform {

struct named_mapping;

/// Opens the block of that name.
/// @return A handle of its own, to be closed once; null when there is none or the system refuses.
named_mapping *open_mapping(const std::string &name);

/// Opens the block of that name whatever its size, or creates one, zero-filled, with all of its memory reserved.
/// @param bytes    0 is refused.
/// @param created  Receives whether this call created the block.
/// @return A handle of its own, to be closed once; null when the system refuses.
named_mapping *create_mapping(const std::string &name, unsigned bytes, bool &created);

/// Maps the whole block readable and writable into this process. @return Its address; null when
/// there is no room for it.
void *map_view(named_mapping *mapping);

/// Unmaps the view; null is harmless.
void unmap_view(void *view);

/// REQUIRES: views of the handle are no longer used.
void close_mapping(named_mapping *mapping);

} // namespace zar::platform
