// A text under construction.
#pragma once

#include "zarlib/xml/entities.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zar {

/// Collects a text in pieces without ever moving them; text() builds one string of the exact size.
class text_sink {
public:
  void put(std::string_view text) { m_at = copy_short(text.data(), text.size(), room(text.size())); }

  void put_blanks(size_t count) {
    constexpr size_t few = 16; // always written in full, in one store
    char *const at = room(std::max(count, few));
    std::memset(at, ' ', few);
    if (count > few) std::memset(at, ' ', count);
    m_at = at + count;
  }

  /// A string literal.
  template <size_t size>
  void put(const char (&text)[size]) {
    char *const at = room(size - 1);
    std::memcpy(at, text, size - 1);
    m_at = at + size - 1;
  }

  /// Escapes with entities. Reserves little at a time, since the rest of a piece that turns out too small is wasted.
  void put_escaped(std::string_view text) {
    while (!text.empty()) {
      const std::string_view front = text.substr(0, at_once);
      const size_t plain = xml_copy_plain(front, room(front.size()));
      m_at += plain;
      text.remove_prefix(plain);
      if (plain == front.size()) continue;
      put(xml_entity(text.front()));
      text.remove_prefix(1);
    }
  }

  std::string text() const {
    std::string result;
    result.reserve(m_size_before + used());
    for (size_t i = 0; i + 1 < m_pieces.size(); ++i) result.append(m_pieces[i].start.get(), m_pieces[i].used);
    if (!m_pieces.empty()) result.append(m_pieces.back().start.get(), used());
    return result;
  }

private:
  struct piece {
    std::unique_ptr<char[]> start;
    size_t used;
  };

  size_t used() const { return m_pieces.empty() ? 0 : static_cast<size_t>(m_at - m_pieces.back().start.get()); }

  char *room(size_t bytes) { return static_cast<size_t>(m_end - m_at) >= bytes ? m_at : new_piece(bytes); }

  char *new_piece(size_t bytes) {
    if (!m_pieces.empty()) m_pieces.back().used = used();
    m_size_before += used();
    const size_t size = std::max(bytes, std::clamp<size_t>(m_size_before, smallest, largest));
    m_pieces.push_back({std::unique_ptr<char[]>(new char[size]), 0});
    m_at = m_pieces.back().start.get();
    m_end = m_at + size;
    return m_at;
  }

  static constexpr size_t smallest = 4 * 1024, largest = 1024 * 1024; // sizes of pieces
  static constexpr size_t at_once = 512;

  std::vector<piece> m_pieces;
  size_t m_size_before = 0; // of all pieces but the last
  char *m_at = nullptr;
  char *m_end = nullptr;
};

} // namespace zar
