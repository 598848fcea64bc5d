// Node lifetimes, links, searches, attributes and options.
#include "zarlib/xml/xml_object.h"

#include "zarlib/xml/xml_soap.h"

#include "tests/xml/slow_xml.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <thread>

namespace {

/// The model of a node: alive while a handle or a live parent refers to it.
struct model {
  std::string name;
  std::weak_ptr<model> parent;
  std::vector<std::shared_ptr<model>> children;

  auto place_of(const std::shared_ptr<model> &child) { return std::find(children.begin(), children.end(), child); }
};

std::string shown(const model &m) {
  std::string text = "4{" + m.name;
  for (const auto &child : m.children) text += shown(*child);
  return text + "}";
}

struct slot {
  chXmlObject object;
  std::shared_ptr<model> expected;
};

/// One operation on handles, on the tree and on the model.
void step(unsigned operation, slot &a, slot &b, const std::string &new_name) {
  if (operation == 0) return void(a = {chXmlElement(new_name), std::make_shared<model>(model{new_name, {}, {}})});
  if (operation == 1) return void(a = {*&b.object, b.expected});
  if (!b.expected) return;
  const auto parent = b.expected->parent.lock();
  auto &children = b.expected->children;
  if (operation == 2) {
    a = {b.object.getChild(), children.empty() ? nullptr : children[0]};
  } else if (operation == 3) {
    a = {b.object.getParent(), parent};
  } else if (operation == 4) {
    ++b.object;
    const auto next = parent ? parent->place_of(b.expected) + 1 : children.end();
    b.expected = parent && next != parent->children.end() ? *next : nullptr;
  } else if (operation == 5 && parent) {
    b.object.getParent().RemoveChildObject(b.object);
    parent->children.erase(parent->place_of(b.expected));
    b.expected->parent.reset();
  } else if (operation > 5 && !parent) {
    for (auto above = a.expected; above; above = above->parent.lock())
      if (above == b.expected) return;
    if (!a.expected) return;
    a.object.AddChildObject(b.object);
    a.expected->children.push_back(b.expected);
    b.expected->parent = a.expected;
  }
}

void expect_same(const slot &s) {
  ASSERT_EQ(s.object.hasData(), s.expected != nullptr);
  if (!s.expected) return;
  ASSERT_EQ(slow::shown(s.object), shown(*s.expected));
  ASSERT_EQ(slow::shown(s.object.clone()), shown(*s.expected));
  const auto parent = s.expected->parent.lock();
  ASSERT_EQ(s.object.getParent().tagName(), parent ? parent->name : "");
}

/// The number of live allocations.
int balance() {
  testing::internal::CaptureStderr();
  baseDymicAlloc::dump();
  int allocations = 0, frees = 0;
  const std::string told = testing::internal::GetCapturedStderr();
  EXPECT_EQ(std::sscanf(told.c_str(), "memory alloc(%d) and free(%d)", &allocations, &frees), 2);
  return allocations - frees;
}

} // namespace

TEST(XmlObject, NodesLiveAndDieAsTheModelDoes) {
  const int before = balance();
  for (unsigned seed = 0; seed < 60; ++seed) {
    std::mt19937 random(seed);
    std::vector<slot> slots(12);
    for (int i = 0; i < 400; ++i) {
      slot &a = slots[random() % 12], &b = slots[random() % 12];
      if (&a == &b)
        a.object = *&b.object, a.expected = nullptr; // self-assignment drops the reference
      else
        step(random() % 9, a, b, "n" + std::to_string(i));
      for (slot &s : slots) {
        expect_same(s);
        ASSERT_FALSE(HasFatalFailure()) << "seed " << seed << " step " << i;
        if (s.expected && shown(*s.expected).size() > 400) s = slot(); // small enough to compare at each step
      }
    }
  }
  EXPECT_EQ(balance(), before);
}

TEST(XmlObject, NodesOutliveALargeTree) {
  const int before = balance();
  {
    std::string text;
    for (int i = 0; i < 100000; ++i) text += "<b>" + std::to_string(i) + "</b>";
    chXmlObject large = chXmlDocument::ParseDocument(text).clone();
    std::vector<chXmlObject> kept;
    int place = 0;
    for (chXmlObject child = large.getChild(); child.hasData(); ++child)
      if (place++ % 1000 == 0) kept.push_back(child);
    large = chXmlObject();
    for (size_t i = 0; i < kept.size(); ++i)
      EXPECT_EQ(kept[i].ExportToText(true), "<b>" + std::to_string(1000 * i) + "</b>");
  }
  EXPECT_EQ(balance(), before);
}

TEST(XmlObject, HandlesOnOneTreeAreCopiedAndDroppedByManyThreads) {
  chXmlDocument document = chXmlDocument::ParseDocument("<a><b k='1'><c/></b><d k='1'/></a>");
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([own = chXmlObject(document)] {
      for (int i = 0; i < 3000; ++i)
        for (chXmlElement e = own.getChildElement().getChildElement(); e.hasData(); ++e)
          EXPECT_EQ(chXmlObject(e.getParent()).tagName() + *e.FindAttributeValue("k"), "a1");
    });
  document = chXmlDocument();
  for (std::thread &thread : threads) thread.join();
}

TEST(XmlObject, Searches) {
  chXmlElement root =
      chXmlDocument::ParseDocument("<r>t<a k='1'/><!--c--><b k='2'/><A/><a k='2'><x/></a></r>").getChildElement();
  EXPECT_EQ(root["a"].FindNextElement("a").GetAttributeValue("k"), "2");
  EXPECT_EQ(root.FindChildAttribute("k", "2").tagName(), "b");
  EXPECT_EQ(root["b"].FindNextAttribute("k", "2").tagName(), "a");
  EXPECT_FALSE(root["b"].FindNextAttribute("k", "1").hasData());
  chXmlElement first = getChildSoap(root);
  setSoapName(first, " \t x\r\n");
  EXPECT_EQ(first.GetAttributeValue("name"), "x");
  EXPECT_EQ(getChildSoapByName(root, " x ").tagName(), "a");
}

TEST(XmlObject, RemovingIsBlindToTheParent) {
  chXmlElement a("a"), b("b");
  const chXmlObject first = a.AddChildElement("1"), second = a.AddChildElement("2");
  b.RemoveChildObject(first); // its siblings are joined, and its own parent is not updated
  EXPECT_FALSE(first.getParent().hasData());
  EXPECT_EQ(a.ExportToText(true), "<a><1></1></a>");
  a.RemoveChildObject(chXmlElement("of nobody"));
  EXPECT_EQ(a.getLevel() + second.getLevel(), 1);
}

TEST(XmlAttributeObject, ATagThatWasReadIsReadAnew) {
  chXmlElement e = chXmlDocument::ParseDocument("<e a='1' b='2'/>").getChildElement();
  EXPECT_EQ(e.GetAttributeCount(), 2);
  EXPECT_EQ(e.chXmlAttributeObject::parseContent("a-name-that-is-longer c='3' b='4'"), "");
  EXPECT_EQ(e.clone().ExportToText(true), "<a-name-that-is-longer a=\"1\" b=\"4\" c=\"3\"/>");
}

TEST(XmlElement, AttributesAndOptions) {
  chXmlElement e = chXmlDocument::ParseDocument("<e><c><!--old--></c><empty></empty></e>").getChildElement();
  for (const char *without_text : {"c", "empty", "new"}) EXPECT_EQ(e.GetOption(without_text, "default"), "default");
  for (const size_t size : {5u, 9u, 4u, 70000u, 3u}) {
    EXPECT_EQ(e.SetOption("new", std::string(size, 'v')), 1);
    EXPECT_EQ(e.SetOption("new", std::string(size, 'v')), 0);
    EXPECT_EQ(e.GetOption("new", ""), std::string(size, 'v'));
  }
  EXPECT_EQ(e.SetOption("c", "text"), 1);
  EXPECT_EQ(e.ExportChildren(true), "<c><!-- text --></c><empty></empty><new>vvv</new>");
  for (const char *key : {"a", "b"}) EXPECT_EQ(e.SetAttributeValue(key, "1") + e.SetAttributeValue(key, "1"), 1);
  e.SetAttributeValue("a", "3");
  EXPECT_EQ(e.ExportAttributes(), " a=\"3\" b=\"1\"");
  e.FastRemoveAttributeValue("1"); // equal, but not the stored one
  e.FastRemoveAttributeValue(*e.FindAttributeValue("a"));
  EXPECT_EQ(e.ExportAttributes(), " b=\"1\"");
}
