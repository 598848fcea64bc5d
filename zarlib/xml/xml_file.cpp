#include "zarlib/xml/xml_file.h"

#include "zarlib/companion/morfile.h"
#include "zarlib/platform/safe_replace.h"
#include "zarlib/text/file_system.h"

#include <limits>

namespace {

const char *const new_suffix = ".new";
const char *const old_suffix = ".old";

void write_text(const std::string &path, const std::string &text) {
  if (text.size() <= static_cast<size_t>(std::numeric_limits<int>::max()))
    zarWriteBinFile(path, text.data(), static_cast<int>(text.size()));
}

bool holds(const std::string &path, const std::string &text) {
  return pathFileSizei64(path) == static_cast<long long>(text.size()) && zarDumpTextFileA(path) == text;
}

/// Order on disk: each force_names() keeps later changes from reaching the disk before earlier ones.
void replace_text(const std::string &target, const std::string &text) {
  const std::string fresh = target + new_suffix, old = target + old_suffix;
  zar::platform::create_like(fresh, target);
  write_text(fresh, text);
  // Settled, callers rely on it: no result of these calls is inspected. The disk is checked instead: a step is taken
  // only if the previous one took effect, so that a refusal ends the save in a state that the next load can recover.
  if (!holds(fresh, text)) return;
  zar::platform::force_names(fresh);
  pathRenameFile(target, old);
  pathRenameFile(fresh, target);
  if (!pathFileExist(target)) return;
  zar::platform::force_names(target);
  zar::platform::remove_replaced(old);
}

/// Completes an interrupted save.
void recover(const std::string &name) {
  const std::string fresh = name + new_suffix, old = name + old_suffix;
  if (pathFileExist(old)) {
    pathRenameFile(fresh, name);                              // fails harmlessly if already moved in
    if (!pathFileExist(name) && pathFileExist(fresh)) return; // refused: both stay for the next load
    zar::platform::force_names(name);
    zar::platform::remove_replaced(old);
  }
  if (pathFileExist(fresh)) pathRemoveFile(fresh);
}

} // namespace

chXmlFile::chXmlFile(const std::string &name) {
  if (!name.empty()) LoadFromFile(name);
}

chXmlFile::chXmlFile(const chXmlFile &other) = default;
chXmlFile::chXmlFile(chXmlFile &&other) noexcept = default;
chXmlFile &chXmlFile::operator=(const chXmlFile &other) = default;
chXmlFile &chXmlFile::operator=(chXmlFile &&other) noexcept = default;
chXmlFile::~chXmlFile() = default;

int chXmlFile::LoadFromFile(const std::string &name) {
  if (!name.empty()) recover(name);
  m_fileName = name;
  static_cast<chXmlDocument &>(*this) = ParseDocument(zarDumpTextFileA(name));
  return hasChildren();
}

void chXmlFile::SaveToFile(const std::string &name) const {
  const std::string &target = name.empty() ? m_fileName : name;
  const std::string text = ExportToText(false);
  if (pathFileExist(target)) return replace_text(target, text);
  write_text(target, text);
  zar::platform::force_names(target);
}
