// The Windows side of child_process.cpp.
#include <windows.h>

#include <chrono>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace harness {

namespace {

/// One argument in the quoting that the run-time library takes apart again.
std::string quoted(const std::string &text) {
  std::string result = "\"";
  size_t slashes = 0;
  for (const char c : text) {
    if (c == '\\') {
      ++slashes;
      continue;
    }
    result.append(c == '"' ? slashes * 2 + 1 : slashes, '\\');
    slashes = 0;
    result += c;
  }
  return result.append(slashes * 2, '\\') + "\"";
}

std::string environment_with(const std::map<std::string, std::string> &changes) {
  std::map<std::string, std::string> merged;
  char *const block = GetEnvironmentStringsA();
  for (const char *entry = block; *entry; entry += lstrlenA(entry) + 1) {
    const std::string text(entry);
    const size_t at = text.find('=', 1);
    if (at != std::string::npos) merged[text.substr(0, at)] = text.substr(at + 1);
  }
  FreeEnvironmentStringsA(block);
  for (const auto &[name, value] : changes) {
    for (auto entry = merged.begin(); entry != merged.end();)
      entry = lstrcmpiA(entry->first.c_str(), name.c_str()) == 0 ? merged.erase(entry) : std::next(entry);
    if (value != unset()) merged[name] = value;
  }
  std::string result;
  for (const auto &[name, value] : merged) result += name + "=" + value + '\0';
  return result + '\0';
}

void make_pipe(HANDLE &mine, HANDLE &theirs, bool child_reads) {
  SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
  HANDLE read_end, write_end;
  if (!CreatePipe(&read_end, &write_end, &inherit, 0)) throw std::runtime_error("CreatePipe");
  mine = child_reads ? write_end : read_end;
  theirs = child_reads ? read_end : write_end;
  SetHandleInformation(mine, HANDLE_FLAG_INHERIT, 0);
}

} // namespace

struct child_process::state {
  PROCESS_INFORMATION info = {};
  HANDLE input = nullptr, output = nullptr, error = nullptr;
  std::string output_text, error_text;
  std::mutex lock;
  std::thread output_reader, error_reader;
  bool output_ended = false;

  void read_all(HANDLE pipe, std::string &text, bool *ended) {
    char buffer[65536];
    DWORD count = 0;
    while (ReadFile(pipe, buffer, sizeof buffer, &count, nullptr) && count) {
      const std::lock_guard<std::mutex> hold(lock);
      text.append(buffer, count);
    }
    const std::lock_guard<std::mutex> hold(lock);
    if (ended) *ended = true;
  }
};

child_process::child_process(const std::string &program, const std::vector<std::string> &arguments,
                             const std::map<std::string, std::string> &environment)
    : m_state(new state) {
  std::string path = program.find_first_of("/\\") == std::string::npos ? program_folder() + program : program;
  if (path.size() < 4 || path.substr(path.size() - 4) != ".exe") path += ".exe";
  std::string line = quoted(path);
  for (const auto &argument : arguments) line += " " + quoted(argument);
  std::string variables = environment_with(environment);

  HANDLE in, out, err;
  make_pipe(m_state->input, in, true);
  make_pipe(m_state->output, out, false);
  make_pipe(m_state->error, err, false);
  STARTUPINFOA start = {};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = in;
  start.hStdOutput = out;
  start.hStdError = err;
  const BOOL made = CreateProcessA(path.c_str(), line.data(), nullptr, nullptr, TRUE, 0, variables.data(), nullptr,
                                   &start, &m_state->info);
  CloseHandle(in);
  CloseHandle(out);
  CloseHandle(err);
  if (!made) throw std::runtime_error("CreateProcess " + path);
  m_state->output_reader =
      std::thread([this] { m_state->read_all(m_state->output, m_state->output_text, &m_state->output_ended); });
  m_state->error_reader = std::thread([this] { m_state->read_all(m_state->error, m_state->error_text, nullptr); });
}

child_process::~child_process() {
  kill();
  WaitForSingleObject(m_state->info.hProcess, INFINITE);
  if (m_state->output_reader.joinable()) m_state->output_reader.join();
  if (m_state->error_reader.joinable()) m_state->error_reader.join();
  close_input();
  CloseHandle(m_state->output);
  CloseHandle(m_state->error);
  CloseHandle(m_state->info.hThread);
  CloseHandle(m_state->info.hProcess);
}

unsigned long child_process::id() const { return m_state->info.dwProcessId; }

void child_process::write(const std::string &text) {
  DWORD count = 0;
  WriteFile(m_state->input, text.data(), static_cast<DWORD>(text.size()), &count, nullptr);
}

void child_process::close_input() {
  if (m_state->input) CloseHandle(m_state->input);
  m_state->input = nullptr;
}

std::string child_process::read_line(int milliseconds) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
  for (;;) {
    {
      const std::lock_guard<std::mutex> hold(m_state->lock);
      const size_t at = m_state->output_text.find('\n');
      if (at != std::string::npos) {
        std::string line = m_state->output_text.substr(0, at);
        m_state->output_text.erase(0, at + 1);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        return line;
      }
      if (m_state->output_ended) return {};
    }
    if (std::chrono::steady_clock::now() >= end) return {};
    Sleep(2);
  }
}

void child_process::kill() { TerminateProcess(m_state->info.hProcess, 9); }

child_result child_process::wait(int milliseconds) {
  close_input();
  child_result result;
  if (WaitForSingleObject(m_state->info.hProcess, static_cast<DWORD>(milliseconds)) != WAIT_OBJECT_0) {
    result.timed_out = true;
    kill();
    WaitForSingleObject(m_state->info.hProcess, INFINITE);
  }
  DWORD code = 0;
  GetExitCodeProcess(m_state->info.hProcess, &code);
  result.exit_code = static_cast<int>(code);
  m_state->output_reader.join();
  m_state->error_reader.join();
  result.output.swap(m_state->output_text);
  result.error.swap(m_state->error_text);
  return result;
}

std::string program_folder() {
  char buffer[1024];
  const DWORD count = GetModuleFileNameA(nullptr, buffer, sizeof buffer);
  const std::string path(buffer, count);
  return path.substr(0, path.find_last_of("/\\") + 1);
}

} // namespace harness
