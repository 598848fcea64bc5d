// chXmlDocument: the top of an XML tree.
#pragma once

#include "zarlib/xml/xml_object.h"

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif

/// A handle to a document: the node above the declarations, comments and elements of a text.
class ZAR_API chXmlDocument : public chXmlObject {
public:
  /// Makes a document without children; hasData() is true.
  chXmlDocument();

  /// Parses a whole text. Time and memory are linear in its length, whatever its structure.
  ///
  /// Accepted: end tags of any name, and text after the last element, which is dropped. Rejected: text directly before
  /// the last top-level tag, including a byte order mark, a raw ">" inside a value, a document type, and a processing
  /// instruction with bare words. White space at both ends of values, comments and CDATA sections is lost, as is
  /// trailing white space of texts; numeric references are left as they are.
  /// @return The document. Malformed text gives a new document without children, as does an empty text. Throws only
  ///         std::bad_alloc.
  static chXmlDocument ParseDocument(const std::string &text);
};

#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
