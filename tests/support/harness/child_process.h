// Starts, watches and kills the small programs that tests run.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace harness {

/// The result of a child.
struct child_result {
  bool timed_out = false;
  int exit_code = -1; ///< of a normal end; on Windows also the NTSTATUS of a fault
  int signal = 0;     ///< the signal that ended it; always 0 on Windows
  std::string output; ///< all it wrote to standard output
  std::string error;  ///< all it wrote to standard error
};

/// A child of this process. The destructor kills it and waits for it.
class child_process {
public:
  /// Starts `program` from the folder of the running test.
  /// @param environment  Changes to this process's own; an empty value sets the empty string, see unset().
  explicit child_process(const std::string &program, const std::vector<std::string> &arguments = {},
                         const std::map<std::string, std::string> &environment = {});
  ~child_process();

  unsigned long id() const;

  /// Writes to the child's standard input.
  void write(const std::string &text);
  /// Waits for the next complete line of the child's standard output; empty at its end or on time-out.
  std::string read_line(int milliseconds = 20000);

  /// Ends the child at once, as `kill -9` does.
  void kill();

  /// Closes the child's input and waits; the result excludes lines returned by read_line(). Kills it after
  /// `milliseconds`.
  child_result wait(int milliseconds = 60000);

private:
  struct state;
  std::unique_ptr<state> m_state;
};

/// The marker value that removes a variable from the child's environment.
inline const char *unset() { return "\x01unset"; }

/// Starts a program, waits for it, and returns its result.
child_result run(const std::string &program, const std::vector<std::string> &arguments = {},
                 const std::map<std::string, std::string> &environment = {}, int milliseconds = 60000);

/// The folder of the running program, ending in a slash; the programs of tests/support are there.
std::string program_folder();

} // namespace harness
