#include "zarlib/xml/serialiser.h"

#include "zarlib/xml/entities.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace zar {

namespace {

/// Measures a text.
class counting_sink {
public:
  void put(std::string_view text) { m_size += text.size(); }
  void put_blanks(size_t count) { m_size += count; }
  void put_escaped(std::string_view text) { m_size += xml_escaped_size(text); }
  size_t size() const { return m_size; }

private:
  size_t m_size = 0;
};

/// Writes a text into a place of sufficient size.
class writing_sink {
public:
  explicit writing_sink(char *at) : m_at(at) {}
  void put(std::string_view text) {
    std::memcpy(m_at, text.data(), text.size());
    m_at += text.size();
  }
  void put_blanks(size_t count) {
    std::memset(m_at, ' ', count);
    m_at += count;
  }
  void put_escaped(std::string_view text) {
    xml_escape(text, [this](std::string_view piece) { put(piece); });
  }

private:
  char *m_at;
};

/// Walks over a tree, without recursion, and writes each node.
template <class Sink>
class exporter {
public:
  exporter(Sink &sink, bool compact) : m_sink(sink), m_compact(compact) {}

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
    const auto *const list = node.attributes();
    if (!list) return;
    for (const auto &[key, value] : *list) {
      m_sink.put(" ");
      m_sink.put_escaped(key);
      m_sink.put("=\"");
      m_sink.put_escaped(value);
      m_sink.put("\"");
    }
  }

private:
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
      m_sink.put_escaped(node.text());
      return end_line();
    case xmlTypeDeclaration:
      indent(level);
      m_sink.put("<?");
      m_sink.put_escaped(node.text());
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

  // Raw in the form of many lines, with entities in the compact one: settled, readers of either form rely on it.
  void piece(std::string_view before, const xml_node &node, std::string_view after, int level) {
    indent(level);
    m_sink.put(before);
    if (m_compact) {
      m_sink.put_escaped(node.text());
    } else {
      m_sink.put(node.text());
    }
    m_sink.put(after);
    end_line();
  }

  void element(const xml_node &node, int level) {
    indent(level);
    m_sink.put("<");
    m_sink.put_escaped(node.text());
    attributes(node);
    if (node.holds_one_text()) {
      m_sink.put(">");
      m_sink.put_escaped(node.first_child->text());
      end_tag(node);
    } else if (node.first_child) {
      m_sink.put(">");
      end_line();
      open(node, level, true);
    } else if (node.attributes() && !node.attributes()->empty()) {
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
    m_sink.put_escaped(node.text());
    m_sink.put(">");
    end_line();
  }

  void indent(int level) {
    if (!m_compact && level > 0) m_sink.put_blanks(2 * static_cast<size_t>(level));
  }

  void end_line() {
    if (!m_compact) m_sink.put("\r\n");
  }

  Sink &m_sink;
  bool m_compact;
  std::vector<opened> m_open;
};

/// Runs `write` twice, to measure and to write.
template <class Write>
std::string sized(Write write) {
  counting_sink count;
  write(count);
  std::string text(count.size(), '\0');
  writing_sink sink(text.data());
  write(sink);
  return text;
}

} // namespace

std::string xml_export(const xml_node &node, xml_form form, bool compact) {
  return sized([&](auto &sink) { exporter(sink, compact).run(node, form); });
}

std::string xml_export_attributes(const xml_node &node) {
  return sized([&](auto &sink) { exporter(sink, true).attributes(node); });
}

} // namespace zar
