// A message that the user must see.
#pragma once

namespace zar::platform {

/// Shows an error without owner window and caption, and waits for the user to acknowledge it; on systems without such a
/// box it is a line on the error console.
void show_error(const char *text);

} // namespace zar::platform
