// A reference XML parser and writer that cuts and copies texts, level by level: slow, but evidently correct. Also the
// library's tree as text, to compare.
#pragma once

#include "zarlib/companion/qxstl.h"
#include "zarlib/xml/xml_document.h"

#include <algorithm>

namespace slow {

struct node {
  int type = xmlTypeNone;
  std::string text;
  std::vector<std::pair<std::string, std::string>> attributes;
  std::vector<node> children;
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

inline void check(bool good) {
  if (!good) throw "malformed";
}

inline void cut(const std::string &text, const std::string &mark, std::string &left, std::string &right) {
  check(qx::string_slice2(text, mark, left, right) >= 0);
}

inline std::string parse_tag(node &n, const std::string &text) {
  const size_t at = text.find_first_of(delimiters);
  std::string rest = at == std::string::npos ? "" : text.substr(at + 1);
  check(at != 0 && !text.empty());
  n.text = text.substr(0, at);
  for (qx::trim_left(rest, white); !rest.empty(); qx::trim_left(rest, white)) {
    std::string key, value;
    cut(rest, "=", key, value);
    qx::trim_right(key, white);
    check(key.find_first_of(delimiters) == std::string::npos);
    qx::trim_left(value, white);
    check(value.find_first_of("'\"") == 0);
    const std::string quote = value.substr(0, 1);
    value.erase(0, 1);
    cut(value, quote, value, rest);
    check(rest.empty() || white.find(rest[0]) != std::string::npos);
    qx::trim_both(value, white);
    key = decoded(key);
    auto &all = n.attributes;
    const auto found = std::find_if(all.begin(), all.end(), [&](const auto &each) { return each.first == key; });
    (found == all.end() ? all.emplace_back(key, "") : *found).second = decoded(value);
  }
  return "";
}

inline std::string parse_declaration(node &n, const std::string &text) {
  std::string inside, rest;
  cut(text, "?>", inside, rest);
  n = {xmlTypeDeclaration, {}, {}, {}};
  parse_tag(n, inside);
  return rest;
}

inline std::string parse_element(node &n, const std::string &text);

inline std::string parse_content(node &n, const std::string &text) {
  static const std::vector<std::string> tokens = {"<!--", "<![CDATA[", "<?", "<"};
  const auto add = [&n](const node &child) {
    if (n.type == xmlTypeNone) n.type = xmlTypeDocument;
    n.children.push_back(child);
  };
  std::string before, rest = text;
  for (bool first = true;; first = false) {
    int token = -1;
    const int at = qx::string_find_first_one_of(rest, tokens, token);
    if (at < 0) {
      std::string left = first ? text : before;
      qx::trim_left(left, white);
      return left;
    }
    before = rest.substr(0, static_cast<size_t>(at));
    rest.erase(0, before.size() + tokens[static_cast<size_t>(token)].size());
    qx::trim_right(before, white);
    if (!before.empty()) add({xmlTypeText, decoded(before), {}, {}});
    if (token == 3 && rest[0] == '/') return "<" + rest;
    node child;
    if (token <= 1) {
      child.type = token == 0 ? xmlTypeComment : xmlTypeCData;
      cut(rest, token == 0 ? "-->" : "]]>", child.text, rest);
      qx::trim_both(child.text, white);
    } else {
      rest = token == 2 ? parse_declaration(child, rest) : parse_element(child, rest);
    }
    add(child);
  }
}

inline std::string parse_element(node &n, const std::string &text) {
  int token = -1;
  const int at = qx::string_find_first_one_of(text, {"/>", ">"}, token);
  check(at >= 0);
  n = {xmlTypeElement, {}, {}, {}};
  parse_tag(n, text.substr(0, static_cast<size_t>(at)));
  std::string rest = text.substr(static_cast<size_t>(at) + (token == 0 ? 2 : 1)), left;
  if (token == 1) {
    rest = parse_content(n, rest);
    check(rest.substr(0, 2) == "</");
    rest.erase(0, 2);
    if (qx::string_slice2(rest, ">", left, rest) < 0) {
      qx::trim_both(left, white);
      check(left == n.text);
    }
  }
  qx::trim_both(rest, white);
  return rest;
}

inline std::string exported_attributes(const node &n) {
  std::string text;
  for (const auto &[key, value] : n.attributes) text += " " + escaped(key) + "=\"" + escaped(value) + "\"";
  return text;
}

inline std::string exported(const node &n, bool compact, int level = -1) {
  const std::string indent(compact ? 0 : static_cast<size_t>(2 * std::max(level, 0)), ' '), eol = compact ? "" : "\r\n";
  const std::string name = escaped(n.text), body = compact ? name : n.text, tag = name + exported_attributes(n);
  std::string children;
  for (const node &child : n.children) children += exported(child, compact, level + 1);
  if (n.type == xmlTypeDocument) return children;
  if (n.type == xmlTypeText) return indent + name + eol;
  if (n.type == xmlTypeDeclaration) return indent + "<?" + tag + "?>" + eol;
  if (n.type == xmlTypeComment) return indent + "<!-- " + body + " -->" + eol;
  if (n.type == xmlTypeCData) return indent + "<![CDATA[" + body + "]]>" + eol;
  if (n.children.empty() && !n.attributes.empty()) return indent + "<" + tag + "/>" + eol;
  if (n.children.size() == 1 && n.children[0].type == xmlTypeText)
    children = escaped(n.children[0].text);
  else if (!n.children.empty())
    children = eol + children + indent;
  return indent + "<" + tag + ">" + children + "</" + name + ">" + eol;
}

/// A lossless form of a tree.
inline std::string shown(const node &n) {
  std::string text = std::to_string(n.type) + "{" + n.text + exported_attributes(n);
  for (const node &child : n.children) text += shown(child);
  return text + "}";
}

inline std::string shown(const chXmlObject &object) {
  std::string text = std::to_string(object.type()) + "{" + object.tagName() + object.ExportAttributes();
  for (chXmlObject child = object.getChild(); child.hasData(); ++child) text += shown(child);
  return text + "}";
}

} // namespace slow
