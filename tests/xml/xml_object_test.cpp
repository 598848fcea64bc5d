// Nodes and their lives, links, searches, attributes and options.
#include "zarlib/xml/xml_object.h"

#include "zarlib/xml/xml_document.h"
#include "zarlib/xml/xml_soap.h"

#include "tests/xml/slow_xml.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <thread>

namespace {

/// What a node is to a caller: alive while a handle or a living parent holds it.
struct model {
  std::string name;
  std::weak_ptr<model> parent;
  std::vector<std::shared_ptr<model>> children;
};
using model_handle = std::shared_ptr<model>;

std::string shown(const model &m) {
  std::string text = "4{" + m.name;
  for (const auto &child : m.children) text += shown(*child);
  return text + "}";
}

bool is_above(const model_handle &above, model_handle m) {
  for (; m; m = m->parent.lock())
    if (m == above) return true;
  return false;
}

model_handle copied(const model &m) {
  auto copy = std::make_shared<model>(model{m.name, {}, {}});
  for (const auto &child : m.children) {
    copy->children.push_back(copied(*child));
    copy->children.back()->parent = copy;
  }
  return copy;
}

struct slot {
  chXmlObject object;
  model_handle expected;
};

/// One operation on random handles, on the tree and on the model.
void step(std::mt19937 &random, std::array<slot, 12> &slots, int number) {
  slot &a = slots[random() % slots.size()], &b = slots[random() % slots.size()];
  auto siblings_of = [](const model_handle &m) { return m->parent.lock(); };
  switch (random() % 10) {
  case 0:
  case 1: {
    const std::string name = "n" + std::to_string(number);
    a = {chXmlElement(name), std::make_shared<model>(model{name, {}, {}})};
    break;
  }
  case 2:
    if (&a != &b) a = slot(b);
    break;
  case 3:
    a.object = *&a.object;
    a.expected = nullptr;
    break;
  case 4:
    if (!a.expected || !b.expected || siblings_of(b.expected) || is_above(b.expected, a.expected)) break;
    a.object.AddChildObject(b.object);
    a.expected->children.push_back(b.expected);
    b.expected->parent = a.expected;
    break;
  case 5:
    if (const model_handle parent = b.expected ? siblings_of(b.expected) : nullptr) {
      b.object.getParent().RemoveChildObject(b.object);
      parent->children.erase(std::find(parent->children.begin(), parent->children.end(), b.expected));
      b.expected->parent.reset();
    }
    break;
  case 6:
    a.object = b.object.getChild();
    a.expected = b.expected && !b.expected->children.empty() ? b.expected->children[0] : nullptr;
    break;
  case 7:
    if (!a.expected) break;
    if (const model_handle parent = siblings_of(a.expected)) {
      const auto next = std::find(parent->children.begin(), parent->children.end(), a.expected) + 1;
      a.expected = next == parent->children.end() ? nullptr : *next;
    } else {
      a.expected = nullptr;
    }
    ++a.object;
    break;
  case 8:
    if (!b.expected) break;
    a.object = b.object.getParent();
    a.expected = siblings_of(b.expected);
    break;
  default:
    a.object = b.object.clone();
    a.expected = b.expected ? copied(*b.expected) : nullptr;
  }
}

} // namespace

TEST(XmlObject, NodesLiveAndDieAsTheModelDoes) {
  for (unsigned seed = 0; seed < 60; ++seed) {
    std::mt19937 random(seed);
    std::array<slot, 12> slots;
    for (int i = 0; i < 400; ++i) {
      step(random, slots, i);
      for (const slot &s : slots) {
        ASSERT_EQ(s.object.hasData(), s.expected != nullptr) << "seed " << seed << " step " << i;
        if (!s.expected) continue;
        ASSERT_EQ(slow::shown(s.object), shown(*s.expected)) << "seed " << seed << " step " << i;
        const model_handle parent = s.expected->parent.lock();
        ASSERT_EQ(s.object.getParent().tagName(), parent ? parent->name : "");
      }
      for (slot &s : slots) // keeps the trees small enough to compare at each step
        if (s.expected && shown(*s.expected).size() > 400) s = slot();
    }
  }
}

TEST(XmlObject, EveryRecordIsCountedInTheBalanceOnceAndGivenBack) {
  const auto balance = [] {
    testing::internal::CaptureStderr();
    baseDymicAlloc::dump();
    int allocations = 0, frees = 0;
    EXPECT_EQ(std::sscanf(testing::internal::GetCapturedStderr().c_str(), "memory alloc(%d) and free(%d)", &allocations,
                          &frees),
              2);
    return std::pair(allocations, frees);
  };
  const auto before = balance();
  {
    const chXmlDocument document =
        chXmlDocument::ParseDocument("<a k='v'>text<b/>" + std::string(100000, 'x') + "</a>");
    EXPECT_EQ(balance(), std::pair(before.first + 5, before.second));
  }
  EXPECT_EQ(balance(), std::pair(before.first + 5, before.second + 5));
}

TEST(XmlObject, HandlesOnOneTreeAreCopiedAndDroppedByManyThreads) {
  chXmlDocument document = chXmlDocument::ParseDocument("<a><b><c/></b><d/></a>");
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([own = chXmlObject(document)] {
      for (int i = 0; i < 3000; ++i)
        for (chXmlElement e = own.getChildElement().getChildElement(); e.hasData(); ++e) {
          const chXmlObject copy = e.getParent();
          EXPECT_EQ(copy.tagName(), "a");
        }
    });
  document = chXmlDocument();
  for (std::thread &thread : threads) thread.join();
}

TEST(XmlObject, ADroppedTreeLeavesWhatIsHeldAsRoots) {
  chXmlDocument document = chXmlDocument::ParseDocument("<a/><b><c/></b><d/>");
  EXPECT_EQ(document.getLevel(), -1);
  EXPECT_EQ(document["b"].getLevel(), 0);
  EXPECT_EQ(document["b"]["c"].getLevel(), 1);
  chXmlElement b = document["b"];
  document = chXmlDocument();
  EXPECT_FALSE(b.getParent().hasData());
  EXPECT_FALSE(b.getNextElement().hasData());
  EXPECT_EQ(b.ExportToText(true), "<b><c></c></b>");
  EXPECT_EQ(b["c"].getLevel(), 1);
}

TEST(XmlObject, KindsOfNodesAndHandles) {
  EXPECT_FALSE(chXmlObject(static_cast<xmlType>(7), "x").hasData());
  EXPECT_FALSE(chXmlObject(xmlTypeNone, "x").hasData());
  EXPECT_FALSE(chXmlElement(chXmlObject(xmlTypeText, "x")).hasData());
  EXPECT_FALSE(chXmlObject().AddChildObject(chXmlObject()).hasData());
  chXmlObject made;
  made.AddChildElement("a").AddChildObject(xmlTypeText, "t & u");
  EXPECT_EQ(made.type(), xmlTypeDocument);
  EXPECT_EQ(made.clone().ExportToText(false), "<a>t &amp; u</a>\r\n");
  EXPECT_EQ(made.ExportElement(true), "<>"
                                      "<a>t &amp; u</a></>");
  for (const size_t size : {0u, 7u, 8u, 9u, 65535u, 65536u, 200000u}) { // texts in their record and beside it
    const std::string text(size, 'x');
    chXmlObject object(xmlTypeText, text);
    EXPECT_EQ(object.tagName(), text);
    EXPECT_EQ(object.clone().tagName(), text);
  }
}

TEST(XmlObject, RemovingIsBlindToTheParent) {
  chXmlElement a("a"), b("b");
  chXmlObject first = a.AddChildElement("1"), second = a.AddChildElement("2");
  const chXmlElement lone("lone");
  a.RemoveChildObject(lone);  // held by nobody else
  b.RemoveChildObject(first); // a stranger's child: its siblings are joined, and its own parent does not notice
  EXPECT_FALSE(first.getParent().hasData());
  EXPECT_EQ(a.getChild().tagName(), "1");
  EXPECT_EQ(a.ExportToText(true), "<a><1></1></a>");
  a.RemoveChildObject(second);
  EXPECT_EQ(a.getChild().tagName(), "1");
}

TEST(XmlObject, Searches) {
  chXmlElement root =
      chXmlDocument::ParseDocument("<r>t<a k='1'/><!--c--><b k='2'/><A/><a k='2'><x/></a></r>").getChildElement();
  EXPECT_EQ(root["a"].GetAttributeValue("k"), "1");
  EXPECT_EQ(root["a"].FindNextElement("a").GetAttributeValue("k"), "2");
  EXPECT_FALSE(root["x"].hasData());
  EXPECT_FALSE(chXmlElement()["x"].hasData());
  EXPECT_EQ(root.FindChildAttribute("k", "2").tagName(), "b");
  EXPECT_EQ(root["b"].FindNextAttribute("k", "2").tagName(), "a");
  EXPECT_FALSE(root["b"].FindNextAttribute("k", "1").hasData());
  std::string names;
  for (chXmlElement e = root.getChildElement(); e.hasData(); ++e) names += e.tagName();
  EXPECT_EQ(names, "abAa");
  setSoapName(root, " \t me\r\n");
  EXPECT_EQ(root.GetAttributeValue("name"), "me");
  chXmlElement first = getChildSoap(root);
  EXPECT_EQ(&setSoapName(first, "x"), &first);
  EXPECT_EQ(getChildSoap(root).GetAttributeValue("name"), "x");
  EXPECT_EQ(getChildSoapByName(root, " x ").tagName(), "a");
}

TEST(XmlAttributeObject, KeepsOrderAndAddresses) {
  chXmlElement e("e");
  EXPECT_EQ(e.SetAttributeValue("a", "1"), 1);
  EXPECT_EQ(e.SetAttributeValue("b", "2"), 1);
  EXPECT_EQ(e.SetAttributeValue("a", "1"), 0);
  EXPECT_EQ(e.SetAttributeValue("a", "3"), 1);
  EXPECT_EQ(e.ExportAttributes(), " a=\"3\" b=\"2\"");
  const std::string *const stored = e.FindAttributeValue("b");
  e.FastRemoveAttributeValue(std::string(*stored));
  EXPECT_EQ(e.GetAttributeCount(), 2);
  e.FastRemoveAttributeValue(*stored);
  EXPECT_EQ(e.FindAttributeValue("b"), nullptr);
  EXPECT_EQ(e.GetAttributeValue("b", "none"), "none");
  EXPECT_EQ(chXmlElement().GetAttributeCount(), 0);
}

TEST(XmlElement, Options) {
  chXmlElement e = chXmlDocument::ParseDocument("<e><c><!--old--></c><empty></empty></e>").getChildElement();
  EXPECT_EQ(e.GetOption("c", "default"), "default");
  EXPECT_EQ(e.GetOption("empty", "default"), "default");
  EXPECT_EQ(e.SetOption("new", "1"), 1);
  EXPECT_EQ(e.SetOption("new", "1"), 0);
  for (const size_t size : {5u, 9u, 4u, 70000u, 3u}) {
    EXPECT_EQ(e.SetOption("new", std::string(size, 'v')), 1);
    EXPECT_EQ(e.GetOption("new", ""), std::string(size, 'v'));
  }
  EXPECT_EQ(e.SetOption("c", "text"), 1);
  EXPECT_EQ(e.ExportChildren(true), "<c><!-- text --></c><empty></empty><new>vvv</new>");
}
