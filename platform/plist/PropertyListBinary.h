// What a binary property list must fulfil before the library reads it.
//
//   "bplist00" | objects | offset table | trailer
//   trailer (32 bytes, integers big-endian): 6 unused, size of an offset, size of an object
//   reference, number of objects (8), number of the top object (8), position of the table (8)
//
// The library expands an object at each reference to it, so that a few hundred bytes can stand for
// more values than memory holds.
#ifndef VELNOR_PLATFORM_PLIST_PROPERTYLISTBINARY_H
#define VELNOR_PLATFORM_PLIST_PROPERTYLISTBINARY_H

#include <string_view>

namespace velnor {

constexpr std::string_view kBinaryPropertyListMagic = "bplist00";

// True when each reference leads to a whole object of a known kind, the top object expands to no
// more than the limits allow, and no text holds a zero character or a lone surrogate.
bool IsSoundBinaryPropertyList(std::string_view file);

} // namespace velnor

#endif
