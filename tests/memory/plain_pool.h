// The pool as plainly as it can be written: offsets into a vector, and every search from scratch. What the real one leaves in its
// bytes must be the same after any sequence of calls.
#pragma once

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <vector>

class plain_pool {
public:
  static constexpr std::uint32_t object = 8, head = 16, begin = 24;

  explicit plain_pool(int size) : bytes(begin + size), end(begin + size) {
    set(object, size);
    set(object + 4, begin - object);
    set(begin, size | free_flag);
    set_link(head, begin + 4), set_link(head + 4, begin + 8);
    set_link(begin + 4, head), set_link(begin + 8, head + 4);
  }

  /// 0 for null, here and below.
  std::uint32_t find(int asked) {
    if (asked > INT_MAX - 4) asked = INT_MAX - 4;
    const std::uint32_t need = (std::max(asked, 8) + 3) / 4 * 4;
    for (std::uint32_t node = link(head); node != head; node = link(node)) {
      while (payload(node) < need && join(node)) {
      }
      if (payload(node) < need) continue;
      if (payload(node) > need + 12) {
        const std::uint32_t rest = node + need + 4;
        set(rest - 4, (payload(node) - need) | free_flag);
        set(node - 4, (need + 4) | free_flag);
        insert_before(link(node), rest);
      }
      return node;
    }
    return 0;
  }

  std::uint32_t alloc(int asked) {
    const std::uint32_t node = find(asked);
    if (!node) return 0;
    set(node - 4, get(node - 4) & ~free_flag);
    unlink(node);
    return node;
  }

  void free(std::uint32_t data) {
    set(data - 4, get(data - 4) | free_flag);
    std::uint32_t right = data + payload(data);
    while (right < end && !is_free(right)) right += get(right);
    insert_before(right < end ? right + 4 : head, data);
  }

  std::uint32_t realloc(std::uint32_t data, int asked) {
    const std::uint32_t old_size = payload(data);
    while (static_cast<int>(payload(data)) < asked && join(data)) {
    }
    if (static_cast<int>(payload(data)) >= asked) return data;
    const std::uint32_t moved = alloc(asked);
    std::memcpy(&bytes[moved], &bytes[data], old_size);
    free(data);
    return moved;
  }

  std::uint32_t payload(std::uint32_t data) const { return (get(data - 4) & ~free_flag) - 4; }

  std::vector<unsigned char> bytes;
  const std::uint32_t end;

private:
  static constexpr std::uint32_t free_flag = 0x80000000;

  std::uint32_t get(std::uint32_t at) const {
    return bytes[at] | bytes[at + 1] << 8 | bytes[at + 2] << 16 | static_cast<std::uint32_t>(bytes[at + 3]) << 24;
  }
  void set(std::uint32_t at, std::uint32_t value) {
    for (int i = 0; i < 4; ++i) bytes[at + i] = static_cast<unsigned char>(value >> 8 * i);
  }
  std::uint32_t link(std::uint32_t at) const { return at + get(at); }
  void set_link(std::uint32_t at, std::uint32_t target) { set(at, target - at); }
  bool is_free(std::uint32_t cell) const { return (get(cell) & free_flag) != 0; }

  bool join(std::uint32_t data) {
    const std::uint32_t right = data + payload(data);
    if (right >= end || !is_free(right)) return false;
    unlink(right + 4);
    set(data - 4, get(data - 4) + (get(right) & ~free_flag));
    return true;
  }
  void unlink(std::uint32_t node) {
    const std::uint32_t next = link(node), back = link(node + 4);
    set_link(next + 4, back), set_link(back - 4, next);
    set(node, 0xFFFFFFFF), set(node + 4, 0xFFFFFFFF);
  }
  void insert_before(std::uint32_t next, std::uint32_t node) {
    const std::uint32_t back = link(next + 4);
    set_link(next + 4, node + 4), set_link(node + 4, back);
    set_link(node, next), set_link(back - 4, node);
  }
};
