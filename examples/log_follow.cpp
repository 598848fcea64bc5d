// Sends the lines of a text through the tracer: log_follow [FILE]
//
// Without FILE it reads standard input, so that it can follow another program. A line's first word sets its level
// (error, warning, notice, debug); other lines get level 6. The environment decides what is written, and where:
//
//     log_follow /var/log/dpkg.log                              everything, to standard output
//     trace=5 log_follow < app.log                              errors, warnings and notices only
//     trace=7:log:app:100:3 log_follow app.log                  into app-0.log to app-2.log, 100 KiB each
#include <zarlib/companion/qxstl.h>
#include <zarlib/text/file_system.h>
#include <zarlib/text/words.h>
#include <zarlib/trace/trace.h>
#include <zarlib/trace/tracer_manager.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

static int fail(const std::string &why) {
  std::fprintf(stderr, "log_follow: %s\n", why.c_str());
  return 1;
}

static std::string first_word(const std::string &line) {
  size_t start = 0;
  while (start < line.size() && !std::isalpha(static_cast<unsigned char>(line[start]))) ++start;
  size_t end = start;
  while (end < line.size() && std::isalpha(static_cast<unsigned char>(line[end]))) ++end;
  return line.substr(start, end - start);
}

static int level_of(const std::string &line) {
  static const struct {
    const char *word;
    int level;
  } levels[] = {{"error", 3}, {"warning", 4}, {"notice", 5}, {"debug", 7}};
  const std::string word = first_word(line);
  for (const auto &known : levels)
    if (sameStringNC(word, known.word)) return known.level;
  return 6;
}

/// The log files named by the variable `trace`, level:log:name:sizeKB:count.
static std::vector<std::string> log_files() {
  std::vector<std::string> result;
  const char *const option = std::getenv("trace");
  const std::vector<std::string> fields = zarTextBreak(option ? option : "", ':');
  if (fields.size() < 3 || fields[1] != "log") return result;
  for (int i = 0;; ++i) {
    const std::string path = qx::format_astring("%s-%d.log", fields[2].c_str(), i);
    if (!pathFileExist(path)) return result;
    result.push_back(path);
  }
}

int main(int argc, char **argv) {
  if (argc > 2) {
    std::fprintf(stderr, "usage: log_follow [FILE]\n");
    return 2;
  }
  const std::string name = argc > 1 ? argv[1] : "standard input";
  std::ifstream file;
  if (argc > 1) file.open(name);
  std::istream &input = argc > 1 ? file : std::cin;
  if (!input) return fail("cannot read " + name);

  uCTraceHelper &tracer = uCTraceHelper::getInstance();
  int lines = 0, written = 0;
  for (std::string line; std::getline(input, line); ++lines) {
    const int level = level_of(line);
    if (level <= tracer.GetOutputLevel()) ++written;
    zarTrace(level, line); // a std::string is never taken as a format
  }

  std::printf("%d of %d lines passed level %d\n", written, lines, tracer.GetOutputLevel());
  for (const std::string &path : log_files()) std::printf("wrote %s, %d bytes\n", path.c_str(), pathFileSize(path));
  if (input.bad()) return fail("cannot read " + name); // for example a folder, which some systems open
  return std::fflush(stdout) == 0 && !std::ferror(stdout) ? 0 : fail("cannot write to standard output");
}
