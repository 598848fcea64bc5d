// Parsing and writing, against the slow reference.
#include "zarlib/xml/xml_document.h"

#include "zarlib/xml/xml_escape.h"

#include "tests/xml/slow_xml.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <random>

namespace {

std::mt19937 random_numbers;

size_t below(size_t end) { return random_numbers() % end; }

const std::string &piece() {
  static const auto pieces = qx::stringarray_builder_by_token(
      "<", ">", "/>", "/", "</", "<a>", "</a>", "<a/>", "<b ", "</b>", "</ a ", "<!--", "-->", "--", "<!", "<?", "?>",
      "?", "<?x y='1'?>", "<![CDATA[", "]]>", "]]", "=", "\"", "'", " ", "\t", "\r\n", "  ", "text", "a", "k=\"v\"",
      " k='v'", " k = \" v \"", " l='\"' ", "<c k='1'/>", "&amp;", "&lt;", "&", "lt;", ";", "amp;", "&#9;", "&apos;",
      "&quot;", "\xC3\xA4", "\xEF\xBB\xBF", "<d>x</d>", "!DOCTYPE", nullptr);
  return pieces[below(pieces.size())];
}

/// Well-formed, or nearly well-formed, markup.
std::string element(int depth = 0) {
  const char *const others[] = {"\r\n  ", " text &amp;lt; ", "<!-- c & -->", "<![CDATA[ <x> ]]>", "<?p q=\"r\"?>"};
  const std::string name(1, static_cast<char>('a' + below(4)));
  std::string text = "<" + name;
  for (size_t count = below(4); count > 0; --count)
    text += std::string(" ") + static_cast<char>('k' + below(3)) + (below(2) ? "= 'x &gt;\"'" : "=\" <v> \"");
  if (below(3) == 0) return text + "/>";
  text += ">";
  for (size_t count = depth > 4 ? 0 : below(5); count > 0; --count)
    text += below(2) ? others[below(std::size(others))] : element(depth + 1);
  return text + "</" + (below(20) ? name : "wrong") + ">" + (below(3) ? "" : "\r\n");
}

/// An empty text with many changes becomes a soup of tokens.
std::string mutated(std::string text, size_t most_changes) {
  for (size_t count = below(most_changes); count > 0; --count) {
    const size_t at = below(text.size() + 1);
    if (below(4) == 0) text.erase(at, below(5));
    text.insert(at, below(3) ? piece() : text.substr(below(text.size() + 1), below(12)));
    if (below(20) == 0) text.resize(at);
  }
  return text;
}

/// The outcome of a parse: the rest or the refusal, and the tree.
template <class Node, class Parse>
std::string outcome(Node &node, Parse parse) {
  std::string rest;
  try {
    rest = "rest:" + parse(node);
  } catch (const char *) {
    rest = "refused";
  }
  return rest + " tree:" + slow::shown(node);
}

void expect_same(const std::string &text) {
  SCOPED_TRACE(text);
  const chXmlDocument document = chXmlDocument::ParseDocument(text);
  slow::node expected{xmlTypeDocument, {}, {}, {}};
  if (outcome(expected, [&](slow::node &n) { return slow::parse_content(n, text); }).rfind("rest: tree", 0) != 0)
    expected.children.clear();
  ASSERT_EQ(slow::shown(document), slow::shown(expected));
  ASSERT_EQ(document.ExportToText(false), slow::exported(expected, false));
  ASSERT_EQ(document.ExportToText(true), slow::exported(expected, true));
  ASSERT_EQ(xmlXMLPhrase2Text(text), slow::decoded(text));
  ASSERT_EQ(xmlText2XMLPhrase(text), slow::escaped(text));

  chXmlObject content;
  chXmlElement element, old("old");
  chXmlDeclaration declaration;
  chXmlAttributeObject tag;
  old.SetAttributeValue("k", "was");
  static_cast<chXmlObject &>(tag) = old;
  const struct {
    chXmlObject &handle;
    slow::node expected;
    std::string (*parse)(slow::node &, const std::string &);
  } entries[] = {{content, {}, slow::parse_content},
                 {element, {}, slow::parse_element},
                 {declaration, {}, slow::parse_declaration},
                 {tag, {xmlTypeElement, "old", {{"k", "was"}}, {}}, slow::parse_tag}};
  for (auto [handle, node, parse] : entries)
    ASSERT_EQ(outcome(handle, [&](chXmlObject &o) { return o.parseContent(text); }),
              outcome(node, [&, parse = parse](slow::node &n) { return parse(n, text); }));
}

std::string repeated(const std::string &text, size_t count) {
  std::string result;
  for (size_t i = 0; i < count; ++i) result += text;
  return result;
}

void *live_with_depth(void *) {
  const std::string text = repeated("<a>", 100000) + "<a k=\"v\"/>" + repeated("</a>", 100000);
  const chXmlDocument document = chXmlDocument::ParseDocument(text);
  EXPECT_EQ(document.ExportToText(true), text);
  EXPECT_EQ(document.clone().ExportToText(true), text);
  // A failure at depth also releases what was parsed.
  EXPECT_FALSE(chXmlDocument::ParseDocument(text.substr(0, text.size() - 5)).hasChildren());
  return nullptr;
}

} // namespace

TEST(XmlDocument, ReadsAndWritesAsTheSlowFormDoes) {
  random_numbers.seed(1);
  int with_children = 0;
  for (int i = 0; i < 45000 && !HasFatalFailure(); ++i) {
    const std::string text = i % 3 ? mutated("", 24) : mutated(element(), 3);
    expect_same(text);
    with_children += chXmlDocument::ParseDocument(text).hasChildren();
  }
  EXPECT_GT(with_children, 1000) << "too few of the texts are read";
}

TEST(XmlDocument, ManyAttributesAndLongTextsAreReadAsFewAndShortOnes) {
  for (const size_t size : {1u, 4u, 7u, 8u, 16u, 17u, 60u, 1024u}) {
    const std::string value = std::string(size, 'v') + "&amp;" + std::string(size / 2, 'w'), name(size, 'n');
    std::string text = "<" + name;
    for (int i = 0; i < 17 && !HasFatalFailure(); ++i) {
      text += " k" + std::to_string(i) + "='" + value + "'";
      expect_same(text + "/>");
      expect_same(text + " k0='again' e&lt;='" + value + "' q'='1' q'='2'>" + value + "<!--" + value + "--></" + name);
    }
  }
}

TEST(XmlDocument, DeepTreesNeedNoStack) {
  pthread_attr_t small;
  pthread_t thread;
  pthread_attr_init(&small);
  ASSERT_EQ(pthread_attr_setstacksize(&small, 1 << 20), 0);
  ASSERT_EQ(pthread_create(&thread, &small, live_with_depth, nullptr), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&small);
}

// With anything quadratic in them, these would take hours.
TEST(XmlDocument, HugeShapesAreReadAndWrittenInOnePass) {
  EXPECT_EQ(xmlText2XMLPhrase(std::string(2000000, '&') + std::string(1000000, '-')).size(), 11000000u);
  for (const char *each : {"<", "<!--", "<![CDATA[", "<a ", "<a>", "<a>x", "</a", "<a/", "&", "<?", "<a b='", "<a/>  "})
    chXmlDocument::ParseDocument(repeated(each, 1000000));
  std::string attributes = "<a";
  for (int i = 0; i < 200000; ++i) attributes += " k" + std::to_string(i) + "='v'";
  EXPECT_EQ(chXmlDocument::ParseDocument(attributes + " k7='last'/>").getChildElement().GetAttributeCount(), 200000);
}

TEST(XmlDocument, AnOverriddenReaderServesOnlyItsOwnObject) {
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
  struct bracketing : chXmlElement {
    std::string parseContent(const std::string &text) override { return "[" + chXmlElement::parseContent(text) + "]"; }
  } element;
  chXmlObject &object = element;
  EXPECT_EQ(object.parseContent("a><b>x</b></a> rest "), "[rest]");
}
