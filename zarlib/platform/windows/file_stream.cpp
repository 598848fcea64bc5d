#include "zarlib/platform/file_stream.h"

#include "zarlib/platform/windows/wide_text.h"

#include <algorithm>
#include <fcntl.h>
#include <io.h>
#include <limits>
#include <sys/stat.h>
#include <utility>

namespace zar::platform {

namespace {

/// A descriptor that closes itself.
class descriptor {
public:
  explicit descriptor(int number) : m_number(number) {}
  descriptor(const descriptor &) = delete;
  descriptor &operator=(const descriptor &) = delete;
  ~descriptor() {
    if (m_number >= 0) _close(m_number);
  }

  explicit operator bool() const { return m_number >= 0; }
  int get() const { return m_number; }
  int release() { return std::exchange(m_number, -1); }

private:
  int m_number;
};

int open_file(const std::string &path, int flags) {
  return _wopen(to_wide(path).c_str(), flags | _O_BINARY | _O_NOINHERIT, _S_IREAD | _S_IWRITE);
}

/// The run-time library's own appending first moves to the end and then writes, which loses lines of two writers.
int open_to_append(const std::string &path) {
  const HANDLE file =
      CreateFileW(to_wide(path).c_str(), FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE,
                  FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return -1;
  const int number = _open_osfhandle(reinterpret_cast<intptr_t>(file), _O_BINARY | _O_NOINHERIT);
  if (number < 0) CloseHandle(file);
  return number;
}

int piece_of(size_t size) {
  return static_cast<int>(std::min<size_t>(size, static_cast<size_t>(std::numeric_limits<int>::max())));
}

/// Writes until everything is out or a write fails. @return The number of bytes written.
size_t write_bytes(int file, const char *data, size_t size) {
  size_t done = 0;
  while (done < size) {
    const int count = _write(file, data + done, static_cast<unsigned>(piece_of(size - done)));
    if (count <= 0) break;
    done += static_cast<size_t>(count);
  }
  return done;
}

void take_back(int file, size_t size) {
  const long long end = _telli64(file);
  if (end < 0 || _filelengthi64(file) != end) return;
  LARGE_INTEGER start;
  start.QuadPart = end - static_cast<long long>(size);
  // A handle that only appends cannot truncate.
  const HANDLE own = reinterpret_cast<HANDLE>(_get_osfhandle(file));
  const HANDLE whole = ReOpenFile(own, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, 0);
  if (whole == INVALID_HANDLE_VALUE) return;
  if (SetFilePointerEx(whole, start, nullptr, FILE_BEGIN) && SetEndOfFile(whole))
    _lseeki64(file, start.QuadPart, SEEK_SET);
  CloseHandle(whole);
}

} // namespace

std::FILE *open_for_writing(const std::string &path, opening how) {
  descriptor file(how == opening::at_end ? open_to_append(path) : open_file(path, _O_WRONLY | _O_CREAT | _O_TRUNC));
  if (!file) return nullptr;
  _lseeki64(file.get(), 0, SEEK_END);
  std::FILE *const stream = _fdopen(file.get(), how == opening::at_end ? "ab" : "wb");
  if (stream) file.release();
  return stream;
}

long long write_once(std::FILE *stream, const void *data, size_t size) {
  return _write(_fileno(stream), data, static_cast<unsigned>(piece_of(size)));
}

bool write_rest(std::FILE *stream, const void *data, size_t size, long long arrived) {
  const int file = _fileno(stream);
  size_t done = static_cast<size_t>(std::max(arrived, 0LL));
  if (arrived > 0) done += write_bytes(file, static_cast<const char *>(data) + done, size - done);
  if (done > 0 && done < size) take_back(file, done);
  return done == size;
}

long long stream_position(std::FILE *stream) { return _telli64(_fileno(stream)); }

bool read_whole_file(const std::string &path, std::string &content) {
  const descriptor file(open_file(path, _O_RDONLY));
  if (!file) return false;
  size_t room = static_cast<size_t>(std::max(_filelengthi64(file.get()), 0LL)) + 1;
  for (size_t done = content.size();; room = std::max<size_t>(room / 2, 4096)) {
    content.resize(done + room);
    while (done < content.size()) {
      const int count =
          _read(file.get(), content.data() + done, static_cast<unsigned>(piece_of(content.size() - done)));
      if (count <= 0) {
        content.resize(done);
        return count == 0;
      }
      done += static_cast<size_t>(count);
    }
  }
}

bool write_whole_file(const std::string &path, const void *data, size_t size) {
  descriptor file(open_file(path, _O_WRONLY | _O_CREAT | _O_TRUNC));
  if (!file) return false;
  const bool written =
      write_bytes(file.get(), static_cast<const char *>(data), size) == size && _commit(file.get()) == 0;
  return _close(file.release()) == 0 && written;
}

} // namespace zar::platform
