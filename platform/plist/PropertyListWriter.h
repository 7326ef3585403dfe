// The file forms of values.
#ifndef VELNOR_PLATFORM_PLIST_PROPERTYLISTWRITER_H
#define VELNOR_PLATFORM_PLIST_PROPERTYLISTWRITER_H

#include "platform/CFPropertyList.h"

#include <optional>
#include <string>

namespace velnor {

// Nothing when the tree has no such form: see CFPropertyListCreateData.
std::optional<std::string> WritePropertyList(CFPropertyListRef tree, CFPropertyListFormat format);

} // namespace velnor

#endif
