// Parse, export, parse again: what the parser accepts is exported in a form that it accepts, and the tree keeps its
// shape.
#include "zarlib/xml/xml_document.h"

#include <cstdint>
#include <cstdlib>

namespace {

/// One letter per node, its children in brackets. Not preserved: a tag whose name ends in a slash, which the exported
/// form "<a/>" closes at once.
bool append_shape(const chXmlObject &node, std::string &shape) {
  const std::string name = node.tagName();
  bool known = node.type() != xmlTypeElement || name.back() != '/';
  shape += static_cast<char>('0' + node.type());
  if (node.type() == xmlTypeElement) shape += std::to_string(chXmlElement(node).GetAttributeCount());
  shape += '(';
  for (chXmlObject child = node.getChild(); child.hasData(); ++child) known = append_shape(child, shape) && known;
  shape += ')';
  return known;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const chXmlDocument document = chXmlDocument::ParseDocument(std::string(reinterpret_cast<const char *>(data), size));
  std::string before, after;
  const bool comes_back = append_shape(document, before);
  document.ExportToText(true);
  append_shape(chXmlDocument::ParseDocument(document.ExportToText(false)), after);
  if (comes_back && before != after) std::abort();
  return 0;
}
