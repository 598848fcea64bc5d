// chXmlDocument: the top of an XML tree.
#pragma once

#include "zarlib/xml/xml_object.h"

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif

/// A handle on a document: the node above the declarations, comments and elements of a text.
class ZAR_API chXmlDocument : public chXmlObject {
public:
  /// Makes a document without children; hasData() is true.
  chXmlDocument();

  /// Reads a whole text. Time and memory grow linearly with the text, whatever its shape.
  ///
  /// The reader is tolerant and strict in its own way: end tags may bear any name, and text behind the last element is
  /// dropped; but text directly ahead of the last top-level tag, a byte order mark included, a raw ">" inside a value,
  /// a document type or an instruction with bare words is refused. White space at the edges of values, comments and
  /// CDATA sections is lost, and trailing white space of texts; numeric references stay as they stand.
  /// @return The document. Malformed text gives a new document without children, which is also what an empty text
  ///         gives. Nothing is thrown but std::bad_alloc.
  static chXmlDocument ParseDocument(const std::string &text);
};

#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
