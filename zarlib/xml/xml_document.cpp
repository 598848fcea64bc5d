#include "zarlib/xml/xml_document.h"

#include "zarlib/xml/node.h"
#include "zarlib/xml/parser.h"

chXmlDocument::chXmlDocument() { m_node = xmlNodeData::make(xmlTypeDocument, {}); }

chXmlDocument chXmlDocument::ParseDocument(const std::string &text) {
  try {
    chXmlDocument document;
    if (zar::xml_reader(text).content(*document.m_node).empty()) return document;
  } catch (const char *) {
  }
  return chXmlDocument();
}
