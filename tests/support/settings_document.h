// The documents that the programs and tests of XML files save: each holds its number, and damaged ones are recognised.
#pragma once

#include "zarlib/xml/xml_file.h"

/// Number 0 has no content; odd numbers have some 10 KB, even ones some 50 KB.
inline chXmlFile settings_document(int number) {
  chXmlFile document;
  if (number == 0) return document;
  chXmlElement root = document.AddChildElement("settings");
  root.SetAttributeValue("number", std::to_string(number));
  for (int i = 0; i < (number % 2 ? 150 : 750); ++i) {
    chXmlElement option = root.AddChildElement("option");
    option.SetAttributeValue("name", "entry " + std::to_string(i));
    option.AddChildObject(xmlTypeText, "value & <text> of " + std::to_string(number));
  }
  return document;
}

/// @return The number of a document; -1 if it is not intact.
inline int settings_number(const chXmlDocument &document) {
  const chXmlElement root = document.getChildElement();
  const int number = root.hasData() ? std::stoi("0" + root.GetAttributeValue("number")) : 0;
  return document.ExportToText(false) == settings_document(number).ExportToText(false) ? number : -1;
}
