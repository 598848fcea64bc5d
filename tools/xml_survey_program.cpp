// Reads paths from standard input, a line each, and writes for each whether its text is taken: tools/xml_survey.
#include "zarlib/companion/morfile.h"
#include "zarlib/xml/xml_document.h"

#include <iostream>

int main() {
  for (std::string path; std::getline(std::cin, path);)
    std::cout << (chXmlDocument::ParseDocument(zarDumpTextFileA(path)).hasChildren() ? "taken" : "refused") << '\n';
}
