#include "zarlib/platform/safe_replace.h"

#include "zarlib/platform/files.h"
#include "zarlib/platform/linux/descriptor.h"

#include <sys/stat.h>

namespace zar::platform {

void create_like(const std::string &path, const std::string &model) {
  struct stat wanted;
  if (stat(model.c_str(), &wanted) != 0 || !S_ISREG(wanted.st_mode)) return;
  const descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
  if (!file) return;
  // The owner first: permissions granted before could serve a stranger. A user who may not give files away may still
  // assign one of his groups; if that fails too, the file's current group gets no more than others do.
  const bool same_group =
      fchown(file.get(), wanted.st_uid, wanted.st_gid) == 0 || fchown(file.get(), uid_t(-1), wanted.st_gid) == 0;
  mode_t rights = (wanted.st_mode & 0777) | S_IWUSR;
  if (!same_group) rights &= ~mode_t{S_IRWXG} | (rights & S_IRWXO) << 3;
  fchmod(file.get(), rights);
}

void force_names(const std::string &path) {
  const size_t slash = path.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  const descriptor names(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (names) fsync(names.get());
}

void remove_replaced(const std::string &path) { remove_file(path); }

} // namespace zar::platform
