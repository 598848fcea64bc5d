// The convention of named objects: child elements with the attribute "name".
//
// White space (blank, tab, carriage return, line feed) around a name passed in is ignored.
#pragma once

#include "zarlib/xml/xml_object.h"

/// The first object of `e`: its first child element, or an empty handle.
ZAR_API chXmlElement getChildSoap(const chXmlElement &e);

/// The first object of that name among the child elements of `e`, or an empty handle.
ZAR_API chXmlElement getChildSoapByName(chXmlElement &e, const std::string &name);

/// Names an object. @return `e`. REQUIRES: e.hasData().
ZAR_API chXmlElement &setSoapName(chXmlElement &e, const std::string &name);
