// The reader of XML text: one pass, an own stack, and the rests that the classes' parseContent() hand back.
#pragma once

#include "zarlib/xml/node.h"

#include <string_view>

namespace zar {

/// Reads a text from the front; what is left is always its end, perhaps with white space cut off behind.
///
/// Every operation throws a `const char *` that points at a constant text when the markup is malformed.
class xml_reader {
public:
  /// REQUIRES: the text outlives the reader.
  explicit xml_reader(std::string_view text) : m_rest(text) {}

  /// What has not been read.
  std::string_view rest() const { return m_rest; }

  /// Reads a sequence of children into `root`, up to an end tag that matches none of them. After a failure `root` holds the
  /// children that were complete.
  /// @return What the sequence leaves: the end tag and all behind it, or a piece of text, as chXmlObject::parseContent() tells.
  std::string_view content(xml_node &root);

  /// From behind a tag's "<" to behind its ">". @return The inside; `closed` tells whether the tag closes its element too.
  std::string_view tag(bool &closed);

  /// What follows the start tag of `element`: its children and its end tag.
  void element_content(xml_node &element);

  /// Cuts white space off both ends of the rest.
  void trim_rest();

  /// From behind a "<?" to behind its "?>". @return The inside.
  std::string_view declaration();

private:
  std::string_view piece_up_to(std::string_view mark, const char *failure);
  xml_node *markup(xml_node &parent);
  void end_tag(const xml_node &element);

  std::string_view m_rest;
};

/// The name at the start of a tag's inside, and what follows it.
struct xml_tag_inside {
  explicit xml_tag_inside(std::string_view inside);

  std::string_view name;       ///< empty where one is missing: malformed
  std::string_view attributes; ///< without leading white space

  /// Sets the attributes in a node of element kind. Throws like xml_reader, also for a missing name.
  void set_attributes(xml_node &node) const;
};

} // namespace zar
