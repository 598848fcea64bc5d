#include "zarlib/xml/node.h"

#include "zarlib/xml/entities.h"

#include <algorithm>
#include <memory>
#include <new>
#include <type_traits>
#include <vector>

using zar::xml_attribute_phrase;
using zar::xml_node;
using zar::xml_node_blocks;
using attribute_list = xml_node::attribute_list;

namespace {

// The place of a text always has room for an address.
constexpr size_t smallest_place = 8;
static_assert(smallest_place >= sizeof(std::string *));
static_assert(std::is_trivially_destructible_v<xml_node> && std::is_trivially_destructible_v<xml_element_node>);

bool is_element_kind(int type) {
  return type == xmlTypeDeclaration || type == xmlTypeElement || type == xmlTypeDocument;
}

/// The bytes reserved for a text in its record.
size_t place_for(size_t length) {
  return length <= xml_node::longest_in_place ? std::max(length, smallest_place) : smallest_place;
}

size_t packed_size(const xml_attribute_phrase *attributes, size_t count) {
  size_t size = 0;
  for (size_t i = 0; i < count; ++i)
    size += xml_node::bytes_around_attribute + attributes[i].key.size() + attributes[i].value.size();
  return size;
}

/// Copies a text, decoding entities. @return The end of the copy.
char *copy_decoded(std::string_view text, char *place) {
  constexpr auto has_ampersand = [](std::uint64_t word) { return zar::xml_word_has_ampersand(word); };
  if (text.size() < 4) return zar::copy_short(text.data(), text.size(), place); // no entity is that short
  if (text.size() <= 16 && zar::copy_in_two_words(text.data(), text.size(), place, has_ampersand))
    return place + text.size();
  return zar::xml_decode_to(text, place);
}

void pack(char *at, const xml_attribute_phrase *attributes, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    char *const key = at + xml_node::bytes_around_attribute;
    char *const value = zar::copy_short(attributes[i].key.data(), attributes[i].key.size(), key);
    char *const end = copy_decoded(attributes[i].value, value);
    const std::uint16_t lengths[2] = {static_cast<std::uint16_t>(value - key), static_cast<std::uint16_t>(end - value)};
    std::memcpy(at, lengths, sizeof lengths);
    at = end;
  }
}

} // namespace

/// Makes a record, in a block or on its own, with room for packed attributes.
xml_node *xml_node::build(xml_node_blocks *blocks, int type, bool attributes_too, std::string_view text, bool decoded,
                          size_t packed_bytes) {
  if (text.size() > longest_in_place) {
    auto apart = std::make_unique<std::string>(decoded ? zar::xml_decoded(text) : std::string(text));
    xml_node *const node = build(blocks, type, attributes_too, {}, false, packed_bytes);
    node->put_text_apart(apart.release());
    return node;
  }
  const size_t bytes = head_size(attributes_too) + place_for(text.size()) + packed_bytes;
  std::uint32_t place = 0;
  void *const memory = blocks ? blocks->take(bytes, place) : baseDymicAlloc().alloc(static_cast<int>(bytes));
  if (!memory) throw std::bad_alloc();
  char *const start = static_cast<char *>(memory) + head_size(attributes_too);
  char *const end = decoded ? copy_decoded(text, start) : zar::copy_short(text.data(), text.size(), start);
  const auto length = static_cast<std::uint32_t>(end - start);
  if (attributes_too) return ::new (memory) xml_element_node(type, place, length);
  return ::new (memory) xml_node(type, false, place, length);
}

xml_node *xml_node::make(int type, std::string_view text) {
  if (type < xmlTypeComment || type > xmlTypeDocument) return nullptr;
  return build(nullptr, type, is_element_kind(type), text, false, 0);
}

xml_node *xml_node::make_plain_document() { return build(nullptr, xmlTypeDocument, false, {}, false, 0); }

xml_node *xml_node::make(xml_node_blocks &blocks, int type, std::string_view text, bool decoded) {
  return build(&blocks, type, is_element_kind(type), text, decoded, 0);
}

xml_node *xml_node::make(xml_node_blocks &blocks, int type, std::string_view text,
                         const xml_attribute_phrase *attributes, size_t count) {
  xml_node *const node = build(&blocks, type, true, text, false, packed_size(attributes, count));
  pack(node->packed_attributes(), attributes, count);
  node->packed_count = static_cast<std::uint32_t>(count) & most_packed;
  return node;
}

void xml_node::destroy(xml_node *node, zar::xml_node_returns &returns) {
  if (node->text_is_apart) delete node->text_apart();
  if (node->has_attributes) delete node->list();
  returns.give_back(node, node->distance);
}

char *xml_node::packed_attributes() {
  return text_place() + (text_is_apart ? smallest_place : std::max<size_t>(text_length, smallest_place));
}

std::string *xml_node::text_apart() const {
  return reinterpret_cast<std::string *>(zar::load_word<std::uintptr_t>(text_place()));
}

void xml_node::put_text_apart(std::string *text) {
  zar::store_word(text_place(), reinterpret_cast<std::uintptr_t>(text));
  text_is_apart = true;
}

void xml_node::set_text(std::string_view text) {
  text_is_plain = false;
  if (packed_count > 0) { // they follow the text
    list_of_attributes();
    packed_count = 0;
  }
  if (text_is_apart) {
    text_apart()->assign(text);
  } else if (text.size() <= std::max<size_t>(text_length, smallest_place)) {
    std::memmove(text_place(), text.data(), text.size());
    text_length = static_cast<std::uint32_t>(text.size()) & longest_in_place;
  } else {
    put_text_apart(new std::string(text));
  }
}

size_t xml_node::attribute_count() const {
  const attribute_list *const attributes = list();
  return attributes ? attributes->size() : packed_count;
}

std::optional<std::string_view> xml_node::find_attribute(std::string_view key) const {
  std::optional<std::string_view> found;
  any_attribute([&](std::string_view name, std::string_view value) {
    if (name == key) found = value;
    return found.has_value();
  });
  return found;
}

attribute_list &xml_node::list_of_attributes() {
  if (attribute_list *const known = list()) return *known;
  auto made = std::make_unique<attribute_list>();
  any_attribute([&](std::string_view key, std::string_view value) {
    made->emplace_back(key, value);
    return false;
  });
  attribute_list *other = nullptr; // another reader may have published its list first
  auto &place = static_cast<xml_element_node *>(this)->list;
  return place.compare_exchange_strong(other, made.get(), std::memory_order_acq_rel) ? *made.release() : *other;
}

int xml_node::level() const {
  int level = 0;
  const xml_node *top = this;
  for (; top->parent; top = top->parent) ++level;
  return top->type == xmlTypeDocument ? level - 1 : level;
}

void xml_node::unlink(xml_node &child) {
  if (child.next) child.next->previous = child.previous;
  if (child.previous) child.previous->next = child.next;
  if (first_child == &child) first_child = child.next;
  if (last_child == &child) last_child = child.previous;
  child.next = child.previous = child.parent = nullptr;
}

xml_node *xml_node::copy(xml_node_blocks *blocks) const {
  if (const attribute_list *const attributes = list()) {
    auto same = std::make_unique<attribute_list>(*attributes);
    xml_node *const made = build(blocks, type, true, text(), false, 0);
    static_cast<xml_element_node *>(made)->list = same.release();
    return made;
  }
  size_t bytes = 0;
  any_attribute([&](std::string_view key, std::string_view value) {
    bytes += bytes_around_attribute + key.size() + value.size();
    return false;
  });
  xml_node *const made = build(blocks, type, has_attributes, text(), false, bytes);
  if (bytes > 0) std::memcpy(made->packed_attributes(), packed_attributes(), bytes);
  made->packed_count = packed_count;
  made->text_is_plain = text_is_plain;
  return made;
}

xml_node *xml_node::copy_tree() const {
  xml_node_blocks blocks;
  zar::xml_node_owner top(copy(&blocks));
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
    xml_node *const child = from->copy(&blocks);
    to->link_last(*child);
    to = child;
  }
}

int xml_node::release(xml_node *node) {
  const int left = node->references.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (left == 0) dissolve(node);
  return left;
}

/// Destroys a tree that nothing refers to any more. The dead nodes serve as the stack: `parent` of each is the node
/// whose child it was, `last_child` the next child to process, from last to first. A child without other references
/// dies too, since nobody can obtain one from ours; the links of a child that may survive are cleared before our
/// reference is dropped.
void xml_node::dissolve(xml_node *node) {
  zar::xml_node_returns returns;
  node->parent = nullptr;
  while (node) {
    xml_node *const child = node->last_child;
    if (!child) {
      xml_node *const above = node->parent;
      destroy(node, returns);
      node = above;
      continue;
    }
    node->last_child = child->previous;
    if (child->references.load(std::memory_order_acquire) > 1) {
      child->parent = child->next = child->previous = nullptr;
      if (child->references.fetch_sub(1, std::memory_order_acq_rel) > 1) continue;
    }
    child->parent = node;
    node = child;
  }
}
