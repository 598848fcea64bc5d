#include "zarlib/xml/xml_object.h"

#include "zarlib/xml/node.h"
#include "zarlib/xml/parser.h"
#include "zarlib/xml/serialiser.h"

namespace {

// Tests for the element searches.

bool any(const zar::xml_node &) { return true; }

auto with_attribute(std::string_view key, std::string_view value) {
  return [=](const zar::xml_node &node) { return node.find_attribute(key) == value; };
}

} // namespace

chXmlObject::chXmlObject() : m_node(nullptr) {}

chXmlObject::chXmlObject(const chXmlObject &other) : chXmlObject(other.m_node) {}

chXmlObject::chXmlObject(xmlNodeData *node) : m_node(node) {
  if (node) node->retain();
}

chXmlObject::chXmlObject(xmlType type, const std::string &text) : m_node(xmlNodeData::make(type, text)) {}

chXmlObject::~chXmlObject() { release_node_data(); }

// No self-assignment check: settled, `a = a` drops the node and leaves the handle empty.
chXmlObject &chXmlObject::operator=(const chXmlObject &other) {
  release_node_data();
  m_node = other.m_node;
  if (m_node) m_node->retain();
  return *this;
}

/// Releases the node and takes ownership of a reference to another.
void chXmlObject::adopt(xmlNodeData *node) {
  release_node_data();
  m_node = node;
}

void chXmlObject::release_node_data() {
  if (xmlNodeData *const leaving = std::exchange(m_node, nullptr)) release_node_data(leaving);
}

int chXmlObject::release_node_data(xmlNodeData *node) { return xmlNodeData::release(node); }

chXmlObject::xmlNodeData *chXmlObject::clone_data(xmlNodeData *node) { return node ? node->copy(nullptr) : nullptr; }

xmlType chXmlObject::type() const { return m_node ? static_cast<xmlType>(m_node->type) : xmlTypeNone; }

std::string chXmlObject::tagName() const { return m_node ? std::string(m_node->text()) : std::string(); }

bool chXmlObject::hasData() const { return m_node != nullptr; }

bool chXmlObject::hasChildren() const { return m_node && m_node->first_child; }

chXmlObject::xmlNodeData *chXmlObject::first_child() const { return m_node ? m_node->first_child : nullptr; }

chXmlObject::xmlNodeData *chXmlObject::next_sibling() const { return m_node ? m_node->next : nullptr; }

chXmlElement chXmlObject::element_on(xmlNodeData *node) {
  chXmlElement element;
  element.m_node = node;
  if (node) node->retain();
  return element;
}

int chXmlObject::getLevel() const { return m_node->level(); }

chXmlObject chXmlObject::getChild() const { return chXmlObject(first_child()); }

chXmlElement chXmlObject::getChildElement() const { return element_on(zar::find_element(first_child(), any)); }

chXmlElement chXmlObject::getNextElement() const { return element_on(zar::find_element(next_sibling(), any)); }

chXmlObject chXmlObject::getParent() const { return chXmlObject(m_node->parent); }

chXmlObject &chXmlObject::operator++() {
  xmlNodeData *const next = m_node->next;
  if (next) next->retain();
  adopt(next);
  return *this;
}

chXmlElement chXmlObject::FindChildElement(const std::string &name) const {
  return element_on(zar::find_element(first_child(), zar::element_named(name)));
}

chXmlElement chXmlObject::FindNextElement(const std::string &name) const {
  return element_on(zar::find_element(next_sibling(), zar::element_named(name)));
}

chXmlElement chXmlObject::operator[](const std::string &name) const { return FindChildElement(name); }

chXmlObject chXmlObject::AddChildObject(const chXmlObject &child) {
  if (!child.m_node) return chXmlObject();
  if (!m_node) m_node = xmlNodeData::make_plain_document();
  child.m_node->retain();
  m_node->link_last(*child.m_node);
  return child;
}

chXmlObject chXmlObject::AddChildObject(xmlType type, const std::string &text) {
  return AddChildObject(chXmlObject(type, text));
}

chXmlElement chXmlObject::AddChildElement(const std::string &name) {
  chXmlElement child(name);
  AddChildObject(child);
  return child;
}

void chXmlObject::RemoveChildObject(const chXmlObject &child) {
  xmlNodeData *const node = child.m_node;
  if (!node || node->references.load(std::memory_order_relaxed) <= 1) return;
  m_node->unlink(*node);
  node->references.fetch_sub(1, std::memory_order_acq_rel); // the argument holds another
}

chXmlObject chXmlObject::clone() const {
  chXmlObject copy;
  if (m_node) copy.m_node = m_node->copy_tree();
  return copy;
}

std::string chXmlObject::parseContent(const std::string &text) {
  zar::xml_reader reader(text);
  if (m_node) return std::string(reader.content(*m_node));
  // The handle takes the document if it gets a child, even if the text turns out malformed later.
  struct new_document {
    chXmlObject &handle;
    zar::xml_node_owner node{xmlNodeData::make_plain_document()};
    ~new_document() {
      if (node.get()->first_child) handle.m_node = node.hand_on();
    }
  };
  const new_document document{*this};
  return std::string(reader.content(*document.node.get()));
}

std::string chXmlObject::ExportToText(bool compact) const {
  return m_node ? zar::xml_export(*m_node, zar::xml_form::by_type, compact) : std::string();
}

std::string chXmlObject::ExportElement(bool compact) const {
  return m_node ? zar::xml_export(*m_node, zar::xml_form::as_element, compact) : std::string();
}

std::string chXmlObject::ExportChildren(bool compact) const {
  return m_node ? zar::xml_export(*m_node, zar::xml_form::children_only, compact) : std::string();
}

std::string chXmlObject::ExportAttributes() const {
  return m_node ? zar::xml_export_attributes(*m_node) : std::string();
}

chXmlAttributeObject::chXmlAttributeObject() = default;

std::string chXmlAttributeObject::parseContent(const std::string &text) {
  const std::string copy(text.data(), text.size()); // `text` may be one of the values being overwritten
  const zar::xml_tag_inside inside(copy);
  if (!inside.name.empty()) m_node->set_text(inside.name);
  inside.set_attributes(*m_node);
  return std::string();
}

int chXmlAttributeObject::GetAttributeCount() const { return m_node ? static_cast<int>(m_node->attribute_count()) : 0; }

const chXmlAttributeObject::attribute_list &chXmlAttributeObject::GetAttributeData() const {
  static const attribute_list none;
  return m_node->has_attributes ? m_node->list_of_attributes() : none;
}

std::string *chXmlAttributeObject::FindAttributeValue(const std::string &key) const {
  if (!m_node || !m_node->find_attribute(key)) return nullptr;
  for (auto &[name, value] : m_node->list_of_attributes())
    if (name == key) return &value;
  return nullptr;
}

std::string chXmlAttributeObject::GetAttributeValue(const std::string &key, const std::string &defaultValue) const {
  const auto value = m_node ? m_node->find_attribute(key) : std::nullopt;
  return value ? std::string(*value) : defaultValue;
}

int chXmlAttributeObject::SetAttributeValue(const std::string &key, const std::string &value) {
  if (!m_node->has_attributes || m_node->find_attribute(key) == value) return 0;
  if (std::string *const stored = FindAttributeValue(key)) {
    *stored = value;
  } else {
    m_node->list_of_attributes().emplace_back(key, value);
  }
  return 1;
}

void chXmlAttributeObject::FastRemoveAttributeValue(const std::string &value) {
  if (!m_node->has_attributes) return;
  m_node->list_of_attributes().remove_if([&](const auto &attribute) { return &attribute.second == &value; });
}

chXmlDeclaration::chXmlDeclaration() = default;

std::string chXmlDeclaration::parseContent(const std::string &text) {
  zar::xml_reader reader(text);
  const zar::xml_tag_inside inside(reader.declaration());
  const chXmlObject before = *this; // `text` may belong to it
  adopt(xmlNodeData::make(xmlTypeDeclaration, inside.name));
  inside.set_attributes(*m_node);
  return std::string(reader.rest());
}

chXmlElement::chXmlElement() = default;

chXmlElement::chXmlElement(const std::string &name) : chXmlElement() { adopt(xmlNodeData::make(xmlTypeElement, name)); }

chXmlElement::chXmlElement(const chXmlObject &other) : chXmlElement() {
  if (other.type() == xmlTypeElement) chXmlObject::operator=(other);
}

std::string chXmlElement::parseContent(const std::string &text) {
  zar::xml_reader reader(text);
  bool closed = false;
  const zar::xml_tag_inside inside = reader.tag(closed);
  const chXmlObject before = *this; // `text` may belong to it
  adopt(xmlNodeData::make(xmlTypeElement, inside.name));
  inside.set_attributes(*m_node);
  if (!closed) reader.element_content(*m_node);
  reader.trim_rest();
  return std::string(reader.rest());
}

chXmlElement &chXmlElement::operator++() {
  xmlNodeData *const next = zar::find_element(next_sibling(), any);
  if (next) next->retain();
  adopt(next);
  return *this;
}

chXmlElement chXmlElement::clone() const { return chXmlObject::clone(); }

chXmlElement chXmlElement::FindChildAttribute(const std::string &key, const std::string &value) const {
  return element_on(zar::find_element(first_child(), with_attribute(key, value)));
}

chXmlElement chXmlElement::FindNextAttribute(const std::string &key, const std::string &value) const {
  return element_on(zar::find_element(next_sibling(), with_attribute(key, value)));
}

std::string chXmlElement::GetOption(const std::string &key, const std::string &defaultValue) const {
  const xmlNodeData *const option = zar::find_element(first_child(), zar::element_named(key));
  const xmlNodeData *const text = option ? option->first_child : nullptr;
  return text && text->type == xmlTypeText ? std::string(text->text()) : defaultValue;
}

int chXmlElement::SetOption(const std::string &key, const std::string &value) {
  xmlNodeData *const option = zar::find_element(first_child(), zar::element_named(key));
  if (!option) {
    AddChildElement(key).AddChildObject(xmlTypeText, value);
  } else if (xmlNodeData *const first = option->first_child) { // whatever kind it is: settled, callers rely on it
    if (first->text() == value) return 0;
    first->set_text(value);
  } else {
    option->link_last(*xmlNodeData::make(xmlTypeText, value));
  }
  return 1;
}
