// Numbers in XML attributes.
#ifndef VELNOR_SUPPORT_XMLATTRIBUTE_H
#define VELNOR_SUPPORT_XMLATTRIBUTE_H

#include <tinyxml.h>

namespace velnor {

// TiXmlAttribute::QueryDoubleValue for values that read the same in every locale (PStringToDouble):
// TIXML_SUCCESS, or TIXML_WRONG_TYPE when the whole value is no number. value is always written.
// Thread any, concurrent, may block.
int QueryDoubleValue(const TiXmlAttribute& attribute, double& value);

} // namespace velnor

#endif
