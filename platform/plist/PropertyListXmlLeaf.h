// The text forms of the leaves of XML property lists.
#ifndef VELNOR_PLATFORM_PLIST_PROPERTYLISTXMLLEAF_H
#define VELNOR_PLATFORM_PLIST_PROPERTYLISTXMLLEAF_H

#include <string_view>

namespace velnor {

// Whether text is a value of the leaf element of that name.
bool IsXmlLeafText(std::string_view element, std::string_view text);

} // namespace velnor

#endif
