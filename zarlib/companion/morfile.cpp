#include "zarlib/companion/morfile.h"

#include "zarlib/platform/file_stream.h"

#include <algorithm>
#include <limits>

namespace {

constexpr size_t buffer_size = 64 * 1024;

} // namespace

chFileStdio::chFileStdio(std::FILE *stream) : m_stream(stream) {
  // From here on bytes bypass the stream's own buffer.
  if (stream) std::fflush(stream);
}

chFileStdio::chFileStdio(const std::string &path, unsigned mode) : m_stream(nullptr) { Open(path, mode); }

chFileStdio::~chFileStdio() { Close(); }

bool chFileStdio::Open(const std::string &path, unsigned mode) {
  Close();
  if (mode != mode_anew && mode != mode_append) return false;
  using zar::platform::opening;
  m_stream = zar::platform::open_for_writing(path, mode == mode_append ? opening::at_end : opening::anew);
  return IsFileOpened();
}

void chFileStdio::Close() {
  if (!m_stream) return;
  Flush();
  std::fclose(m_stream);
  m_stream = nullptr;
}

bool chFileStdio::WriteString(const std::string &text) { return WriteRecord({text}); }

bool chFileStdio::Write(const void *data, int size, int count) {
  if (size < 0 || count < 0) return false;
  const long long bytes = static_cast<long long>(size) * count;
  if (bytes > std::numeric_limits<std::ptrdiff_t>::max()) return false;
  return WriteRecord({std::string_view(static_cast<const char *>(data), static_cast<size_t>(bytes))});
}

bool chFileStdio::WriteRecord(std::initializer_list<std::string_view> parts) {
  if (!m_stream) return false;
  size_t bytes = 0;
  for (const std::string_view part : parts) bytes += part.size();
  const bool had_room = m_pending.size() + bytes <= buffer_size || Flush();
  if (bytes >= buffer_size && parts.size() == 1)
    return zar::platform::write_all(m_stream, parts.begin()->data(), bytes) && had_room;

  for (const std::string_view part : parts) m_pending.append(part);
  return (m_pending.size() < buffer_size || Flush()) && had_room;
}

std::FILE *chFileStdio::UnbufferedStream() {
  if (!m_pending.empty()) Flush();
  return m_stream;
}

bool chFileStdio::Flush() {
  if (!m_stream) return false;
  if (m_pending.empty()) return true;
  const bool written = zar::platform::write_all(m_stream, m_pending.data(), m_pending.size());
  m_pending.clear();
  if (m_pending.capacity() > 4 * buffer_size) m_pending = std::string();
  return written;
}

int chFileStdio::GetPosition() const {
  if (!m_stream) return -1;
  const long long at = zar::platform::stream_position(m_stream);
  if (at < 0) return -1;
  return static_cast<int>(
      std::min<long long>(at + static_cast<long long>(m_pending.size()), std::numeric_limits<int>::max()));
}

std::string zarDumpTextFileA(const std::string &path) {
  std::string content;
  if (!zar::platform::read_whole_file(path, content)) content.clear();
  return content;
}

bool zarWriteBinFile(const std::string &path, const void *data, int size) {
  if (size < 0 || (!data && size > 0)) return false;
  return zar::platform::write_whole_file(path, data, static_cast<size_t>(size));
}
