// The document path for those who cannot allocate.
#pragma once

#include <memory>
#include <string>

namespace zar {

/// @return What zarGetAppDocPath() copies. Takes a lock for a few instructions and no memory, so a dying process may ask.
std::shared_ptr<const std::string> document_path();

} // namespace zar
