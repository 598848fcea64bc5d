// Prints at start and exit what is known of the environment; with an argument, its own name after a byte.
#include "zarlib/text/environment.h"

#include <iostream>

// Constructed before the library's first use, so destroyed last.
static struct first_and_last {
  first_and_last() {
    std::cout << "at start:" << zarGetAppDocPath() << std::endl;
    zarSetAppDocPath("C:\\a\\b");
  }
  ~first_and_last() {
    std::cout << "at exit:" << zarGetAppDataRootPath() << '|' << appRootPath() << '|' << zarGetHomeDirectory() << '|'
              << zarGetTempDirectory() << std::endl;
  }
} watch;

int main(int count, char **) {
  if (count > 1) std::cin.get();
  std::cout << (count > 1 ? zarGetExeFileName() : std::to_string(chStdInput().getch())) << std::endl;
}
