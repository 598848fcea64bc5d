// The record of an XML node, and what is done with records below the handles.
#pragma once

#include "zarlib/xml/xml_object.h"

#include <atomic>
#include <cstdint>
#include <string_view>

/// One node: a count, five links, and its text at the end of the same block.
///
/// A node of element kind is an xml_element_node: its attributes stand between the links and the text. A text that grows beyond its
/// place, or is too long for it, moves to a std::string of its own, whose address then stands in that place.
struct chXmlObject::xmlNodeData {
  std::atomic<int> references{1}; ///< one for each handle, one while a parent links it
  std::uint16_t text_length = 0;  ///< of a text in its place
  std::uint8_t type = 0;          ///< the xmlType
  bool has_attributes : 1;        ///< whether this is an xml_element_node
  bool text_is_apart : 1;         ///< whether the place holds the address of a std::string
  xmlNodeData *parent = nullptr;  ///< not counted, as no link but a parent's on its children is
  xmlNodeData *first_child = nullptr;
  xmlNodeData *last_child = nullptr;
  xmlNodeData *next = nullptr;
  xmlNodeData *previous = nullptr;

  /// Makes a record without links, counted once; null for a type outside 1 to 6.
  static xmlNodeData *make(int type, std::string_view text);
  /// Makes a document that cannot have attributes.
  static xmlNodeData *make_plain_document();

  xmlNodeData(const xmlNodeData &) = delete;
  xmlNodeData &operator=(const xmlNodeData &) = delete;

  std::string_view text() const;
  void set_text(std::string_view text);

  /// Null for a node without room for attributes.
  chXmlAttributeObject::attribute_list *attributes();
  const chXmlAttributeObject::attribute_list *attributes() const;
  /// The value of a key, or null.
  std::string *find_attribute(std::string_view key);

  /// Whether a child is the only one, and a text.
  bool holds_one_text() const { return first_child && first_child == last_child && first_child->type == xmlTypeText; }

  int level() const;

  /// Links `child` as the last one, without counting.
  void link_last(xmlNodeData &child);
  /// Takes out `child`, without counting.
  void unlink(xmlNodeData &child);

  /// A copy of this record, without links.
  xmlNodeData *copy() const;
  /// A copy of this record and all below it.
  xmlNodeData *copy_tree() const;

  void retain() { references.fetch_add(1, std::memory_order_relaxed); }
  /// Drops a reference, and the record and what it alone holds with the last one. @return The new count.
  static int release(xmlNodeData *node);

private:
  explicit xmlNodeData(int node_type, bool attributes_too)
      : type(static_cast<std::uint8_t>(node_type)), has_attributes(attributes_too), text_is_apart(false) {}

  friend struct xml_element_node;

  static xmlNodeData *make_record(int type, bool with_attributes, std::string_view text);
  static void destroy(xmlNodeData *node);
  bool drop_reference() { return references.fetch_sub(1, std::memory_order_acq_rel) == 1; }
  char *text_place();
  const char *text_place() const { return const_cast<xmlNodeData *>(this)->text_place(); }
  std::string *text_apart() const;
  void put_text_apart(std::string *text);
};

/// A record with attributes.
struct xml_element_node : chXmlObject::xmlNodeData {
  explicit xml_element_node(int node_type) : xmlNodeData(node_type, true) {}

  chXmlAttributeObject::attribute_list list;
};

namespace zar {

using xml_node = chXmlObject::xmlNodeData;

/// The first element that passes the test among `from` and its next siblings, or null.
template <class Test>
xml_node *find_element(xml_node *from, Test test) {
  while (from && !(from->type == xmlTypeElement && test(*from))) from = from->next;
  return from;
}

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
