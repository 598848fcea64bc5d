// Reading and writing, against the slow form.
#include "zarlib/xml/xml_document.h"

#include "zarlib/xml/xml_escape.h"

#include "tests/xml/slow_xml.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <functional>
#include <random>

namespace {

using random_numbers = std::mt19937;

size_t below(random_numbers &random, size_t end) { return random() % end; }

const char *const pieces[] = {"<",           ">",
                              "/>",          "/",
                              "</",          "<a>",
                              "</a>",        "<a/>",
                              "<b ",         "</b>",
                              "</ a ",       "<!--",
                              "-->",         "--",
                              "<!",          "<?",
                              "?>",          "?",
                              "<?x y='1'?>", "<![CDATA[",
                              "]]>",         "]]",
                              "=",           "\"",
                              "'",           " ",
                              "\t",          "\r\n",
                              "  ",          "text",
                              "a",           "k=\"v\"",
                              " k='v'",      " k = \" v \"",
                              " l='\"' ",    "<c k='1'/>",
                              "&amp;",       "&lt;",
                              "&",           "lt;",
                              ";",           "&#9;",
                              "&apos;",      "&quot;",
                              "\xC3\xA4",    "\xEF\xBB\xBF",
                              "<d>x</d>",    "!DOCTYPE"};

std::string soup(random_numbers &random) {
  std::string text;
  for (size_t count = below(random, 24); count > 0; --count) text += pieces[below(random, std::size(pieces))];
  return text;
}

/// Markup that is well-formed, or nearly so.
std::string element_text(random_numbers &random, int depth) {
  const std::string name(1, static_cast<char>('a' + below(random, 4)));
  std::string text = "<" + name;
  for (size_t count = below(random, 4); count > 0; --count)
    text += std::string(" ") + static_cast<char>('k' + below(random, 3)) +
            (below(random, 2) ? "= 'x &gt;\"'" : "=\" <v> \"");
  if (below(random, 3) == 0) return text + "/>";
  text += ">";
  for (size_t count = depth > 4 ? 0 : below(random, 5); count > 0; --count) {
    const char *const others[] = {"\r\n  ", " text &amp;lt; ", "<!-- c & -->", "<![CDATA[ <x> ]]>", "<?p q=\"r\"?>"};
    const size_t which = below(random, 2 * std::size(others));
    text += which < std::size(others) ? others[which] : element_text(random, depth + 1);
  }
  return text + "</" + (below(random, 20) ? name : "wrong") + ">" + (below(random, 3) ? "" : "\r\n");
}

std::string mutated(random_numbers &random, std::string text) {
  for (size_t count = below(random, 4); count > 0; --count) {
    const size_t at = below(random, text.size() + 1);
    switch (below(random, 4)) {
    case 0:
      text.erase(at, 1 + below(random, 4));
      break;
    case 1:
      text.insert(at, pieces[below(random, std::size(pieces))]);
      break;
    case 2:
      text.insert(at, text.substr(below(random, text.size() + 1), below(random, 12)));
      break;
    default:
      text.resize(at);
    }
  }
  return text;
}

/// What a reading leaves: its rest or its refusal, and the tree.
template <class Parse, class Show>
std::string outcome(Parse parse, Show show) {
  std::string rest;
  try {
    rest = "rest:" + parse();
  } catch (const char *) {
    rest = "refused";
  } catch (const slow::failure &) {
    rest = "refused";
  }
  return rest + " tree:" + show();
}

template <class Handle>
std::string outcome_of(Handle handle, const std::string &text) {
  return outcome([&] { return handle.parseContent(text); },
                 [&] { return handle.hasData() ? slow::shown(handle) : "none"; });
}

std::string slow_outcome(const std::function<std::string(std::shared_ptr<slow::node> &)> &parse,
                         std::shared_ptr<slow::node> n = {}) {
  return outcome([&] { return parse(n); }, [&] { return n ? slow::shown(*n) : "none"; });
}

void expect_same(const std::string &text) {
  SCOPED_TRACE(text);
  const chXmlDocument document = chXmlDocument::ParseDocument(text);
  const auto expected = slow::parse_document(text);
  ASSERT_EQ(slow::shown(document), slow::shown(*expected));
  ASSERT_EQ(document.ExportToText(false), slow::exported(*expected, false, -1));
  ASSERT_EQ(document.ExportToText(true), slow::exported(*expected, true, -1));
  const auto new_node = [](int type, const char *name) {
    return std::make_shared<slow::node>(slow::node{type, name, {}, {}});
  };
  ASSERT_EQ(outcome_of(chXmlDocument(), text),
            slow_outcome([&](auto &n) { return slow::parse_content(*n, text); }, new_node(xmlTypeDocument, "")));
  ASSERT_EQ(outcome_of(chXmlElement(), text), slow_outcome([&](auto &n) { return slow::parse_element(n, text); }));
  ASSERT_EQ(outcome_of(chXmlDeclaration(), text),
            slow_outcome([&](auto &n) { return slow::parse_declaration(n, text); }));
  ASSERT_EQ(outcome_of(chXmlObject(), text), slow_outcome([&](auto &n) {
              const auto made = new_node(xmlTypeDocument, "");
              const auto keep = [&] { n = made->children.empty() ? nullptr : made; };
              try {
                const std::string rest = slow::parse_content(*made, text);
                return keep(), rest;
              } catch (const slow::failure &) {
                keep();
                throw;
              }
            }));
  chXmlElement tag("old");
  tag.SetAttributeValue("k", "was");
  const auto slow_tag = new_node(xmlTypeElement, "old");
  slow_tag->attributes = {{"k", "was"}};
  const auto parse_inside = [&] { return tag.chXmlAttributeObject::parseContent(text); };
  ASSERT_EQ(outcome(parse_inside, [&] { return slow::shown(tag); }),
            slow_outcome([&](auto &n) { return slow::parse_tag(*n, text), std::string(); }, slow_tag));
}

template <class Make>
void compare_many(unsigned seed, int count, Make make) {
  random_numbers random(seed);
  int with_children = 0;
  for (int i = 0; i < count && !testing::Test::HasFatalFailure(); ++i) {
    const std::string text = make(random);
    expect_same(text);
    with_children += chXmlDocument::ParseDocument(text).hasChildren();
  }
  EXPECT_GT(with_children, count / 100) << "too few of the texts are read";
}

void with_small_stack(void (*body)()) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 1 << 20), 0);
  pthread_t thread;
  const auto start = [](void *argument) -> void * {
    (*static_cast<void (**)()>(argument))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, start, &body), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

std::string repeated(const std::string &text, size_t count) {
  std::string result;
  for (size_t i = 0; i < count; ++i) result += text;
  return result;
}

void live_with_depth(size_t depth) {
  const std::string text = repeated("<a>", depth - 1) + "<a k=\"v\"/>" + repeated("</a>", depth - 1);
  const chXmlDocument document = chXmlDocument::ParseDocument(text);
  EXPECT_EQ(document.ExportToText(true), text);
  chXmlObject copy = document.clone();
  EXPECT_EQ(copy.ExportToText(true), text);
  copy = chXmlObject();
  // A failure in the depth releases what was read, too.
  EXPECT_FALSE(chXmlDocument::ParseDocument(text.substr(0, text.size() - 5)).hasChildren());
}

} // namespace

TEST(XmlDocument, ReadsAndWritesTokenSoupAsTheSlowFormDoes) { compare_many(1, 30000, soup); }

TEST(XmlDocument, ReadsAndWritesNearlyGoodMarkupAsTheSlowFormDoes) {
  compare_many(2, 15000, [](random_numbers &random) {
    return mutated(random, (below(random, 2) ? "<?xml version='1.0'?>\r\n" : "") + element_text(random, 0));
  });
}

TEST(XmlDocument, KnownTexts) {
  const struct {
    const char *text, *compact;
  } cases[] = {
      {"", ""},
      {"no markup", ""},
      {"<a>", ""},
      {"<a></b>", "<a></a>"},
      {"<a></a", "<a></a>"},
      {"<a></a \r\n", "<a></a>"},
      {"<a></b", ""},
      {"<a/>tail", "<a></a>"},
      {"head<a/>", ""},
      {"head<a/><b/>", "head<a></a><b></b>"},
      {"\xEF\xBB\xBF<a/>", ""},
      {"<a>x<c/>tail", ""},
      {"<a k='\"'/>", "<a k=\"&quot;\"/>"},
      {"<a k='>'/>", ""},
      {"<a k = \" v \"/>", "<a k=\"v\"/>"},
      {"<a b=\"1\"c=\"2\"/>", ""},
      {"<a ='v'/>", "<a =\"v\"/>"},
      {"<a b='1' c='2' b='3'/>", "<a b=\"3\" c=\"2\"/>"},
      {"<a>x<!--  y & z --><b/> t</a>", "<a>x<!-- y &amp; z --><b></b>t</a>"},
      {"<a><![CDATA[ < ]]></a>", "<a><![CDATA[&lt;]]></a>"},
      {"<a>&#10;&amp;lt;</a>", "<a>&amp;#10;&amp;lt;</a>"},
      {"<!DOCTYPE a><a/>", ""},
      {"<?xml version=\"1.0\"?><a/>", "<?xml version=\"1.0\"?><a></a>"},
      {"<?xml bare?><a/>", ""},
  };
  for (const auto &c : cases) EXPECT_EQ(chXmlDocument::ParseDocument(c.text).ExportToText(true), c.compact) << c.text;
}

TEST(XmlDocument, DeepTreesNeedNoStack) {
  with_small_stack([] { live_with_depth(100000); });
  live_with_depth(1000000);
}

TEST(XmlDocument, HugeShapesAreReadInOnePass) {
  // With anything in them that grows with the square, these would take hours.
  std::string attributes = "<a";
  for (int i = 0; i < 200000; ++i) attributes += " k" + std::to_string(i) + "='v'";
  const chXmlElement a = chXmlDocument::ParseDocument(attributes + " k7='last'/>").getChildElement();
  EXPECT_EQ(a.GetAttributeCount(), 200000);
  EXPECT_EQ(a.GetAttributeValue("k7"), "last");
  for (const char *piece :
       {"<", "<!--", "<![CDATA[", "<a ", "<a>", "<a>x", "</a", "<a/", "&", "<?", "<a b='", "<a/>  "})
    chXmlDocument::ParseDocument(repeated(piece, 1000000));
  EXPECT_TRUE(chXmlDocument::ParseDocument(repeated("<a/>\n", 300000)).hasChildren());
  const std::string blanks(1000000, ' ');
  EXPECT_TRUE(chXmlDocument::ParseDocument(repeated("<a>", 1000) + repeated("</a>", 1000) + blanks).hasChildren());
}

TEST(XmlDocument, AnOverriddenReaderServesOnlyItsOwnObject) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
  struct bracketing : chXmlElement {
    std::string parseContent(const std::string &text) override { return "[" + chXmlElement::parseContent(text) + "]"; }
  } element;
#pragma GCC diagnostic pop
  chXmlObject &object = element;
  EXPECT_EQ(object.parseContent("a><b>x</b></a> rest "), "[rest]");
  EXPECT_EQ(element.ExportToText(true), "<a><b>x</b></a>");
}

TEST(XmlEscape, DecodesAsFivePassesDo) {
  random_numbers random(3);
  const char *const parts[] = {"&",     "amp;", "lt;", "gt;",  "apos;", "quot;", "&amp;", "&lt;",
                               "&#38;", ";",    "a",   "\xE4", "'",     "\"",    "<",     ">"};
  for (int i = 0; i < 50000; ++i) {
    std::string text;
    for (size_t count = below(random, 10); count > 0; --count) text += parts[below(random, std::size(parts))];
    ASSERT_EQ(xmlXMLPhrase2Text(text), slow::decoded(text)) << text;
    ASSERT_EQ(xmlText2XMLPhrase(text), slow::escaped(text)) << text;
    ASSERT_EQ(xmlXMLPhrase2Text(xmlText2XMLPhrase(text)), text);
  }
}
