// The Linux side of child_process.cpp.
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace harness {

namespace {

using clock = std::chrono::steady_clock;

int left_of(clock::time_point end) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - clock::now()).count();
  return left > 0 ? static_cast<int>(left) : 0;
}

void close_if_open(int &descriptor) {
  if (descriptor >= 0) ::close(descriptor);
  descriptor = -1;
}

std::vector<std::string> environment_with(const std::map<std::string, std::string> &changes) {
  std::vector<std::string> result;
  for (char **entry = environ; *entry; ++entry) {
    const std::string text(*entry);
    if (!changes.count(text.substr(0, text.find('=')))) result.push_back(text);
  }
  for (const auto &[name, value] : changes)
    if (value != unset()) result.push_back(name + "=" + value);
  return result;
}

std::vector<char *> pointers(std::vector<std::string> &texts) {
  std::vector<char *> result;
  for (auto &text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

} // namespace

struct child_process::state {
  pid_t id = -1;
  int input = -1;
  int output = -1;
  int error = -1;
  std::string output_text;
  std::string error_text;
  bool reaped = false;
  int status = 0;

  /// Takes what there is from both pipes; false when both have ended.
  bool pump(int milliseconds) {
    pollfd waits[2] = {{output, POLLIN, 0}, {error, POLLIN, 0}};
    if (output < 0 && error < 0) return false;
    if (::poll(waits, 2, milliseconds) <= 0) return true;
    take(waits[0], output, output_text);
    take(waits[1], error, error_text);
    return output >= 0 || error >= 0;
  }

  static void take(const pollfd &wait, int &descriptor, std::string &text) {
    if (descriptor < 0 || !wait.revents) return;
    char buffer[65536];
    const ssize_t count = ::read(descriptor, buffer, sizeof buffer);
    if (count > 0) text.append(buffer, static_cast<size_t>(count));
    if (count == 0 || (count < 0 && errno != EINTR)) close_if_open(descriptor);
  }

  bool reap(bool block) {
    if (!reaped && ::waitpid(id, &status, block ? 0 : WNOHANG) == id) reaped = true;
    return reaped;
  }
};

child_process::child_process(const std::string &program, const std::vector<std::string> &arguments,
                             const std::map<std::string, std::string> &environment)
    : m_state(new state) {
  const std::string path = program.find('/') == std::string::npos ? program_folder() + program : program;
  std::vector<std::string> texts = {path};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  std::vector<std::string> variables = environment_with(environment);
  std::vector<char *> argv = pointers(texts), envp = pointers(variables);

  int in[2], out[2], err[2];
  if (::pipe2(in, O_CLOEXEC) || ::pipe2(out, O_CLOEXEC) || ::pipe2(err, O_CLOEXEC)) throw std::runtime_error("pipe2");
  const pid_t id = ::fork();
  if (id < 0) throw std::runtime_error("fork");
  if (id == 0) {
    ::dup2(in[0], 0);
    ::dup2(out[1], 1);
    ::dup2(err[1], 2);
    ::execve(path.c_str(), argv.data(), envp.data());
    ::_exit(127);
  }
  ::close(in[0]);
  ::close(out[1]);
  ::close(err[1]);
  m_state->id = id;
  m_state->input = in[1];
  m_state->output = out[0];
  m_state->error = err[0];
  ::signal(SIGPIPE, SIG_IGN);
}

child_process::~child_process() {
  if (!m_state->reaped) {
    kill();
    m_state->reap(true);
  }
  close_if_open(m_state->input);
  close_if_open(m_state->output);
  close_if_open(m_state->error);
}

unsigned long child_process::id() const { return static_cast<unsigned long>(m_state->id); }

void child_process::write(const std::string &text) {
  size_t done = 0;
  while (done < text.size()) {
    const ssize_t count = ::write(m_state->input, text.data() + done, text.size() - done);
    if (count <= 0) return;
    done += static_cast<size_t>(count);
  }
}

void child_process::close_input() { close_if_open(m_state->input); }

std::string child_process::read_line(int milliseconds) {
  const auto end = clock::now() + std::chrono::milliseconds(milliseconds);
  for (;;) {
    const size_t at = m_state->output_text.find('\n');
    if (at != std::string::npos) {
      std::string line = m_state->output_text.substr(0, at);
      m_state->output_text.erase(0, at + 1);
      return line;
    }
    if (m_state->output < 0 || clock::now() >= end) return {};
    m_state->pump(left_of(end));
  }
}

void child_process::kill() {
  if (!m_state->reaped) ::kill(m_state->id, SIGKILL);
}

child_result child_process::wait(int milliseconds) {
  close_input();
  child_result result;
  const auto end = clock::now() + std::chrono::milliseconds(milliseconds);
  while (!m_state->reap(false)) {
    if (clock::now() >= end) {
      result.timed_out = true;
      kill();
      m_state->reap(true);
      break;
    }
    if (!m_state->pump(20)) ::usleep(1000);
  }
  while (m_state->pump(0) && m_state->output >= 0) {
    pollfd waits[2] = {{m_state->output, POLLIN, 0}, {m_state->error, POLLIN, 0}};
    if (::poll(waits, 2, 0) <= 0) break;
  }
  if (WIFEXITED(m_state->status)) result.exit_code = WEXITSTATUS(m_state->status);
  if (WIFSIGNALED(m_state->status)) result.signal = WTERMSIG(m_state->status);
  result.output.swap(m_state->output_text);
  result.error.swap(m_state->error_text);
  return result;
}

std::string program_folder() {
  char buffer[4096];
  const ssize_t count = ::readlink("/proc/self/exe", buffer, sizeof buffer);
  const std::string path(buffer, count > 0 ? static_cast<size_t>(count) : 0);
  return path.substr(0, path.rfind('/') + 1);
}

} // namespace harness
