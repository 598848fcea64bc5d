// The XML tree: chXmlObject and the handle classes for tags and elements.
//
// Texts are bytes, by convention UTF-8. Names and keys compare byte by byte, values too.
#pragma once

#include "zarlib/export.h"
#include "zarlib/memory/dymic_alloc.h"

#include <list>
#include <string>
#include <utility>

class chXmlElement;

/// What a node is. The text of a node, tagName(), is told beside each kind.
enum xmlType : int {
  xmlTypeNone = 0,        ///< no node: what an empty handle answers
  xmlTypeComment = 1,     ///< the comment's text
  xmlTypeText = 2,        ///< character data, entities decoded
  xmlTypeDeclaration = 3, ///< the target, such as xml; has attributes
  xmlTypeElement = 4,     ///< the tag's name; has attributes
  xmlTypeCData = 5,       ///< the text of the section
  xmlTypeDocument = 6     ///< empty; the node above the top-level nodes
};

// The destructors of this family are not virtual: handles are values, never deleted through a base.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif

/// A handle on a node of an XML tree, or on nothing.
///
/// Copying a handle shares the node; only clone() copies one. A node lives as long as any handle is on it or any living
/// parent links it. When a tree goes, a node in it that still has a handle comes out as a root of its own, with its
/// subtree whole. Dropping and cloning a tree need no stack, however deep it is.
///
/// Handles on one tree may be copied and dropped by several threads at once. A single handle belongs to one thread at a
/// time, and the tree's links, texts and attributes are under no lock: one thread may change them, while no other reads
/// them; any number may read. Dropping the last handle on a node changes the links of its children.
///
/// Copying a handle costs one atomic addition, and navigation one more; neither copies text. Each node counts as one
/// allocation in the balance of baseDymicAlloc. The nodes of a text that was read, and of a clone, lie side by side in
/// blocks of up to 32 KB, and beyond 4 MB of up to 2 MB. A block goes when its last node has gone, so a handle on one
/// node of a large tree that has been dropped keeps that much; hold its clone() instead.
class ZAR_API chXmlObject : public baseDymicAlloc {
public:
  /// The record of one node; its layout is the library's own.
  struct ZAR_LOCAL xmlNodeData;

  /// An empty handle.
  chXmlObject();
  /// Shares the other's node; there is no move that would empty the other.
  chXmlObject(const chXmlObject &other);
  /// Makes a node of its own, without links. A type outside 1 to 6 gives an empty handle.
  chXmlObject(xmlType type, const std::string &text);
  ~chXmlObject();

  /// Lets go of the own node, then shares the other's. Assigning a handle to itself therefore leaves it EMPTY, and
  /// drops the node if this was the last handle on it.
  chXmlObject &operator=(const chXmlObject &other);

  /// Reads `text` as a sequence of texts, comments, sections, declarations and elements, and adds them as children. An
  /// empty handle receives a document node, without room for attributes, when the first child is added.
  ///
  /// The nodes below are read by the library's own classes, whatever overrides this. Time and memory grow linearly with
  /// the text; nesting needs no stack.
  /// @return What was not understood, and what is not always the tail of `text`: from the first unmatched end tag "</"
  ///         on; without any "<" the text less its leading white space; otherwise, the text being used up, the last
  ///         piece of character data that stood AHEAD of a top-level tag or comment, trimmed at both ends, and empty if
  ///         there was none directly ahead of the last one. Character data behind the last tag is dropped.
  /// @throws const char *  A constant text, at malformed markup. The children that were complete stay.
  virtual std::string parseContent(const std::string &text);

  xmlType type() const;
  /// A copy of the node's text, whatever the kind calls it; empty for an empty handle.
  std::string tagName() const;
  /// Whether there is a node.
  bool hasData() const;
  /// Whether the node has a child. False for an empty handle.
  bool hasChildren() const;

  /// The number of nodes above this one, a document at the top not counted: 0 for a top-level node and for a root
  /// without a document, -1 for the document itself. Costs one step a level.
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
  /// Moves this handle to the next sibling of any kind, or to nothing behind the last. REQUIRES: hasData().
  chXmlObject &operator++();

  /// The first child element of that name, or an empty handle. Compares in place, without copies.
  chXmlElement FindChildElement(const std::string &name) const;
  /// The same among the siblings behind this node.
  chXmlElement FindNextElement(const std::string &name) const;
  /// FindChildElement() under another name.
  chXmlElement operator[](const std::string &name) const;

  /// Links `child` as the last child. Where this handle is empty it first receives a document node, without room for
  /// attributes.
  /// @return A handle on the child. An empty `child` changes nothing and gives an empty handle.
  /// REQUIRES: `child` has no parent and no siblings, and this node does not lie below it. Not tested: a parent that it
  ///           had before would go on linking it, without a reference of its own to the rest.
  chXmlObject AddChildObject(const chXmlObject &child);
  /// Makes a node, as the constructor does, and links it. @return A handle on it, empty for a type outside 1 to 6.
  chXmlObject AddChildObject(xmlType type, const std::string &text);
  /// Makes an element of that name and links it. @return A handle on it.
  chXmlElement AddChildElement(const std::string &name);

  /// Takes `child` out from among its siblings; its subtree stays with it. Nothing happens for an empty `child`, and
  /// for one on which only the argument is: no parent can hold it then. Costs the same wherever the child stands.
  /// REQUIRES: hasData(), and `child` is a child of this node. Not tested: a stranger loses its siblings, its parent
  ///           and a reference, while its old parent's ends go on pointing at it.
  void RemoveChildObject(const chXmlObject &child);

  /// A copy of the node and all below it, sharing nothing with this tree and without a parent; empty for an empty
  /// handle.
  chXmlObject clone() const;

  /// The node and all below it as text; empty for an empty handle. One pass, in memory of twice the text's size.
  /// @param compact  False: one node a line, two blanks of indent for each level of getLevel(), "\r\n" at each line's
  ///                 end; an element with a text as its only child stands on one line. True: no indent and no line
  ///                 ends. Comments and CDATA sections are written as they are in the first form and with entities in
  ///                 the second.
  std::string ExportToText(bool compact) const;
  /// The same for a node that is written as an element, whatever it is. REQUIRES: hasData().
  std::string ExportElement(bool compact) const;
  /// ExportToText() of each child, one after another.
  std::string ExportChildren(bool compact) const;
  /// The attributes as they stand in a tag, a blank ahead of each. Empty for nodes that have no attributes.
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

/// A handle on a node that can have attributes.
///
/// Attributes stand in the order in which their keys were first set. Looking one up compares key after key. Those of a
/// tag that was read lie packed beside its name; GetAttributeValue(), the searches and the export read them there, the
/// operations that hand out or change what is stored make the list first, once a node. A node that has no
/// room for attributes (a text, a comment, a section, a document made by adding to an empty handle) answers as one
/// without any.
class ZAR_API chXmlAttributeObject : public chXmlObject {
public:
  using attribute_list = std::list<std::pair<std::string, std::string>>;

  chXmlAttributeObject();

  /// Reads the inside of a tag, without its marks: a name, then key="value" or key='value' after white space. Sets the
  /// node's name and attributes; attributes that the text does not name stay. White space at a value's edges is lost,
  /// entities are decoded.
  /// @return The empty text.
  /// @throws const char *  A constant text, at a missing name or malformed attribute; the attributes ahead of it are
  /// set.
  /// REQUIRES: hasData().
  std::string parseContent(const std::string &text) override;

  /// 0 for an empty handle.
  int GetAttributeCount() const;
  /// The list itself: key, value. Valid as long as the node lives. REQUIRES: hasData().
  const attribute_list &GetAttributeData() const;
  /// @return The stored value, which stays where it is until the attribute or the node goes; null when there is none.
  std::string *FindAttributeValue(const std::string &key) const;
  /// @return A copy of the value, or `defaultValue` when there is none.
  std::string GetAttributeValue(const std::string &key, const std::string &defaultValue = std::string()) const;

  /// Sets a value in place, or adds the attribute at the end.
  /// @return 0 when it already has exactly that value, else 1.
  /// REQUIRES: hasData(). On a node without room for attributes nothing happens, and the result is 0.
  int SetAttributeValue(const std::string &key, const std::string &value);

  /// Removes the attribute whose stored value is the very object passed, the one that FindAttributeValue() pointed at.
  /// An equal text elsewhere removes nothing. REQUIRES: hasData().
  void FastRemoveAttributeValue(const std::string &value);
};

/// A handle on a declaration.
class ZAR_API chXmlDeclaration : public chXmlAttributeObject {
public:
  chXmlDeclaration();

  /// Reads a declaration, from behind its "<?" on, into a new node, which this handle is on afterwards.
  /// @return What stands behind the "?>".
  /// @throws const char *  A constant text, at a missing "?>" or a malformed inside.
  std::string parseContent(const std::string &text) override;
};

/// A handle on an element, and never on anything else.
class ZAR_API chXmlElement : public chXmlAttributeObject {
public:
  chXmlElement();
  /// Makes an element of that name.
  chXmlElement(const std::string &name);
  /// Shares the node if it is an element; otherwise an empty handle.
  chXmlElement(const chXmlObject &other);

  /// Reads an element, from behind its "<" on, into a new node, which this handle is on afterwards. The name in the end
  /// tag is not compared, unless that tag lacks its ">" at the end of the text.
  /// @return What stands behind the element, less the white space at BOTH its ends.
  /// @throws const char *  A constant text, at malformed markup.
  std::string parseContent(const std::string &text) override;

  /// Moves this handle to the next sibling element, or to nothing behind the last. REQUIRES: hasData().
  chXmlElement &operator++();

  /// chXmlObject::clone() as an element.
  chXmlElement clone() const;

  /// The first child element that has the attribute with exactly that value, or an empty handle.
  chXmlElement FindChildAttribute(const std::string &key, const std::string &value) const;
  /// The same among the siblings behind this element.
  chXmlElement FindNextAttribute(const std::string &key, const std::string &value) const;

  /// Options: each is a child element that holds one text.
  /// @return The text of the child element `key`; `defaultValue` when there is no such child or its first child is not
  ///         a text. An option that was read with an empty text has no such child, and answers the default.
  std::string GetOption(const std::string &key, const std::string &defaultValue = std::string()) const;
  /// Overwrites the text of the first child of the child element `key`, whatever kind that child is. An element without
  /// children receives the text, and where there is no such element the option is added.
  /// @return 0 when it already has exactly that text, else 1: save only then.
  /// REQUIRES: hasData() when the option is new, to keep it.
  int SetOption(const std::string &key, const std::string &value);
};

#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
