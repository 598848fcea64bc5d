#include "zarlib/xml/parser.h"

#include "zarlib/xml/entities.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <unordered_map>

namespace zar {

namespace {

constexpr auto table_of(std::string_view set) {
  std::array<bool, 256> table{};
  for (const char c : set) table[static_cast<unsigned char>(c)] = true;
  return table;
}

constexpr auto white_table = table_of(" \t\r\n");
constexpr auto plain_name_table = table_of(" \t\r\n\"=<>&'");
constexpr auto delimiter_table = table_of(" \t\r\n\"=<>");

bool is_white(char c) { return white_table[static_cast<unsigned char>(c)]; }
bool ends_plain_name(char c) { return plain_name_table[static_cast<unsigned char>(c)]; }
bool is_delimiter(char c) { return delimiter_table[static_cast<unsigned char>(c)]; }

// The inner steps work on pairs of pointers, which stay in registers.

std::string_view between(const char *from, const char *to) { return {from, static_cast<size_t>(to - from)}; }

const char *skip_white(const char *at, const char *end) {
  while (at != end && is_white(*at)) ++at;
  return at;
}

const char *trim_back(const char *start, const char *end) {
  while (end != start && is_white(end[-1])) --end;
  return end;
}

std::string_view trim_both(const char *start, const char *end) {
  start = skip_white(start, end);
  return between(start, trim_back(start, end));
}

/// The first `c`, or null.
const char *find(const char *at, const char *end, char c) {
  if (at != end && *at == c) return at;
  return at == end ? nullptr : static_cast<const char *>(std::memchr(at, c, static_cast<size_t>(end - at)));
}

/// The name or key at `at`, up to the next delimiter. @param plain  Receives whether no character has an entity.
std::string_view name_at(const char *at, const char *end, bool &plain) {
  const char *const start = at;
  while (at != end && !ends_plain_name(*at)) ++at;
  plain = at == end || is_delimiter(*at);
  while (at != end && !is_delimiter(*at)) ++at;
  return between(start, at);
}

/// Reads the attribute at `at`. @return The position after it and any white space that follows.
[[gnu::always_inline]] inline const char *take_attribute(const char *at, const char *end,
                                                         xml_attribute_phrase &attribute) {
  attribute.key = name_at(at, end, attribute.key_is_plain);
  at = skip_white(at + attribute.key.size(), end);
  if (at == end || *at != '=') throw "an attribute without \"=\", or a delimiter in its key";
  at = skip_white(at + 1, end);
  if (at == end || (*at != '"' && *at != '\'')) throw "an attribute's value without quotes";
  const char quote = *at;
  at = skip_white(at + 1, end);
  const char *const value_end = find(at, end, quote);
  if (!value_end) throw "an attribute's value without end";
  attribute.value = between(at, trim_back(at, value_end));
  if (value_end + 1 != end && !is_white(value_end[1])) throw "no white space behind an attribute's value";
  return skip_white(value_end + 1, end);
}

/// Sets attributes in a list. Beyond a handful it keeps an index, so that the cost per attribute stays constant.
class attribute_setter {
public:
  explicit attribute_setter(xml_node::attribute_list &list) : m_list(list) {}

  void set(const xml_attribute_phrase &attribute) {
    std::string key = xml_decoded(attribute.key);
    if (std::string *const value = find(key)) {
      *value = xml_decoded(attribute.value);
      return;
    }
    auto &[name, value] = m_list.emplace_back(std::move(key), xml_decoded(attribute.value));
    if (!m_index.empty()) m_index.emplace(name, &value);
  }

private:
  static constexpr size_t few = 16;

  std::string *find(std::string_view key) {
    if (m_list.size() > few) return find_in_index(key);
    for (auto &[name, value] : m_list)
      if (name == key) return &value;
    return nullptr;
  }

  std::string *find_in_index(std::string_view key) {
    if (m_index.empty())
      for (auto &[name, value] : m_list) m_index.emplace(name, &value);
    const auto found = m_index.find(key);
    return found == m_index.end() ? nullptr : found->second;
  }

  xml_node::attribute_list &m_list;
  std::unordered_map<std::string_view, std::string *> m_index;
};

/// The child of the root that is being read; it is removed again unless its end is found.
class unfinished_child {
public:
  explicit unfinished_child(xml_node &root) : m_root(root) {}
  unfinished_child(const unfinished_child &) = delete;
  unfinished_child &operator=(const unfinished_child &) = delete;
  ~unfinished_child() {
    if (!m_child) return;
    m_root.unlink(*m_child);
    xml_node::release(m_child);
  }
  void begin(xml_node *child) { m_child = child; }
  void finish() { m_child = nullptr; }

private:
  xml_node &m_root;
  xml_node *m_child = nullptr;
};

/// What follows a name, its delimiter and white space.
const char *behind(std::string_view name, const char *end) {
  const char *const at = name.data() + name.size();
  return at == end ? end : skip_white(at + 1, end);
}

void set_attributes(xml_node &node, const char *at, const char *end) {
  if (at == end || !node.has_attributes) return;
  attribute_setter setter(node.list_of_attributes());
  xml_attribute_phrase attribute;
  for (; at != end; setter.set(attribute)) at = take_attribute(at, end, attribute);
}

} // namespace

xml_tag_inside::xml_tag_inside(std::string_view inside) : end(inside.data() + inside.size()) {
  name = name_at(inside.data(), end, name_is_plain);
  attributes = behind(name, end);
}

xml_tag_inside::xml_tag_inside(std::string_view tag_name, bool plain_name, const char *inside_end)
    : name(tag_name), name_is_plain(plain_name), attributes(behind(name, inside_end)), end(inside_end) {}

void xml_tag_inside::set_attributes(xml_node &node) const {
  if (name.empty()) throw "a tag without a name";
  zar::set_attributes(node, attributes, end);
}

bool xml_reader::has_attribute(size_t count, std::string_view key) const {
  for (size_t i = 0; i < count; ++i)
    if (m_attributes[i].key == key) return true;
  return false;
}

/// Makes the node of a tag. Attributes are packed as long as they are few and simple; the rest go into the list.
xml_node *xml_reader::tag_node(int type, const xml_tag_inside &tag) {
  const char *at = tag.attributes, *const end = tag.end;
  size_t count = 0, bytes = 0;
  while (at != end && count < xml_node::most_packed) {
    xml_attribute_phrase &attribute = m_attributes[count];
    const char *const next = take_attribute(at, end, attribute);
    bytes += xml_node::bytes_around_attribute + attribute.key.size() + attribute.value.size();
    if (bytes > xml_node::longest_in_place || !attribute.key_is_plain || has_attribute(count, attribute.key)) break;
    ++count;
    at = next;
  }
  xml_node_owner made(xml_node::make(m_blocks, type, tag.name, m_attributes, count));
  made.get()->text_is_plain = tag.name_is_plain;
  if (tag.name.empty()) throw "a tag without a name";
  if (at != end) set_attributes(*made.get(), at, end);
  return made.hand_on();
}

bool xml_reader::skip(std::string_view start) {
  if (rest().substr(0, start.size()) != start) return false;
  m_at += start.size();
  return true;
}

std::string_view xml_reader::piece_up_to(std::string_view mark, const char *failure) {
  const size_t length = rest().find(mark);
  if (length == std::string_view::npos) throw failure;
  const std::string_view piece(m_at, length);
  m_at += length + mark.size();
  return piece;
}

std::string_view xml_reader::declaration() { return piece_up_to("?>", "a declaration without end"); }

// Quotes are ignored: settled, files in the field are written with entities inside values.
xml_tag_inside xml_reader::tag(bool &closed) {
  bool plain;
  std::string_view name = name_at(m_at, m_end, plain);
  const char *const start = m_at, *end = find(start + name.size(), m_end, '>');
  if (!end) throw "a tag without end";
  m_at = end + 1;
  closed = end != start && end[-1] == '/';
  if (closed) --end;
  if (name.data() + name.size() > end) name.remove_suffix(1);
  return {name, plain, end};
}

void xml_reader::trim_rest() {
  m_at = skip_white(m_at, m_end);
  m_end = trim_back(m_at, m_end);
}

// The name is compared only if the tag lacks its ">", at the end of the text: settled, files in the field rely on it.
void xml_reader::end_tag(const xml_node &element) {
  m_at += 2;
  const char *const end = find(m_at, m_end, '>');
  if (!end && trim_both(m_at, m_end) != element.text()) throw "an end tag without end";
  m_at = end ? end + 1 : m_end;
}

void xml_reader::element_content(xml_node &element) {
  const std::string_view left = content(element);
  if (left.substr(0, 2) != "</") throw "an element without end tag";
  end_tag(element);
}

/// Reads the markup that starts with "<" and adds it to `parent`. @return The element whose content follows, or null.
xml_node *xml_reader::markup(xml_node &parent) {
  const char kind = m_end - m_at > 1 ? m_at[1] : '\0';
  std::string_view piece;
  if (kind == '!' && skip("<!--")) {
    piece = piece_up_to("-->", "a comment without end");
    piece = trim_both(piece.data(), piece.data() + piece.size());
    parent.link_last(*xml_node::make(m_blocks, xmlTypeComment, piece, false));
  } else if (kind == '!' && skip("<![CDATA[")) {
    piece = piece_up_to("]]>", "a CDATA section without end");
    piece = trim_both(piece.data(), piece.data() + piece.size());
    parent.link_last(*xml_node::make(m_blocks, xmlTypeCData, piece, false));
  } else if (kind == '?') {
    m_at += 2;
    parent.link_last(*tag_node(xmlTypeDeclaration, xml_tag_inside(declaration())));
  } else {
    ++m_at;
    bool closed;
    xml_node *const element = tag_node(xmlTypeElement, tag(closed));
    parent.link_last(*element);
    if (!closed) return element;
    trim_rest();
  }
  return nullptr;
}

std::string_view xml_reader::content(xml_node &root) {
  xml_node *open = &root;
  unfinished_child unfinished(root);
  bool any = false;
  std::string_view text; // the last piece of text before a top-level tag
  for (;;) {
    const char *const start = skip_white(m_at, m_end);
    const char *const mark = find(start, m_end, '<');
    if (!mark) break;
    const std::string_view before = between(m_at, mark == start ? m_at : trim_back(start, mark));
    m_at = mark;
    if (!before.empty()) open->link_last(*xml_node::make(m_blocks, xmlTypeText, before, true));
    if (open == &root) text = before, any = true;
    if (m_end - mark > 1 && mark[1] == '/') {
      if (open == &root) return rest();
      end_tag(*open);
      trim_rest();
      open = open->parent;
      if (open == &root) unfinished.finish();
    } else if (xml_node *const element = markup(*open)) {
      if (open == &root) unfinished.begin(element);
      open = element;
    }
  }
  if (open != &root) throw "an element without end tag";
  // The last piece of text before a tag, not what follows the last tag: settled, callers rely on it.
  if (!any) text = rest();
  return between(skip_white(text.data(), text.data() + text.size()), text.data() + text.size());
}

} // namespace zar
