#include "zarlib/platform/file_stream.h"

#include "zarlib/platform/linux/descriptor.h"

#include <algorithm>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace zar::platform {

namespace {

/// Writes until everything is out or a write fails. @return The number of bytes written.
size_t write_bytes(int file, const char *data, size_t size) {
  size_t done = 0;
  while (done < size) {
    const ssize_t count = write(file, data + done, size - done);
    if (count > 0) {
      done += static_cast<size_t>(count);
    } else if (count == 0 || errno != EINTR) {
      break;
    }
  }
  return done;
}

void take_back(int file, size_t size) {
  struct stat facts;
  const off_t end = lseek(file, 0, SEEK_CUR);
  if (end < 0 || fstat(file, &facts) != 0 || !S_ISREG(facts.st_mode) || facts.st_size != end) return;
  const off_t start = end - static_cast<off_t>(size);
  if (ftruncate(file, start) == 0) lseek(file, start, SEEK_SET);
}

// A pipe or a device has nothing to flush to disk.
bool force_to_disk(int file) { return fsync(file) == 0 || errno == EINVAL || errno == EROFS; }

} // namespace

std::FILE *open_for_writing(const std::string &path, opening how) {
  const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (how == opening::at_end ? O_APPEND : O_TRUNC);
  descriptor file(open(path.c_str(), flags, 0666));
  if (!file) return nullptr;
  lseek(file.get(), 0, SEEK_END);
  std::FILE *const stream = fdopen(file.get(), how == opening::at_end ? "a" : "w");
  if (stream) file.release();
  return stream;
}

// Not write(), which is a point where the thread may be cancelled: loggers hold a lock here, and pay for that readiness.
long long write_once(std::FILE *stream, const void *data, size_t size) {
  return syscall(SYS_write, fileno(stream), data, size);
}

bool write_rest(std::FILE *stream, const void *data, size_t size, long long arrived) {
  const int file = fileno(stream);
  size_t done = static_cast<size_t>(std::max(arrived, 0LL));
  if (arrived > 0 || (arrived < 0 && errno == EINTR))
    done += write_bytes(file, static_cast<const char *>(data) + done, size - done);
  if (done == size) return true;
  const int reason = errno;
  if (done > 0) take_back(file, done);
  errno = reason;
  return false;
}

long long stream_position(std::FILE *stream) { return lseek(fileno(stream), 0, SEEK_CUR); }

bool read_whole_file(const std::string &path, std::string &content) {
  const descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat facts;
  if (!file || fstat(file.get(), &facts) != 0) return false;
  // One byte more than the size, so that a file of exactly its stated size ends at the second read without growing.
  size_t room = S_ISREG(facts.st_mode) ? static_cast<size_t>(facts.st_size) + 1 : 4096;
  for (size_t done = content.size();; room = std::max<size_t>(room / 2, 4096)) {
    content.resize(done + room);
    while (done < content.size()) {
      const ssize_t count = read(file.get(), content.data() + done, content.size() - done);
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) {
        content.resize(done);
        return count == 0;
      }
      done += static_cast<size_t>(count);
    }
  }
}

bool write_whole_file(const std::string &path, const void *data, size_t size) {
  descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
  if (!file) return false;
  const bool written =
      write_bytes(file.get(), static_cast<const char *>(data), size) == size && force_to_disk(file.get());
  return close(file.release()) == 0 && written;
}

} // namespace zar::platform
