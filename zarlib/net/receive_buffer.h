// Bytes that a connection has received and nobody has taken yet.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace zar {

/// A byte queue that is filled by receiving directly into its room; every operation except whole() costs what it moves.
///
/// The bytes are kept in two vectors, which may be longer than their content so that they are not zero-filled again and
/// again. whole() joins them into one; from then on they stay joined after every change, at the price of moving the
/// rest to the front whenever bytes are taken.
class receive_buffer {
public:
  size_t size() const { return front_size() + m_back_end; }
  bool empty() const { return size() == 0; }
  void clear();

  /// Room for `count` bytes after the content, valid until any other operation; added() then makes them content.
  unsigned char *room(size_t count);
  void added(size_t count);

  /// REQUIRES of these three: the range lies within the content.
  void copy(size_t offset, size_t count, unsigned char *out) const;
  void drop(size_t count);
  /// Drops `skipped` bytes and moves the next `count` into `out`; a large count is handed over by swapping vectors
  /// where possible.
  void take(size_t skipped, size_t count, std::vector<unsigned char> &out);

  /// The content as one vector, which stays joined; valid for the lifetime of the buffer.
  const std::vector<unsigned char> &whole();

private:
  using piece = std::pair<const unsigned char *, size_t>;

  size_t front_size() const { return m_front_end - m_front_begin; }
  std::pair<piece, piece> pieces(size_t offset, size_t count) const;
  std::vector<unsigned char> *vector_of_exactly(size_t skipped, size_t count);
  void make_room_in_front(size_t count);
  void settle();
  void join();

  std::vector<unsigned char> m_front; // content from m_front_begin to m_front_end
  std::vector<unsigned char> m_back;  // the content that follows it, from 0 to m_back_end
  size_t m_front_begin = 0, m_front_end = 0, m_back_end = 0;
  bool m_room_is_in_back = false;
  bool m_stays_whole = false;
};

} // namespace zar
