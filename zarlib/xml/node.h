// The record of an XML node, and the operations on records that underlie the handles.
#pragma once

#include "zarlib/xml/node_blocks.h"
#include "zarlib/xml/words.h"
#include "zarlib/xml/xml_object.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>

namespace zar {

/// An attribute as written in a text, entities not decoded.
struct xml_attribute_phrase {
  std::string_view key;
  std::string_view value;
  bool key_is_plain = true; ///< without characters that have an entity
};

} // namespace zar

/// One node: a reference count, five links and, at the end of the same allocation, its text.
///
/// A record that can have attributes is an xml_element_node. Attributes read by the parser are stored packed after the
/// text until the list is asked for or changed; from then on the list holds them.
/// A text too long for its place, at first or after a change, is kept in a separate std::string, whose address is then
/// stored in that place.
struct chXmlObject::xmlNodeData {
  using attribute_list = std::list<std::pair<std::string, std::string>>;

  std::atomic<int> references{1};   ///< one per handle, plus one while a parent links to it
  std::uint32_t type : 3;           ///< the xmlType
  std::uint32_t has_attributes : 1; ///< whether this is an xml_element_node
  std::uint32_t text_is_apart : 1;  ///< whether the text's place holds the address of a std::string
  std::uint32_t text_is_plain : 1;  ///< whether the text is known to need no entities
  std::uint32_t packed_count : 4;   ///< number of attributes packed after the text
  std::uint32_t text_length : 10;   ///< of a text stored in its place
  std::uint32_t distance : 12;      ///< to the start of the block, see xml_node_blocks
  xmlNodeData *parent = nullptr;    ///< not counted; only a parent's link to a child is
  xmlNodeData *first_child = nullptr;
  xmlNodeData *last_child = nullptr;
  xmlNodeData *next = nullptr;
  xmlNodeData *previous = nullptr;

  static constexpr size_t most_packed = 15;           ///< packed attributes
  static constexpr size_t longest_in_place = 1023;    ///< bytes of text, and as many again of attributes
  static constexpr size_t bytes_around_attribute = 4; ///< its two lengths

  /// Makes an unlinked record with a count of 1; null for a type outside 1 to 6.
  static xmlNodeData *make(int type, std::string_view text);
  /// The same in a block. REQUIRES: a type of 1 to 6.
  /// @param decoded  Whether to decode entities in `text`.
  static xmlNodeData *make(zar::xml_node_blocks &blocks, int type, std::string_view text, bool decoded);
  /// The same with attributes, whose values are decoded. REQUIRES: keys that are unique and plain, at most most_packed
  /// attributes, and at most longest_in_place bytes in total, including bytes_around_attribute for each.
  static xmlNodeData *make(zar::xml_node_blocks &blocks, int type, std::string_view text,
                           const zar::xml_attribute_phrase *attributes, size_t count);
  /// Makes a document that cannot have attributes.
  static xmlNodeData *make_plain_document();

  xmlNodeData(const xmlNodeData &) = delete;
  xmlNodeData &operator=(const xmlNodeData &) = delete;

  std::string_view text() const;
  void set_text(std::string_view text);

  static constexpr size_t in_first_word = 8;
  /// The first 8 bytes of the text; bytes past a shorter text are arbitrary. REQUIRES: the text is in its place.
  std::uint64_t first_word() const { return zar::load_word<std::uint64_t>(text_place()); }
  /// Whether the text equals `text` after the first 8 bytes. REQUIRES: it is in its place and as long as `text`.
  bool goes_on_as(std::string_view text) const {
    return text.size() <= in_first_word ||
           std::memcmp(text_place() + in_first_word, text.data() + in_first_word, text.size() - in_first_word) == 0;
  }

  /// 0 for a record that cannot have attributes; the functions below likewise treat it as having none.
  size_t attribute_count() const;
  /// Whether the attributes are packed, which implies plain keys.
  bool attributes_are_packed() const { return !list(); }
  std::optional<std::string_view> find_attribute(std::string_view key) const;
  /// Calls `visit(key, value)` for each attribute until it returns true. @return Whether it did.
  template <class Visit>
  bool any_attribute(Visit visit) const;
  /// The attributes as a list, built now if they were packed; thread-safe. REQUIRES: has_attributes.
  attribute_list &list_of_attributes();

  /// Whether the only child is a text.
  bool holds_one_text() const { return first_child && first_child == last_child && first_child->type == xmlTypeText; }

  int level() const;

  /// Links `child` as the last child, without counting.
  void link_last(xmlNodeData &child) {
    child.parent = this;
    if (last_child) {
      last_child->next = &child;
      child.previous = last_child;
    } else {
      first_child = &child;
    }
    last_child = &child;
  }
  /// Unlinks `child`, without counting.
  void unlink(xmlNodeData &child);

  /// An unlinked copy of this record, in a block or on its own.
  xmlNodeData *copy(zar::xml_node_blocks *blocks) const;
  /// A copy of this record and its subtree.
  xmlNodeData *copy_tree() const;

  void retain() { references.fetch_add(1, std::memory_order_relaxed); }
  /// Drops a reference; the last one destroys the record and whatever it alone holds. @return The new count.
  static int release(xmlNodeData *node);

private:
  friend struct xml_element_node;

  xmlNodeData(int node_type, bool attributes_too, std::uint32_t place, std::uint32_t length)
      : type(static_cast<std::uint32_t>(node_type) & 7), has_attributes(attributes_too), text_is_apart(false),
        text_is_plain(false), packed_count(0), text_length(length & longest_in_place), distance(place & 0xFFF) {}

  static size_t head_size(bool attributes_too);
  static xmlNodeData *build(zar::xml_node_blocks *blocks, int type, bool attributes_too, std::string_view text,
                            bool decoded, size_t packed_bytes);
  static void destroy(xmlNodeData *node, zar::xml_node_returns &returns);
  static void dissolve(xmlNodeData *node);
  attribute_list *list() const;
  char *text_place() { return reinterpret_cast<char *>(this) + head_size(has_attributes); }
  const char *text_place() const { return reinterpret_cast<const char *>(this) + head_size(has_attributes); }
  char *packed_attributes();
  const char *packed_attributes() const { return const_cast<xmlNodeData *>(this)->packed_attributes(); }
  std::string *text_apart() const;
  void put_text_apart(std::string *text);
};

/// A record with attributes.
struct xml_element_node : chXmlObject::xmlNodeData {
  xml_element_node(int node_type, std::uint32_t place, std::uint32_t length)
      : xmlNodeData(node_type, true, place, length) {}

  std::atomic<attribute_list *> list{nullptr}; ///< owned; null while the attributes are packed
};

inline size_t chXmlObject::xmlNodeData::head_size(bool attributes_too) {
  return attributes_too ? sizeof(xml_element_node) : sizeof(xmlNodeData);
}

inline std::string_view chXmlObject::xmlNodeData::text() const {
  return text_is_apart ? std::string_view(*text_apart()) : std::string_view(text_place(), text_length);
}

inline chXmlObject::xmlNodeData::attribute_list *chXmlObject::xmlNodeData::list() const {
  return has_attributes ? static_cast<const xml_element_node *>(this)->list.load(std::memory_order_acquire) : nullptr;
}

template <class Visit>
bool chXmlObject::xmlNodeData::any_attribute(Visit visit) const {
  if (const attribute_list *const attributes = list()) {
    for (const auto &[key, value] : *attributes)
      if (visit(std::string_view(key), std::string_view(value))) return true;
    return false;
  }
  const char *at = packed_attributes();
  for (unsigned left = packed_count; left > 0; --left) {
    std::uint16_t lengths[2];
    std::memcpy(lengths, at, sizeof lengths);
    at += sizeof lengths;
    if (visit(std::string_view(at, lengths[0]), std::string_view(at + lengths[0], lengths[1]))) return true;
    at += lengths[0] + lengths[1];
  }
  return false;
}

namespace zar {

using xml_node = chXmlObject::xmlNodeData;

/// The first element that passes the test among `from` and its next siblings, or null.
template <class Test>
xml_node *find_element(xml_node *from, Test test) {
  while (from && !(from->type == xmlTypeElement && test(*from))) from = from->next;
  return from;
}

/// Tests for an element of that name. Fast for long searches: length and first word decide nearly every case.
class element_named {
public:
  explicit element_named(std::string_view name) : m_name(name) {
    const size_t size = std::min(name.size(), xml_node::in_first_word);
    std::memcpy(&m_first, name.data(), size);
    m_mask = size == 0 ? 0 : ~std::uint64_t{0} >> (64 - 8 * size);
  }
  bool operator()(const xml_node &node) const {
    if (node.text_is_apart) return node.text() == m_name;
    return node.text_length == m_name.size() && ((node.first_word() ^ m_first) & m_mask) == 0 &&
           node.goes_on_as(m_name);
  }

private:
  std::string_view m_name;
  std::uint64_t m_first = 0;
  std::uint64_t m_mask;
};

/// Owns a reference and drops it on destruction, unless released by hand_on().
class xml_node_owner {
public:
  explicit xml_node_owner(xml_node *node) : m_node(node) {}
  xml_node_owner(const xml_node_owner &) = delete;
  xml_node_owner &operator=(const xml_node_owner &) = delete;
  ~xml_node_owner() {
    if (m_node) xml_node::release(m_node);
  }
  xml_node *get() const { return m_node; }
  xml_node *hand_on() { return std::exchange(m_node, nullptr); }

private:
  xml_node *m_node;
};

} // namespace zar
