// The XML parser: one pass, no recursion, and the remainders that the classes' parseContent() return.
#pragma once

#include "zarlib/xml/node.h"

#include <string_view>

namespace zar {

/// The inside of a tag: a name and what follows it.
struct xml_tag_inside {
  explicit xml_tag_inside(std::string_view inside);
  xml_tag_inside(std::string_view tag_name, bool plain_name, const char *inside_end);

  std::string_view name;  ///< empty if missing, which is malformed
  bool name_is_plain;     ///< without characters that have an entity
  const char *attributes; ///< after the white space that follows the name
  const char *end;

  /// Sets the attributes in a node; those before a malformed one stay set. Throws as xml_reader does, also if the name
  /// is missing.
  void set_attributes(xml_node &node) const;
};

/// Reads a text from the front; what is left is always its tail, perhaps with trailing white space removed.
///
/// Every operation throws a `const char *` to a constant text if the markup is malformed.
class xml_reader {
public:
  /// REQUIRES: the text outlives the reader.
  explicit xml_reader(std::string_view text) : m_at(text.data()), m_end(text.data() + text.size()) {}

  /// What has not been read.
  std::string_view rest() const { return {m_at, static_cast<size_t>(m_end - m_at)}; }

  /// Reads a sequence of children into `root`, up to an end tag that matches none of them. After a failure `root` holds
  /// the children completed before it.
  /// @return What was not consumed: the end tag and all after it, or a piece of text, as specified at
  ///         chXmlObject::parseContent().
  std::string_view content(xml_node &root);

  /// Reads from after a tag's "<" past its ">". @return The inside; `closed` receives whether the tag is self-closing.
  xml_tag_inside tag(bool &closed);

  /// Reads what follows the start tag of `element`: its children and its end tag.
  void element_content(xml_node &element);

  /// Trims white space off both ends of the rest.
  void trim_rest();

  /// Reads from after a "<?" past its "?>". @return The inside.
  std::string_view declaration();

private:
  bool skip(std::string_view start);
  std::string_view piece_up_to(std::string_view mark, const char *failure);
  xml_node *tag_node(int type, const xml_tag_inside &tag);
  bool has_attribute(size_t count, std::string_view key) const;
  xml_node *markup(xml_node &parent);
  void end_tag(const xml_node &element);

  const char *m_at;
  const char *m_end;
  xml_node_blocks m_blocks;
  xml_attribute_phrase m_attributes[xml_node::most_packed]; // of the tag being read
};

} // namespace zar
