// Values out of the file forms of property lists.
#ifndef VELNOR_PLATFORM_PLIST_PROPERTYLISTREADER_H
#define VELNOR_PLATFORM_PLIST_PROPERTYLISTREADER_H

#include "platform/CFPropertyList.h"
#include "platform/CFRef.h"

#include <string_view>

namespace velnor {

// Empty when the bytes are not a property list. format may be null.
CFRef<CFTypeRef> ReadPropertyList(std::string_view file, CFOptionFlags options,
                                  CFPropertyListFormat* format);

} // namespace velnor

#endif
