// A message that the user must see.
#pragma once

namespace zar::platform {

/// Shows an error without an owner and without a caption, and waits until the user has taken note where the system has such a
/// box; elsewhere it is a line on the error console.
void show_error(const char *text);

} // namespace zar::platform
