#include "zarlib/platform/linux/shared_object.h"

#include "zarlib/platform/linux/object_directory.h"

#include <cstring>
#include <optional>
#include <sys/mman.h>
#include <sys/stat.h>
#include <tuple>
#include <unordered_map>

namespace zar::platform {

namespace {

constexpr std::uint32_t layout_number = 1;

/// The start of an object's file, followed by its full name and, at a page boundary, its data.
struct object_header {
  char magic[8]; // written last, so a file without it is half made
  std::uint32_t layout;
  std::uint32_t word_bytes;
  std::uint32_t kind;
  std::uint32_t name_bytes;
  std::uint64_t data_offset;
  std::uint64_t data_bytes;
  unsigned char reserved[24];
};
static_assert(sizeof(object_header) == 64 && offsetof(object_header, data_offset) == 24, "a storage format");

constexpr char object_magic[8] = {'Z', 'A', 'R', 'S', 'H', 'A', 'R', 'E'};

std::uint64_t page_bytes() {
  static const auto bytes = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  return bytes;
}

std::uint64_t whole_pages(std::uint64_t bytes) { return (bytes + page_bytes() - 1) / page_bytes() * page_bytes(); }

object_header header_for(const object_type &type, const std::string &name, std::size_t bytes) {
  object_header header = {};
  header.layout = layout_number;
  header.word_bytes = sizeof(void *);
  header.kind = type.kind;
  header.name_bytes = static_cast<std::uint32_t>(name.size());
  header.data_offset = whole_pages(sizeof header + name.size());
  header.data_bytes = whole_pages(bytes);
  return header;
}

bool read_at(int file, void *target, std::size_t bytes, std::size_t offset) {
  return pread(file, target, bytes, static_cast<off_t>(offset)) == static_cast<ssize_t>(bytes);
}

bool write_at(int file, const void *source, std::size_t bytes, std::size_t offset) {
  return pwrite(file, source, bytes, static_cast<off_t>(offset)) == static_cast<ssize_t>(bytes);
}

/// Sets the file's size and allocates all of it, so that no later access can fail for lack of space.
bool set_aside(int file, std::uint64_t bytes) {
  int result;
  do result = posix_fallocate(file, 0, static_cast<off_t>(bytes));
  while (result == EINTR);
  return result == 0;
}

/// The same file, opened separately: it has no share in the lock.
descriptor open_apart(int file) {
  return descriptor(open(("/proc/thread-self/fd/" + std::to_string(file)).c_str(), O_RDWR | O_CLOEXEC));
}

memory_view map_data(int file, const object_type &type, const object_header &header) {
  // A view keeps its open file and with it the lock. One that may outlive its handles must not.
  const descriptor apart = type.is_pinned ? open_apart(file) : descriptor(-1);
  void *const data = mmap(nullptr, header.data_bytes, PROT_READ | PROT_WRITE, MAP_SHARED,
                          type.is_pinned ? apart.get() : file, static_cast<off_t>(header.data_offset));
  return memory_view(data == MAP_FAILED ? nullptr : data, {header.data_bytes});
}

bool is_half_made(int file) {
  object_header header = {};
  static constexpr char nothing[sizeof header.magic] = {};
  return !read_at(file, &header, sizeof header, 0) || std::memcmp(header.magic, nothing, sizeof nothing) == 0;
}

/// The header of a complete file that holds exactly this object in exactly this layout.
std::optional<object_header> read_header(int file, const object_type &type, const std::string &name) {
  object_header header;
  std::string stored(name.size(), '\0');
  struct stat status;
  if (!read_at(file, &header, sizeof header, 0) || fstat(file, &status) != 0) return {};
  if (std::memcmp(header.magic, object_magic, sizeof object_magic) != 0) return {};

  const object_header expected = header_for(type, name, 1);
  const auto identity = [](const object_header &h) {
    return std::tuple(h.layout, h.word_bytes, h.kind, h.name_bytes, h.data_offset);
  };
  if (identity(header) != identity(expected)) return {};
  const auto file_bytes = static_cast<std::uint64_t>(status.st_size);
  if (file_bytes <= header.data_offset || header.data_bytes == 0 || header.data_bytes > file_bytes - header.data_offset)
    return {};
  if (!read_at(file, stored.data(), stored.size(), sizeof header) || stored != name) return {};
  return header;
}

/// Fills a new file and maps its data. The magic is written last: until then the file counts as half made.
memory_view make_object(int file, const object_type &type, const std::string &name, const object_header &header) {
  if (!set_aside(file, header.data_offset + header.data_bytes)) return {};
  if (!write_at(file, &header, sizeof header, 0) || !write_at(file, name.data(), name.size(), sizeof header)) return {};
  memory_view view = map_data(file, type, header);
  if (!view) return {};
  if (type.prepare) type.prepare(view.get());
  return write_at(file, object_magic, sizeof object_magic, 0) ? std::move(view) : memory_view();
}

/// The objects this process has open, by kind and name; guarded by object_lock(). Never destroyed: static objects close
/// their handles at process exit.
std::unordered_map<std::string, std::weak_ptr<shared_object>> &known_objects() {
  static auto &table = *new std::unordered_map<std::string, std::weak_ptr<shared_object>>;
  return table;
}

std::string key_of(const object_type &type, const std::string &name) { return std::to_string(type.kind) + name; }

} // namespace

void unmapper::operator()(void *data) const { munmap(data, bytes); }

shared_object::shared_object(const object_type &type, std::string key, std::string file_name, descriptor file,
                             memory_view view)
    : m_type(type), m_key(std::move(key)), m_file_name(std::move(file_name)), m_file(std::move(file)),
      m_view(std::move(view)) {}

std::shared_ptr<shared_object> shared_object::open(const object_type &type, const std::string &name, std::size_t bytes,
                                                   bool &created) {
  created = false;
  // Declared before the lock: an object abandoned for lack of memory takes the lock in its destructor.
  std::unique_ptr<shared_object> fresh;
  std::shared_ptr<shared_object> result;
  const std::lock_guard<std::mutex> hold(object_lock());
  const std::string key = key_of(type, name);
  if (const auto known = known_objects().find(key); known != known_objects().end())
    if (auto object = known->second.lock()) return object;

  const object_directory directory;
  if (!directory) return nullptr;
  const std::string file_name = object_file_name(name);
  const auto remember = [&](descriptor file, memory_view view) {
    fresh.reset(new shared_object(type, key, file_name, std::move(file), std::move(view)));
    result = std::move(fresh);
    known_objects()[key] = result;
    return result;
  };

  object_directory::held_file found = directory.open(file_name);
  if (found.state == object_directory::finding::refused) return nullptr;
  if (found.state == object_directory::finding::alive && !is_half_made(found.file.get())) {
    const auto header = read_header(found.file.get(), type, name);
    memory_view view = header ? map_data(found.file.get(), type, *header) : memory_view();
    return view ? remember(std::move(found.file), std::move(view)) : nullptr;
  }

  if (found.state == object_directory::finding::alive) directory.remove(file_name);
  directory.sweep();
  if (bytes == 0) return nullptr;
  descriptor file = directory.create(file_name);
  if (!file) return nullptr;
  memory_view view = make_object(file.get(), type, name, header_for(type, name, bytes));
  if (!view) {
    directory.remove(file_name);
    return nullptr;
  }
  created = true;
  return remember(std::move(file), std::move(view));
}

shared_object::~shared_object() {
  if (m_type.is_pinned && m_type.is_pinned(data())) static_cast<void>(m_view.release()); // it stays mapped for good
  m_view.reset();

  const std::lock_guard<std::mutex> hold(object_lock());
  const auto known = known_objects().find(m_key);
  if (known != known_objects().end() && known->second.expired()) known_objects().erase(known);

  const object_directory directory;
  { const descriptor closing(m_file.release()); }
  if (!directory) return;
  directory.remove_if_dead(m_file_name);
  directory.sweep();
}

} // namespace zar::platform
