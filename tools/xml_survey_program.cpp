// Reads paths from standard input, one per line, and prints for each whether the file parses; for tools/xml_survey.
#include "zarlib/companion/morfile.h"
#include "zarlib/xml/xml_document.h"

#include <iostream>

int main() {
  for (std::string path; std::getline(std::cin, path);)
    std::cout << (chXmlDocument::ParseDocument(zarDumpTextFileA(path)).hasChildren() ? "taken" : "refused") << '\n';
}
