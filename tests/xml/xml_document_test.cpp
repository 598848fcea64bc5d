// Reading and writing, against the slow form.
#include "zarlib/xml/xml_document.h"

#include "zarlib/xml/xml_escape.h"

#include "tests/xml/slow_xml.h"

#include <gtest/gtest.h>

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

const std::string well_formed =
    "<a k=\" <v \" l= 'x &gt;\"' k='again'>\r\n  <b> text &amp;lt; <!-- c & --></b><c m='1'/>\r\n"
    "<![CDATA[ <x> ]]><?p q=\"r\"?><d>t<a/><b></b></d></a>\r\n";

/// From nothing, and with many changes, comes a soup of tokens.
std::string mutated(std::string text, size_t most_changes) {
  for (size_t count = below(most_changes); count > 0; --count) {
    const size_t at = below(text.size() + 1);
    if (below(4) == 0) text.erase(at, below(5));
    text.insert(at, below(3) ? piece() : text.substr(below(text.size() + 1), below(12)));
    if (below(20) == 0) text.resize(at);
  }
  return text;
}

/// What a reading leaves: its rest or its refusal, and the tree.
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
  chXmlElement element;
  chXmlDeclaration declaration;
  const std::pair<chXmlObject &, std::string (*)(slow::node &, const std::string &)> entries[] = {
      {content, slow::parse_content}, {element, slow::parse_element}, {declaration, slow::parse_declaration}};
  for (const auto &[handle, parse] : entries) {
    slow::node node;
    ASSERT_EQ(outcome(handle, [&](chXmlObject &o) { return o.parseContent(text); }),
              outcome(node, [&, parse = parse](slow::node &n) { return parse(n, text); }));
  }
}

std::string repeated(const std::string &text, size_t count) {
  std::string result;
  for (size_t i = 0; i < count; ++i) result += text;
  return result;
}

} // namespace

TEST(XmlDocument, ReadsAndWritesAsTheSlowFormDoes) {
  random_numbers.seed(1);
  int with_children = 0;
  for (int i = 0; i < 45000 && !HasFatalFailure(); ++i) {
    const std::string text = i % 3 ? mutated("", 24) : mutated(well_formed, 4);
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

// A stack of 8 MB would leave 20 bytes for each level.
TEST(XmlDocument, DeepTreesNeedNoStack) {
  const std::string text = repeated("<a>", 400000) + "<a k=\"v\"/>" + repeated("</a>", 400000);
  EXPECT_TRUE(chXmlDocument::ParseDocument(text).clone().ExportToText(true) == text);
  // A failure in the depth releases what was read, too.
  EXPECT_FALSE(chXmlDocument::ParseDocument(text.substr(0, text.size() - 5)).hasChildren());
}

// With anything in them that grows with the square, these would take hours.
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
