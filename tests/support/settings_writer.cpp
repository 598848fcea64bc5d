// Loads a file and saves one document after the other, until it is killed; tells what it found, and each save that is done.
#include "tests/support/settings_document.h"
#include "zarlib/xml/xml_file.h"

#include <cstdio>

int main(int, char **argv) {
  int number = settings_number(chXmlFile(argv[1]));
  while (number >= 0) {
    std::printf("%d\n", number);
    std::fflush(stdout);
    chXmlFile next;
    static_cast<chXmlDocument &>(next) = settings_document(++number);
    next.SaveToFile(argv[1]);
  }
  std::puts("not whole");
}
