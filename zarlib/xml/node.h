// The record of an XML node, and what is done with records below the handles.
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

/// An attribute as it stands in a text, with entities.
struct xml_attribute_phrase {
  std::string_view key;
  std::string_view value;
  bool key_is_plain = true; ///< without characters that have an entity
};

} // namespace zar

/// One node: a count, five links, and its text at the end of the same stretch of memory.
///
/// A record of element kind is an xml_element_node. Its attributes stand packed behind its text, as they were read,
/// until somebody asks for the list or changes it; from then on the list holds them.
/// A text that grows beyond its place, or is too long for it, moves to a std::string of its own, whose address then
/// stands in that place.
struct chXmlObject::xmlNodeData {
  using attribute_list = std::list<std::pair<std::string, std::string>>;

  std::atomic<int> references{1};   ///< one for each handle, one while a parent links it
  std::uint32_t type : 3;           ///< the xmlType
  std::uint32_t has_attributes : 1; ///< whether this is an xml_element_node
  std::uint32_t text_is_apart : 1;  ///< whether the place of the text holds the address of a std::string
  std::uint32_t text_is_plain : 1;  ///< whether the text is known to have no character that is written as an entity
  std::uint32_t packed_count : 4;   ///< the attributes behind the text
  std::uint32_t text_length : 10;   ///< of a text in its place
  std::uint32_t distance : 12;      ///< to the start of the block, see xml_node_blocks
  xmlNodeData *parent = nullptr;    ///< not counted, as no link but a parent's on its children is
  xmlNodeData *first_child = nullptr;
  xmlNodeData *last_child = nullptr;
  xmlNodeData *next = nullptr;
  xmlNodeData *previous = nullptr;

  static constexpr size_t most_packed = 15;           ///< attributes behind a text
  static constexpr size_t longest_in_place = 1023;    ///< text, and so much again of attributes
  static constexpr size_t bytes_around_attribute = 4; ///< two lengths

  /// Makes a record without links, counted once; null for a type outside 1 to 6.
  static xmlNodeData *make(int type, std::string_view text);
  /// The same in a block. REQUIRES: a type of 1 to 6.
  /// @param decoded  Whether entities in `text` are decoded on the way.
  static xmlNodeData *make(zar::xml_node_blocks &blocks, int type, std::string_view text, bool decoded);
  /// The same with attributes, whose values are decoded. REQUIRES: no key twice, each plain, at most most_packed of
  /// them, which need, each with bytes_around_attribute, at most longest_in_place.
  static xmlNodeData *make(zar::xml_node_blocks &blocks, int type, std::string_view text,
                           const zar::xml_attribute_phrase *attributes, size_t count);
  /// Makes a document that cannot have attributes.
  static xmlNodeData *make_plain_document();

  xmlNodeData(const xmlNodeData &) = delete;
  xmlNodeData &operator=(const xmlNodeData &) = delete;

  std::string_view text() const;
  void set_text(std::string_view text);

  static constexpr size_t in_first_word = 8;
  /// The first 8 bytes where the text stands; behind a shorter text anything. REQUIRES: the text is in its place.
  std::uint64_t first_word() const { return zar::load_word<std::uint64_t>(text_place()); }
  /// Whether the text goes on, behind its first 8 bytes, as `text` does. REQUIRES: in its place, as long as `text`.
  bool goes_on_as(std::string_view text) const {
    return text.size() <= in_first_word ||
           std::memcmp(text_place() + in_first_word, text.data() + in_first_word, text.size() - in_first_word) == 0;
  }

  /// 0 for a record without room for attributes, as all that follow treat it as one without any.
  size_t attribute_count() const;
  /// Whether the attributes are packed; their keys are plain then.
  bool attributes_are_packed() const { return !list(); }
  std::optional<std::string_view> find_attribute(std::string_view key) const;
  /// Calls `visit(key, value)` for each attribute, until one answers true. @return Whether one did.
  template <class Visit>
  bool any_attribute(Visit visit) const;
  /// The attributes as a list, made now if they were packed; several threads may ask at once. REQUIRES: has_attributes.
  attribute_list &list_of_attributes();

  /// Whether a child is the only one, and a text.
  bool holds_one_text() const { return first_child && first_child == last_child && first_child->type == xmlTypeText; }

  int level() const;

  /// Links `child` as the last one, without counting.
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
  /// Takes out `child`, without counting.
  void unlink(xmlNodeData &child);

  /// A copy of this record, without links, in a block or alone.
  xmlNodeData *copy(zar::xml_node_blocks *blocks) const;
  /// A copy of this record and all below it.
  xmlNodeData *copy_tree() const;

  void retain() { references.fetch_add(1, std::memory_order_relaxed); }
  /// Drops a reference, and the record and what it alone holds with the last one. @return The new count.
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

/// The test for an element of that name, as quick as can be for each of many: length and first word decide nearly all.
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

/// Drops the reference that it holds, unless it was handed on.
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
