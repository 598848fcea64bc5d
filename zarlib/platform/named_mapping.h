// A block of the session's shared memory under a name.
//
// Whoever of the user's processes opens a full name sees the same bytes; they go when the last holder closes or dies.
#pragma once

#include <string>

namespace zar::platform {

struct named_mapping;

/// Opens the block of that name. @return A handle of its own, to be closed once; null when there is none or the system refuses.
named_mapping *open_mapping(const std::string &name);

/// Opens the block of that name whatever its size, or makes one, zero-filled, with memory set aside for all of it.
/// @param bytes    0 is refused.
/// @param created  Receives whether this call made the block.
/// @return A handle of its own, to be closed once; null when the system refuses.
named_mapping *create_mapping(const std::string &name, unsigned bytes, bool &created);

/// Makes the whole block readable and writable in this process. @return Its address; null when there is no room for it.
void *map_view(named_mapping *mapping);

/// Ends the view, when there is one.
void unmap_view(void *view);

/// REQUIRES: views of the handle are not used any more.
void close_mapping(named_mapping *mapping);

} // namespace zar::platform
