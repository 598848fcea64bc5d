#include "zarlib/net/receive_buffer.h"

#include <algorithm>

namespace zar {

namespace {

/// From this size on, swapping vectors is cheaper than copying.
constexpr size_t large = 16 * 1024;

} // namespace

void receive_buffer::clear() {
  m_front_begin = m_front_end = m_back_end = 0;
  settle();
}

unsigned char *receive_buffer::room(size_t count) {
  // A large piece after a small one, such as its header, gets a vector of its own, so that it can be handed over by a
  // swap.
  m_room_is_in_back = m_stays_whole || m_back_end > 0 || (front_size() > 0 && count >= large);
  if (!m_room_is_in_back) {
    make_room_in_front(count);
    return m_front.data() + m_front_end;
  }
  if (m_back.size() - m_back_end < count) m_back.resize(m_back_end + count);
  return m_back.data() + m_back_end;
}

void receive_buffer::make_room_in_front(size_t count) {
  if (m_front.size() - m_front_end >= count) return;
  // Moved only if that frees at least as much as it moves: amortised, no byte is moved more than twice.
  if (m_front_begin >= front_size()) {
    std::copy_n(m_front.data() + m_front_begin, front_size(), m_front.data());
    m_front_end -= std::exchange(m_front_begin, 0);
  }
  if (m_front.size() - m_front_end < count) m_front.resize(m_front_end + count);
}

void receive_buffer::added(size_t count) {
  (m_room_is_in_back ? m_back_end : m_front_end) += count;
  settle();
}

std::pair<receive_buffer::piece, receive_buffer::piece> receive_buffer::pieces(size_t offset, size_t count) const {
  const size_t in_front = std::min(offset, front_size());
  const size_t from_front = std::min(count, front_size() - in_front);
  return {{m_front.data() + m_front_begin + in_front, from_front},
          {m_back.data() + (offset - in_front), count - from_front}};
}

void receive_buffer::copy(size_t offset, size_t count, unsigned char *out) const {
  const auto [first, second] = pieces(offset, count);
  if (first.second > 0) out = std::copy_n(first.first, first.second, out);
  if (second.second > 0) std::copy_n(second.first, second.second, out);
}

void receive_buffer::drop(size_t count) {
  const size_t from_front = std::min(count, front_size());
  m_front_begin += from_front;
  settle();
  if (count == from_front) return;
  m_front_begin += count - from_front; // the back has become the front
  settle();
}

/// The vector that holds exactly the content from `skipped` on, starting at its first byte; null if there is none.
std::vector<unsigned char> *receive_buffer::vector_of_exactly(size_t skipped, size_t count) {
  if (skipped + count != size()) return nullptr;
  if (m_back_end > 0) return count == m_back_end ? &m_back : nullptr;
  return m_front_begin + skipped == 0 ? &m_front : nullptr;
}

void receive_buffer::take(size_t skipped, size_t count, std::vector<unsigned char> &out) {
  std::vector<unsigned char> *whole = count >= large ? vector_of_exactly(skipped, count) : nullptr;
  if (whole) {
    whole->resize(count);
    out.swap(*whole);
    clear();
    return;
  }
  const auto [first, second] = pieces(skipped, count);
  out.assign(first.first, first.first + first.second);
  out.insert(out.end(), second.first, second.first + second.second);
  drop(skipped + count);
}

const std::vector<unsigned char> &receive_buffer::whole() {
  m_stays_whole = true;
  join();
  return m_front;
}

void receive_buffer::settle() {
  if (front_size() == 0) {
    m_front_begin = m_front_end = 0;
    if (m_back_end > 0) {
      m_front.swap(m_back);
      m_front_end = std::exchange(m_back_end, 0);
    }
  }
  if (m_stays_whole) join();
}

void receive_buffer::join() {
  m_front.resize(m_front_end);
  m_front.erase(m_front.begin(), m_front.begin() + static_cast<ptrdiff_t>(m_front_begin));
  m_front_end -= std::exchange(m_front_begin, 0);
  m_front.insert(m_front.end(), m_back.begin(), m_back.begin() + static_cast<ptrdiff_t>(m_back_end)); // may throw
  m_front_end += std::exchange(m_back_end, 0);
}

} // namespace zar
