// The system's narrow encoding.
#pragma once

#include <string>

namespace zar::platform {

/// From the narrow encoding to UTF-8. What cannot be converted becomes a question mark or the replacement character.
/// @param encoding  The system's name or number of an encoding; empty selects the system's default. With one unknown to
///                  the system the text is returned unchanged.
std::string narrow_to_utf8(const std::string &text, const std::string &encoding);

/// From UTF-8 to the narrow encoding.
std::string utf8_to_narrow(const std::string &text, const std::string &encoding);

} // namespace zar::platform
