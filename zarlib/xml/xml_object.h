// The XML tree: chXmlObject and the handle classes for tags and elements.
//
// Texts are bytes, by convention UTF-8. Names, keys and values are compared byte by byte.
#pragma once

#include "zarlib/export.h"
#include "zarlib/memory/dymic_alloc.h"

#include <list>
#include <string>
#include <utility>

class chXmlElement;

/// The kind of a node. Beside each: what its text, tagName(), holds.
enum xmlType : int {
  xmlTypeNone = 0,        ///< no node: the type() of an empty handle
  xmlTypeComment = 1,     ///< the comment's text
  xmlTypeText = 2,        ///< character data, entities decoded
  xmlTypeDeclaration = 3, ///< the target, such as xml; has attributes
  xmlTypeElement = 4,     ///< the tag name; has attributes
  xmlTypeCData = 5,       ///< the section's text
  xmlTypeDocument = 6     ///< empty; the node above the top-level nodes
};

// The destructors here are not virtual: handles are values, never deleted through a base class pointer.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif

/// A handle to a node of an XML tree; may be empty.
///
/// Copying a handle shares the node; only clone() copies it. A node lives as long as any handle refers to it or a
/// living parent links to it. When a tree is destroyed, a node that still has a handle becomes a root of its own with
/// its whole subtree. Destroying and cloning a tree are not recursive, however deep it is.
///
/// Several threads may copy and drop handles to one tree at once. A single handle belongs to one thread at a time, and
/// no lock protects the tree's links, texts and attributes: any number of threads may read them, or one may change them
/// while no other reads. Dropping the last handle to a node changes the links of its children.
///
/// Copying a handle costs one atomic addition, and navigation one more; neither copies text. Each node counts as one
/// allocation in the balance of baseDymicAlloc. The nodes of a parsed text, or of a clone, are allocated together in
/// blocks of up to 32 KB, and beyond 4 MB of up to 2 MB. A block is freed with its last node, so a handle to one node
/// of a large destroyed tree retains a whole block; hold its clone() instead.
class ZAR_API chXmlObject : public baseDymicAlloc {
public:
  /// The record of one node; its layout is internal.
  struct ZAR_LOCAL xmlNodeData;

  /// An empty handle.
  chXmlObject();
  /// Shares the other's node; there is no move that empties the other.
  chXmlObject(const chXmlObject &other);
  /// Makes a new, unlinked node. A type outside 1 to 6 gives an empty handle.
  chXmlObject(xmlType type, const std::string &text);
  ~chXmlObject();

  /// Releases its node, then shares the other's. Self-assignment therefore leaves the handle EMPTY, and destroys the
  /// node if this was the last handle to it.
  chXmlObject &operator=(const chXmlObject &other);

  /// Parses `text` as a sequence of texts, comments, sections, declarations and elements, and adds them as children. An
  /// empty handle receives a document node that cannot have attributes, when the first child is added.
  ///
  /// All nodes below are parsed internally, never by overrides of this function. Time and memory are linear in the
  /// length of the text; nesting needs no recursion.
  /// @return What was not consumed, which is not always the tail of `text`: if there is an unmatched end tag, the text
  ///         from its "</" on; if there is no "<", the text without its leading white space; otherwise the character
  ///         data directly BEFORE the last top-level markup, trimmed at both ends, and empty if there was none.
  ///         Character data after the last tag is dropped.
  /// @throws const char *  A constant text, on malformed markup. Children completed before it remain.
  virtual std::string parseContent(const std::string &text);

  xmlType type() const;
  /// A copy of the node's text, as described at xmlType; empty for an empty handle.
  std::string tagName() const;
  /// Whether there is a node.
  bool hasData() const;
  /// Whether the node has a child. False for an empty handle.
  bool hasChildren() const;

  /// The number of ancestors, not counting a document at the top: 0 for a top-level node and for a root without a
  /// document, -1 for the document itself. Costs one step per level.
  /// REQUIRES: hasData().
  int getLevel() const;

  /// The first child of any kind, or an empty handle.
  chXmlObject getChild() const;
  /// The first child that is an element, or an empty handle.
  chXmlElement getChildElement() const;
  /// The next sibling that is an element, or an empty handle.
  chXmlElement getNextElement() const;
  /// The parent; empty for a root. REQUIRES: hasData().
  chXmlObject getParent() const;
  /// Moves this handle to the next sibling of any kind; empty after the last. REQUIRES: hasData().
  chXmlObject &operator++();

  /// The first child element of that name, or an empty handle. Compares in place, without copying.
  chXmlElement FindChildElement(const std::string &name) const;
  /// The same among the siblings after this node.
  chXmlElement FindNextElement(const std::string &name) const;
  /// Same as FindChildElement().
  chXmlElement operator[](const std::string &name) const;

  /// Links `child` as the last child. An empty handle first receives a document node that cannot have attributes.
  /// @return A handle to the child. An empty `child` changes nothing and gives an empty handle.
  /// REQUIRES: `child` has no parent and no siblings, and is not an ancestor of this node. Not checked: an old parent
  ///           would still link to it, and both parents then reach siblings that they hold no references to.
  chXmlObject AddChildObject(const chXmlObject &child);
  /// Makes a node, as the constructor does, and links it. @return A handle to it, empty for a type outside 1 to 6.
  chXmlObject AddChildObject(xmlType type, const std::string &text);
  /// Makes an element of that name and links it. @return A handle to it.
  chXmlElement AddChildElement(const std::string &name);

  /// Unlinks `child`, which keeps its subtree. No effect if `child` is empty, or if the argument is the only reference
  /// to the node, which then has no parent. Constant time.
  /// REQUIRES: hasData(), and `child` is a child of this node. Not checked: any other node loses its siblings, its
  ///           parent and a reference, while its old parent may still point to it.
  void RemoveChildObject(const chXmlObject &child);

  /// A deep copy of the node, sharing nothing with this tree and without a parent; empty for an empty handle.
  chXmlObject clone() const;

  /// The node and its subtree as text; empty for an empty handle. One pass, using memory of twice the text's size.
  /// @param compact  False: one node per line, indented by two blanks per level of getLevel(), each line ending in
  ///                 "\r\n"; an element whose only child is a text takes one line. True: no indent and no line ends.
  ///                 Comments and CDATA sections are written raw in the first form and with entities in the second.
  std::string ExportToText(bool compact) const;
  /// The same, but writes the node as an element, whatever its type. REQUIRES: hasData().
  std::string ExportElement(bool compact) const;
  /// ExportToText() of each child, one after another.
  std::string ExportChildren(bool compact) const;
  /// The attributes as written in a tag, each preceded by a blank. Empty for nodes that have no attributes.
  std::string ExportAttributes() const;

private:
  friend class chXmlAttributeObject;
  friend class chXmlDeclaration;
  friend class chXmlElement;
  friend class chXmlDocument;

  explicit chXmlObject(xmlNodeData *node);
  static chXmlElement element_on(xmlNodeData *node);
  xmlNodeData *first_child() const;
  xmlNodeData *next_sibling() const;
  void adopt(xmlNodeData *node);
  void release_node_data();
  static int release_node_data(xmlNodeData *node);
  static xmlNodeData *clone_data(xmlNodeData *node);

  xmlNodeData *m_node;
};

/// A handle to a node that can have attributes.
///
/// Attributes are kept in the order in which their keys were first set; look-up is linear. Those of a parsed tag are
/// stored packed beside its name. GetAttributeValue(), the searches and the export read them there; operations that
/// expose or change the stored data first build the list, once per node. A node that cannot have attributes (a text, a
/// comment, a section, a document made by adding to an empty handle) behaves as one that has none.
class ZAR_API chXmlAttributeObject : public chXmlObject {
public:
  using attribute_list = std::list<std::pair<std::string, std::string>>;

  chXmlAttributeObject();

  /// Parses the inside of a tag, without its brackets: a name, then key="value" or key='value' after white space. Sets
  /// the node's name and attributes; attributes not in the text stay. Values are trimmed, and entities decoded.
  /// @return An empty text.
  /// @throws const char *  A constant text, on a missing name or malformed attribute; the attributes before it are set.
  /// REQUIRES: hasData().
  std::string parseContent(const std::string &text) override;

  /// 0 for an empty handle.
  int GetAttributeCount() const;
  /// The list itself, as key and value. Valid as long as the node lives. REQUIRES: hasData().
  const attribute_list &GetAttributeData() const;
  /// @return The stored value, valid until the attribute or the node is destroyed; null if there is none.
  std::string *FindAttributeValue(const std::string &key) const;
  /// @return A copy of the value, or `defaultValue` if there is none.
  std::string GetAttributeValue(const std::string &key, const std::string &defaultValue = std::string()) const;

  /// Sets a value in place, or adds the attribute at the end.
  /// @return 0 if it already has exactly that value or the node cannot have attributes, else 1.
  /// REQUIRES: hasData().
  int SetAttributeValue(const std::string &key, const std::string &value);

  /// Removes the attribute whose stored value is the passed object itself, as returned by FindAttributeValue(); an
  /// equal text elsewhere removes nothing. REQUIRES: hasData().
  void FastRemoveAttributeValue(const std::string &value);
};

/// A handle to a declaration.
class ZAR_API chXmlDeclaration : public chXmlAttributeObject {
public:
  chXmlDeclaration();

  /// Parses a declaration, starting after its "<?", into a new node, to which this handle then refers.
  /// @return What follows the "?>".
  /// @throws const char *  A constant text, on a missing "?>" or malformed contents.
  std::string parseContent(const std::string &text) override;
};

/// A handle to an element. An empty one to which children are added becomes a handle to a document instead.
class ZAR_API chXmlElement : public chXmlAttributeObject {
public:
  chXmlElement();
  /// Makes an element of that name.
  chXmlElement(const std::string &name);
  /// Shares the node if it is an element; otherwise an empty handle.
  chXmlElement(const chXmlObject &other);

  /// Parses an element, starting after its "<", into a new node, to which this handle then refers. The name in the end
  /// tag is not compared, unless that tag lacks its ">" at the end of the text.
  /// @return What follows the element, trimmed of white space at BOTH ends.
  /// @throws const char *  A constant text, on malformed markup.
  std::string parseContent(const std::string &text) override;

  /// Moves this handle to the next sibling element; empty after the last. REQUIRES: hasData().
  chXmlElement &operator++();

  /// chXmlObject::clone() as an element.
  chXmlElement clone() const;

  /// The first child element that has the attribute with exactly that value, or an empty handle.
  chXmlElement FindChildAttribute(const std::string &key, const std::string &value) const;
  /// The same among the siblings after this element.
  chXmlElement FindNextAttribute(const std::string &key, const std::string &value) const;

  /// Options: each is a child element that holds one text.
  /// @return The text of the child element `key`; `defaultValue` if there is no such element or its first child is not
  ///         a text. An option parsed with an empty text has no child, so it gives the default.
  std::string GetOption(const std::string &key, const std::string &defaultValue = std::string()) const;
  /// Overwrites the text of the first child of the child element `key`, whatever kind that child is. If the element has
  /// no children, the text is added; if there is no such element, the option is added.
  /// @return 0 if it already has exactly that text, else 1: save only then.
  /// REQUIRES: hasData() if the option is new; otherwise it goes into a new document that only this handle refers to.
  int SetOption(const std::string &key, const std::string &value);
};

#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
