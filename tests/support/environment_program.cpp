// Answers its argument with a line, and tells at its start and its exit what stands of the environment then.
#include "zarlib/text/environment.h"

#include <cstdio>
#include <string>

static void answer(const std::string &line) {
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

// Built before anything of the library was asked for, so it goes last.
static struct first_and_last {
  first_and_last() {
    answer("at start:" + zarGetAppDocPath());
    zarSetAppDocPath("C:\\a\\b");
  }
  ~first_and_last() { answer("at exit:" + zarGetAppDataRootPath() + "|" + appRootPath()); }
} watch;

int main(int, char **arguments) {
  const std::string question = arguments[1];
  if (question == "home") answer(zarGetHomeDirectory());
  if (question == "temp") answer(zarGetTempDirectory());
  if (question == "key") answer(std::to_string(chStdInput().getch()));
  if (question == "wait, exe") {
    answer("waiting");
    std::getchar();
    answer(zarGetExeFileName());
  }
}
