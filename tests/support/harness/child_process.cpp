#include "tests/support/harness/child_process.h"

#include "tests/support/harness/files.h"

#include <chrono>
#include <fstream>
#include <stdexcept>
#include <thread>

#ifdef _WIN32
#include <windows.h>
#else
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace harness {

namespace {

/// What the system needs to start a child whose output goes to files.
struct launch {
  std::string path;
  std::vector<std::string> arguments;
  std::map<std::string, std::string> environment;
  std::string output, error;
};

#ifdef _WIN32

/// One argument, quoted for the run-time library's parser.
std::string quoted(const std::string &text) {
  std::string result = "\"";
  size_t slashes = 0;
  for (const char c : text) {
    result.append(c == '"' ? slashes + 1 : 0, '\\');
    slashes = c == '\\' ? slashes + 1 : 0;
    result += c;
  }
  return result.append(slashes, '\\') + "\"";
}

/// Changes this process's environment while a child is started.
class changed_environment {
public:
  explicit changed_environment(const std::map<std::string, std::string> &changes) {
    for (const auto &[name, value] : changes) {
      char before[32768];
      m_before[name] = GetEnvironmentVariableA(name.c_str(), before, sizeof before) ? before : unset();
      set(name, value);
    }
  }
  ~changed_environment() {
    for (const auto &[name, value] : m_before) set(name, value);
  }

private:
  static void set(const std::string &name, const std::string &value) {
    SetEnvironmentVariableA(name.c_str(), value == unset() ? nullptr : value.c_str());
  }
  std::map<std::string, std::string> m_before;
};

class system_child {
public:
  explicit system_child(const launch &what) {
    std::string line = quoted(what.path);
    for (const auto &argument : what.arguments) line += " " + quoted(argument);
    SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
    HANDLE read_end;
    CreatePipe(&read_end, &m_input, &inherit, 0);
    SetHandleInformation(m_input, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOA start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = read_end;
    start.hStdOutput = output_file(what.output, inherit);
    start.hStdError = output_file(what.error, inherit);
    const changed_environment changed(what.environment);
    const BOOL made =
        CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &m_info);
    for (const HANDLE theirs : {start.hStdInput, start.hStdOutput, start.hStdError}) CloseHandle(theirs);
    if (!made) throw std::runtime_error("CreateProcess " + what.path);
  }
  ~system_child() {
    close_input();
    CloseHandle(m_info.hThread);
    CloseHandle(m_info.hProcess);
  }

  unsigned long id() const { return m_info.dwProcessId; }
  void kill() { TerminateProcess(m_info.hProcess, 9); }

  bool has_ended(child_result &result) {
    DWORD code = 0;
    if (WaitForSingleObject(m_info.hProcess, 0) != WAIT_OBJECT_0) return false;
    GetExitCodeProcess(m_info.hProcess, &code);
    result.exit_code = static_cast<int>(code);
    return true;
  }

  void write(const std::string &text) {
    DWORD count = 0;
    WriteFile(m_input, text.data(), static_cast<DWORD>(text.size()), &count, nullptr);
  }
  void close_input() {
    if (m_input) CloseHandle(m_input);
    m_input = nullptr;
  }

private:
  static HANDLE output_file(const std::string &path, SECURITY_ATTRIBUTES &inherit) {
    return CreateFileA(path.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit, CREATE_ALWAYS, 0,
                       nullptr);
  }

  PROCESS_INFORMATION m_info = {};
  HANDLE m_input = nullptr;
};

#else

class system_child {
public:
  explicit system_child(const launch &what) {
    std::signal(SIGPIPE, SIG_IGN);
    std::vector<char *> argv = {const_cast<char *>(what.path.c_str())};
    for (const auto &argument : what.arguments) argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);
    int input[2];
    if (::pipe2(input, O_CLOEXEC) != 0) throw std::runtime_error("pipe2");
    m_id = ::fork();
    if (m_id == 0) {
      ::dup2(input[0], 0);
      ::dup2(::open(what.output.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600), 1);
      ::dup2(::open(what.error.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600), 2);
      for (const auto &[name, value] : what.environment)
        value == unset() ? ::unsetenv(name.c_str()) : ::setenv(name.c_str(), value.c_str(), 1);
      ::execv(argv[0], argv.data());
      ::_exit(127);
    }
    ::close(input[0]);
    m_input = input[1];
    if (m_id < 0) throw std::runtime_error("fork");
  }
  ~system_child() { close_input(); }

  unsigned long id() const { return static_cast<unsigned long>(m_id); }
  void kill() {
    if (!m_ended) ::kill(m_id, SIGKILL);
  }

  bool has_ended(child_result &result) {
    if (!m_ended) m_ended = ::waitpid(m_id, &m_status, WNOHANG) == m_id;
    if (m_ended && WIFEXITED(m_status)) result.exit_code = WEXITSTATUS(m_status);
    if (m_ended && WIFSIGNALED(m_status)) result.signal = WTERMSIG(m_status);
    return m_ended;
  }

  void write(const std::string &text) {
    if (::write(m_input, text.data(), text.size()) < 0) close_input(); // nobody is reading
  }
  void close_input() {
    if (m_input >= 0) ::close(m_input);
    m_input = -1;
  }

private:
  pid_t m_id = -1;
  int m_input = -1;
  int m_status = 0;
  bool m_ended = false;
};

#endif

using clock = std::chrono::steady_clock;

/// Polls until the condition holds or the time is over. @return Whether it held.
template <class Condition>
bool wait_until(int milliseconds, Condition &&condition) {
  const auto end = clock::now() + std::chrono::milliseconds(milliseconds);
  while (!condition()) {
    if (clock::now() >= end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

} // namespace

struct child_process::state {
  temporary_directory folder;
  system_child child;
  child_result result;
  size_t read = 0; ///< bytes of the output that read_line() has returned

  state(const std::string &path, const std::vector<std::string> &arguments,
        const std::map<std::string, std::string> &environment)
      : child({path, arguments, environment, folder / "out", folder / "err"}) {}
};

child_process::child_process(const std::string &program, const std::vector<std::string> &arguments,
                             const std::map<std::string, std::string> &environment)
    : m_state(new state(program.find_first_of("/\\") == std::string::npos ? program_folder() + program : program,
                        arguments, environment)) {}

child_process::~child_process() {
  kill();
  wait_until(20000, [this] { return m_state->child.has_ended(m_state->result); });
}

unsigned long child_process::id() const { return m_state->child.id(); }

void child_process::write(const std::string &text) { m_state->child.write(text); }

std::string child_process::read_line(int milliseconds) {
  std::string line;
  wait_until(milliseconds, [&] {
    const bool ended = m_state->child.has_ended(m_state->result);
    std::ifstream stream(m_state->folder / "out", std::ios::binary);
    stream.seekg(static_cast<std::streamoff>(m_state->read));
    const bool is_whole = std::getline(stream, line) && !stream.eof();
    if (is_whole) m_state->read += line.size() + 1;
    if (!is_whole) line.clear();
    return is_whole || ended;
  });
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return line;
}

void child_process::kill() { m_state->child.kill(); }

child_result child_process::wait(int milliseconds) {
  child_result &result = m_state->result;
  m_state->child.close_input();
  const auto ended = [&] { return m_state->child.has_ended(result); };
  result.timed_out = !wait_until(milliseconds, ended);
  if (result.timed_out) kill();
  wait_until(20000, ended);
  result.output = read_file(m_state->folder / "out").substr(m_state->read);
  result.error = read_file(m_state->folder / "err");
  return result;
}

child_result run(const std::string &program, const std::vector<std::string> &arguments,
                 const std::map<std::string, std::string> &environment, int milliseconds) {
  return child_process(program, arguments, environment).wait(milliseconds);
}

std::string program_folder() {
#ifdef _WIN32
  char path[1024];
  GetModuleFileNameA(nullptr, path, sizeof path);
#else
  const std::string path = std::filesystem::read_symlink("/proc/self/exe").string();
#endif
  return std::filesystem::path(path).parent_path().string() + "/";
}

} // namespace harness
