// The XML serialiser.
#pragma once

#include "zarlib/xml/node.h"

#include <string>

namespace zar {

enum class xml_form { by_type, as_element, children_only };

/// The text of `node` and its subtree.
std::string xml_export(const xml_node &node, xml_form form, bool compact);

std::string xml_export_attributes(const xml_node &node);

} // namespace zar
