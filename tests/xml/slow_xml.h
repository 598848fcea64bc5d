// The reading and the writing of XML by cutting and copying texts, level by level: what the library must answer, in the slow form in
// which it is easily seen to be right. And the library's tree as text, to compare.
#pragma once

#include "zarlib/companion/qxstl.h"
#include "zarlib/xml/xml_document.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace slow {

struct failure {};

struct node {
  int type = 0;
  std::string text;
  std::vector<std::pair<std::string, std::string>> attributes;
  std::vector<std::shared_ptr<node>> children;
};

inline const std::string white = " \t\r\n", delimiters = " \t\r\n\"=<>";
inline const char *const entities[][2] = {
    {"&apos;", "'"}, {"&quot;", "\""}, {"&lt;", "<"}, {"&gt;", ">"}, {"&amp;", "&"}};

inline std::string decoded(std::string text) {
  for (const auto &entity : entities) qx::string_replace(text, entity[0], entity[1]);
  return text;
}

inline std::string escaped(std::string text) {
  for (int i = 4; i >= 0; --i) qx::string_replace(text, entities[i][1], entities[i][0]);
  return text;
}

inline void cut(const std::string &text, const std::string &mark, std::string &left, std::string &right) {
  if (qx::string_slice2(text, mark, left, right) < 0) throw failure();
}

inline void set_attribute(node &n, const std::string &key, const std::string &value) {
  for (auto &attribute : n.attributes)
    if (attribute.first == key) return void(attribute.second = value);
  n.attributes.emplace_back(key, value);
}

inline void parse_tag(node &n, const std::string &text) {
  const size_t at = text.find_first_of(delimiters);
  const std::string name = text.substr(0, at);
  std::string rest = at == std::string::npos ? "" : text.substr(at + 1);
  if (name.empty()) throw failure();
  n.text = name;
  qx::trim_left(rest, white);
  while (!rest.empty()) {
    std::string key, value;
    cut(rest, "=", key, value);
    qx::trim_right(key, white);
    if (key.find_first_of(delimiters) != std::string::npos) throw failure();
    qx::trim_left(value, white);
    if (value.find_first_of("'\"") != 0) throw failure();
    const std::string quote = value.substr(0, 1);
    value.erase(0, 1);
    qx::trim_left(value, white);
    cut(value, quote, value, rest);
    if (!rest.empty() && white.find(rest[0]) == std::string::npos) throw failure();
    qx::trim_right(value, white);
    set_attribute(n, decoded(key), decoded(value));
    qx::trim_left(rest, white);
  }
}

inline std::string parse_declaration(std::shared_ptr<node> &handle, const std::string &text) {
  std::string inside, rest;
  cut(text, "?>", inside, rest);
  handle = std::make_shared<node>(node{xmlTypeDeclaration, {}, {}, {}});
  parse_tag(*handle, inside);
  return rest;
}

inline std::string parse_element(std::shared_ptr<node> &handle, const std::string &text);

inline std::string parse_content(node &n, std::string text) {
  static const std::vector<std::string> tokens = {"<!--", "<![CDATA[", "<?", "<"};
  int token = -1, at = qx::string_find_first_one_of(text, tokens, token);
  if (at < 0) {
    qx::trim_left(text, white);
    return text;
  }
  const auto add = [&n](int type, const std::string &content) {
    n.children.push_back(std::make_shared<node>(node{type, content, {}, {}}));
  };
  for (;;) {
    std::string before = text.substr(0, static_cast<size_t>(at)), piece;
    std::string rest = text.substr(static_cast<size_t>(at) + tokens[static_cast<size_t>(token)].size());
    qx::trim_right(before, white);
    if (!before.empty()) add(xmlTypeText, decoded(before));
    if (token <= 1) {
      cut(rest, token == 0 ? "-->" : "]]>", piece, rest);
      qx::trim_both(piece, white);
      add(token == 0 ? xmlTypeComment : xmlTypeCData, piece);
    } else {
      if (token == 3 && rest[0] == '/') return "<" + rest;
      std::shared_ptr<node> child;
      rest = token == 2 ? parse_declaration(child, rest) : parse_element(child, rest);
      n.children.push_back(child);
    }
    at = qx::string_find_first_one_of(rest, tokens, token);
    if (at < 0) {
      qx::trim_left(before, white);
      return before;
    }
    text = rest;
  }
}

inline std::string parse_element(std::shared_ptr<node> &handle, const std::string &text) {
  int token = -1;
  const int at = qx::string_find_first_one_of(text, {"/>", ">"}, token);
  if (at < 0) throw failure();
  handle = std::make_shared<node>(node{xmlTypeElement, {}, {}, {}});
  parse_tag(*handle, text.substr(0, static_cast<size_t>(at)));
  std::string rest = text.substr(static_cast<size_t>(at) + (token == 0 ? 2 : 1)), left;
  if (token == 1) {
    rest = parse_content(*handle, rest);
    if (rest.substr(0, 2) != "</") throw failure();
    rest.erase(0, 2);
    if (qx::string_slice2(rest, ">", left, rest) < 0) {
      qx::trim_both(left, white);
      if (left != handle->text) throw failure();
    }
  }
  qx::trim_both(rest, white);
  return rest;
}

inline std::shared_ptr<node> parse_document(const std::string &text) {
  auto document = std::make_shared<node>(node{xmlTypeDocument, {}, {}, {}});
  try {
    if (parse_content(*document, text).empty()) return document;
  } catch (const failure &) {
  }
  return std::make_shared<node>(node{xmlTypeDocument, {}, {}, {}});
}

inline std::string exported(const node &n, bool compact, int level);

inline std::string exported_attributes(const node &n) {
  std::string text;
  for (const auto &[key, value] : n.attributes) text += " " + escaped(key) + "=\"" + escaped(value) + "\"";
  return text;
}

inline std::string exported_children(const node &n, bool compact, int level) {
  std::string text;
  for (const auto &child : n.children) text += exported(*child, compact, level);
  return text;
}

inline std::string exported_element(const node &n, bool compact, int level) {
  const std::string indent(compact ? 0 : static_cast<size_t>(2 * level), ' '), eol = compact ? "" : "\r\n";
  const std::string name = escaped(n.text), start = indent + "<" + name + exported_attributes(n),
                    end = "</" + name + ">" + eol;
  if (n.children.size() == 1 && n.children[0]->type == xmlTypeText)
    return start + ">" + escaped(n.children[0]->text) + end;
  if (!n.children.empty()) return start + ">" + eol + exported_children(n, compact, level + 1) + indent + end;
  return n.attributes.empty() ? start + ">" + end : start + "/>" + eol;
}

inline std::string exported(const node &n, bool compact, int level) {
  if (n.type == xmlTypeElement) return exported_element(n, compact, level);
  if (n.type == xmlTypeDocument) return exported_children(n, compact, level + 1);
  const std::string indent(compact ? 0 : static_cast<size_t>(2 * level), ' '), eol = compact ? "" : "\r\n";
  const std::string name = escaped(n.text);
  if (n.type == xmlTypeText) return indent + name + eol;
  if (n.type == xmlTypeDeclaration) return indent + "<?" + name + exported_attributes(n) + "?>" + eol;
  const std::string &body = compact ? name : n.text;
  return indent + (n.type == xmlTypeComment ? "<!-- " + body + " -->" : "<![CDATA[" + body + "]]>") + eol;
}

/// A tree in a form that loses nothing.
inline std::string shown(const node &n) {
  std::string text = std::to_string(n.type) + "{" + n.text;
  for (const auto &[key, value] : n.attributes) text += "|" + key + "|" + value;
  for (const auto &child : n.children) text += shown(*child);
  return text + "}";
}

inline std::string shown(const chXmlObject &object) {
  std::string text = std::to_string(object.type()) + "{" + object.tagName();
  chXmlAttributeObject tag;
  static_cast<chXmlObject &>(tag) = object;
  for (const auto &[key, value] : tag.GetAttributeData()) text += "|" + key + "|" + value;
  for (chXmlObject child = object.getChild(); child.hasData(); ++child) text += shown(child);
  return text + "}";
}

} // namespace slow
