#include "zarlib/xml/xml_soap.h"

#include "zarlib/companion/qxstl.h"
#include "zarlib/text/characters.h"

static const char *const name_key = "name";

static std::string trimmed(std::string name) {
  qx::trim_both(name, getTabWhiteSpace());
  return name;
}

chXmlElement getChildSoap(const chXmlElement &e) { return e.getChildElement(); }

chXmlElement getChildSoapByName(chXmlElement &e, const std::string &name) {
  return e.FindChildAttribute(name_key, trimmed(name));
}

chXmlElement &setSoapName(chXmlElement &e, const std::string &name) {
  e.SetAttributeValue(name_key, trimmed(name));
  return e;
}
