// Starting, watching and killing the small programs that tests run.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace harness {

/// What a child left behind.
struct child_result {
  bool timed_out = false;
  int exit_code = -1; ///< of a normal end; the NTSTATUS or exit word on Windows
  int signal = 0;     ///< the signal that ended it; always 0 on Windows
  std::string output; ///< all it wrote to standard output
  std::string error;  ///< all it wrote to standard error
};

/// A child of this process. The destructor kills it and waits for it.
class child_process {
public:
  /// Starts `program` from the folder of the running test.
  /// @param environment  Changes to this process's own; an empty value sets the empty text, see unset().
  explicit child_process(const std::string &program, const std::vector<std::string> &arguments = {},
                         const std::map<std::string, std::string> &environment = {});
  ~child_process();

  unsigned long id() const;

  /// Writes to the child's standard input.
  void write(const std::string &text);
  /// Waits for the next whole line of the child's standard output; empty at its end or after the time.
  std::string read_line(int milliseconds = 20000);

  /// Ends the child at once, as `kill -9` does.
  void kill();

  /// Closes the child's input and waits; what read_line() has handed out is not in the result. After `milliseconds` it is killed.
  child_result wait(int milliseconds = 60000);

private:
  struct state;
  std::unique_ptr<state> m_state;
};

/// The marker value that removes a variable from the child's environment.
inline const char *unset() { return "\x01unset"; }

/// Starts, waits, and hands back what the program left.
child_result run(const std::string &program, const std::vector<std::string> &arguments = {},
                 const std::map<std::string, std::string> &environment = {}, int milliseconds = 60000);

/// The folder of the running program, ending in a slash; the programs of tests/support stand there.
std::string program_folder();

} // namespace harness
