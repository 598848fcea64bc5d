#include "zarlib/xml/parser.h"

#include "zarlib/xml/entities.h"

#include <array>
#include <unordered_map>

namespace zar {

namespace {

constexpr std::string_view white_space = " \t\r\n";
constexpr std::string_view comment_start = "<!--", comment_end = "-->";
constexpr std::string_view cdata_start = "<![CDATA[", cdata_end = "]]>";
constexpr std::string_view declaration_start = "<?", declaration_end = "?>";
constexpr std::string_view end_tag_start = "</";

constexpr auto table_of(std::string_view set) {
  std::array<bool, 256> table{};
  for (const char c : set) table[static_cast<unsigned char>(c)] = true;
  return table;
}

constexpr auto is_white = table_of(white_space);
constexpr auto is_delimiter = table_of(" \t\r\n\"=<>");

bool is_in(const std::array<bool, 256> &table, char c) { return table[static_cast<unsigned char>(c)]; }

std::string_view trim_left(std::string_view text) {
  size_t at = 0;
  while (at < text.size() && is_in(is_white, text[at])) ++at;
  return text.substr(at);
}

std::string_view trim_right(std::string_view text) {
  while (!text.empty() && is_in(is_white, text.back())) text.remove_suffix(1);
  return text;
}

std::string_view trim_both(std::string_view text) { return trim_left(trim_right(text)); }

size_t find_delimiter(std::string_view text) {
  size_t at = 0;
  while (at < text.size() && !is_in(is_delimiter, text[at])) ++at;
  return at;
}

bool starts_with(std::string_view text, std::string_view start) { return text.substr(0, start.size()) == start; }

bool has_entity(std::string_view phrase) { return phrase.find('&') != std::string_view::npos; }

std::string decoded(std::string_view phrase) { return has_entity(phrase) ? xml_decoded(phrase) : std::string(phrase); }

void add_child(xml_node &parent, int type, std::string_view text) { parent.link_last(*xml_node::make(type, text)); }

void add_text(xml_node &parent, std::string_view phrase) {
  if (has_entity(phrase)) {
    add_child(parent, xmlTypeText, xml_decoded(phrase));
  } else {
    add_child(parent, xmlTypeText, phrase);
  }
}

/// Sets attributes in a list. Beyond a handful it keeps an index, so that a tag with many costs no more for each.
class attribute_setter {
public:
  explicit attribute_setter(chXmlAttributeObject::attribute_list &list) : m_list(list) {}

  void set(std::string_view key_phrase, std::string_view value_phrase) {
    std::string key = decoded(key_phrase);
    if (std::string *const value = find(key)) {
      *value = decoded(value_phrase);
      return;
    }
    auto &[name, value] = m_list.emplace_back(std::move(key), decoded(value_phrase));
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

  chXmlAttributeObject::attribute_list &m_list;
  std::unordered_map<std::string_view, std::string *> m_index;
};

/// A child of the outermost sequence that is being read; it goes again unless its end is found.
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

} // namespace

xml_tag_inside::xml_tag_inside(std::string_view inside) {
  const size_t end = find_delimiter(inside);
  name = inside.substr(0, end);
  if (end < inside.size()) attributes = trim_left(inside.substr(end + 1));
}

void xml_tag_inside::set_attributes(xml_node &node) const {
  if (name.empty()) throw "a tag without a name";
  std::string_view rest = attributes;
  if (rest.empty()) return;
  attribute_setter setter(*node.attributes());
  while (!rest.empty()) {
    const size_t equals = rest.find('=');
    if (equals == std::string_view::npos) throw "an attribute without \"=\"";
    const std::string_view key = trim_right(rest.substr(0, equals));
    if (find_delimiter(key) < key.size()) throw "a delimiter in an attribute's key";
    rest = trim_left(rest.substr(equals + 1));
    if (rest.empty() || (rest[0] != '"' && rest[0] != '\'')) throw "an attribute's value without quotes";
    const char quote = rest[0];
    rest = trim_left(rest.substr(1));
    const size_t end = rest.find(quote);
    if (end == std::string_view::npos) throw "an attribute's value without end";
    const std::string_view value = trim_right(rest.substr(0, end));
    rest.remove_prefix(end + 1);
    if (!rest.empty() && !is_in(is_white, rest[0])) throw "no white space behind an attribute's value";
    setter.set(key, value);
    rest = trim_left(rest);
  }
}

std::string_view xml_reader::piece_up_to(std::string_view mark, const char *failure) {
  const size_t end = m_rest.find(mark);
  if (end == std::string_view::npos) throw failure;
  const std::string_view piece = m_rest.substr(0, end);
  m_rest.remove_prefix(end + mark.size());
  return piece;
}

std::string_view xml_reader::declaration() { return piece_up_to(declaration_end, "a declaration without end"); }

// Quotes do not count: settled, files in the field are written with entities for what stands in values.
std::string_view xml_reader::tag(bool &closed) {
  std::string_view inside = piece_up_to(">", "a tag without end");
  closed = !inside.empty() && inside.back() == '/';
  if (closed) inside.remove_suffix(1);
  return inside;
}

void xml_reader::trim_rest() { m_rest = trim_both(m_rest); }

// The name is looked at only where the tag lacks its end, at the end of the text: settled, files in the field rely on it.
void xml_reader::end_tag(const xml_node &element) {
  m_rest.remove_prefix(end_tag_start.size());
  const size_t end = m_rest.find('>');
  if (end != std::string_view::npos) {
    m_rest.remove_prefix(end + 1);
  } else if (trim_both(m_rest) == element.text()) {
    m_rest = {};
  } else {
    throw "an end tag without end";
  }
}

void xml_reader::element_content(xml_node &element) {
  m_rest = content(element);
  if (!starts_with(m_rest, end_tag_start)) throw "an element without end tag";
  end_tag(element);
}

/// Reads what starts with "<", and adds it to `parent`. @return The element whose content follows, or null.
xml_node *xml_reader::markup(xml_node &parent) {
  if (starts_with(m_rest, comment_start)) {
    m_rest.remove_prefix(comment_start.size());
    add_child(parent, xmlTypeComment, trim_both(piece_up_to(comment_end, "a comment without end")));
    return nullptr;
  }
  if (starts_with(m_rest, cdata_start)) {
    m_rest.remove_prefix(cdata_start.size());
    add_child(parent, xmlTypeCData, trim_both(piece_up_to(cdata_end, "a CDATA section without end")));
    return nullptr;
  }
  const bool is_declaration = starts_with(m_rest, declaration_start);
  bool closed = true;
  m_rest.remove_prefix(is_declaration ? declaration_start.size() : 1);
  const xml_tag_inside inside(is_declaration ? declaration() : tag(closed));
  xml_node_owner made(xml_node::make(is_declaration ? xmlTypeDeclaration : xmlTypeElement, inside.name));
  inside.set_attributes(*made.get());
  if (!is_declaration && closed) trim_rest();
  parent.link_last(*made.get());
  xml_node *const added = made.hand_on();
  return closed ? nullptr : added;
}

std::string_view xml_reader::content(xml_node &root) {
  xml_node *open = &root;
  unfinished_child unfinished(root);
  bool any = false;
  std::string_view text; // the last piece of text ahead of a tag on the outermost level
  for (;;) {
    const size_t at = m_rest.find('<');
    if (at == std::string_view::npos) break;
    const std::string_view before = trim_right(m_rest.substr(0, at));
    m_rest.remove_prefix(at);
    if (!before.empty()) add_text(*open, before);
    if (open == &root) text = before, any = true;
    if (starts_with(m_rest, end_tag_start)) {
      if (open == &root) return m_rest;
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
  // The last piece of text ahead of a tag, and not what follows the last tag: settled, callers rely on it.
  return trim_left(any ? text : m_rest);
}

} // namespace zar
