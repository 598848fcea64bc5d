// The document path for callers that must not allocate.
#pragma once

#include <memory>
#include <string>

namespace zar {

/// @return What zarGetAppDocPath() copies. Holds a lock for a few instructions and does not allocate, so a crashing
///         process may call it.
std::shared_ptr<const std::string> document_path();

} // namespace zar
