#include "zarlib/platform/linux/minidump_file.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zar::platform {

using namespace minidump;

namespace {

constexpr std::uint64_t size_max = 256u << 20;
constexpr std::uint64_t page = 4096;

/// The raw system call: it reports bad addresses, and nothing in between reads the bytes first.
ssize_t write_raw(int file, const void *bytes, size_t length, std::uint64_t place) {
  return syscall(SYS_pwrite64, file, bytes, length, place);
}

/// Removes the next code point from the front of a text; an invalid byte becomes U+FFFD.
char32_t take_code_point(std::string_view &text) {
  const auto first = static_cast<unsigned char>(text.front());
  text.remove_prefix(1);
  if (first < 0x80) return first;
  const size_t more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
  if (first < 0xC2 || first > 0xF4 || text.size() < more) return 0xFFFD;
  char32_t result = first & (0x3Fu >> more);
  for (size_t i = 0; i < more; ++i) {
    if ((text[i] & 0xC0) != 0x80) return 0xFFFD;
    result = result << 6 | (text[i] & 0x3F);
  }
  text.remove_prefix(more);
  return result;
}

/// A new file under that name: another process that is writing a dump of the same second keeps a file of its own.
int create_file(const char *path) {
  for (int attempts = 0; attempts < 100; ++attempts) {
    unlink(path);
    const int file = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file >= 0 || errno != EEXIST) return file;
  }
  return -1;
}

} // namespace

minidump_file::minidump_file(const char *path) : m_file(create_file(path)), m_end(sizeof(header) + sizeof m_streams) {}

minidump_file::~minidump_file() {
  if (is_open()) close(m_file);
}

std::uint64_t minidump_file::room() const { return m_end < size_max ? size_max - m_end : 0; }

void minidump_file::write_at(std::uint64_t place, const void *bytes, size_t length) {
  auto at = reinterpret_cast<std::uintptr_t>(bytes);
  const std::uintptr_t end = at + length;
  while (at < end) {
    const ssize_t count = write_raw(m_file, reinterpret_cast<const void *>(at), end - at, place);
    if (count < 0 && errno == EINTR) continue;
    // Skips an unreadable page; the file keeps a hole there, which reads as zeros.
    const std::uintptr_t step = count > 0 ? static_cast<std::uintptr_t>(count) : std::min(page - at % page, end - at);
    m_failed = m_failed || (count < 0 && errno != EFAULT);
    at += step;
    place += step;
  }
}

location minidump_file::append(const void *bytes, size_t length) {
  const std::uint64_t place = (m_end + 7) & ~std::uint64_t{7};
  write_at(place, bytes, length);
  m_end = place + length;
  return {static_cast<std::uint32_t>(length), static_cast<std::uint32_t>(place)};
}

location minidump_file::extend(location last, const void *bytes, size_t length) {
  write_at(m_end, bytes, length);
  m_end += length;
  return {static_cast<std::uint32_t>(m_end - last.rva), last.rva};
}

std::uint32_t minidump_file::append_text(std::string_view utf8) {
  struct {
    std::uint32_t bytes;
    char16_t text[4096];
  } block;
  size_t length = 0;
  while (!utf8.empty() && length < std::size(block.text) - 3) {
    const char32_t point = take_code_point(utf8);
    if (point > 0xFFFF) block.text[length++] = static_cast<char16_t>(0xD7C0 + (point >> 10));
    block.text[length++] = static_cast<char16_t>(point > 0xFFFF ? 0xDC00 + (point & 0x3FF) : point);
  }
  block.text[length] = 0;
  block.bytes = static_cast<std::uint32_t>(length * sizeof(char16_t));
  return append(&block, sizeof block.bytes + block.bytes + sizeof(char16_t)).rva;
}

location minidump_file::append_file(const char *path) {
  location place = append(nullptr, 0);
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  if (file < 0) return place;
  char buffer[4096];
  for (ssize_t count; room() > 0 && (count = read(file, buffer, sizeof buffer)) > 0;)
    place = extend(place, buffer, static_cast<size_t>(count));
  close(file);
  return place;
}

void minidump_file::add_stream(stream_type type, location place) {
  if (m_stream_count < streams_max) m_streams[m_stream_count++] = {type, place};
}

bool minidump_file::finish() {
  const header head = {signature, version, m_stream_count, sizeof head, 0, static_cast<std::uint32_t>(time(nullptr)),
                       0};
  write_at(sizeof head, m_streams, m_stream_count * sizeof(directory_entry));
  write_at(0, &head, sizeof head);
  // On a full disk the text report, which comes next, gets the room of a dump that is of no use.
  return ftruncate(m_file, m_failed ? 0 : static_cast<off_t>(m_end)) == 0 && !m_failed;
}

} // namespace zar::platform
