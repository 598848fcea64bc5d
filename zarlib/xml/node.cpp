#include "zarlib/xml/node.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

using attribute_list = chXmlAttributeObject::attribute_list;
using zar::xml_node;

namespace {

constexpr size_t longest_text_in_place = 0xFFFF;
constexpr size_t smallest_place = 8;
static_assert(smallest_place >= sizeof(std::string *));

bool is_element_kind(int type) {
  return type == xmlTypeDeclaration || type == xmlTypeElement || type == xmlTypeDocument;
}

} // namespace

xml_node *xml_node::make(int type, std::string_view text) {
  if (type < xmlTypeComment || type > xmlTypeDocument) return nullptr;
  return make_record(type, is_element_kind(type), text);
}

xml_node *xml_node::make_plain_document() { return make_record(xmlTypeDocument, false, {}); }

xml_node *xml_node::make_record(int type, bool with_attributes, std::string_view text) {
  const bool in_place = text.size() <= longest_text_in_place;
  auto apart = in_place ? nullptr : std::make_unique<std::string>(text);
  const size_t head = with_attributes ? sizeof(xml_element_node) : sizeof(xml_node);
  const size_t place = in_place ? std::max(text.size(), smallest_place) : smallest_place;
  void *const memory = baseDymicAlloc().alloc(static_cast<int>(head + place));
  if (!memory) throw std::bad_alloc();
  xml_node *const made = with_attributes ? ::new (memory) xml_element_node(type) : ::new (memory) xml_node(type, false);
  if (apart) {
    made->put_text_apart(apart.release());
  } else {
    made->text_length = static_cast<std::uint16_t>(text.size());
    std::copy(text.begin(), text.end(), made->text_place());
  }
  return made;
}

void xml_node::destroy(xml_node *node) {
  if (node->text_is_apart) delete node->text_apart();
  if (node->has_attributes) {
    static_cast<xml_element_node *>(node)->~xml_element_node();
  } else {
    node->~xmlNodeData();
  }
  baseDymicAlloc().free(node);
}

char *xml_node::text_place() {
  return reinterpret_cast<char *>(this) + (has_attributes ? sizeof(xml_element_node) : sizeof(xml_node));
}

std::string *xml_node::text_apart() const {
  std::string *text;
  std::memcpy(&text, text_place(), sizeof text);
  return text;
}

void xml_node::put_text_apart(std::string *text) {
  std::memcpy(text_place(), &text, sizeof text);
  text_is_apart = true;
}

std::string_view xml_node::text() const {
  return text_is_apart ? std::string_view(*text_apart()) : std::string_view(text_place(), text_length);
}

void xml_node::set_text(std::string_view text) {
  if (text_is_apart) {
    text_apart()->assign(text);
  } else if (text.size() <= std::max<size_t>(text_length, smallest_place)) {
    std::memmove(text_place(), text.data(), text.size());
    text_length = static_cast<std::uint16_t>(text.size());
  } else {
    put_text_apart(new std::string(text));
  }
}

attribute_list *xml_node::attributes() {
  return has_attributes ? &static_cast<xml_element_node *>(this)->list : nullptr;
}

const attribute_list *xml_node::attributes() const { return const_cast<xml_node *>(this)->attributes(); }

std::string *xml_node::find_attribute(std::string_view key) {
  attribute_list *const list = attributes();
  if (!list) return nullptr;
  for (auto &[name, value] : *list)
    if (name == key) return &value;
  return nullptr;
}

int xml_node::level() const {
  int level = 0;
  const xml_node *top = this;
  for (; top->parent; top = top->parent) ++level;
  return top->type == xmlTypeDocument ? level - 1 : level;
}

void xml_node::link_last(xml_node &child) {
  child.parent = this;
  if (last_child) {
    last_child->next = &child;
    child.previous = last_child;
  } else {
    first_child = &child;
  }
  last_child = &child;
}

void xml_node::unlink(xml_node &child) {
  if (child.next) child.next->previous = child.previous;
  if (child.previous) child.previous->next = child.next;
  if (first_child == &child) first_child = child.next;
  if (last_child == &child) last_child = child.previous;
  child.next = child.previous = child.parent = nullptr;
}

xml_node *xml_node::copy() const {
  xml_node *const made = make_record(type, has_attributes, text());
  if (!has_attributes) return made;
  zar::xml_node_owner owner(made);
  *made->attributes() = *attributes();
  return owner.hand_on();
}

xml_node *xml_node::copy_tree() const {
  zar::xml_node_owner top(copy());
  std::vector<const xml_node *> above; // the nodes from this one down to the parent of the one being copied
  const xml_node *from = this;
  xml_node *to = top.get();
  for (;;) {
    if (from->first_child) {
      above.push_back(from);
      from = from->first_child;
    } else {
      while (!above.empty() && !from->next) {
        from = above.back();
        above.pop_back();
        to = to->parent;
      }
      if (above.empty()) return top.hand_on();
      from = from->next;
      to = to->parent;
    }
    xml_node *const child = from->copy();
    to->link_last(*child);
    to = child;
  }
}

int xml_node::release(xml_node *node) {
  const int left = node->references.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (left != 0) return left;
  // The dead are a stack of their own: `parent` of each leads back to the one whose child it was, and `last_child` to the child
  // that comes next, from the last to the first.
  node->parent = nullptr;
  while (node) {
    xml_node *const child = node->last_child;
    if (!child) {
      xml_node *const above = node->parent;
      destroy(node);
      node = above;
      continue;
    }
    node->last_child = child->previous;
    child->parent = nullptr;
    if (child->next) child->next->previous = nullptr;
    child->next = nullptr;
    if (child->previous) child->previous->next = nullptr;
    child->previous = nullptr;
    if (child->drop_reference()) {
      child->parent = node;
      node = child;
    }
  }
  return 0;
}
