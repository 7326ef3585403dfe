#include "support/XmlAttribute.h"

#include "support/Numbers.h"

namespace velnor {

int QueryDoubleValue(const TiXmlAttribute& attribute, double& value) {
    return PStringToDouble(attribute.Value(), value) ? TIXML_SUCCESS : TIXML_WRONG_TYPE;
}

} // namespace velnor
