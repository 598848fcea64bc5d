// Settings files parsed, written, walked and searched, against three other libraries. One of them, expat, builds no
// tree.
#include "zarlib/xml/xml_document.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <expat.h>
#include <malloc.h>
#include <pugixml.hpp>
#include <thread>
#include <tinyxml2.h>

namespace {

/// A settings file of about the given size: groups of options, with attributes, texts and some comments.
std::string settings(size_t bytes) {
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<settings>\r\n";
  for (int i = 0; text.size() < bytes; ++i) {
    const std::string n = std::to_string(i);
    text += "  <device name=\"device " + n + "\" enabled=\"true\">\r\n    <host>10.0.0." + n +
            "</host>\r\n    <port>5060</port>\r\n";
    text += "    <description>Line card &quot;" + n + "&quot; of the second rack</description>\r\n";
    text += "    <window x=\"100\" y=\"200\" width=\"640\" height=\"480\"/>\r\n    <codec>G.711</codec>\r\n";
    if (i % 8 == 0) text += "    <!-- set by the installer -->\r\n";
    text += "  </device>\r\n";
  }
  return text + "</settings>\r\n";
}

/// A text of 1 MB in which elements are nested `depth` deep.
std::string nested(int depth) {
  std::string once, text = "<all>\r\n";
  for (int i = 0; i < depth; ++i) once += "<level k=\"v\">";
  once += "text";
  for (int i = 0; i < depth; ++i) once += "</level>";
  while (text.size() < 1000000) text += once + "\r\n";
  return text + "</all>";
}

struct ours {
  explicit ours(const std::string &text) : document(chXmlDocument::ParseDocument(text)) {}
  bool good() const { return document.hasChildren(); }
  std::string written() const { return document.ExportToText(false); }
  static size_t elements(const chXmlObject &above) {
    size_t count = 0;
    for (chXmlObject node = above.getChild(); node.hasData(); ++node)
      if (node.type() == xmlTypeElement) count += 1 + elements(node);
    return count;
  }
  size_t walk() const { return elements(document); }
  bool find(const std::string &name) const { return document.getChildElement().FindChildElement(name).hasData(); }
  chXmlDocument document;
};

struct pugixml {
  explicit pugixml(const std::string &text) { document.load_buffer(text.data(), text.size()); }
  bool good() const { return !document.first_child().empty(); }
  struct writer : pugi::xml_writer {
    void write(const void *data, size_t size) override { text.append(static_cast<const char *>(data), size); }
    std::string text;
  };
  std::string written() const {
    writer w;
    document.save(w, "  ", pugi::format_indent | pugi::format_no_declaration);
    return std::move(w.text);
  }
  static size_t elements(const pugi::xml_node &above) {
    size_t count = 0;
    for (pugi::xml_node node = above.first_child(); node; node = node.next_sibling())
      if (node.type() == pugi::node_element) count += 1 + elements(node);
    return count;
  }
  size_t walk() const { return elements(document); }
  bool find(const std::string &name) const { return document.document_element().child(name.c_str()); }
  pugi::xml_document document;
};

struct tiny {
  explicit tiny(const std::string &text) { document.Parse(text.data(), text.size()); }
  bool good() const { return !document.Error(); }
  std::string written() const {
    tinyxml2::XMLPrinter printer;
    document.Print(&printer);
    return printer.CStr();
  }
  static size_t elements(const tinyxml2::XMLNode *above) {
    size_t count = 0;
    for (const tinyxml2::XMLNode *node = above->FirstChild(); node; node = node->NextSibling())
      if (node->ToElement()) count += 1 + elements(node);
    return count;
  }
  size_t walk() const { return elements(&document); }
  bool find(const std::string &name) const { return document.RootElement()->FirstChildElement(name.c_str()); }
  tinyxml2::XMLDocument document;
};

struct expat {
  explicit expat(const std::string &text) {
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &count);
    XML_SetElementHandler(
        parser, [](void *data, const XML_Char *, const XML_Char **) { ++*static_cast<size_t *>(data); },
        [](void *, const XML_Char *) {});
    XML_SetCharacterDataHandler(parser, [](void *data, const XML_Char *, int) { ++*static_cast<size_t *>(data); });
    done = XML_Parse(parser, text.data(), static_cast<int>(text.size()), 1) == XML_STATUS_OK;
    XML_ParserFree(parser);
  }
  bool good() const { return done; }
  size_t count = 0;
  bool done = false;
};

/// Parses the text and frees the tree.
template <class Library>
void parse(benchmark::State &state, const std::string &text) {
  for (auto _ : state)
    if (!Library(text).good()) return state.SkipWithError("refused");
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

template <class Library>
void write(benchmark::State &state, const std::string &text) {
  const Library library(text);
  size_t bytes = 0;
  for (auto _ : state) bytes += library.written().size();
  state.SetBytesProcessed(static_cast<int64_t>(bytes));
}

template <class Library>
void walk(benchmark::State &state, const std::string &text) {
  const Library library(text);
  size_t count = 0;
  for (auto _ : state) count += library.walk();
  state.SetItemsProcessed(static_cast<int64_t>(count));
}

/// Finds the last child of a thousand.
template <class Library>
void find(benchmark::State &state, const std::string &text) {
  const Library library(text);
  const std::string name = "option999";
  for (auto _ : state)
    if (!library.find(name)) return state.SkipWithError("not found");
}

/// Heap bytes of a tree per byte of its text.
template <class Library>
void memory(benchmark::State &state, const std::string &text) {
  const auto in_use = [] {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
  };
  for (auto _ : state) {
    const double before = in_use();
    const Library library(text);
    state.counters["bytes_per_byte"] = (in_use() - before) / static_cast<double>(text.size());
  }
}

using measured = void (*)(benchmark::State &, const std::string &);

void add(const std::string &thing, const std::string &library, measured body, const std::string &text) {
  benchmark::RegisterBenchmark((thing + "/" + library).c_str(),
                               [=, &text](benchmark::State &state) { body(state, text); });
}

void add_trees(const std::string &thing, const measured (&bodies)[3], const std::string &text) {
  add(thing, "ours", bodies[0], text);
  add(thing, "pugixml", bodies[1], text);
  add(thing, "tinyxml2", bodies[2], text);
}

void add_all() {
  static const std::string small = settings(10000), middle = settings(1000000), large = settings(50000000);
  static const std::string flat = nested(10), deep = nested(10000);
  static const std::string wide = [] {
    std::string text = "<options>";
    for (int i = 0; i < 1000; ++i) text += "<option" + std::to_string(i) + "/>";
    return text + "</options>";
  }();
  const struct {
    std::string size;
    const std::string &text;
  } sizes[] = {{"10KB", small}, {"1MB", middle}, {"50MB", large}};
  for (const auto &[size, text] : sizes) {
    add_trees("BM_XmlParse_" + size, {parse<ours>, parse<pugixml>, parse<tiny>}, text);
    add("BM_XmlParse_" + size, "expat", parse<expat>, text);
    add_trees("BM_XmlWrite_" + size, {write<ours>, write<pugixml>, write<tiny>}, text);
    add_trees("BM_XmlWalk_" + size, {walk<ours>, walk<pugixml>, walk<tiny>}, text);
  }
  add_trees("BM_XmlMemory_1MB", {memory<ours>, memory<pugixml>, memory<tiny>}, middle);
  add_trees("BM_XmlFindChild_1000", {find<ours>, find<pugixml>, find<tiny>}, wide);
  add("BM_XmlParse_depth10", "ours", parse<ours>, flat);
  add("BM_XmlParse_depth10", "pugixml", parse<pugixml>, flat);
  add("BM_XmlParse_depth10000", "ours", parse<ours>, deep);
  add("BM_XmlParse_depth10000", "pugixml", parse<pugixml>, deep);
}

} // namespace

int main(int argc, char **argv) {
  // Applications have several threads; reference counts and the heap's locks are cheaper until the second one starts.
  std::thread([] {}).join();
  benchmark::Initialize(&argc, argv);
  add_all();
  benchmark::RunSpecifiedBenchmarks();
}
