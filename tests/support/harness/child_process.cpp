#include "tests/support/harness/child_process.h"

#ifdef _WIN32
#include "tests/support/harness/child_process_windows.inl"
#else
#include "tests/support/harness/child_process_linux.inl"
#endif

namespace harness {

child_result run(const std::string &program, const std::vector<std::string> &arguments,
                 const std::map<std::string, std::string> &environment, int milliseconds) {
  child_process child(program, arguments, environment);
  return child.wait(milliseconds);
}

} // namespace harness
