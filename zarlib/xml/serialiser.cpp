#include "zarlib/xml/serialiser.h"

#include "zarlib/xml/text_sink.h"

#include <vector>

namespace zar {

namespace {

/// Walks a tree without recursion and writes each node.
class exporter {
public:
  explicit exporter(bool compact) : m_compact(compact) {}

  std::string text() const { return m_sink.text(); }

  void run(const xml_node &top, xml_form form) {
    begin(top, top.level(), form);
    while (!m_open.empty()) {
      opened &last = m_open.back();
      if (const xml_node *const child = last.child) {
        last.child = child->next;
        begin(*child, child->parent == last.node ? last.level + 1 : child->level(), xml_form::by_type);
      } else {
        const opened done = last;
        m_open.pop_back();
        if (done.is_element) end_element(*done.node, done.level);
      }
    }
  }

  void attributes(const xml_node &node) {
    const bool plain_keys = node.attributes_are_packed();
    node.any_attribute([this, plain_keys](std::string_view key, std::string_view value) {
      m_sink.put(" ");
      put(key, plain_keys);
      m_sink.put("=\"");
      m_sink.put_escaped(value);
      m_sink.put("\"");
      return false;
    });
  }

private:
  void put(std::string_view text, bool is_plain) {
    if (is_plain) {
      m_sink.put(text);
    } else {
      m_sink.put_escaped(text);
    }
  }

  void put_text(const xml_node &node) { put(node.text(), node.text_is_plain); }

  /// A node whose children are being written.
  struct opened {
    const xml_node *node;
    const xml_node *child; // the next one
    int level;
    bool is_element;
  };

  void begin(const xml_node &node, int level, xml_form form) {
    if (form == xml_form::children_only) return open(node, level, false);
    if (form == xml_form::as_element) return element(node, level);
    switch (node.type) {
    case xmlTypeComment:
      return piece("<!-- ", node, " -->", level);
    case xmlTypeText:
      indent(level);
      put_text(node);
      return end_line();
    case xmlTypeDeclaration:
      indent(level);
      m_sink.put("<?");
      put_text(node);
      attributes(node);
      m_sink.put("?>");
      return end_line();
    case xmlTypeElement:
      return element(node, level);
    case xmlTypeCData:
      return piece("<![CDATA[", node, "]]>", level);
    default:
      return open(node, level, false);
    }
  }

  void open(const xml_node &node, int level, bool is_element) {
    m_open.push_back({&node, node.first_child, level, is_element});
  }

  // Raw in the multi-line form, with entities in the compact one: settled, readers of either form rely on it.
  void piece(std::string_view before, const xml_node &node, std::string_view after, int level) {
    indent(level);
    m_sink.put(before);
    if (m_compact) {
      put_text(node);
    } else {
      m_sink.put(node.text());
    }
    m_sink.put(after);
    end_line();
  }

  void element(const xml_node &node, int level) {
    indent(level);
    m_sink.put("<");
    put_text(node);
    attributes(node);
    if (node.holds_one_text()) {
      m_sink.put(">");
      put_text(*node.first_child);
      end_tag(node);
    } else if (node.first_child) {
      m_sink.put(">");
      end_line();
      open(node, level, true);
    } else if (node.attribute_count() > 0) {
      m_sink.put("/>");
      end_line();
    } else {
      m_sink.put(">");
      end_tag(node);
    }
  }

  void end_element(const xml_node &node, int level) {
    indent(level);
    end_tag(node);
  }

  void end_tag(const xml_node &node) {
    m_sink.put("</");
    put_text(node);
    m_sink.put(">");
    end_line();
  }

  void indent(int level) {
    if (!m_compact && level > 0) m_sink.put_blanks(2 * static_cast<size_t>(level));
  }

  void end_line() {
    if (!m_compact) m_sink.put("\r\n");
  }

  text_sink m_sink;
  bool m_compact;
  std::vector<opened> m_open;
};

} // namespace

std::string xml_export(const xml_node &node, xml_form form, bool compact) {
  exporter writer(compact);
  writer.run(node, form);
  return writer.text();
}

std::string xml_export_attributes(const xml_node &node) {
  exporter writer(true);
  writer.attributes(node);
  return writer.text();
}

} // namespace zar
