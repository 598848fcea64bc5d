// A settings file on the command line:
//   settings FILE get KEY         prints the value
//   settings FILE set KEY VALUE   changes the value; a missing file is created
//   settings FILE list            prints KEY=VALUE lines
// Exit code 0; 1 with a line on standard error if the file is missing or malformed, the key is missing, the change
// cannot be made, or standard output cannot be written; 2 for a wrong command line. A file that is not a settings file
// is never overwritten.
#include <zarlib/text/file_system.h>
#include <zarlib/xml/xml_file.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

int fail(const std::string &why) {
  std::fprintf(stderr, "settings: %s\n", why.c_str());
  return 1;
}

/// Buffered output may still fail to be written.
int end_output() {
  return std::fflush(stdout) == 0 && !std::ferror(stdout) ? 0 : fail("standard output cannot be written");
}

/// The text of an option; empty for an element without content.
std::string value_of(const chXmlElement &option) {
  const chXmlObject content = option.getChild();
  return content.type() == xmlTypeText ? content.tagName() : std::string();
}

int get(const chXmlElement &root, const std::string &key) {
  const chXmlElement option = root.FindChildElement(key);
  if (!option.hasData()) return fail("there is no key " + key);
  std::printf("%s\n", value_of(option).c_str());
  return end_output();
}

int list(const chXmlElement &root) {
  for (chXmlElement option = root.getChildElement(); option.hasData(); ++option)
    std::printf("%s=%s\n", option.tagName().c_str(), value_of(option).c_str());
  return end_output();
}

/// A key such as "two words", or a value with trailing blanks, would not survive a save and a load.
bool comes_back(const std::string &text, const std::string &key, const std::string &value) {
  const chXmlElement option = chXmlDocument::ParseDocument(text).getChildElement().FindChildElement(key);
  return option.hasData() && value_of(option) == value;
}

int set(chXmlFile &file, const std::string &path, const std::string &key, const std::string &value) {
  chXmlElement root = file.getChildElement();
  if (!root.hasData()) root = file.AddChildElement("settings");
  const bool changed = root.SetOption(key, value);
  const std::string text = file.ExportToText(false);
  if (!comes_back(text, key, value)) return fail("such a key or value cannot be kept in " + path);
  if (!changed) return 0;

  file.SaveToFile("");
  // A save reports nothing, so read back what was written.
  if (chXmlFile(path).ExportToText(false) != chXmlDocument::ParseDocument(text).ExportToText(false))
    return fail(path + " could not be written");
  return 0;
}

} // namespace

int main(int argc, char **argv) {
  const std::vector<std::string> words(argv + 1, argv + argc);
  const std::string verb = words.size() > 1 ? words[1] : "";
  if (!(verb == "get" && words.size() == 3) && !(verb == "set" && words.size() == 4) &&
      !(verb == "list" && words.size() == 2)) {
    std::fprintf(stderr, "usage: settings FILE get KEY | set KEY VALUE | list\n");
    return 2;
  }
  const std::string &path = words[0];
  chXmlFile file(path);
  const chXmlElement root = file.getChildElement();
  if (!root.hasData() && pathFileExist(path)) return fail(path + " is not a settings file; it stays as it is");
  if (verb == "set") return set(file, path, words[2], words[3]);
  if (!root.hasData()) return fail(path + ": no such file");
  return verb == "get" ? get(root, words[2]) : list(root);
}
